// The program that writes the MPI wrappers: what it makes of a row, and what it says of a bad one.

#include "mpi/generator/wrapperwriter.h"

#include <gtest/gtest.h>

#include <ostream>
#include <sstream>

using namespace fern::mpi::generator;

namespace {

CallTable tableOf(const std::string &text)
{
    std::istringstream stream(text);
    return readCallTable(stream);
}

std::string sourceOf(const std::string &row, Binding binding)
{
    const CallTable table = tableOf(row);
    EXPECT_EQ(table.complaint, "");
    return wrappersOf(table.rows, binding);
}

struct BadTable {
    const char *text;
    const char *complaint;
};

void PrintTo(const BadTable &table, std::ostream *stream)
{
    *stream << table.text;
}

class MpiBadTable : public testing::TestWithParam<BadTable> { };

} // namespace

TEST(MpiWriter, WritesACallThatCounts)
{
    const std::string source = sourceOf("Isend 7 8 0 3.1 - p2p send(1,2,3) request", Binding::C);
    EXPECT_NE(source.find(
                  "FERN_ENTRY Word MPI_Isend(Word a0, Word a1, Word a2, Word a3, Word a4, Word a5, Word a6)\n"
                  "{\n"
                  "    static Known known;\n"
                  "    return wrap<Binding::C, Counts::Int, spool::MpiPointToPoint, "
                  "action::OnRequest<payload::Send<1, 2, 3>, 6>, InC>(\n"
                  "        known, {\"Isend\", __builtin_return_address(0)}, a0, a1, a2, a3, a4, a5, a6);\n"
                  "}\n"),
        std::string::npos)
        << source;
}

TEST(MpiWriter, HandsOnFortransResultAndTheLengthsOfTexts)
{
    const std::string source = sourceOf("Info_set 3 4 2 3.1 - other - -", Binding::Fortran);
    EXPECT_NE(source.find("mpi_info_set_(Word a0, Word a1, Word a2, Word a3, Word a4, Word a5)"),
        std::string::npos);
    EXPECT_NE(source.find("action::None, 3>("), std::string::npos) << source;
}

TEST(MpiWriter, KnowsFortransNamesOfSeveralCompilers)
{
    EXPECT_EQ(symbolsOf(tableOf("Wait 2 3 0 3.1 - p2p - wait").rows),
        "MPI_Wait\nmpi_wait_\nmpi_wait\nmpi_wait__\nMPI_WAIT\nmpi_wait_f08_\n");
    EXPECT_EQ(symbolsOf(tableOf("T_finalize 0 0 0 3.1 - other - -").rows), "MPI_T_finalize\n");
}

TEST(MpiWriter, HidesNamesThatALibraryMayNotHave)
{
    EXPECT_EQ(symbolsOf(tableOf("T_event_copy 2 0 0 4.0 - other - -").rows), "MPI_T_event_copy@FERN_LATER\n");
    const std::string source = sourceOf("T_event_copy 2 0 0 4.0 - other - -", Binding::C);
    EXPECT_NE(
        source.find(".symver fern_later_MPI_T_event_copy,MPI_T_event_copy@FERN_LATER"), std::string::npos);
}

TEST(MpiWriter, WritesLargeCountsInCAlone)
{
    const char *row = "Send 6 7 0 3.1 _c p2p send(1,2,3) call";
    EXPECT_EQ(symbolsOf(tableOf(row).rows),
        "MPI_Send\nMPI_Send_c@FERN_LATER\nmpi_send_\nmpi_send\nmpi_send__\nMPI_SEND\nmpi_send_f08_\n");
    EXPECT_NE(sourceOf(row, Binding::C).find("Counts::Large"), std::string::npos);
    EXPECT_EQ(sourceOf(row, Binding::Fortran).find("Counts::Large"), std::string::npos);
}

TEST(MpiWriter, WritesCallsThatChangeWhatTheSamplerKnows)
{
    EXPECT_NE(sourceOf("Init 2 1 0 3.1 - other - init", Binding::Fortran)
                  .find("wrapAround<Binding::Fortran, lifecycle::Init, 0>("),
        std::string::npos);
}

TEST(MpiCallTable, LeavesOutCommentsAndBlankLines)
{
    const CallTable table = tableOf("# a comment\n\nBarrier 1 2 0 3.1 - collective - - # another\n");
    EXPECT_EQ(table.complaint, "");
    ASSERT_EQ(table.rows.size(), 1U);
    EXPECT_EQ(table.rows[0].name, "Barrier");
    EXPECT_EQ(table.rows[0].rule, "");
}

TEST_P(MpiBadTable, IsRefusedWithTheLine)
{
    EXPECT_EQ(tableOf(GetParam().text).complaint, GetParam().complaint);
}

INSTANTIATE_TEST_SUITE_P(Sampler, MpiBadTable,
    testing::Values(BadTable{"", "no calls"}, BadTable{"\nSend 6 7\n", "line 2: 3 columns instead of 9"},
        BadTable{"Send x 7 0 3.1 - p2p - -", "line 1: \"x\" is no number of arguments"},
        BadTable{"Send 100 7 0 3.1 - p2p - -", "line 1: \"100\" is no number of arguments"},
        BadTable{"Send 6 1 2 3.1 - p2p - -", "line 1: more texts than arguments"},
        BadTable{"Send 6 7 0 2.0 - p2p - -", "line 1: \"2.0\" is no version of MPI that is known"},
        BadTable{"Send 6 7 0 3.1 c p2p - -", "line 1: \"c\" is neither \"_c\" nor \"-\""},
        BadTable{"Send 6 7 0 3.1 - p3p - -", "line 1: \"p3p\" is no category"},
        BadTable{"Send 6 7 0 3.1 - p2p send(1,6) call", "line 1: \"6\" is no argument of Send"},
        BadTable{"Send 6 7 0 3.1 - p2p send(1 call", "line 1: \"send(1\" is no rule for bytes"},
        BadTable{"Send 6 7 0 3.1 - p2p send(1,2,3) -", "line 1: \"-\" doesn't count bytes"},
        BadTable{"Send 6 7 0 3.1 - p2p - often", "line 1: \"often\" is no action"},
        BadTable{"Send 6 7 0 3.1 - p2p - -\nSend 6 7 0 3.1 - p2p - -", "line 2: Send stands there twice"}));
