// make-mpi-wrappers TABLE FOLDER
//
// Writes the wrappers of MPI's calls, a source file for each binding, and the list of their symbols.

#include "mpi/generator/wrapperwriter.h"

#include <fstream>
#include <iostream>

using namespace fern::mpi::generator;

namespace {

bool writeFile(const std::string &path, const std::string &text)
{
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << text;
    file.close();
    if (!file)
        std::cerr << "make-mpi-wrappers: can't write " << path << '\n';
    return !file.fail();
}

} // namespace

int main(int count, char **arguments)
{
    if (count != 3) {
        std::cerr << "Usage: make-mpi-wrappers TABLE FOLDER\n";
        return 2;
    }
    std::ifstream file(arguments[1]);
    if (!file) {
        std::cerr << "make-mpi-wrappers: can't read " << arguments[1] << '\n';
        return 1;
    }
    const CallTable table = readCallTable(file);
    if (!table.complaint.empty()) {
        std::cerr << arguments[1] << ": " << table.complaint << '\n';
        return 1;
    }
    const std::string folder = std::string(arguments[2]) + '/';
    const bool isWritten = writeFile(folder + "mpiwrappers_c.cpp", wrappersOf(table.rows, Binding::C))
        && writeFile(folder + "mpiwrappers_fortran.cpp", wrappersOf(table.rows, Binding::Fortran))
        && writeFile(folder + "mpiwrappers_f08.cpp", wrappersOf(table.rows, Binding::Fortran2008))
        && writeFile(folder + "mpisymbols.txt", symbolsOf(table.rows));
    return isWritten ? 0 : 1;
}
