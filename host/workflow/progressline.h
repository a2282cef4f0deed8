#ifndef HOST_WORKFLOW_PROGRESSLINE_H
#define HOST_WORKFLOW_PROGRESSLINE_H

#include <QByteArray>
#include <QString>

#include <condition_variable>
#include <mutex>
#include <thread>

// A text behind what the terminal shows that says what is going on, erased when the object goes. Nothing is
// shown of what is over in half a second, nor where the standard error stream is no terminal. One object at a
// time.
class ProgressLine {
public:
    // Without `wanted` nothing is ever shown.
    explicit ProgressLine(bool wanted);
    ~ProgressLine();
    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;

    // Sets the text. Cheap: it may be called often.
    void show(const QString &text);

    // Erases the text, if there is one, in favour of a message that is about to be printed. It comes back if
    // things go on. Any thread may call this at any time.
    static void giveWay();

private:
    void run();
    void print();
    void erase();

    std::mutex mMutex;
    std::condition_variable mChanged;
    bool mIsOver = false;
    QByteArray mText;
    QByteArray mPrinted; // empty: the line isn't there
    std::thread mThread; // the last: uses all of the above
};

#endif
