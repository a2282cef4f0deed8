#ifndef HOST_WORKFLOW_JOBLAUNCHER_H
#define HOST_WORKFLOW_JOBLAUNCHER_H

#include "cli/launchertable.h"
#include "workflow/exitstatus.h"

#include <QByteArray>
#include <QList>
#include <QString>

class KELPConfig;
struct SpoolFolders;

// A job that is to run under the sampler: the words of its command line and its input file.
//
// The job has our terminal, standard streams, working directory and environment, to which only what the
// sampler needs is added: to the job's processes alone where they are started by a launcher that is told so
// on its command line. The job is one process, whatever it starts in turn.
class JobLauncher {
public:
    // The command holds at least the program; a null input file means our own standard input. `config` must
    // outlive the object.
    explicit JobLauncher(const KELPConfig &config);
    ~JobLauncher();
    JobLauncher(const JobLauncher &) = delete;
    JobLauncher &operator=(const JobLauncher &) = delete;

    // Looks for all that the job needs, before anything is run or written: the program, in PATH as a
    // shell does, its input file, and the sampler. ExitSuccess, or else what to exit with, with one
    // sentence in `error`.
    ExitStatus prepare(QString *error);

    // Runs the job to its end; to be called after prepare(). False, with a sentence in `error` and what to
    // exit with in `exitStatus`, if it could not be started. Otherwise `exitStatus` is the job's own, or
    // 128 plus the number of the signal that killed it, or that of SIGINT where one came while a launcher of
    // parallel jobs ran.
    //
    // Processes of the job leave their spools in `folders`; `workFolder` is a private folder for what
    // else the launch needs. All must outlive the job.
    //
    // Signals that a terminal sends reach the job by themselves and don't end us while it runs; SIGTERM
    // and SIGHUP are passed on to it. A signal that was ignored when we were started stays so for both.
    bool run(const QString &workFolder, const SpoolFolders &folders, int *exitStatus, QString *error);

    // How the job's processes get what the sampler needs; known after prepare().
    Forwarding forwarding() const { return mForwarding; }

private:
    bool openInput(QString *error);

    const KELPConfig &mConfig;
    Forwarding mForwarding = Forwarding::Inherited;
    QByteArray mProgram; // path, once it is found
    QByteArray mSampler; // path
    int mInput = -1; // descriptor of the input file
};

// `command` as one line that a shell would take apart into the same words, quoted where needed.
QString shellQuoted(const QList<QByteArray> &command);

#endif
