#include "profile/category.h"

#include "sampler/core/spoolformat.h"

namespace Category {

namespace {

struct Row {
    Enum category;
    CategoryGroup::Enum group;
    const char *name;
};

constexpr Row Rows[] = {
    {COMPUTE, CategoryGroup::COMPUTE, "compute"},
    {MPI_COLLECTIVE, CategoryGroup::MPI, "mpi_collective"},
    {MPI_P2P, CategoryGroup::MPI, "mpi_p2p"},
    {MPI_OTHER, CategoryGroup::MPI, "mpi_other"},
    {IO_READ, CategoryGroup::IO, "io_read"},
    {IO_WRITE, CategoryGroup::IO, "io_write"},
    {IO_OTHER, CategoryGroup::IO, "io_other"},
    {OMP, CategoryGroup::COMPUTE, "omp"},
    {ACCELERATOR, CategoryGroup::COMPUTE, "accelerator"},
    {PTHREAD_COMPUTE, CategoryGroup::COMPUTE, "pthread_compute"},
    {OMP_RUNTIME_OUT_OF_REGION, CategoryGroup::COMPUTE, "omp_runtime_out_of_region"},
    {OMP_RUNTIME_IN_REGION, CategoryGroup::COMPUTE, "omp_runtime_in_region"},
    {PTHREAD_SYNC, CategoryGroup::COMPUTE, "pthread_sync"},
    {MPI_IO_READ, CategoryGroup::IO, "mpi_io_read"},
    {MPI_IO_WRITE, CategoryGroup::IO, "mpi_io_write"},
    {SLEEP, CategoryGroup::COMPUTE, "sleep"},
    {OMP_MONITOR, CategoryGroup::COMPUTE, "omp_monitor"},
};

// The sampler counts under numbers of its own header; they have to mean the same here.
constexpr bool sameAs(Enum ours, fern::spool::Category samplers)
{
    return static_cast<unsigned>(ours) == static_cast<unsigned>(samplers);
}
static_assert(sameAs(COMPUTE, fern::spool::Compute));
static_assert(sameAs(MPI_COLLECTIVE, fern::spool::MpiCollective));
static_assert(sameAs(MPI_P2P, fern::spool::MpiPointToPoint));
static_assert(sameAs(MPI_OTHER, fern::spool::MpiOther));
static_assert(sameAs(IO_READ, fern::spool::IoRead));
static_assert(sameAs(IO_WRITE, fern::spool::IoWrite));
static_assert(sameAs(IO_OTHER, fern::spool::IoOther));
static_assert(sameAs(OMP, fern::spool::OpenMp));
static_assert(sameAs(ACCELERATOR, fern::spool::Accelerator));
static_assert(sameAs(PTHREAD_COMPUTE, fern::spool::PthreadCompute));
static_assert(sameAs(OMP_RUNTIME_OUT_OF_REGION, fern::spool::OpenMpRuntimeOutOfRegion));
static_assert(sameAs(OMP_RUNTIME_IN_REGION, fern::spool::OpenMpRuntimeInRegion));
static_assert(sameAs(PTHREAD_SYNC, fern::spool::PthreadSync));
static_assert(sameAs(MPI_IO_READ, fern::spool::MpiIoRead));
static_assert(sameAs(MPI_IO_WRITE, fern::spool::MpiIoWrite));
static_assert(sameAs(SLEEP, fern::spool::Sleep));
static_assert(sameAs(OMP_MONITOR, fern::spool::OpenMpMonitor));
static_assert(Count == fern::spool::CategoryCount);

QVector<Enum> membersOf(CategoryGroup::Enum group)
{
    QVector<Enum> members;
    for (const Row &row : Rows) {
        if (row.group == group) {
            members.append(row.category);
        }
    }
    return members;
}

} // namespace

const QVector<Enum> &groupMembers(CategoryGroup::Enum group)
{
    static const QVector<Enum> compute = membersOf(CategoryGroup::COMPUTE);
    static const QVector<Enum> mpi = membersOf(CategoryGroup::MPI);
    static const QVector<Enum> io = membersOf(CategoryGroup::IO);
    switch (group) {
    case CategoryGroup::MPI:
        return mpi;
    case CategoryGroup::IO:
        return io;
    case CategoryGroup::COMPUTE:
        break;
    }
    return compute;
}

QString name(Enum category)
{
    for (const Row &row : Rows) {
        if (row.category == category) {
            return QString::fromLatin1(row.name);
        }
    }
    return QString();
}

} // namespace Category
