#include "workflow/progressline.h"

#include "core/printable.h"

#include <chrono>
#include <csignal>

#include <pthread.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace {

using std::chrono::milliseconds;

constexpr milliseconds Delay(500);
constexpr milliseconds Period(100);

// What the job printed last may lack the end of its line, and must stay.
constexpr char SaveCursor[] = "\0337";
constexpr char RestoreCursor[] = "\0338";
constexpr char EraseToEnd[] = "\033[K";

std::mutex theInstanceMutex;
ProgressLine *theInstance = nullptr;

void write(const QByteArray &bytes)
{
    // A terminal that takes nothing more is no reason to wait or to complain.
    [[maybe_unused]] const ssize_t written
        = ::write(STDERR_FILENO, bytes.constData(), static_cast<std::size_t>(bytes.size()));
}

// A text that wraps around can't be erased. The line that it is added to is hardly ever half full.
QString fitted(const QString &text)
{
    winsize size = {};
    const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 1;
    return text.left((isKnown ? size.ws_col : 80) / 2);
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
    mText = fitted(printable(text)).toUtf8();
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
    write((mPrinted.isEmpty() ? SaveCursor : RestoreCursor) + mText + EraseToEnd);
    mPrinted = mText;
}

void ProgressLine::erase()
{
    if (!mPrinted.isEmpty())
        write(RestoreCursor + QByteArray(EraseToEnd));
    mPrinted.clear();
}
