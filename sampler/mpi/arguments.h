#ifndef SAMPLER_MPI_ARGUMENTS_H
#define SAMPLER_MPI_ARGUMENTS_H

#include "mpi/mpilibrary.h"

namespace fern::mpi {

enum class Binding : unsigned {
    C,
    Fortran, // mpif.h and "use mpi"
    Fortran2008, // "use mpi_f08": its handles are structures of one integer
    Count
};

// The arguments of a call, numbered from 0 as in the C binding, whose order Fortran's have, too. Fortran
// hands over addresses of everything, and integers for handles.
class Arguments {
public:
    Arguments(const Word *words, Binding binding)
        : mWords(words)
        , mIsFortran(binding != Binding::C)
    {
    }
    int number(int i) const
    {
        return mIsFortran ? *reinterpret_cast<const int *>(mWords[i]) : static_cast<int>(mWords[i]);
    }
    // A number of items; those below 0 count as none.
    std::uint64_t count(int i) const { return notNegative(number(i)); }
    // One of an array of them. The whole array may be absent.
    std::uint64_t countAt(int i, int index) const
    {
        const int *counts = reinterpret_cast<const int *>(mWords[i]);
        return counts != nullptr ? notNegative(counts[index]) : 0;
    }
    Word type(int i) const { return mIsFortran ? typeFromFortran(number(i)) : mWords[i]; }
    // One of an array of datatypes.
    Word typeAt(int i, int index) const
    {
        if (mIsFortran)
            return typeFromFortran(reinterpret_cast<const int *>(mWords[i])[index]);
        return handleAt(mWords[i], index);
    }
    Word communicator(int i) const { return mIsFortran ? communicatorFromFortran(number(i)) : mWords[i]; }
    // Whether a buffer is MPI_IN_PLACE.
    bool isInPlace(int i) const
    {
        return mIsFortran ? isInPlaceOfFortran(mWords[i]) : mpi::isInPlace(mWords[i]);
    }

private:
    static std::uint64_t notNegative(int number)
    {
        return number > 0 ? static_cast<std::uint64_t>(number) : 0;
    }

    const Word *mWords;
    bool mIsFortran;
};

} // namespace fern::mpi

#endif
