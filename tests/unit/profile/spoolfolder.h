#ifndef TESTS_UNIT_PROFILE_SPOOLFOLDER_H
#define TESTS_UNIT_PROFILE_SPOOLFOLDER_H

#include "profile/profilerdata.h"
#include "profile/spoolmerger.h"
#include "sampler/core/spoolformat.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

#include <cstring>
#include <utility>
#include <vector>

// One process's spool, written down in a test. Times are in milliseconds from the job's epoch.
class SpoolWriter {
public:
    static constexpr std::uint64_t NsPerMs = 1000 * 1000;
    static constexpr std::uint64_t EpochNs = 1772805909000 * NsPerMs;

    // Bins of `intervalMs` from `beginMs` to `endMs`; the process lived for that time.
    SpoolWriter(std::uint64_t beginMs, std::uint64_t endMs, std::uint64_t intervalMs)
    {
        using namespace fern::spool;
        std::memcpy(header.magic, Magic, sizeof(Magic));
        header.formatVersion = FormatVersion;
        header.headerSize = sizeof(Header);
        header.binSize = sizeof(Bin);
        header.binCapacity = MaxBins;
        header.categoryCount = CategoryCount;
        header.figureCount = FigureCount;
        header.flags = FlagEnded;
        header.pid = 100;
        header.logicalCores = 8;
        header.physicalCores = 4;
        header.nodeMemory = 1000000;
        header.maxThreads = 1;
        header.epochNs = EpochNs;
        header.startNs = EpochNs + beginMs * NsPerMs;
        header.lastNs = EpochNs + endMs * NsPerMs;
        header.intervalNs = intervalMs * NsPerMs;
        header.firstBin = beginMs / intervalMs;
        header.binCount = (endMs + intervalMs - 1) / intervalMs - header.firstBin;
        header.ticks = 1;
        bins.resize(header.binCount);
        host("node1.example");
        executable("/opt/code.example/bin/prog");
    }

    SpoolWriter &rank(int rank, int size)
    {
        header.flags |= fern::spool::FlagMpi;
        header.mpiRank = rank;
        header.mpiSize = size;
        header.pid = 100 + rank;
        return *this;
    }
    SpoolWriter &flag(fern::spool::HeaderFlag flag) { return header.flags |= flag, *this; }
    SpoolWriter &killed() { return header.flags &= ~std::uint32_t(fern::spool::FlagEnded), *this; }
    SpoolWriter &host(const char *name) { return copy(header.hostname, name), *this; }
    SpoolWriter &executable(const char *path) { return copy(header.executable, path), *this; }

    // In every bin.
    SpoolWriter &main(fern::spool::Category category, std::uint32_t hits)
    {
        for (fern::spool::Bin &bin : bins) {
            bin.mainHits[category] += hits;
            bin.mainActiveHits[category] += hits;
        }
        return *this;
    }
    SpoolWriter &figure(fern::spool::FigureId id, const fern::spool::Figure &figure)
    {
        for (fern::spool::Bin &bin : bins) {
            bin.figures[id] = figure;
        }
        return *this;
    }
    // A gauge's one reading, or what a counter counted.
    SpoolWriter &figure(fern::spool::FigureId id, double value)
    {
        return figure(id, {value, value, value, 1});
    }

    QByteArray bytes() const
    {
        QByteArray all(reinterpret_cast<const char *>(&header), sizeof(header));
        return all.append(reinterpret_cast<const char *>(bins.data()), int(bins.size() * sizeof(bins[0])));
    }

    fern::spool::Header header = {};
    std::vector<fern::spool::Bin> bins;

private:
    template <std::size_t Size> static void copy(char (&field)[Size], const char *text)
    {
        std::memset(field, 0, Size);
        std::memcpy(field, text, std::min(std::strlen(text), Size));
    }
};

// The folder that a job leaves its spools in.
class SpoolFolder {
public:
    QString add(const SpoolWriter &spool) { return add(spool.bytes()); }
    QString add(const QByteArray &bytes)
    {
        const QString path = mFolder.filePath(QStringLiteral("%1.spool").arg(++mFiles, 4, 10, QChar('0')));
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size()) {
            qFatal("cannot write a spool for the test");
        }
        return path;
    }

    // The job's profile; without samples if there is none.
    ProfilerData merge()
    {
        ProfilerData profile;
        merged = mergeSpools(mFolder.path(), &profile, &remarks);
        return profile;
    }

    QString path() const { return mFolder.path(); }

    bool merged = false;
    QStringList remarks;

private:
    QTemporaryDir mFolder;
    int mFiles = 0;
};

// Main-thread hits of a category in one sample.
inline qint64 mainHits(const ProfilerData &profile, int sample, Category::Enum category)
{
    return profile.hitsOfSample(sample).of[category].main;
}

#endif
