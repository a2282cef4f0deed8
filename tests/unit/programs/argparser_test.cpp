// What the command lines of all tools have in common.
#include "cli/argparser.h"
#include "cli/fernandquillonreportcommonargs.h"
#include "cli/fernargparser.h"
#include "cli/helptext.h"

#include <gtest/gtest.h>

namespace {

class Parser : public ArgParser, public FERNAndQuillonReportCommonArgs {
public:
    explicit Parser(const QStringList &args)
        : ArgParser(args, Platform::current())
        , FERNAndQuillonReportCommonArgs(static_cast<BaseArgParser &>(*this))
    {
        canAutoLoad("fern");
        arg(true, kOutput, {"o"}, "FILE", "where to write");
        arg(true, kSelectRanks, {}, "RANKS", "which ranks");
        arg(true, kEnableMetrics, {}, "IDS", "more metrics");
        arg(true, kDisableMetrics, {}, "IDS", "fewer metrics");
        arg(false, "secret", {}, QString(), "not for everybody");
        parseAll();
        parseSelectRanks();
        parseMetrics();
        if (!hasError())
            FERNAndQuillonReportCommonArgs::findContradictions();
    }

    bool isInteractive() const override { return false; }
    bool findContradictions() override { return ArgParser::findContradictions(); }
};

std::string complaint(const QStringList &args)
{
    return Parser(args).getError().toStdString();
}

TEST(Options, ValuesStandBesideOrBehindAnEqualsSign)
{
    for (const QStringList &args :
        QList<QStringList>{{"--output", "x.txt"}, {"--output=x.txt"}, {"-o", "x.txt"}, {"-ox.txt"},
            {"-o=x.txt"}, {"-vo", "x.txt"}, {"-o", "y.txt", "--output=x.txt"}}) {
        EXPECT_EQ(Parser(args).getOutputFile(), QString("x.txt")) << args.join(' ').toStdString();
        EXPECT_EQ(complaint(args), "");
    }
    EXPECT_EQ(Parser({"--output=a=b"}).getOutputFile(), QString("a=b"));
    EXPECT_EQ(Parser({"--output", "--quiet"}).getOutputFile(), QString("--quiet"));
    EXPECT_EQ(Parser({"--output="}).getOutputFile(), QString(""));
}

TEST(Options, AllValuesAreKeptInOrder)
{
    EXPECT_EQ(Parser({"-o", "a", "-o", "b"}).listArg(kOutput), (QStringList{"a", "b"}));
}

TEST(Options, TheUsedSpellingIsKept)
{
    EXPECT_EQ(Parser({"-o", "x"}).getUsedName(kOutput), QString("-o"));
    EXPECT_EQ(Parser({"--output=x"}).getUsedName(kOutput), QString("--output"));
    EXPECT_EQ(Parser({}).getUsedName(kOutput), QString("--output"));
}

TEST(Options, EndAtTheProgramsName)
{
    const Parser parser({"-v", "prog", "-o", "x", "--help", "--", "--unknown"});
    EXPECT_FALSE(parser.hasError());
    EXPECT_TRUE(parser.isVerbose());
    EXPECT_FALSE(parser.isHelp());
    EXPECT_EQ(parser.getOutputFile(), QString());
    EXPECT_EQ(parser.getTarget(), QString("prog"));
    EXPECT_EQ(parser.programIndex(), 1);
    EXPECT_EQ(parser.positionals(), (QStringList{"prog", "-o", "x", "--help", "--", "--unknown"}));
}

TEST(Options, EndAtTwoHyphens)
{
    const Parser parser({"-v", "--", "-prog", "-x"});
    EXPECT_FALSE(parser.hasError());
    EXPECT_EQ(parser.getTarget(), QString("-prog"));
    EXPECT_EQ(parser.programIndex(), 2);
}

TEST(Options, MayFollowAFileToLoad)
{
    const Parser parser({"run.fern", "-o", "x.txt"});
    EXPECT_FALSE(parser.hasError());
    EXPECT_EQ(parser.getAutoLoadFile(), QString("run.fern"));
    EXPECT_EQ(parser.getOutputFile(), QString("x.txt"));
    EXPECT_EQ(parser.programIndex(), -1);
}

TEST(Options, UnknownOnesNameTheNearestKnownOne)
{
    EXPECT_EQ(complaint({"--ouput", "x"}), "unknown option '--ouput'; did you mean '--output'?");
    EXPECT_EQ(complaint({"--out=x"}), "unknown option '--out'; did you mean '--output'?");
    EXPECT_EQ(complaint({"--Verbose"}), "unknown option '--Verbose'; did you mean '--verbose'?");
    EXPECT_EQ(complaint({"-O", "x"}), "unknown option '-O'; did you mean '-o'?");
    EXPECT_EQ(complaint({"-output", "x"}), "unknown option '-output'; did you mean '--output'?");
    EXPECT_EQ(complaint({"--hepl"}), "unknown option '--hepl'; did you mean '--help'?");
}

TEST(Options, UnknownOnesFarFromAllNameNone)
{
    EXPECT_EQ(complaint({"--xyzzy"}), "unknown option '--xyzzy'");
    EXPECT_EQ(complaint({"-z"}), "unknown option '-z'");
    EXPECT_EQ(complaint({"--secre"}), "unknown option '--secre'") << "hidden options aren't given away";
}

TEST(Options, AMissingValueIsNamed)
{
    EXPECT_EQ(complaint({"--output"}), "option '--output' needs a value: --output FILE");
    EXPECT_EQ(complaint({"-vo"}), "option '-o' needs a value: -o FILE");
}

TEST(Options, AFlagTakesNoValue)
{
    EXPECT_EQ(complaint({"--verbose=yes"}), "option '--verbose' takes no value");
}

TEST(Options, TheFirstErrorStays)
{
    EXPECT_EQ(complaint({"--xyzzy", "--output"}), "unknown option '--xyzzy'");
}

TEST(Options, ANameThatIsNotInTheTableWasNotGiven)
{
    const Parser parser({"prog"});
    EXPECT_FALSE(parser.boolArg("nonesuch"));
    EXPECT_FALSE(parser.isCleanConfig());
    EXPECT_EQ(parser.stringArg("nonesuch"), QString());
}

TEST(Job, ALauncherIsNoTarget)
{
    const Parser parser({"/opt/mpi/bin/mpirun", "-n", "2", "prog"});
    EXPECT_EQ(parser.getMpirunCommand(), QString("/opt/mpi/bin/mpirun"));
    EXPECT_EQ(parser.getTarget(), QString());
    EXPECT_EQ(parser.programIndex(), 0);
}

TEST(Job, VerboseAndQuietContradictEachOther)
{
    EXPECT_EQ(complaint({"-v", "--quiet", "prog"}), "both -v and --quiet are given");
}

TEST(Job, AFileToLoadStandsAlone)
{
    EXPECT_EQ(
        complaint({"a.fern", "b.fern"}), "'a.fern' is loaded, so that 'b.fern' is one argument too many");
    EXPECT_EQ(
        complaint({"a.fern", "prog", "-x"}), "'a.fern' is loaded, so that 'prog' is one argument too many");
    EXPECT_EQ(complaint({"--input=in.txt", "a.fern"}),
        "'a.fern' is loaded and no program run, so that --input has no meaning");
}

TEST(Ranks, AreNumbersAndRanges)
{
    const Parser parser({"--select-ranks", "4-6,0, 9,10", "prog"});
    EXPECT_FALSE(parser.hasError());
    EXPECT_EQ(parser.getSelectRanks().toString(), QString("0,4-6,9,10"));
    EXPECT_TRUE(parser.getSelectRanks().contains(5));
    EXPECT_FALSE(parser.getSelectRanks().contains(7));
    EXPECT_TRUE(Parser({"prog"}).getSelectRanks().isEmpty());
}

TEST(Ranks, AnythingElseIsRefused)
{
    for (const char *text :
        {"", "a", "1-", "-1", "3-1", "1,,2", "1.5", "99999999999", "0-10000000", "1-2-3"}) {
        const Parser parser({"--select-ranks", text, "prog"});
        EXPECT_EQ(parser.getError(),
            QString("value '%1' for --select-ranks is no list of ranks such as 0,4-7").arg(text));
        EXPECT_TRUE(parser.getSelectRanks().isEmpty());
    }
}

TEST(ProfileOptions, HaveNumbersWithinBounds)
{
    EXPECT_EQ(Parser({"--samples=2", "prog"}).getSamples(), 2);
    EXPECT_EQ(Parser({"--samples", "1000", "prog"}).getSamples(), 1000);
    EXPECT_EQ(Parser({"--interval=60000", "prog"}).getInterval(), 60000);
    EXPECT_EQ(Parser({"prog"}).getSamples(), 0);
    EXPECT_EQ(
        complaint({"--samples=1001", "prog"}), "value '1001' for --samples is no number from 2 to 1000");
    EXPECT_EQ(
        complaint({"--interval=5ms", "prog"}), "value '5ms' for --interval is no number from 1 to 60000");
    EXPECT_EQ(complaint({"--samples=5", "x.fern"}),
        "'x.fern' is loaded and no program run, so that --samples has no meaning");
}

TEST(ManualLaunch, NeedsNoProgramAndTakesNone)
{
    EXPECT_TRUE(Parser({"--manual"}).isManualLaunch());
    EXPECT_EQ(complaint({"--manual"}), "");
    EXPECT_EQ(complaint({"--manual", "prog"}), "both --manual and a program are given");
    EXPECT_EQ(complaint({"--manual", "-i", "in.txt"}), "no program is run, so that -i has no meaning");
}

TEST(Options, AToolsOwnComeBeforeThoseOfSeveralToolsAndOfAll)
{
    QStringList names;
    for (const BaseArgParser::Option &option : FernArgParser({}, Platform::current()).options())
        names.append(option.name);
    EXPECT_EQ(names.first(), kOutput);
    EXPECT_LT(names.indexOf(kOutput), names.indexOf(kSelectRanks));
    EXPECT_LT(names.indexOf(kSelectRanks), names.indexOf(kInput));
    EXPECT_EQ(names.last(), kHelp);
}

TEST(Metrics, CanNotBeBothEnabledAndDisabled)
{
    const Parser parser({"--enable-metrics=a,b", "--enable-metrics", "c", "--disable-metrics=d", "prog"});
    EXPECT_EQ(parser.getEnabledMetrics(), (QStringList{"a", "b", "c"}));
    EXPECT_EQ(parser.getDisabledMetrics(), (QStringList{"d"}));
    EXPECT_EQ(complaint({"--enable-metrics=a,b", "--disable-metrics=b", "prog"}),
        "metric 'b' is named by both --enable-metrics and --disable-metrics");
}

TEST(Help, ShowsATableOfTheShownOptions)
{
    const QString text = formatHelp("Usage: x\n\n",
        {{true, "output", {"o"}, "FILE",
             "where the one and only report of the whole run is to be written to"},
            {true, "a-very-long-option-name", {}, QString(), "beside it"},
            {false, "secret", {}, "X", "hidden"}},
        {{"x -o y", "Does it."}}, "\nThe end.\n");
    EXPECT_EQ(text,
        QString("Usage: x\n\nOptions:\n"
                "  -o, --output=FILE     where the one and only report of the whole run is to be\n"
                "                        written to\n"
                "      --a-very-long-option-name\n"
                "                        beside it\n"
                "\nExamples:\n  x -o y\n      Does it.\n\nThe end.\n"));
}

TEST(Help, WrapsBetweenWordsOnly)
{
    EXPECT_EQ(wrapText("one two three", 7), QString("one two\nthree"));
    EXPECT_EQ(wrapText("  one two three", 7, 1), QString("  one\n   two\n   three"));
    EXPECT_EQ(wrapText("unbreakable", 4), QString("unbreakable"));
    EXPECT_EQ(wrapText("a\n\nb\n", 4), QString("a\n\nb\n"));
}

std::string fernComplaint(const QStringList &args)
{
    FernArgParser parser(args, Platform::current());
    parser.parseAll();
    return parser.getError().toStdString();
}

TEST(FernCommandLine, WantsAProgram)
{
    EXPECT_EQ(fernComplaint({}), "no program to run");
    EXPECT_EQ(fernComplaint({"--help"}), "");
    EXPECT_EQ(fernComplaint({"prog"}), "");
    EXPECT_EQ(fernComplaint({"mpirun", "prog"}), "");
    EXPECT_EQ(fernComplaint({"x.fern"}), "'x.fern' is a profile already; quillon-report makes reports of it");
    EXPECT_EQ(fernComplaint({"--list-metrics", "prog"}), "both --list-metrics and a program are given");
    EXPECT_EQ(fernComplaint({"--list-metrics", "--manual"}), "both --list-metrics and --manual are given");
}

TEST(FernCommandLine, HelpFitsEightyColumns)
{
    for (const QString &line : FernArgParser({}, Platform::current()).helpText().split('\n'))
        EXPECT_LE(line.size(), 80) << line.toStdString();
}

} // namespace
