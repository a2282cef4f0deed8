#include "profile/instructiondecoder.h"

#include <capstone/capstone.h>

#include <algorithm>
#include <cstddef>
#include <initializer_list>
#include <string_view>

using std::string_view;

struct InstructionDecoder::Engine {
    csh handle = 0;
    cs_insn *instruction = nullptr;
    Machine machine = X86_64;
};

namespace {

bool startsWith(string_view text, string_view start)
{
    return text.substr(0, start.size()) == start;
}

bool endsWith(string_view text, string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

bool contains(string_view text, string_view part)
{
    return text.find(part) != string_view::npos;
}

template <typename Test> bool any(string_view text, std::initializer_list<string_view> words, Test test)
{
    return std::any_of(words.begin(), words.end(), [&](string_view word) { return test(text, word); });
}

bool isOneOf(string_view text, std::initializer_list<string_view> words)
{
    return std::find(words.begin(), words.end(), text) != words.end();
}

bool isIn(const cs_detail &detail, std::initializer_list<int> groups)
{
    return std::any_of(detail.groups, detail.groups + detail.groups_count,
        [&](int group) { return std::find(groups.begin(), groups.end(), group) != groups.end(); });
}

// x86-64

bool isSimdRegister(int reg)
{
    return (reg >= X86_REG_XMM0 && reg <= X86_REG_ZMM31) || (reg >= X86_REG_MM0 && reg <= X86_REG_MM7);
}

bool hasSimdRegister(const cs_x86 &x86)
{
    return std::any_of(x86.operands, x86.operands + x86.op_count,
        [](const cs_x86_op &operand) { return operand.type == X86_OP_REG && isSimdRegister(operand.reg); });
}

bool hasMemoryOperand(const cs_x86 &x86)
{
    return std::any_of(x86.operands, x86.operands + x86.op_count,
        [](const cs_x86_op &operand) { return operand.type == X86_OP_MEM; });
}

InstructionKind moveKind(bool touchesMemory)
{
    return touchesMemory ? InstructionKind::Memory : InstructionKind::Other;
}

InstructionKind simdKind(string_view name, bool touchesMemory)
{
    if (name.front() == 'v')
        name.remove_prefix(1);
    if (any(name,
            {"mov", "lddqu", "maskmov", "pmaskmov", "broadcast", "pbroadcast", "gather", "pgather", "scatter",
                "pscatter"},
            startsWith))
        return moveKind(touchesMemory);
    if (any(name, {"ss", "sd"}, endsWith) && name.front() != 'p')
        return InstructionKind::ScalarFp;
    if (any(name, {"ss2", "sd2"}, contains)) // conversions to integers
        return InstructionKind::ScalarFp;
    const bool ofReals
        = any(name, {"ps", "pd"}, endsWith) || any(name, {"ps2", "pd2", "f128", "f32x", "f64x"}, contains);
    return ofReals ? InstructionKind::VectorFp : InstructionKind::VectorInt;
}

InstructionKind x87Kind(string_view name, bool touchesMemory)
{
    if (any(name, {"fld", "fst", "fild", "fist", "fxch", "fnst", "fcmov"}, startsWith))
        return moveKind(touchesMemory);
    return isOneOf(name, {"fnop", "fwait", "wait", "fninit", "fnclex"}) ? InstructionKind::Other
                                                                        : InstructionKind::ScalarFp;
}

InstructionKind generalKind(string_view name, bool touchesMemory)
{
    if (any(name, {"push", "pop", "lods", "stos", "xlat"}, startsWith) && name != "popcnt")
        return InstructionKind::Memory;
    if (isOneOf(name, {"leave", "enter", "cmpxchg", "xadd", "cmpxchg16b"}))
        return InstructionKind::Memory;
    if (any(name, {"mov", "cmov", "xchg", "set", "rep mov", "rep stos", "kmov", "prefetch", "bswap"},
            startsWith))
        return moveKind(touchesMemory);
    if (any(name,
            {"nop", "endbr", "pause", "cpuid", "rdtsc", "xgetbv", "syscall", "vzero", "ud", "int", "hlt",
                "cbw", "cwd", "cdq", "cqo", "lfence", "mfence", "sfence", "rdfsbase", "clflush"},
            startsWith))
        return InstructionKind::Other;
    return InstructionKind::ScalarInt;
}

InstructionKind x86Kind(const cs_insn &instruction)
{
    const cs_detail &detail = *instruction.detail;
    const string_view name = instruction.mnemonic;
    const bool touchesMemory = hasMemoryOperand(detail.x86);
    if (isIn(detail, {X86_GRP_JUMP, X86_GRP_CALL, X86_GRP_RET}))
        return InstructionKind::Branch;
    if (hasSimdRegister(detail.x86))
        return simdKind(name, touchesMemory);
    if (name.front() == 'f' || name == "wait")
        return x87Kind(name, touchesMemory);
    return generalKind(name, touchesMemory);
}

void x86Flow(const cs_insn &instruction, Instruction *result)
{
    const cs_detail &detail = *instruction.detail;
    if (isIn(detail, {X86_GRP_RET, X86_GRP_IRET})) {
        result->flow = Instruction::Ends;
    } else if (isIn(detail, {X86_GRP_JUMP})) {
        const bool isDirect = detail.x86.op_count > 0 && detail.x86.operands[0].type == X86_OP_IMM;
        const bool isAlways = instruction.id == X86_INS_JMP;
        if (isDirect) {
            result->target = quint64(detail.x86.operands[0].imm);
            result->flow = isAlways ? Instruction::Jumps : Instruction::MayJump;
        } else {
            result->flow = Instruction::Ends;
        }
    }
}

// AArch64

bool isVectorOperand(const cs_arm64_op &operand)
{
    return operand.type == ARM64_OP_REG
        && (operand.vas != ARM64_VAS_INVALID
            || (operand.reg >= ARM64_REG_V0 && operand.reg <= ARM64_REG_V31));
}

bool isRealRegister(const cs_arm64_op &operand)
{
    const int reg = operand.reg;
    return operand.type == ARM64_OP_REG
        && ((reg >= ARM64_REG_S0 && reg <= ARM64_REG_S31) || (reg >= ARM64_REG_D0 && reg <= ARM64_REG_D31)
            || (reg >= ARM64_REG_H0 && reg <= ARM64_REG_H31));
}

InstructionKind armKind(const cs_insn &instruction)
{
    const cs_detail &detail = *instruction.detail;
    const cs_arm64 &arm = detail.arm64;
    const string_view name = instruction.mnemonic;
    if (isIn(detail, {ARM64_GRP_JUMP, ARM64_GRP_CALL, ARM64_GRP_RET, ARM64_GRP_BRANCH_RELATIVE}))
        return InstructionKind::Branch;
    if (any(name, {"ld", "st", "prfm", "cas", "swp"}, startsWith))
        return InstructionKind::Memory;
    if (any(name,
            {"mov", "fmov", "adr", "nop", "hint", "bti", "pac", "aut", "csel", "cset", "csinc", "dmb", "dsb",
                "isb", "mrs", "msr", "svc", "yield", "dup", "ins", "umov", "smov"},
            startsWith))
        return InstructionKind::Other;
    const auto isAny = [&](bool (*test)(const cs_arm64_op &)) {
        return std::any_of(arm.operands, arm.operands + arm.op_count, test);
    };
    const bool ofReals = name.front() == 'f' || contains(name, "cvtf");
    if (isAny(isVectorOperand))
        return ofReals ? InstructionKind::VectorFp : InstructionKind::VectorInt;
    return ofReals || isAny(isRealRegister) ? InstructionKind::ScalarFp : InstructionKind::ScalarInt;
}

void armFlow(const cs_insn &instruction, Instruction *result)
{
    const cs_detail &detail = *instruction.detail;
    const cs_arm64 &arm = detail.arm64;
    if (instruction.id == ARM64_INS_RET || instruction.id == ARM64_INS_BR) {
        result->flow = Instruction::Ends;
    } else if (isIn(detail, {ARM64_GRP_JUMP}) && arm.op_count > 0
        && arm.operands[arm.op_count - 1].type == ARM64_OP_IMM) {
        const bool isAlways
            = instruction.id == ARM64_INS_B && (arm.cc == ARM64_CC_INVALID || arm.cc == ARM64_CC_AL);
        result->target = quint64(arm.operands[arm.op_count - 1].imm);
        result->flow = isAlways ? Instruction::Jumps : Instruction::MayJump;
    }
}

} // namespace

InstructionDecoder::Machine InstructionDecoder::thisMachine()
{
#if defined(__aarch64__)
    return AArch64;
#else
    return X86_64;
#endif
}

InstructionDecoder::InstructionDecoder(Machine machine)
    : mEngine(new Engine)
{
    mEngine->machine = machine;
    const bool isArm = machine == AArch64;
    const cs_err error = cs_open(
        isArm ? CS_ARCH_ARM64 : CS_ARCH_X86, isArm ? CS_MODE_LITTLE_ENDIAN : CS_MODE_64, &mEngine->handle);
    if (error != CS_ERR_OK)
        return;
    cs_option(mEngine->handle, CS_OPT_DETAIL, CS_OPT_ON);
    mEngine->instruction = cs_malloc(mEngine->handle);
}

InstructionDecoder::~InstructionDecoder()
{
    if (mEngine->instruction)
        cs_free(mEngine->instruction, 1);
    if (mEngine->handle)
        cs_close(&mEngine->handle);
}

bool InstructionDecoder::decode(const quint8 *code, int size, quint64 address, Instruction *instruction)
{
    std::size_t left = std::size_t(size);
    std::uint64_t at = address;
    if (!mEngine->instruction || !cs_disasm_iter(mEngine->handle, &code, &left, &at, mEngine->instruction))
        return false;
    *instruction = Instruction();
    instruction->size = mEngine->instruction->size;
    if (mEngine->machine == AArch64) {
        instruction->kind = armKind(*mEngine->instruction);
        armFlow(*mEngine->instruction, instruction);
    } else {
        instruction->kind = x86Kind(*mEngine->instruction);
        x86Flow(*mEngine->instruction, instruction);
    }
    return true;
}
