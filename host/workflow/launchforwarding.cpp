#include "workflow/launchforwarding.h"

#include "workflow/programpath.h"

#include <QString>

namespace {

const char OpenMpiList[] = "mca_base_env_list"; // excludes -x
const char SrunExport[] = "--export";

QByteArray assignment(const Variable &variable)
{
    return variable.name + '=' + variable.value;
}

int indexOfVariable(const QList<QByteArray> &environment, const QByteArray &name)
{
    for (int i = 0; i < environment.size(); ++i) {
        if (environment.at(i).startsWith(name + '='))
            return i;
    }
    return -1;
}

Launch inherited(Launch launch, const QList<Variable> &variables)
{
    for (const Variable &variable : variables) {
        const int index = indexOfVariable(launch.environment, variable.name);
        if (index >= 0)
            launch.environment.removeAt(index);
        launch.environment.append(assignment(variable));
    }
    return launch;
}

// `flag` and an assignment for each variable, behind the command's first word.
Launch withFlags(Launch launch, const char *flag, const QList<Variable> &variables)
{
    int at = 1;
    for (const Variable &variable : variables) {
        launch.command.insert(at++, flag);
        launch.command.insert(at++, assignment(variable));
    }
    return launch;
}

// -x counts for one group of processes, and a colon begins the next.
Launch openMpi(Launch launch, const QList<Variable> &variables)
{
    const int list = indexOfVariable(launch.environment, QByteArray("OMPI_MCA_") + OpenMpiList);
    if (list >= 0) {
        for (const Variable &variable : variables)
            launch.environment[list] += ';' + assignment(variable);
        return launch;
    }
    if (launch.command.contains(OpenMpiList))
        return inherited(launch, variables);

    QList<QByteArray> flags;
    for (const Variable &variable : variables)
        flags << "-x" << assignment(variable);
    QList<QByteArray> command;
    for (int i = 0; i < launch.command.size(); ++i) {
        command.append(launch.command.at(i));
        if (i == 0 || launch.command.at(i) == ":")
            command += flags;
    }
    launch.command = command;
    return launch;
}

Launch hydra(Launch launch, const QList<Variable> &variables)
{
    int at = 1;
    for (const Variable &variable : variables) {
        launch.command.insert(at++, "-genv");
        launch.command.insert(at++, variable.name);
        launch.command.insert(at++, variable.value);
    }
    return launch;
}

bool isProgram(const QByteArray &word)
{
    QByteArray path;
    QString error;
    return findProgram(word, qgetenv("PATH"), &path, &error) == ExitSuccess;
}

// The word of srun's own that holds the value of its --export ("--export=A" or the one behind "--export"), or
// -1. Which words are values of options can't be known: the program comes no later than the first that isn't
// an option and either can be run or stands behind another such word.
int indexOfExport(const QList<QByteArray> &command)
{
    bool wasOption = false;
    for (int i = 1; i < command.size(); ++i) {
        const QByteArray &word = command.at(i);
        if (word == SrunExport)
            return i + 1 < command.size() ? i + 1 : -1;
        if (word.startsWith(QByteArray(SrunExport) + '='))
            return i;
        const bool isOption = word.startsWith('-') && word != "--";
        if (!isOption && (!wasOption || isProgram(word)))
            return -1;
        wasOption = isOption;
    }
    return -1;
}

// Values with commas in them are quoted.
QByteArray srunList(QByteArray own, const QList<Variable> &variables)
{
    if (own == "NONE" || own == "NIL")
        own.clear();
    for (const Variable &variable : variables) {
        const bool hasComma = variable.value.contains(',');
        own += (own.isEmpty() ? "" : ",") + variable.name + '='
            + (hasComma ? '\'' + variable.value + '\'' : variable.value);
    }
    return own;
}

Launch srun(Launch launch, const QList<Variable> &variables)
{
    const QByteArray prefix = QByteArray(SrunExport) + '=';
    const int index = indexOfExport(launch.command);
    if (index >= 0) {
        QByteArray &word = launch.command[index];
        const bool hasPrefix = word.startsWith(prefix);
        word = (hasPrefix ? prefix : QByteArray())
            + srunList(hasPrefix ? word.mid(prefix.size()) : word, variables);
        return launch;
    }
    const int configured = indexOfVariable(launch.environment, "SLURM_EXPORT_ENV");
    const QByteArray own = configured < 0
        ? QByteArray("ALL")
        : launch.environment.at(configured).mid(int(qstrlen("SLURM_EXPORT_ENV=")));
    launch.command.insert(1, prefix + srunList(own, variables));
    return launch;
}

} // namespace

Launch withVariables(const Launch &launch, Forwarding forwarding, const QList<Variable> &variables)
{
    switch (forwarding) {
    case Forwarding::OpenMpi:
        return openMpi(launch, variables);
    case Forwarding::Hydra:
        return hydra(launch, variables);
    case Forwarding::Srun:
        return srun(launch, variables);
    case Forwarding::Aprun:
        return withFlags(launch, "-e", variables);
    case Forwarding::Jsrun:
        return withFlags(launch, "-E", variables);
    case Forwarding::Inherited:
    case Forwarding::Unknown:
        break;
    }
    return inherited(launch, variables);
}
