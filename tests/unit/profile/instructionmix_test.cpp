// How machine code is classified, and what a program counter stands for.

#include "profile/instructionmix.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <vector>

namespace {

using Kind = InstructionKind;
using Bytes = std::vector<quint8>;

struct Row {
    const char *text;
    Bytes code;
    Kind kind;
};

void expectKinds(InstructionDecoder::Machine machine, const std::vector<Row> &rows)
{
    InstructionDecoder decoder(machine);
    for (const Row &row : rows) {
        Instruction instruction;
        ASSERT_TRUE(decoder.decode(row.code.data(), int(row.code.size()), 0x1000, &instruction)) << row.text;
        EXPECT_EQ(int(instruction.kind), int(row.kind)) << row.text;
        EXPECT_EQ(instruction.size, int(row.code.size())) << row.text;
    }
}

fern::spool::CodeBlock blockAt(quint64 address, const Bytes &code)
{
    fern::spool::CodeBlock block = {};
    block.address = address;
    std::memset(block.code, 0x90, sizeof(block.code)); // no-operations
    std::memcpy(block.code, code.data(), code.size());
    return block;
}

double percent(const InstructionMix::Shares &shares, Kind kind)
{
    return 100.0 * shares[std::size_t(kind)];
}

TEST(InstructionDecoder, TellsKindsOfX86Apart)
{
    expectKinds(InstructionDecoder::X86_64,
        {
            {"addsd xmm0, xmm1", {0xf2, 0x0f, 0x58, 0xc1}, Kind::ScalarFp},
            {"addsd xmm0, [rdi]", {0xf2, 0x0f, 0x58, 0x07}, Kind::ScalarFp},
            {"ucomisd xmm0, xmm1", {0x66, 0x0f, 0x2e, 0xc1}, Kind::ScalarFp},
            {"cvttsd2si rax, xmm0", {0xf2, 0x48, 0x0f, 0x2c, 0xc0}, Kind::ScalarFp},
            {"cvtsi2sd xmm0, rax", {0xf2, 0x48, 0x0f, 0x2a, 0xc0}, Kind::ScalarFp},
            {"vfmadd231sd xmm0, xmm1, xmm2", {0xc4, 0xe2, 0xf1, 0xb9, 0xc2}, Kind::ScalarFp},
            {"fadd st0, st1", {0xd8, 0xc1}, Kind::ScalarFp},
            {"fld qword [rdi]", {0xdd, 0x07}, Kind::Memory},
            {"addps xmm0, xmm1", {0x0f, 0x58, 0xc1}, Kind::VectorFp},
            {"vaddpd ymm0, ymm1, ymm2", {0xc5, 0xf5, 0x58, 0xc2}, Kind::VectorFp},
            {"vfmadd231ps ymm0, ymm1, ymm2", {0xc4, 0xe2, 0x75, 0xb8, 0xc2}, Kind::VectorFp},
            {"cvttps2dq xmm0, xmm1", {0xf3, 0x0f, 0x5b, 0xc1}, Kind::VectorFp},
            {"vaddpd zmm0, zmm1, zmm2", {0x62, 0xf1, 0xf5, 0x48, 0x58, 0xc2}, Kind::VectorFp},
            {"paddd xmm0, xmm1", {0x66, 0x0f, 0xfe, 0xc1}, Kind::VectorInt},
            {"pabsd xmm0, xmm1", {0x66, 0x0f, 0x38, 0x1e, 0xc1}, Kind::VectorInt},
            {"vpmulld ymm0, ymm1, ymm2", {0xc4, 0xe2, 0x75, 0x40, 0xc2}, Kind::VectorInt},
            {"movups xmm0, [rdi]", {0x0f, 0x10, 0x07}, Kind::Memory},
            {"movsd [rdi], xmm0", {0xf2, 0x0f, 0x11, 0x07}, Kind::Memory},
            {"movaps xmm0, xmm1", {0x0f, 0x28, 0xc1}, Kind::Other},
            {"add rax, rbx", {0x48, 0x01, 0xd8}, Kind::ScalarInt},
            {"add rax, [rbx]", {0x48, 0x03, 0x03}, Kind::ScalarInt},
            {"lea rax, [rbx + 8]", {0x48, 0x8d, 0x43, 0x08}, Kind::ScalarInt},
            {"cmp eax, 7", {0x83, 0xf8, 0x07}, Kind::ScalarInt},
            {"popcnt eax, ebx", {0xf3, 0x0f, 0xb8, 0xc3}, Kind::ScalarInt},
            {"mov rax, [rbx]", {0x48, 0x8b, 0x03}, Kind::Memory},
            {"mov [rbx], rax", {0x48, 0x89, 0x03}, Kind::Memory},
            {"push rbp", {0x55}, Kind::Memory},
            {"rep movsb", {0xf3, 0xa4}, Kind::Memory},
            {"mov rax, rbx", {0x48, 0x89, 0xd8}, Kind::Other},
            {"nop [rax]", {0x0f, 0x1f, 0x00}, Kind::Other},
            {"endbr64", {0xf3, 0x0f, 0x1e, 0xfa}, Kind::Other},
            {"pause", {0xf3, 0x90}, Kind::Other},
            {"jne", {0x75, 0x02}, Kind::Branch},
            {"call", {0xe8, 0x00, 0x00, 0x00, 0x00}, Kind::Branch},
            {"ret", {0xc3}, Kind::Branch},
        });
}

TEST(InstructionDecoder, TellsKindsOfAArch64Apart)
{
    expectKinds(InstructionDecoder::AArch64,
        {
            {"fadd d0, d1, d2", {0x20, 0x28, 0x62, 0x1e}, Kind::ScalarFp},
            {"fmadd d0, d1, d2, d3", {0x20, 0x0c, 0x42, 0x1f}, Kind::ScalarFp},
            {"fadd v0.2d, v1.2d, v2.2d", {0x20, 0xd4, 0x62, 0x4e}, Kind::VectorFp},
            {"add v0.4s, v1.4s, v2.4s", {0x20, 0x84, 0xa2, 0x4e}, Kind::VectorInt},
            {"add x0, x1, x2", {0x20, 0x00, 0x02, 0x8b}, Kind::ScalarInt},
            {"cmp x0, #1", {0x1f, 0x04, 0x00, 0xf1}, Kind::ScalarInt},
            {"ldr x0, [x1]", {0x20, 0x00, 0x40, 0xf9}, Kind::Memory},
            {"str q0, [x1]", {0x20, 0x00, 0x80, 0x3d}, Kind::Memory},
            {"mov x0, x1", {0xe0, 0x03, 0x01, 0xaa}, Kind::Other},
            {"nop", {0x1f, 0x20, 0x03, 0xd5}, Kind::Other},
            {"b.ne", {0x41, 0x00, 0x00, 0x54}, Kind::Branch},
            {"cbnz x0", {0x40, 0x00, 0x00, 0xb5}, Kind::Branch},
            {"bl", {0x02, 0x00, 0x00, 0x94}, Kind::Branch},
            {"ret", {0xc0, 0x03, 0x5f, 0xd6}, Kind::Branch},
        });
}

TEST(InstructionDecoder, RefusesWhatIsNoInstruction)
{
    InstructionDecoder decoder(InstructionDecoder::X86_64);
    Instruction instruction;
    const quint8 invalid[] = {0x06};
    EXPECT_FALSE(decoder.decode(invalid, 1, 0, &instruction));
    EXPECT_FALSE(decoder.decode(invalid, 0, 0, &instruction));
}

TEST(InstructionMix, LoopCountsAsOneTurnWhereverItWasMet)
{
    // mov rax, [rax]; mov rax, [rax]; add rcx, 1; sub rdx, 1; jnz to the start
    SpoolCode code;
    code.blocks.append(blockAt(0x1000,
        {0x48, 0x8b, 0x00, 0x48, 0x8b, 0x00, 0x48, 0x83, 0xc1, 0x01, 0x48, 0x83, 0xea, 0x01, 0x75, 0xf0}));
    InstructionMix mix(code, InstructionDecoder::X86_64);
    for (const quint64 address : {0x1000, 0x1003, 0x1006, 0x100a, 0x100e}) {
        const InstructionMix::Shares shares = mix.window(address);
        EXPECT_NEAR(percent(shares, Kind::Memory), 40, 1e-9) << address;
        EXPECT_NEAR(percent(shares, Kind::ScalarInt), 40, 1e-9) << address;
        EXPECT_NEAR(percent(shares, Kind::Branch), 20, 1e-9) << address;
    }
}

TEST(InstructionMix, WindowFollowsAJumpIntoAnotherBlock)
{
    // jmp to 0x1080, where eight additions are
    SpoolCode code;
    code.blocks.append(blockAt(0x1000, {0xeb, 0x7e}));
    Bytes additions;
    for (int i = 0; i < 8; ++i)
        additions.insert(additions.end(), {0x48, 0x01, 0xd8});
    code.blocks.append(blockAt(0x1080, additions));
    InstructionMix mix(code, InstructionDecoder::X86_64);
    EXPECT_NEAR(percent(mix.window(0x1000), Kind::Branch), 12.5, 1e-9);
    EXPECT_NEAR(percent(mix.window(0x1000), Kind::ScalarInt), 87.5, 1e-9);
}

TEST(InstructionMix, WindowEndsWhereTheCodeIsUnknown)
{
    // add rax, rbx; ret
    SpoolCode code;
    code.blocks.append(blockAt(0x1000, {0x48, 0x01, 0xd8, 0xc3}));
    InstructionMix mix(code, InstructionDecoder::X86_64);
    EXPECT_NEAR(percent(mix.window(0x1000), Kind::ScalarInt), 50, 1e-9);
    const InstructionMix::Shares none = mix.window(0x5000);
    EXPECT_EQ(std::count(none.begin(), none.end(), 0.0), InstructionKinds);
}

TEST(InstructionMix, TimeInsideOfCallsIsOfNoKind)
{
    using namespace fern::spool;
    SpoolCode code;
    code.blocks.append(blockAt(0x1000, {0x48, 0x01, 0xd8, 0xc3})); // add; ret
    code.counters = {{0x1000, 10, Compute}, {0x1000, 20, MpiCollective}, {0x5000, 30, Compute},
        {0x1000, 110, PthreadCompute}};
    SpoolProcess process;
    process.intervalNs = 100 * 1000 * 1000;
    process.binCount = 2;
    QVector<Bin> bins(2);
    InstructionMix(code, InstructionDecoder::X86_64).addTo(process, &bins);
    const Figure &first = bins[0].figures[FigureInstrInt];
    EXPECT_EQ(first.count, 2U) << "code that nobody knows says nothing";
    EXPECT_NEAR(first.sum / double(first.count), 25, 1e-9);
    EXPECT_NEAR(bins[1].figures[FigureInstrInt].sum, 50, 1e-9);
    EXPECT_EQ(bins[1].figures[FigureInstrMemory].count, 1U) << "none is a figure, too";
}

} // namespace
