// The command line of quillon-report.
#include "quillonreportargparser.h"

#include "scopedenvironment.h"

#include <gtest/gtest.h>

#include <memory>

namespace {

std::string complaint(const QStringList &args)
{
    QuillonReportArgParser parser(args, Platform::current());
    parser.parseAll();
    return parser.getError().toStdString();
}

QString typeOf(const QStringList &args)
{
    QuillonReportArgParser parser(args, Platform::current());
    parser.parseAll();
    EXPECT_FALSE(parser.hasError()) << parser.getError().toStdString();
    return parser.type();
}

QString help()
{
    return QuillonReportArgParser({}, Platform::current()).helpText();
}

QString outputDocumentation()
{
    for (const BaseArgParser::Option &option : QuillonReportArgParser({}, Platform::current()).options()) {
        if (option.name == kOutput)
            return option.documentation;
    }
    return QString();
}

// A build whose monitoring export can be asked for.
class ParserWithDcim : public QuillonReportArgParser {
public:
    explicit ParserWithDcim(const QStringList &args)
        : QuillonReportArgParser(args, Platform::current())
    {
        arg(true, kDcimOutput, {}, QString(), QString());
        arg(true, kCleanconfig, {}, QString(), QString());
        arg(true, kAutoconfig, {}, QString(), QString());
        parseAll();
    }
};

TEST(ReportType, IsDefaultUnlessChosen)
{
    QuillonReportArgParser parser({"prog"}, Platform::current());
    parser.parseAll();
    EXPECT_EQ(parser.type(), QString("default"));
    EXPECT_FALSE(parser.isTypeExplicit());
}

TEST(ReportType, ChosenExplicitlyEvenAsDefault)
{
    QuillonReportArgParser parser({"--type=default", "prog"}, Platform::current());
    parser.parseAll();
    EXPECT_EQ(parser.type(), QString("default"));
    EXPECT_TRUE(parser.isTypeExplicit());
}

TEST(ReportType, PerfcpumetricsIsAcceptedThoughTheHelpShowsNoType)
{
    EXPECT_EQ(typeOf({"--type", "perfcpumetrics", "prog"}), QString("perfcpumetrics"));
    EXPECT_EQ(typeOf({"--type=trapped", "prog"}), QString("trapped"));
    EXPECT_FALSE(help().contains("--type"));
}

TEST(ReportType, IsCaseSensitiveAndTheMessageListsAllThree)
{
    EXPECT_EQ(complaint({"--type", "Default", "prog"}),
        "value 'Default' for --type not recognised; valid values are default, trapped, perfcpumetrics");
}

TEST(ReportType, GivenTwiceIsCounted)
{
    EXPECT_EQ(
        complaint({"--type=trapped", "--type=trapped", "prog"}), "--type expects 1 argument, received 2");
}

TEST(Contradictions, NothingAtAllIsAMissingTarget)
{
    EXPECT_EQ(complaint({}), "no target or .fern file specified");
    EXPECT_EQ(complaint({"--verbose"}), "no target or .fern file specified");
}

TEST(Contradictions, HelpVersionAndListsNeedNoTarget)
{
    EXPECT_EQ(complaint({"--help"}), "");
    EXPECT_EQ(complaint({"--version"}), "");
    EXPECT_EQ(complaint({"--list-metrics"}), "");
}

TEST(Contradictions, ListMetricsWithAProgramInTheSpellingUsed)
{
    EXPECT_EQ(
        complaint({"--list-metrics", "prog"}), "both --list-metrics and target or .fern file are specified");
    EXPECT_EQ(complaint({"--list-metrics", "mpirun", "-n", "2", "prog"}),
        "both --list-metrics and target or .fern file are specified");
    EXPECT_EQ(complaint({"--list-metrics", "x.fern"}),
        "both --list-metrics and target or .fern file are specified");
}

TEST(Contradictions, TheFirstOfTheThreeThatNeedNoTargetIsNamed)
{
    const QString error
        = ParserWithDcim({"--list-metrics", "--autoconfig", "--cleanconfig", "prog"}).getError();
    EXPECT_EQ(error, QString("both --cleanconfig and target or .fern file are specified"));
}

TEST(Contradictions, ConnectorAndProfileFile)
{
    EXPECT_EQ(ParserWithDcim({"--dcim-output", "x.fern"}).getError(),
        QString("both --dcim-output and .fern file are specified"));
    EXPECT_FALSE(ParserWithDcim({"--dcim-output", "prog"}).hasError());
}

TEST(Contradictions, ConnectorAndProfileFileByEnvironment)
{
    const ScopedEnvironment allowed("BRIVANE_FERN_TO_DCIM", "1");
    EXPECT_FALSE(ParserWithDcim({"--dcim-output", "x.fern"}).hasError());
}

TEST(Contradictions, TheFirstPrefixThatIsSetDecidesAlone)
{
    const ScopedEnvironment allowed("BRIVANE_FERN_TO_DCIM", "1");
    const ScopedEnvironment refused("KELP_FERN_TO_DCIM", "off");
    EXPECT_EQ(ParserWithDcim({"--dcim-output", "x.fern"}).getError(),
        QString("both --dcim-output and .fern file are specified"));
}

TEST(ProfileFiles, AreFernAndDpd)
{
    for (const char *file : {"a.fern", "a.dpd"}) {
        QuillonReportArgParser parser({file}, Platform::current());
        parser.parseAll();
        EXPECT_EQ(parser.getAutoLoadFile(), QString(file));
    }
    QuillonReportArgParser parser({"a.fernx"}, Platform::current());
    parser.parseAll();
    EXPECT_EQ(parser.getAutoLoadFile(), QString());
    EXPECT_EQ(parser.getTarget(), QString("a.fernx"));
}

TEST(OutputHelp, LeavesOutTheAllSuffixByDefault)
{
    EXPECT_EQ(outputDocumentation(),
        QString(
            "writes the Quillon Report to FILE instead of an auto-generated name. If FILE ends in .txt, "
            ".html "
            "or .csv a report of this type will be generated. Otherwise, txt and html reports will be "
            "created "
            "with auto generated names using FILE as a prefix. If FILE is a directory, txt and html reports "
            "with autogenerated names will be placed in that directory."));
}

TEST(OutputHelp, NamesTheAllSuffixWhenItIsAllowed)
{
    const ScopedEnvironment allowed("KELP_ENABLE_ALL_REPORTS_GENERATION", "");
    EXPECT_TRUE(
        outputDocumentation().contains("this type will be generated. If FILE ends in .all, all types of "
                                       "report will be generated with the appropriate extensions. "
                                       "Otherwise, txt"));
}

TEST(OutputHelp, DisabledInAnyCaseIsOff)
{
    const ScopedEnvironment refused("FERN_ENABLE_ALL_REPORTS_GENERATION", "Disabled");
    EXPECT_FALSE(outputDocumentation().contains(".all"));
}

TEST(Help, FitsEightyColumnsAndHasUsageExamplesAndEpilogue)
{
    for (const QString &line : help().split('\n'))
        EXPECT_LE(line.size(), 80) << line.toStdString();
    const QString words = help().simplified();
    EXPECT_TRUE(words.startsWith("Version Information: " + sc_version() + " The build date is "));
    EXPECT_TRUE(words.contains("Run and monitor an MPI program; a quillon report file measuring time"));
    EXPECT_TRUE(
        words.contains("Usage: quillon-report [OPTION...] PROGRAM [PROGRAM_ARGS] quillon-report "
                       "[OPTION...] (mpirun|mpiexec|srun|aprun|...) [MPI_ARGS] PROGRAM [PROGRAM_ARGS] "
                       "quillon-report [OPTION...] FERN_FILE"));
    EXPECT_TRUE(words.contains("-o, --output=FILE writes the Quillon Report to FILE"));
    EXPECT_TRUE(words.contains("Examples: quillon-report "));
    EXPECT_TRUE(words.endsWith("the Quillon Reports and FERN version numbers should match."));
}

TEST(Help, AnnouncesNoOptionThatIsRefused)
{
    for (const BaseArgParser::Option &option : QuillonReportArgParser({}, Platform::current()).options()) {
        QStringList args{BaseArgParser::hyphenate(option.name)};
        if (!option.parameter.isEmpty())
            args.append(option.name == kType ? "default" : "2");
        QuillonReportArgParser parser(args, Platform::current());
        parser.parseOnly();
        EXPECT_FALSE(parser.hasError()) << parser.getError().toStdString();
        EXPECT_TRUE(parser.boolArg(option.name));
    }
}

TEST(Tool, IsNotInteractive)
{
    EXPECT_FALSE(QuillonReportArgParser({}, Platform::current()).isInteractive());
}

} // namespace
