#include "mpi/wrapper.h"

namespace fern::mpi {

namespace {

// A symbol, put together: the longest of MPI's names has 29 letters.
class Name {
public:
    enum class Case { AsItIs, Lower, Upper };

    void append(const char *text, Case letters = Case::AsItIs)
    {
        for (; *text != '\0' && mLength + 1 < sizeof mText; ++text)
            mText[mLength++] = changed(*text, letters);
    }
    const char *text() const { return mText; }

private:
    static char changed(char c, Case letters)
    {
        if (letters == Case::Lower && c >= 'A' && c <= 'Z')
            return static_cast<char>(c - 'A' + 'a');
        if (letters == Case::Upper && c >= 'a' && c <= 'z')
            return static_cast<char>(c - 'a' + 'A');
        return c;
    }

    char mText[64] = {};
    std::size_t mLength = 0;
};

// How compilers write Fortran's names, the commonest first.
struct Convention {
    Name::Case letters;
    const char *end;
};

constexpr Convention Conventions[]
    = {{Name::Case::Lower, "_"}, {Name::Case::Lower, ""}, {Name::Case::Lower, "__"}, {Name::Case::Upper, ""}};

Name nameOf(const char *prefix, const Call &call, const Convention &convention)
{
    Name name;
    name.append(prefix, convention.letters);
    name.append(call.name, convention.letters);
    name.append(convention.end);
    return name;
}

// Another tool may stand in for the call, too, behind the sampler. Where there is none in sight, the
// profiling entry does the same as the call.
Function nextOr(const Name &name, Function profiling)
{
    Function next = findNext(name.text());
    return next != nullptr ? next : profiling;
}

// MPI libraries have each call by two names, so whatever has one alone is no call of MPI. A wrapper doesn't
// know by which of its own names it was called: an MPI library that has several means the same by all.
Real findFortran(const Call &call)
{
    for (const Convention &convention : Conventions) {
        if (Function profiling = find(nameOf("pmpi_", call, convention).text(), call.caller))
            return {nextOr(nameOf("mpi_", call, convention), profiling), true};
    }
    for (const Convention &convention : Conventions) {
        if (Function function = findNext(nameOf("mpi_", call, convention).text()))
            return {function, false};
    }
    return {nullptr, false};
}

// MPICH has no profiling entries for mpi_f08: there the call's own name is all there is to look for.
Real findFortran2008(const Call &call)
{
    const Name name = nameOf("mpi_", call, {Name::Case::Lower, "_f08_"});
    Function profiling = find(nameOf("pmpi_", call, {Name::Case::Lower, "_f08_"}).text(), call.caller);
    Function function = nextOr(name, profiling);
    if (function == nullptr)
        function = find(name.text(), call.caller);
    return {function, function != nullptr};
}

Real findC(const Call &call)
{
    Function profiling = find(nameOf("PMPI_", call, {Name::Case::AsItIs, ""}).text(), call.caller);
    Function function = nextOr(nameOf("MPI_", call, {Name::Case::AsItIs, ""}), profiling);
    return {function, function != nullptr};
}

} // namespace

Real findReal(Binding binding, Call call)
{
    switch (binding) {
    case Binding::C:
        return findC(call);
    case Binding::Fortran:
        return findFortran(call);
    case Binding::Fortran2008:
        return findFortran2008(call);
    }
    return {nullptr, false};
}

} // namespace fern::mpi
