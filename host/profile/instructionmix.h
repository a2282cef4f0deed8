#ifndef HOST_PROFILE_INSTRUCTIONMIX_H
#define HOST_PROFILE_INSTRUCTIONMIX_H

#include "profile/instructiondecoder.h"
#include "profile/spoolreader.h"

#include <QHash>
#include <QVector>

#include <array>

// What a process's instructions were, from the program counters and the code that its spool holds.
//
// The instruction at a program counter alone would tell little: it is the one that waits for a slow one in
// front of it. So each program counter stands for a window of instructions that begins there and goes on as
// the program would: along jumps, and back to the start of a loop. If that way leads back to where it began,
// the window is one turn of the loop.
class BRIVANE_HOST_EXPORT InstructionMix {
public:
    static constexpr int WindowLength = 8;
    static constexpr int LongestLoop = 64; // instructions of a turn; of longer ones, windows are taken
    // Parts of one, by InstructionKind, adding up to 1; all 0 if nothing could be decoded.
    using Shares = std::array<double, InstructionKinds>;

    explicit InstructionMix(
        const SpoolCode &code, InstructionDecoder::Machine machine = InstructionDecoder::thisMachine());

    // The instructions from an address on.
    Shares window(quint64 address);

    // Program counters added up.
    struct Sum {
        Shares shares = {};
        quint64 count = 0;

        // In percent of the program counters; nothing where there are none.
        void fill(fern::spool::Figure *figures) const;
    };
    // Adds a program counter of a thread that was doing `category`.
    void add(quint64 address, quint32 category, Sum *sum);

    // Fills the figures of instructions in a process's bins, in percent of the program counters that fell
    // into them. What a thread did inside of calls of MPI, of file I/O and the like counts as instructions
    // of no kind: reports split that time up in other ways.
    void addTo(const SpoolProcess &process, QVector<fern::spool::Bin> *bins);

private:
    int fetch(quint64 address, quint8 *code, int size) const;
    const Instruction *at(quint64 address);

    InstructionDecoder mDecoder;
    QVector<fern::spool::ProgramCounter> mCounters;
    QHash<quint64, fern::spool::CodeBlock> mBlocks; // by address
    QHash<quint64, Instruction> mInstructions; // by address; with a size of 0 if there is none
    QHash<quint64, Shares> mWindows; // by address
};

#endif
