#include "profile/spoolreader.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cstring>

using fern::spool::Bin;
using fern::spool::Header;

namespace {

constexpr qint64 NsPerDay = 86400LL * 1000 * 1000 * 1000;

bool fail(QString *reason, const char *text)
{
    *reason = QString::fromLatin1(text);
    return false;
}

template <size_t Size> QByteArray text(const char (&field)[Size])
{
    return QByteArray(field, static_cast<int>(qstrnlen(field, Size)));
}

int countOrZero(std::int32_t count)
{
    return std::max(count, 0);
}

// A spool has its first letters last of all, when the rest of its header is there. A process may be killed
// before.
bool isUnborn(const Header &header)
{
    return std::all_of(
        std::begin(header.magic), std::end(header.magic), [](char letter) { return letter == '\0'; });
}

bool failUnseen(QString *reason)
{
    return fail(reason, "the process ended before it was looked at");
}

bool readHeader(const QString &path, Header *header, qint64 *fileSize, QString *reason)
{
    if (!QFileInfo(path).isFile()) {
        return fail(reason, "not a file");
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *reason = file.errorString();
        return false;
    }
    *fileSize = file.size();
    if (*fileSize == 0) {
        return failUnseen(reason);
    }
    if (file.read(reinterpret_cast<char *>(header), sizeof(Header)) != qint64(sizeof(Header))) {
        return fail(reason, "too short to be a spool");
    }
    return true;
}

bool checkCode(const Header &header, qint64 fileSize, QString *reason)
{
    using namespace fern::spool;
    if (header.codeBlockCount > MaxCodeBlocks || header.programCounterCount > MaxProgramCounters) {
        return fail(reason, "damaged: more program counters than there is room for");
    }
    const quint64 codeEnd
        = header.codeBlockCount > 0 ? CodeOffset + header.codeBlockCount * sizeof(CodeBlock) : 0;
    const quint64 countersEnd = header.programCounterCount > 0
        ? CountersOffset + header.programCounterCount * sizeof(ProgramCounter)
        : 0;
    if (static_cast<quint64>(fileSize) < std::max(codeEnd, countersEnd)) {
        return fail(reason, "truncated");
    }
    return true;
}

bool checkFormat(const Header &header, qint64 fileSize, QString *reason)
{
    if (isUnborn(header)) {
        return failUnseen(reason);
    }
    if (std::memcmp(header.magic, fern::spool::Magic, sizeof(header.magic)) != 0) {
        return fail(reason, "not a spool");
    }
    if (header.formatVersion != fern::spool::FormatVersion || header.headerSize != sizeof(Header)
        || header.binSize != sizeof(Bin) || header.categoryCount != fern::spool::CategoryCount
        || header.figureCount != fern::spool::FigureCount) {
        return fail(reason, "written by a sampler of another version");
    }
    if (header.binCount == 0) {
        return failUnseen(reason);
    }
    if (header.binCapacity > fern::spool::MaxBins || header.binCount > header.binCapacity) {
        return fail(reason, "damaged: more bins than there is room for");
    }
    if (static_cast<quint64>(fileSize) < sizeof(Header) + header.binCount * sizeof(Bin)) {
        return fail(reason, "truncated");
    }
    return checkCode(header, fileSize, reason);
}

// Where the bins lie. The limits are there so that a damaged header can't make the sums overflow or stretch
// the whole job's time.
bool readTimes(const Header &header, SpoolProcess *process, QString *reason)
{
    constexpr quint64 latest = quint64(1) << 62;
    quint64 firstBinNs = 0;
    if (header.intervalNs == 0 || header.intervalNs > quint64(NsPerDay) || header.epochNs > latest
        || header.startNs > latest || header.lastNs > latest
        || __builtin_mul_overflow(header.firstBin, header.intervalNs, &firstBinNs)
        || __builtin_add_overflow(firstBinNs, header.epochNs, &firstBinNs) || firstBinNs > latest) {
        return fail(reason, "damaged: impossible times");
    }
    process->startNs = qint64(header.startNs);
    process->epochNs = qint64(header.epochNs);
    process->intervalNs = qint64(header.intervalNs);
    process->firstBinNs = qint64(firstBinNs);
    process->binCount = int(header.binCount);

    const qint64 binsEndNs = process->firstBinNs + process->binCount * process->intervalNs;
    const qint64 startNs = qint64(header.startNs);
    if (startNs < process->firstBinNs - NsPerDay || startNs > binsEndNs + NsPerDay) {
        return fail(reason, "damaged: the process started far from its bins");
    }
    process->beginNs = std::clamp(startNs, process->firstBinNs, binsEndNs);
    process->endNs = std::clamp(qint64(header.lastNs), process->beginNs, binsEndNs);
    return true;
}

template <typename Entry> bool readArray(QFile &file, quint64 offset, int count, QVector<Entry> *entries)
{
    entries->resize(count);
    const qint64 size = count * qint64(sizeof(Entry));
    return count == 0
        || (file.seek(qint64(offset)) && file.read(reinterpret_cast<char *>(entries->data()), size) == size);
}

} // namespace

bool SpoolReader::readProcess(const QString &path, SpoolProcess *process, QString *reason)
{
    Header header;
    qint64 fileSize = 0;
    SpoolProcess read;
    if (!readHeader(path, &header, &fileSize, reason) || !checkFormat(header, fileSize, reason)
        || !fromHeader(header, &read, reason)) {
        return false;
    }
    read.path = path;
    *process = read;
    return true;
}

bool SpoolReader::fromHeader(const Header &header, SpoolProcess *process, QString *reason)
{
    SpoolProcess read;
    if (!readTimes(header, &read, reason)) {
        return false;
    }
    read.flags = header.flags;
    read.pid = header.pid;
    if (read.is(fern::spool::FlagMpi)) {
        read.mpiRank = countOrZero(header.mpiRank);
        read.mpiSize = countOrZero(header.mpiSize);
    }
    read.logicalCores = countOrZero(header.logicalCores);
    read.physicalCores = countOrZero(header.physicalCores);
    read.nodeMemory = header.nodeMemory;
    read.gpus = countOrZero(header.gpus);
    read.gpuMemory = header.gpuMemory;
    read.ompNumThreads = countOrZero(header.ompNumThreads);
    read.maxThreads = countOrZero(header.maxThreads);
    read.ticks = header.ticks;
    read.threadsMissed = header.threadsMissed;
    read.ticksMissed = header.ticksMissed;
    read.wrappedCalls = header.wrappedCalls;
    read.wrapperNs = double(header.wrapperPs) / 1000;
    read.cpuNs = header.processCpuNs;
    read.rivalNames = header.rivalNames;
    read.rival = QFile::decodeName(text(header.rival));
    read.world = header.world;
    read.codeBlockCount = int(header.codeBlockCount);
    read.programCounterCount = int(header.programCounterCount);
    read.programCountersLost = header.programCountersLost;
    std::copy(std::begin(header.sourceStates), std::end(header.sourceStates), read.sourceStates.begin());
    for (const fern::spool::SiteEvent &event : header.siteEvents) {
        if (event.name[0] == '\0') {
            break;
        }
        read.siteEvents.append({QString::fromUtf8(text(event.name)), event.state});
    }
    read.threadsUncounted = header.threadsUncounted;
    read.samplerCpuNs = header.samplerCpuNs;
    read.hostname = QString::fromUtf8(text(header.hostname));
    read.executable = QFile::decodeName(text(header.executable));
    *process = read;
    return true;
}

bool SpoolReader::readCode(const SpoolProcess &process, SpoolCode *code, QString *reason)
{
    QFile file(process.path);
    if (!file.open(QIODevice::ReadOnly)) {
        *reason = file.errorString();
        return false;
    }
    SpoolCode read;
    if (!readArray(file, fern::spool::CodeOffset, process.codeBlockCount, &read.blocks)
        || !readArray(file, fern::spool::CountersOffset, process.programCounterCount, &read.counters)) {
        return fail(reason, "truncated");
    }
    *code = read;
    return true;
}

bool SpoolReader::readBins(const SpoolProcess &process, QVector<Bin> *bins, QString *reason)
{
    SpoolProcess now;
    if (!readProcess(process.path, &now, reason)) {
        return false;
    }
    if (now.intervalNs != process.intervalNs || now.firstBinNs != process.firstBinNs
        || now.binCount < process.binCount) {
        return fail(reason, "changed while it was read");
    }
    QFile file(process.path);
    if (!file.open(QIODevice::ReadOnly) || !file.seek(sizeof(Header))) {
        *reason = file.errorString();
        return false;
    }
    QVector<Bin> read(process.binCount);
    const qint64 size = process.binCount * qint64(sizeof(Bin));
    if (file.read(reinterpret_cast<char *>(read.data()), size) != size) {
        return fail(reason, "truncated");
    }
    *bins = read;
    return true;
}
