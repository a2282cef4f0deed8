#include "spoolfile.h"

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>

const spool::Header &SpoolFile::header() const
{
    static const spool::Header none{};
    return text.size() >= sizeof(spool::Header) ? *reinterpret_cast<const spool::Header *>(text.data())
                                                : none;
}

bool SpoolFile::isUnborn() const
{
    if (!text.empty() && text.size() < sizeof(spool::Header))
        return false;
    const auto &magic = header().magic;
    return std::all_of(std::begin(magic), std::end(magic), [](char letter) { return letter == '\0'; });
}

std::string SpoolFile::complaint() const
{
    const spool::Header &head = header();
    if (std::memcmp(head.magic, spool::Magic, sizeof(head.magic)) != 0)
        return path + ": no spool";
    if (head.formatVersion != spool::FormatVersion || head.headerSize != sizeof(spool::Header)
        || head.binSize != sizeof(spool::Bin))
        return path + ": of another version";
    if (head.binCapacity > spool::MaxBins || head.binCount == 0 || head.binCount > head.binCapacity)
        return path + ": impossible number of bins";
    if (text.size() < head.headerSize + std::size_t(head.binCapacity) * head.binSize)
        return path + ": too short";
    if (head.changeCount % 2 != 0)
        return path + ": in the middle of a change";
    return {};
}

spool::Bin SpoolFile::total() const
{
    spool::Bin total{};
    const auto *bins = reinterpret_cast<const spool::Bin *>(text.data() + sizeof(spool::Header));
    for (std::uint64_t i = 0; i < header().binCount; ++i) {
        for (std::uint32_t c = 0; c < spool::CategoryCount; ++c) {
            total.mainHits[c] += bins[i].mainHits[c];
            total.mainActiveHits[c] += bins[i].mainActiveHits[c];
            total.otherHits[c] += bins[i].otherHits[c];
            total.otherActiveHits[c] += bins[i].otherActiveHits[c];
            total.mainAloneHits[c] += bins[i].mainAloneHits[c];
        }
        for (std::uint32_t f = 0; f < spool::FigureCount; ++f) {
            total.figures[f].sum += bins[i].figures[f].sum;
            total.figures[f].count += bins[i].figures[f].count;
        }
    }
    return total;
}

std::string SpoolFile::program() const
{
    return std::filesystem::path(header().executable).filename().string();
}

std::vector<SpoolFile> spoolsIn(const std::string &folder)
{
    std::vector<SpoolFile> spools;
    for (const auto &entry : std::filesystem::directory_iterator(folder)) {
        if (entry.path().extension() != ".spool")
            continue;
        std::ifstream file(entry.path(), std::ios::binary);
        spools.push_back({entry.path().string(),
            {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()}});
    }
    std::sort(spools.begin(), spools.end(),
        [](const SpoolFile &a, const SpoolFile &b) { return a.header().startNs < b.header().startNs; });
    return spools;
}

std::vector<SpoolFile> spoolsOf(const std::string &program, const std::string &folder)
{
    std::vector<SpoolFile> spools = spoolsIn(folder);
    spools.erase(std::remove_if(spools.begin(), spools.end(),
                     [&](const SpoolFile &spool) { return spool.program() != program; }),
        spools.end());
    return spools;
}

std::uint64_t sum(const Hits &hits)
{
    std::uint64_t result = 0;
    for (const std::uint32_t count : hits)
        result += count;
    return result;
}

double percent(const Hits &hits, spool::Category category)
{
    const std::uint64_t all = sum(hits);
    return all != 0 ? 100.0 * hits[category] / static_cast<double>(all) : 0.0;
}

double percentMissed(const spool::Header &header)
{
    const auto missed = static_cast<double>(header.ticksMissed);
    return missed > 0.0 ? 100.0 * missed / (missed + static_cast<double>(header.ticks)) : 0.0;
}
