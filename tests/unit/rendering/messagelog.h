#ifndef TESTS_MESSAGELOG_H
#define TESTS_MESSAGELOG_H

#include <QStringList>
#include <QtGlobal>

/// Collects the warnings that Qt's message handler gets while it lives.
class MessageLog {
public:
    MessageLog()
        : mOuter(sCurrent)
        , mPrevious(qInstallMessageHandler(&MessageLog::take))
    {
        sCurrent = this;
    }
    ~MessageLog()
    {
        sCurrent = mOuter;
        qInstallMessageHandler(mPrevious);
    }
    MessageLog(const MessageLog &) = delete;
    MessageLog &operator=(const MessageLog &) = delete;

    QStringList warnings() const { return mWarnings; }
    QStringList debugMessages() const { return mDebugMessages; }

private:
    static void take(QtMsgType type, const QMessageLogContext &, const QString &message)
    {
        if (sCurrent)
            (type == QtDebugMsg ? sCurrent->mDebugMessages : sCurrent->mWarnings).append(message);
    }

    static inline MessageLog *sCurrent = nullptr;

    MessageLog *mOuter;
    QtMessageHandler mPrevious;
    QStringList mWarnings;
    QStringList mDebugMessages;
};

#endif
