#include "metrics/programcounters.h"

#include "core/settings.h"
#include "core/text.h"

#include <errno.h>
#include <linux/perf_event.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

namespace fern {

namespace {

// CPU time between two program counters, in nanoseconds. A sample costs some 5 microseconds, so this is
// a tenth of a percent. No round number, so that a program with a rhythm isn't always met at one place.
constexpr std::uint64_t PeriodNs = 3'989'011;
constexpr std::uint64_t NsPerMs = 1'000'000;

// What the kernel writes for PERF_SAMPLE_IP.
struct Sample {
    perf_event_header header;
    std::uint64_t address;
};
static_assert(sizeof(Sample) == 16);

// The kernel stops and starts a timer at each switch of a thread that it watches, 3 microseconds in all. One
// switch in this time makes half a percent.
constexpr std::uint64_t NsPerFreeSwitch = 600'000;
constexpr std::uint32_t MaxParts = 32;
// The CPU time for which a thread is watched when its turn has come: the first period begins anew each time,
// so there are some.
constexpr std::uint64_t TurnNs = 10 * PeriodNs;

long openEvent(std::int32_t tid)
{
    perf_event_attr attributes{};
    attributes.size = sizeof(attributes);
    attributes.type = PERF_TYPE_SOFTWARE;
    attributes.config = PERF_COUNT_SW_TASK_CLOCK;
    attributes.sample_period = PeriodNs;
    attributes.sample_type = PERF_SAMPLE_IP;
    attributes.exclude_kernel = 1;
    attributes.exclude_hv = 1;
    // Nobody waits for the ring: it is emptied long before it is full.
    attributes.watermark = 1;
    attributes.wakeup_watermark = ~std::uint32_t(0);
    return raw::call(SYS_perf_event_open, raw::address(&attributes), tid, -1, -1, PERF_FLAG_FD_CLOEXEC);
}

// What the kernel's answer says, a negative error number.
spool::SourceState stateOf(long error)
{
    switch (-error) {
    case EPERM:
    case EACCES:
        return spool::SourceRefused;
    case EMFILE:
    case ENFILE:
    case ENOMEM:
        return spool::SourceLimited;
    default:
        return spool::SourceAbsent;
    }
}

std::uint64_t ringSize()
{
    return 2 * settings.pageSize;
}

} // namespace

void ProgramCounters::end()
{
    for (std::uint32_t i = 0; i < mUsedRings; ++i)
        leave(mRings[i]);
    mUsedRings = 0;
    mMemory = -1;
}

void ProgramCounters::forget()
{
    for (std::uint32_t i = 0; i < mUsedRings; ++i)
        mRings[i] = Ring{};
    mUsedRings = 0;
    for (std::uint64_t &address : mBlockAddresses)
        address = 0;
    mMemory = -1;
    mParts = 1;
}

void ProgramCounters::pace(std::uint64_t switches, std::uint64_t spanNs)
{
    std::uint32_t parts = 1;
    while (parts < MaxParts && switches * NsPerFreeSwitch > parts * spanNs)
        parts *= 2;
    // Rings are closed at once, but opened again step by step: a program with bursts pays for few.
    mParts = parts > mParts / 2 ? parts : mParts / 2;
}

// Threads take turns by their own CPU time and not all at the same time. Who has a turn with many parts has
// one with fewer, too.
bool ProgramCounters::hasTurn(const Look &look) const
{
    const std::uint64_t turn = look.cpuNs / TurnNs + static_cast<std::uint64_t>(look.tid);
    return turn % mParts == 0;
}

void ProgramCounters::watch(Spool &spool, Ring &ring, std::int32_t tid, bool isAllowed)
{
    ring = {tid, -1, nullptr};
    if (isAllowed && mMemory < 0)
        mMemory = raw::open("/proc/self/mem");
    const long event = isAllowed ? openEvent(tid) : -EPERM;
    if (event < 0) {
        spool.header().sourceStates[spool::SourceProgramCounters] = stateOf(event);
        return;
    }
    const long mapping
        = raw::call(SYS_mmap, 0, static_cast<long>(ringSize()), PROT_READ | PROT_WRITE, MAP_SHARED, event, 0);
    if (mapping < 0 && mapping > -4096) {
        spool.header().sourceStates[spool::SourceProgramCounters] = stateOf(mapping);
        raw::close(static_cast<int>(event));
        return;
    }
    ring.event = static_cast<int>(event);
    ring.page = reinterpret_cast<perf_event_mmap_page *>(mapping);
}

void ProgramCounters::leave(Ring &ring)
{
    if (ring.page != nullptr) {
        raw::call(SYS_munmap, raw::address(ring.page), static_cast<long>(ringSize()));
        raw::close(ring.event);
    }
    ring = Ring{};
}

void ProgramCounters::look(Spool &spool, Sandbox &sandbox, const Look &look)
{
    Ring &ring = mRings[look.slot];
    if (ring.tid == look.tid) {
        if (ring.page == nullptr)
            return;
        empty(spool, ring, look.category, look.timeNs);
        // An event at rest would do, but the kernel has work with it at each switch. A program that has shut
        // itself in would get no other one.
        if (!hasTurn(look) && !sandbox.isTighter())
            leave(ring);
        return;
    }
    leave(ring);
    if (!look.works || !hasTurn(look))
        return;
    watch(spool, ring, look.tid, !sandbox.isTighter());
    if (look.slot >= mUsedRings)
        mUsedRings = look.slot + 1;
}

void ProgramCounters::empty(Spool &spool, Ring &ring, std::uint32_t category, std::uint64_t timeNs)
{
    const std::uint64_t head = __atomic_load_n(&ring.page->data_head, __ATOMIC_ACQUIRE);
    std::uint64_t tail = ring.page->data_tail;
    const auto *data = reinterpret_cast<const unsigned char *>(ring.page) + settings.pageSize;
    const auto timeMs = static_cast<std::uint32_t>((timeNs - spool.header().startNs) / NsPerMs);
    while (tail < head) {
        // Records are multiples of eight bytes: a header never lies across the end, a sample may.
        const std::uint64_t at = tail % settings.pageSize;
        const auto *header = reinterpret_cast<const perf_event_header *>(data + at);
        if (header->size == 0)
            break;
        if (header->type == PERF_RECORD_SAMPLE && header->size == sizeof(Sample)) {
            const std::uint64_t address = *reinterpret_cast<const std::uint64_t *>(
                data + (at + sizeof(perf_event_header)) % settings.pageSize);
            if (!hasCode(spool, address) || !spool.addProgramCounter({address, timeMs, category}))
                ++spool.header().programCountersLost;
        } else if (header->type == PERF_RECORD_LOST) {
            ++spool.header().programCountersLost;
        }
        tail += header->size;
    }
    __atomic_store_n(&ring.page->data_tail, head, __ATOMIC_RELEASE);
}

// Sees to it that the blocks around an address are in the spool; false if that of the address isn't.
bool ProgramCounters::hasCode(Spool &spool, std::uint64_t address)
{
    const std::uint64_t block = address - address % spool::CodeBlockSize;
    if (block < spool::CodeBlockSize || !hasBlock(spool, block))
        return false;
    hasBlock(spool, block - spool::CodeBlockSize); // loops jump back
    hasBlock(spool, block + spool::CodeBlockSize); // windows go on
    return true;
}

bool ProgramCounters::hasBlock(Spool &spool, std::uint64_t address)
{
    constexpr std::uint64_t Spread = 0x9e3779b97f4a7c15; // 2^64 by the golden ratio, made odd
    std::uint64_t place = (address / spool::CodeBlockSize * Spread >> 40) % IndexSize;
    while (mBlockAddresses[place] != 0 && mBlockAddresses[place] != address)
        place = (place + 1) % IndexSize;
    if (mBlockAddresses[place] == address)
        return true;
    spool::CodeBlock *block = mMemory >= 0 ? spool.newCodeBlock() : nullptr;
    // What isn't mapped gives less than a block.
    if (block == nullptr
        || raw::readAt(mMemory, reinterpret_cast<char *>(block->code), spool::CodeBlockSize,
               static_cast<std::int64_t>(address))
            != spool::CodeBlockSize)
        return false;
    block->address = address;
    mBlockAddresses[place] = address;
    spool.commitCodeBlock();
    return true;
}

} // namespace fern
