#include "profile/jobchoice.h"

#include <QCoreApplication>
#include <QHash>
#include <QMap>

#include <algorithm>
#include <iterator>

using fern::spool::Bin;

namespace {

constexpr double HelperShare = 0.01;

enum class Role { Rank, Program, Helper, Launcher, Replaced };

Role roleOf(const SpoolProcess &process)
{
    using namespace fern::spool;
    if (process.is(FlagMpi))
        return Role::Rank;
    if (process.is(FlagLauncher))
        return Role::Launcher;
    return process.is(FlagExec) ? Role::Replaced : Role::Program;
}

bool isIo(std::uint32_t category)
{
    using namespace fern::spool;
    return category == IoRead || category == IoWrite || category == IoOther;
}

// How long a process worked, in ns: its CPU time, and the time that its main thread waited for a file. It is
// little more than nothing for a program that waits for others.
double workOf(const SpoolProcess &process)
{
    QVector<Bin> bins;
    QString reason;
    if (!SpoolReader::readBins(process, &bins, &reason))
        return 0;
    double cpuNs = 0;
    double hits = 0;
    double waits = 0;
    for (const Bin &bin : bins) {
        cpuNs += bin.figures[fern::spool::FigureCpuTime].sum;
        for (std::uint32_t category = 0; category < fern::spool::CategoryCount; ++category) {
            hits += bin.mainHits[category];
            if (isIo(category))
                waits += bin.mainHits[category]
                    - std::min(bin.mainHits[category], bin.mainActiveHits[category]);
        }
    }
    const auto livedNs = static_cast<double>(process.endNs - process.beginNs);
    return cpuNs + (hits > 0 ? livedNs * waits / hits : 0);
}

// Processes of one program are judged together: one that forks for every small piece of work does it all in
// small pieces.
QHash<QString, double> workByProgram(const QVector<SpoolProcess> &processes, const QVector<Role> &roles)
{
    QHash<QString, double> work;
    for (int i = 0; i < processes.size(); ++i) {
        if (roles[i] == Role::Program)
            work[processes[i].executable] += workOf(processes[i]);
    }
    return work;
}

void markHelpers(const QVector<SpoolProcess> &processes, QVector<Role> *roles)
{
    const QHash<QString, double> work = workByProgram(processes, *roles);
    if (work.size() < 2)
        return;
    const double least = HelperShare * *std::max_element(work.begin(), work.end());
    for (int i = 0; i < processes.size(); ++i) {
        if (roles->at(i) == Role::Program && work.value(processes[i].executable) < least)
            (*roles)[i] = Role::Helper;
    }
}

QString reasonOf(Role role)
{
    switch (role) {
    case Role::Launcher:
        return QCoreApplication::translate("JobChoice", "it only starts others");
    case Role::Replaced:
        return QCoreApplication::translate("JobChoice", "it became another program");
    case Role::Helper:
        return QCoreApplication::translate("JobChoice", "it worked for less than a hundredth of the time");
    case Role::Rank:
    case Role::Program:
        break;
    }
    return QCoreApplication::translate("JobChoice", "it isn't part of the MPI job");
}

QStringList sentences(const QMap<QPair<QString, Role>, int> &counts)
{
    QStringList result;
    for (auto it = counts.begin(); it != counts.end(); ++it) {
        result.append(QCoreApplication::translate("JobChoice", "left out %1 process(es) of '%2': %3")
                          .arg(QString::number(it.value()), it.key().first, reasonOf(it.key().second)));
    }
    return result;
}

} // namespace

JobChoice chooseJob(const QVector<SpoolProcess> &processes)
{
    QVector<Role> roles;
    std::transform(processes.begin(), processes.end(), std::back_inserter(roles), roleOf);
    if (!roles.contains(Role::Rank))
        markHelpers(processes, &roles);

    Role chosen = Role::Replaced;
    for (const Role role : roles)
        chosen = std::min(chosen, role);
    JobChoice choice;
    QMap<QPair<QString, Role>, int> leftOut;
    for (int i = 0; i < processes.size(); ++i) {
        if (roles[i] == chosen)
            choice.job.append(processes[i]);
        else
            ++leftOut[{processes[i].executable, roles[i]}];
    }
    choice.leftOut = sentences(leftOut);
    return choice;
}
