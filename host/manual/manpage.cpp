#include "manual/manualtexts.h"

namespace {

struct Row {
    const char *term;
    const char *meaning;
};

// As workflow/exitstatus.h has them.
constexpr Row ExitStatuses[] = {
    {"the job's own",
        "The job ran and all files were written. 128 and the number of the signal where a signal "
        "ended the job, 130 for Ctrl-C among them. With a profile to read: 0."},
    {"1",
        "Something failed, as a message on the standard error stream says: there is no profile, or a file "
        "could not be written. Files that were written before stay."},
    {"2", "The command line is wrong. Nothing was started."},
    {"126", "The program is there and can't be run."}, {"127", "There is no such program."}};

constexpr Row Environment[]
    = {{"BRIVANE_PARTIAL_REPORT_SOURCE",
           "A file or a folder of files that add to reports, instead of the user's own."},
        {"BRIVANE_EXTRA_REPORT",
            "Beginning of the name of a second page, which goes on with the shares of the time."},
        {"BRIVANE_NOTES", "A text that reports show."},
        {"BRIVANE_PERF_EVENTS",
            "Events to count, with commas between: page-faults, cache-misses, r01c2 and others."},
        {"BRIVANE_POWER_BUDGET", "The watts that a node may draw, for reports of the type trapped."},
        {"BRIVANE_DCIM_SCRIPT", "The connector of --dcim-output."},
        {"BRIVANE_FERN_TO_DCIM", "Allows --dcim-output for a profile that is read from a file, unless off."},
        {"BRIVANE_ENABLE_ALL_REPORTS_GENERATION",
            "Lets a file name that ends in .all stand for all types, unless off."},
        {"TMPDIR",
            "Where a folder for the processes' profiles is made while the job runs, on each node; /tmp "
            "without it. It "
            "must have room for about a megabyte for each."},
        {"XDG_CONFIG_HOME", "Where the folder brivane with the configuration is; ~/.config without it."}};

constexpr Row Files[] = {
    {"~/.config/brivane/fern.conf",
        "The configuration. Section [profile]: samples, interval and disabled-metrics, as the options of "
        "these names; perf-events, as BRIVANE_PERF_EVENTS. Section [power]: command, which prints the power "
        "of this node in watts. Section [launchers]: names or paths of launchers with commas between, by how "
        "they hand variables on: openmpi, hydra, srun, aprun, jsrun or inherited."},
    {"~/.config/brivane/quillon-report/reports/*.xml", "Parts that are added to reports."}};

// Text with everything escaped that troff would take for its own.
QString escaped(QString text)
{
    text.replace(QLatin1Char('\\'), QLatin1String("\\e"));
    text.replace(QLatin1Char('-'), QLatin1String("\\-"));
    text.replace(QLatin1Char('\''), QLatin1String("\\(aq"));
    text.replace(QLatin1Char('~'), QLatin1String("\\(ti"));
    if (text.startsWith(QLatin1Char('.')))
        text.prepend(QLatin1String("\\&"));
    return text;
}

QString bold(const QString &text)
{
    return QLatin1String("\\fB") + escaped(text) + QLatin1String("\\fR");
}

QString section(const QString &name)
{
    return QStringLiteral(".SH %1\n").arg(name);
}

QString item(const QString &term, const QString &meaning)
{
    return QLatin1String(".TP\n") + term + QLatin1Char('\n') + escaped(meaning) + QLatin1Char('\n');
}

QString optionItem(const BaseArgParser::Option &option)
{
    QStringList names;
    for (const QString &shortName : option.shortNames)
        names.append(bold(BaseArgParser::hyphenate(shortName)));
    names.append(bold(BaseArgParser::hyphenate(option.name)));
    QString term = names.join(QLatin1String(", "));
    if (!option.parameter.isEmpty())
        term += QStringLiteral("=\\fI%1\\fR").arg(escaped(option.parameter));
    return item(term, option.documentation);
}

// The usage lines and the other paragraphs of a help text's prologue; a paragraph about the build is left
// out.
void takeApart(const QString &prologue, QStringList *usage, QStringList *paragraphs)
{
    for (const QString &paragraph : prologue.split(QLatin1String("\n\n"))) {
        const QString text = paragraph.trimmed();
        if (text.startsWith(QLatin1String("Usage: "))) {
            for (const QString &line : text.mid(7).split(QLatin1Char('\n')))
                usage->append(line.trimmed());
        } else if (!text.isEmpty() && !text.startsWith(QLatin1String("Version Information"))) {
            paragraphs->append(text);
        }
    }
}

template <int Count> QString table(const Row (&rows)[Count])
{
    QString text;
    for (const Row &row : rows)
        text += item(bold(QLatin1String(row.term)), QLatin1String(row.meaning));
    return text;
}

} // namespace

QString manPage(const Program &program)
{
    QStringList usage;
    QStringList paragraphs;
    takeApart(program.parser->helpPrologue(), &usage, &paragraphs);
    paragraphs.append(program.parser->helpEpilogue().trimmed());

    QString text = QStringLiteral(".TH %1 1 \"\" \"Quillon Reports %2\" \"User Commands\"\n")
                       .arg(escaped(program.name.toUpper()), sc_version());
    text += section(QStringLiteral("NAME"))
        + QStringLiteral("%1 \\- %2\n").arg(escaped(program.name), escaped(program.summary));
    text += section(QStringLiteral("SYNOPSIS"));
    for (const QString &line : usage)
        text += bold(line.section(QLatin1Char(' '), 0, 0)) + QLatin1Char(' ')
            + escaped(line.section(QLatin1Char(' '), 1)) + QLatin1String("\n.br\n");
    text += section(QStringLiteral("DESCRIPTION"));
    for (const QString &paragraph : paragraphs) {
        if (!paragraph.isEmpty())
            text += escaped(paragraph) + QLatin1String("\n.PP\n");
    }
    text += QLatin1String("Options end at the program's name or at ") + bold(QStringLiteral("--"))
        + QLatin1String(": what stands behind is the program's own.\n");
    text += section(QStringLiteral("OPTIONS"));
    for (const BaseArgParser::Option &option : program.parser->options()) {
        if (option.shown)
            text += optionItem(option);
    }
    text += section(QStringLiteral("EXAMPLES"));
    for (const BaseArgParser::Example &example : program.parser->examples())
        text += item(bold(example.command), example.meaning);
    text += section(QStringLiteral("\"EXIT STATUS\"")) + table(ExitStatuses);
    text += section(QStringLiteral("ENVIRONMENT"))
        + escaped(QStringLiteral(
            "Variables whose names begin with BRIVANE_ can begin with KELP_ or FERN_ as well; of "
            "those that are set the first of KELP_, FERN_ and BRIVANE_ decides. no, off, disable, "
            "disabled and 0 mean off."))
        + QLatin1Char('\n') + table(Environment);
    text += section(QStringLiteral("FILES")) + table(Files);
    text += section(QStringLiteral("\"SEE ALSO\""))
        + QStringLiteral(".BR %1 (1)\n")
              .arg(program.name == QLatin1String("fern") ? QStringLiteral("quillon\\-report")
                                                         : QStringLiteral("fern"));
    return text;
}
