#include "profile/instructionmix.h"

#include <algorithm>
#include <cstring>

using fern::spool::Bin;
using fern::spool::CodeBlock;
using fern::spool::CodeBlockSize;
using fern::spool::Figure;
using fern::spool::ProgramCounter;

namespace {

constexpr int LongestInstruction = 15; // bytes, x86-64
constexpr qint64 NsPerMs = 1000000;

// A figure and the kinds that it counts.
struct Row {
    fern::spool::FigureId figure;
    std::array<InstructionKind, 2> kinds; // the same one twice for a single one
};

constexpr Row Rows[] = {
    {fern::spool::FigureInstrVectorFp, {InstructionKind::VectorFp, InstructionKind::VectorFp}},
    {fern::spool::FigureInstrVectorInt, {InstructionKind::VectorInt, InstructionKind::VectorInt}},
    {fern::spool::FigureInstrFp, {InstructionKind::ScalarFp, InstructionKind::VectorFp}},
    {fern::spool::FigureInstrInt, {InstructionKind::ScalarInt, InstructionKind::VectorInt}},
    {fern::spool::FigureInstrMemory, {InstructionKind::Memory, InstructionKind::Memory}},
};

double share(const InstructionMix::Shares &shares, const Row &row)
{
    const double first = shares[std::size_t(row.kinds[0])];
    return row.kinds[0] == row.kinds[1] ? first : first + shares[std::size_t(row.kinds[1])];
}

bool isComputing(quint32 category)
{
    using namespace fern::spool;
    return category == Compute || category == OpenMp || category == PthreadCompute;
}

bool isEmpty(const InstructionMix::Shares &shares)
{
    return std::all_of(shares.begin(), shares.end(), [](double part) { return part == 0; });
}

// Where a program goes on behind an instruction; 0 if that can't be told. A jump back under a condition is
// the end of a loop, and is taken.
quint64 nextOf(const Instruction &instruction, quint64 address)
{
    const bool goesBack = instruction.flow == Instruction::MayJump && instruction.target <= address;
    if (instruction.flow == Instruction::Jumps || goesBack)
        return instruction.target;
    return instruction.flow == Instruction::Ends ? 0 : address + quint64(instruction.size);
}

} // namespace

InstructionMix::InstructionMix(const SpoolCode &code, InstructionDecoder::Machine machine)
    : mDecoder(machine)
    , mCounters(code.counters)
{
    for (const CodeBlock &block : code.blocks)
        mBlocks.insert(block.address, block);
}

int InstructionMix::fetch(quint64 address, quint8 *code, int size) const
{
    int done = 0;
    while (done < size) {
        const quint64 at = address + quint64(done);
        const auto block = mBlocks.constFind(at - at % CodeBlockSize);
        if (block == mBlocks.constEnd())
            break;
        const int offset = int(at % CodeBlockSize);
        const int part = std::min(size - done, int(CodeBlockSize) - offset);
        std::memcpy(code + done, block->code + offset, std::size_t(part));
        done += part;
    }
    return done;
}

// Null if there is no instruction, or not all of it is known.
const Instruction *InstructionMix::at(quint64 address)
{
    auto known = mInstructions.find(address);
    if (known == mInstructions.end()) {
        quint8 code[LongestInstruction];
        const int size = fetch(address, code, LongestInstruction);
        Instruction instruction;
        if (!mDecoder.decode(code, size, address, &instruction))
            instruction = Instruction();
        known = mInstructions.insert(address, instruction);
    }
    return known->size > 0 ? &*known : nullptr;
}

InstructionMix::Shares InstructionMix::window(quint64 address)
{
    if (const auto known = mWindows.constFind(address); known != mWindows.constEnd())
        return *known;
    std::array<InstructionKind, LongestLoop> kinds;
    int count = 0;
    quint64 next = address;
    do {
        const Instruction *instruction = at(next);
        if (!instruction)
            break;
        kinds[std::size_t(count++)] = instruction->kind;
        next = nextOf(*instruction, next);
    } while (next != 0 && next != address && count < LongestLoop);
    if (next != address)
        count = std::min(count, WindowLength);

    Shares shares = {};
    for (int i = 0; i < count; ++i)
        shares[std::size_t(kinds[std::size_t(i)])] += 1.0 / count;
    mWindows.insert(address, shares);
    return shares;
}

void InstructionMix::Sum::fill(Figure *figures) const
{
    if (count == 0)
        return;
    for (const Row &row : Rows) {
        const double percents = 100.0 * share(shares, row);
        const double mean = percents / double(count);
        figures[row.figure] = {percents, mean, mean, count};
    }
}

void InstructionMix::add(quint64 address, quint32 category, Sum *sum)
{
    const Shares shares = isComputing(category) ? window(address) : Shares();
    if (isComputing(category) && isEmpty(shares))
        return;
    for (std::size_t kind = 0; kind < shares.size(); ++kind)
        sum->shares[kind] += shares[kind];
    ++sum->count;
}

void InstructionMix::addTo(const SpoolProcess &process, QVector<Bin> *bins)
{
    QVector<Sum> sums(bins->size());
    for (const ProgramCounter &counter : mCounters) {
        const qint64 ns = process.startNs + counter.timeMs * NsPerMs - process.firstBinNs;
        const qint64 bin = std::clamp<qint64>(ns / process.intervalNs, 0, bins->size() - 1);
        add(counter.address, counter.category, &sums[int(bin)]);
    }
    for (int bin = 0; bin < sums.size(); ++bin)
        sums[bin].fill((*bins)[bin].figures);
}
