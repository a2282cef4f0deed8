#ifndef HOST_PROFILE_CATEGORY_H
#define HOST_PROFILE_CATEGORY_H

#include "core/export.h"

#include <QString>
#include <QVector>

// Families of categories.
namespace CategoryGroup {

enum Enum {
    COMPUTE = 0, // what is in neither of the two others
    MPI = 1, // communication; MPI's own file I/O is in IO
    IO = 2
};

} // namespace CategoryGroup

// What a thread was found doing. The numbers are those of the spools and of .fern files: never change one.
namespace Category {

enum Enum {
    COMPUTE = 0,
    MPI_COLLECTIVE = 1,
    MPI_P2P = 2,
    MPI_OTHER = 3,
    IO_READ = 4,
    IO_WRITE = 5,
    IO_OTHER = 6,
    OMP = 7,
    ACCELERATOR = 8,
    PTHREAD_COMPUTE = 9,
    OMP_RUNTIME_OUT_OF_REGION = 10,
    OMP_RUNTIME_IN_REGION = 11,
    PTHREAD_SYNC = 12,
    MPI_IO_READ = 13,
    MPI_IO_WRITE = 14,
    SLEEP = 15,
    OMP_MONITOR = 19
};

// One more than the highest number that a category can have, with room for those to come.
constexpr int Count = 24;

// The categories of a group, in the order of their numbers. Numbers without a category are in no group.
BRIVANE_HOST_EXPORT const QVector<Enum> &groupMembers(CategoryGroup::Enum group);

// The name under which documents and .fern files know a category, such as "mpi_p2p"; the null string for
// a number without a category.
BRIVANE_HOST_EXPORT QString name(Enum category);

} // namespace Category

#endif
