#ifndef HOST_PROFILE_INSTRUCTIONDECODER_H
#define HOST_PROFILE_INSTRUCTIONDECODER_H

#include "core/export.h"

#include <QtGlobal>

#include <memory>

// What an instruction does. Arithmetic is arithmetic wherever its operands lie; Memory are the instructions
// that only move data from or to memory.
enum class InstructionKind {
    ScalarFp,
    VectorFp,
    ScalarInt,
    VectorInt,
    Memory,
    Branch, // jumps, calls, returns
    Other // moves between registers, no-operations, synchronisation, ...
};
constexpr int InstructionKinds = int(InstructionKind::Other) + 1;

struct Instruction {
    InstructionKind kind = InstructionKind::Other;
    int size = 0; // bytes
    enum Flow {
        GoesOn, // also calls, which come back, and jumps under a condition
        Jumps, // to `target`, always
        MayJump, // to `target`, under a condition
        Ends // jumps somewhere that isn't in the instruction
    } flow
        = GoesOn;
    quint64 target = 0;
};

// Decodes machine code.
class BRIVANE_HOST_EXPORT InstructionDecoder {
public:
    enum Machine { X86_64, AArch64 };
    static Machine thisMachine();

    explicit InstructionDecoder(Machine machine);
    ~InstructionDecoder();
    InstructionDecoder(const InstructionDecoder &) = delete;
    InstructionDecoder &operator=(const InstructionDecoder &) = delete;

    // The instruction that `size` bytes of code at `address` begin with. False if it is none or lacks bytes.
    bool decode(const quint8 *code, int size, quint64 address, Instruction *instruction);

private:
    struct Engine;
    std::unique_ptr<Engine> mEngine;
};

#endif
