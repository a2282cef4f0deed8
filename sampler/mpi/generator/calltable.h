#ifndef SAMPLER_MPI_GENERATOR_CALLTABLE_H
#define SAMPLER_MPI_GENERATOR_CALLTABLE_H

#include <iosfwd>
#include <string>
#include <vector>

namespace fern::mpi::generator {

// A row of mpicalls.table, whose head says what the columns are.
struct CallRow {
    std::string name;
    int arguments = 0;
    int fortranArguments = 0;
    int texts = 0;
    std::string since;
    bool hasLarge = false;
    std::string category;
    std::string rule; // without its numbers; empty if nothing is counted
    std::vector<int> ruleArguments;
    std::string counted; // empty if nothing happens

    bool isInFortran() const { return fortranArguments != 0; }
    // Machine words that a Fortran call takes.
    int fortranWords() const { return fortranArguments + texts; }
    // Whether the action looks at bytes, or at the request or status that is the last argument.
    bool countsBytes() const;
    // Newer than what every MPI library in use has.
    bool isNew() const { return since != "3.1"; }
};

struct CallTable {
    std::vector<CallRow> rows;
    std::string complaint; // the first thing that is wrong, with its line's number; empty if all is well
};

// Reads a table; what stands behind a complaint isn't read.
CallTable readCallTable(std::istream &stream);

// The enumerator of spool::Category for a word of the table; empty if there is none.
std::string categoryFor(const std::string &word);

} // namespace fern::mpi::generator

#endif
