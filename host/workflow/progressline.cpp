#include "workflow/progressline.h"

#include <chrono>
#include <csignal>

#include <pthread.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds Delay(500);
constexpr milliseconds Period(100);

std::mutex theInstanceMutex;
ProgressLine *theInstance = nullptr;

void write(const QByteArray &bytes)
{
    // A terminal that takes nothing more is no reason to wait or to complain.
    [[maybe_unused]] const ssize_t written
        = ::write(STDERR_FILENO, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

// A line that wraps around can't be erased.
QString fitted(const QString &text)
{
    winsize size = {};
    const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return text.left(isKnown ? size.ws_col - 1 : 79);
}

} // namespace

ProgressLine::ProgressLine(bool wanted)
{
    if (!wanted || ::isatty(STDERR_FILENO) == 0)
        return;
    {
        const std::lock_guard<std::mutex> lock(theInstanceMutex);
        theInstance = this;
    }
    // Signals are for the threads that expect them.
    sigset_t all;
    sigset_t before;
    sigfillset(&all);
    pthread_sigmask(SIG_SETMASK, &all, &before);
    mThread = std::thread([this] { run(); });
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

ProgressLine::~ProgressLine()
{
    if (!mThread.joinable())
        return;
    {
        const std::lock_guard<std::mutex> lock(theInstanceMutex);
        theInstance = nullptr;
    }
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mIsOver = true;
        erase();
    }
    mChanged.notify_one();
    mThread.join();
}

void ProgressLine::show(const QString &text)
{
    if (!mThread.joinable())
        return;
    const std::lock_guard<std::mutex> lock(mMutex);
    mText = fitted(text).toUtf8();
}

void ProgressLine::giveWay()
{
    const std::lock_guard<std::mutex> instanceLock(theInstanceMutex);
    if (!theInstance)
        return;
    const std::lock_guard<std::mutex> lock(theInstance->mMutex);
    theInstance->erase();
}

void ProgressLine::run()
{
    std::unique_lock<std::mutex> lock(mMutex);
    milliseconds wait = Delay;
    while (!mChanged.wait_for(lock, wait, [this] { return mIsOver; })) {
        print();
        wait = Period;
    }
}

void ProgressLine::print()
{
    if (mText == mPrinted)
        return;
    write('\r' + mText + "\033[K");
    mPrinted = mText;
}

void ProgressLine::erase()
{
    if (!mPrinted.isEmpty())
        write("\r\033[K");
    mPrinted.clear();
}
