#ifndef TESTS_SAMPLER_SPOOLFILE_H
#define TESTS_SAMPLER_SPOOLFILE_H

#include "core/spoolformat.h"

#include <string>
#include <vector>

namespace spool = fern::spool;

// A spool as it lies in its folder.
struct SpoolFile {
    std::string path;
    std::string text; // the whole file

    const spool::Header &header() const;
    // Nothing if the file is no spool, or contradicts itself: a sentence that says so otherwise.
    std::string complaint() const;
    // Whether its process ended while it made the file: the header is filled in first, and then its first
    // letters.
    bool isUnborn() const;
    // All bins added up.
    spool::Bin total() const;

    std::string program() const; // last part of the executable's path
    bool has(spool::HeaderFlag flag) const { return (header().flags & flag) != 0; }
};

// All spools in a folder, by start; a file that can't be one has a complaint.
std::vector<SpoolFile> spoolsIn(const std::string &folder);
// Those of one program.
std::vector<SpoolFile> spoolsOf(const std::string &program, const std::string &folder);

using Hits = std::uint32_t[spool::CategoryCount];
std::uint64_t sum(const Hits &hits);
// Percent of all hits.
double percent(const Hits &hits, spool::Category category);
// Percent of its looks that the sampling thread came too late for. What was between two looks counts as what
// the later one saw, so shares may be off by as much where a machine has no processor for it.
double percentMissed(const spool::Header &header);

#endif
