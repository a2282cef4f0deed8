#ifndef SAMPLER_MPI_LIFECYCLE_H
#define SAMPLER_MPI_LIFECYCLE_H

// Calls that change what the sampler knows, whichever thread makes them and however deep: the rest of
// mpicalls.table's last column. Each has a before(), and an after() for calls that succeeded.

#include "mpi/arguments.h"
#include "mpi/merging.h"

namespace fern::mpi::lifecycle {

void noteInitialised();
void noteSession();
void noteFinalized();

struct Nothing {
    template <class A> static void before(const A &) { }
    template <class A> static void after(const A &) { }
};

struct Init : Nothing {
    template <class A> static void after(const A &) { noteInitialised(); }
};

// The other ranks are still there.
struct Finalize : Nothing {
    template <class A> static void before(const A &) { mergeRanks(); }
    template <class A> static void after(const A &) { noteFinalized(); }
};

// A program may have begun with a session alone, and then there is no MPI_COMM_WORLD to ask.
struct SessionInit : Nothing {
    template <class A> static void after(const A &) { noteSession(); }
};

struct SessionFinalize : Nothing {
    template <class A> static void after(const A &) { noteFinalized(); }
};

// The handle may come back for a type of another size.
struct TypeFree : Nothing {
    template <class A> static void before(const A &a)
    {
        if (a.requests(0) != nullptr)
            forgetType(a.typeAt(0, 0));
    }
};

} // namespace fern::mpi::lifecycle

#endif
