#ifndef HOST_WORKFLOW_POWERCOMMAND_H
#define HOST_WORKFLOW_POWERCOMMAND_H

#include "core/export.h"
#include "profile/sitepower.h"

#include <QByteArray>
#include <QString>
#include <QVector>

#include <condition_variable>
#include <mutex>
#include <thread>

// Asks a command of the site's own for the power of this node, once a second while a job runs. The command is
// one for the shell and prints a number of watts. It may take five seconds; then it is killed with all that
// it started. After the first answer that is no number it isn't asked again.
class BRIVANE_HOST_EXPORT PowerCommand {
public:
    // Starts at once; with an empty command nothing is done.
    explicit PowerCommand(const QString &command);
    ~PowerCommand();

    // Ends the asking. Doesn't wait for a command that is still running: it is killed.
    void stop();

    // After stop(): what it said, and a sentence that says why there is nothing more.
    const QVector<PowerReading> &readings() const { return mReadings; }
    const QString &whyNot() const { return mWhyNot; }
    // Puts it into the profile, if there was a command.
    void addTo(ProfilerData *profile) const;

private:
    void run();
    bool ask(QByteArray *answer, QString *complaint);
    bool isStoppedAfter(int ms);

    QString mCommand;
    QVector<PowerReading> mReadings;
    QString mWhyNot;
    std::mutex mMutex;
    std::condition_variable mStopped;
    bool mStop = false; // under the mutex
    std::thread mThread;
};

#endif
