#ifndef SAMPLER_MPI_ARGUMENTS_H
#define SAMPLER_MPI_ARGUMENTS_H

#include "mpi/mpilibrary.h"

namespace fern::mpi {

enum class Binding : unsigned {
    C,
    Fortran, // mpif.h and "use mpi"
    Fortran2008 // "use mpi_f08": its handles are structures of one integer
};

// What a call's counts are: int (Fortran's integer), or MPI_Count in the calls whose names end in _c.
enum class Counts : unsigned { Int, Large };

// The arguments of a call, numbered from 0 as in the C binding, whose order Fortran's have, too. Fortran
// hands over addresses of everything, and integers for handles.
template <Binding B, Counts Size> class Arguments {
public:
    explicit Arguments(Word *words)
        : mWords(words)
    {
    }
    int number(int i) const
    {
        return IsFortran ? *reinterpret_cast<const int *>(mWords[i]) : static_cast<int>(mWords[i]);
    }
    // A number of items; those below 0 count as none.
    std::uint64_t count(int i) const
    {
        return notNegative(Size == Counts::Large ? static_cast<std::int64_t>(mWords[i]) : number(i));
    }
    // One of an array of them. The whole array may be absent.
    std::uint64_t countAt(int i, int index) const
    {
        if (mWords[i] == 0)
            return 0;
        return notNegative(Size == Counts::Large ? reinterpret_cast<const std::int64_t *>(mWords[i])[index]
                                                 : reinterpret_cast<const int *>(mWords[i])[index]);
    }
    Word type(int i) const { return IsFortran ? typeFromFortran(number(i)) : mWords[i]; }
    // One of an array of datatypes.
    Word typeAt(int i, int index) const
    {
        if (IsFortran)
            return typeFromFortran(reinterpret_cast<const int *>(mWords[i])[index]);
        return handleAt(mWords[i], index);
    }
    Word communicator(int i) const { return IsFortran ? communicatorFromFortran(number(i)) : mWords[i]; }
    // Whether a buffer is MPI_IN_PLACE.
    bool isInPlace(int i) const
    {
        return IsFortran ? isInPlaceOfFortran(mWords[i]) : mpi::isInPlace(mWords[i]);
    }

    // What a call gave through an address.
    bool isTrue(int i) const { return given(i) != 0; }
    int given(int i) const { return *reinterpret_cast<const int *>(mWords[i]); }
    // One of the indices that a call gave, from 0; below 0 for MPI_UNDEFINED.
    int index(int i, int which, int first) const
    {
        return reinterpret_cast<const int *>(mWords[i])[which] - first;
    }
    // What the first index is, if the library keeps to the standard, and whether there are such that don't:
    // with MPICH 4.0's mpi_f08, completed requests count from 0.
    static constexpr int FirstIndex = B == Binding::C ? 0 : 1;
    static bool isFirstIndexUnsure() { return B == Binding::Fortran2008 && !handlesArePointers(); }

    // The array of requests at an address, which the call may change, and how many bytes each takes.
    const unsigned char *requests(int i) const { return reinterpret_cast<const unsigned char *>(mWords[i]); }
    static std::size_t requestSize()
    {
        return !IsFortran && handlesArePointers() ? sizeof(Word) : sizeof(int);
    }
    // The request at an address as a key that no other request has: Fortran's integers are odd where C's
    // handles are pointers.
    static Word requestKey(const unsigned char *request)
    {
        if (!handlesArePointers())
            return *reinterpret_cast<const std::uint32_t *>(request);
        if (IsFortran)
            return (static_cast<Word>(*reinterpret_cast<const std::uint32_t *>(request)) << 1) | 1;
        return *reinterpret_cast<const Word *>(request);
    }

    // The statuses at an address, and other room for them where the program doesn't want to know.
    bool isStatusIgnored(int i) const
    {
        return IsFortran ? isStatusIgnoredOfFortran(mWords[i]) : mpi::isStatusIgnored(mWords[i]);
    }
    bool areStatusesIgnored(int i) const
    {
        return IsFortran ? areStatusesIgnoredOfFortran(mWords[i]) : mpi::isStatusIgnored(mWords[i]);
    }
    const unsigned char *status(int i) const { return reinterpret_cast<const unsigned char *>(mWords[i]); }
    // NOLINTNEXTLINE(readability-non-const-parameter): MPI writes there.
    void setStatus(int i, unsigned char *room) { mWords[i] = reinterpret_cast<Word>(room); }

private:
    static constexpr bool IsFortran = B != Binding::C;

    static std::uint64_t notNegative(std::int64_t number)
    {
        return number > 0 ? static_cast<std::uint64_t>(number) : 0;
    }

    Word *mWords;
};

} // namespace fern::mpi

#endif
