#include "mpi/mpilibrary.h"

#include "mpi/helper.h"

#include <atomic>
#include <cstring>
#include <dlfcn.h>
#include <link.h>

namespace fern::mpi {

namespace {

// The numbers of MPICH's binary interface, which several other implementations share.
constexpr Word MpichWorld = 0x44000000;
constexpr Word MpichNullType = 0x0c000000;
constexpr Word MpichByte = 0x4c00010d;

std::atomic<void *> localLibrary{nullptr};

void *findSymbol(const char *name)
{
    void *symbol = dlsym(RTLD_NEXT, name);
    void *library = localLibrary.load(std::memory_order_acquire);
    if (symbol == nullptr && library != nullptr)
        symbol = dlsym(library, name);
    if (symbol == nullptr)
        dlerror(); // a program may ask for errors of its own only
    return symbol;
}

// Data, other than functions, may stand in the program itself (a copy relocation), and then the library
// uses the program's copy, too: the first in the order of all modules is the one in use.
void *findObject(const char *name)
{
    void *object = dlsym(RTLD_DEFAULT, name);
    return object != nullptr ? object : findSymbol(name);
}

// The library, or module, that the code at an address belongs to; its dependencies are searched, too.
void *libraryOf(const void *address)
{
    Dl_info info;
    if (address == nullptr || dladdr(address, &info) == 0 || info.dli_fname == nullptr)
        return nullptr;
    return dlopen(info.dli_fname, RTLD_LAZY | RTLD_NOLOAD);
}

// Paths of loaded libraries whose file's name speaks of MPI.
struct Candidates {
    static constexpr int Most = 16;
    char paths[Most][512];
    int count;
};

int noteCandidate(dl_phdr_info *module, std::size_t, void *candidates)
{
    Candidates &noted = *static_cast<Candidates *>(candidates);
    const char *slash = std::strrchr(module->dlpi_name, '/');
    const std::size_t length = std::strlen(module->dlpi_name);
    if (slash != nullptr && std::strstr(slash, "mpi") != nullptr && noted.count < Candidates::Most
        && length < sizeof noted.paths[0])
        std::memcpy(noted.paths[noted.count++], module->dlpi_name, length + 1);
    return 0;
}

// A library of MPI that neither all modules nor the caller see: another tool stands between us and the module
// that loaded it for itself alone. Paths are noted first: libraries can't be opened while the list is walked.
void *hiddenLibraryWith(const char *name)
{
    Candidates candidates;
    candidates.count = 0;
    dl_iterate_phdr(noteCandidate, &candidates);
    for (int i = 0; i < candidates.count; ++i) {
        void *library = dlopen(candidates.paths[i], RTLD_LAZY | RTLD_NOLOAD);
        if (library != nullptr && dlsym(library, name) != nullptr)
            return library;
        if (library != nullptr)
            dlclose(library);
    }
    return nullptr;
}

Helper<int, Word, int *> commRank("PMPI_Comm_rank");
Helper<int, Word, int *> commSize("PMPI_Comm_size");
Helper<int, Word, int *> commTestInter("PMPI_Comm_test_inter");
Helper<int, Word, int *> commRemoteSize("PMPI_Comm_remote_size");
Helper<int, Word, int *> typeSize("PMPI_Type_size");
Helper<int, Word, int *> topology("PMPI_Topo_test");
Helper<int, Word, int *> dimensions("PMPI_Cartdim_get");
Helper<int, Word, int, int *> graphNeighbours("PMPI_Graph_neighbors_count");
Helper<int, Word, int *, int *, int *> distributedNeighbours("PMPI_Dist_graph_neighbors_count");
Helper<int, const unsigned char *, Word, std::int64_t *> elements("PMPI_Get_elements_x");
Helper<int, const unsigned char *, int *> testCancelled("PMPI_Test_cancelled");
Helper<Word, int> typeOfFortran("PMPI_Type_f2c");
Helper<Word, int> communicatorOfFortran("PMPI_Comm_f2c");

// An object of the library that is looked up once; nullptr if there is none.
class Object {
public:
    explicit constexpr Object(const char *name)
        : mName(name)
    {
    }
    void *address()
    {
        if (!mIsKnown.load(std::memory_order_acquire)) {
            mAddress.store(findObject(mName), std::memory_order_relaxed);
            mIsKnown.store(true, std::memory_order_release);
        }
        return mAddress.load(std::memory_order_relaxed);
    }

private:
    const char *mName;
    std::atomic<void *> mAddress{nullptr};
    std::atomic<bool> mIsKnown{false};
};

// A constant that Fortran tells by its address: that of a variable, or one kept in a pointer.
class FortranConstant {
public:
    // Names of Open MPI's variable, of MPICH's pointer, and of MPICH's variable for mpi_f08.
    constexpr FortranConstant(const char *variable, const char *pointer, const char *variable08)
        : mVariable(variable)
        , mPointer(pointer)
        , mVariable08(variable08)
    {
    }
    bool isAt(Word address)
    {
        if (handlesArePointers())
            return address == reinterpret_cast<Word>(mVariable.address());
        const auto *pointer = static_cast<const Word *>(mPointer.address());
        return (pointer != nullptr && address == *pointer)
            || address == reinterpret_cast<Word>(mVariable08.address());
    }

private:
    Object mVariable;
    Object mPointer;
    Object mVariable08;
};

FortranConstant inPlace("mpi_fortran_in_place_", "MPIR_F_MPI_IN_PLACE", "MPIR_F08_MPI_IN_PLACE");
FortranConstant statusIgnore(
    "mpi_fortran_status_ignore_", "MPI_F_STATUS_IGNORE", "MPIR_F08_MPI_STATUS_IGNORE_OBJ");
FortranConstant statusesIgnore(
    "mpi_fortran_statuses_ignore_", "MPI_F_STATUSES_IGNORE", "MPIR_F08_MPI_STATUSES_IGNORE_OBJ");

// Handles of the library's own: an object's address in one implementation, a number in the other.
class Constant {
public:
    constexpr Constant(const char *object, Word number)
        : mObject(object)
        , mNumber(number)
    {
    }
    Word handle() { return handlesArePointers() ? reinterpret_cast<Word>(mObject.address()) : mNumber; }

private:
    Object mObject;
    Word mNumber;
};

Constant worldCommunicator("ompi_mpi_comm_world", MpichWorld);
Constant nullType("ompi_mpi_datatype_null", MpichNullType);
Constant byteType("ompi_mpi_byte", MpichByte);

} // namespace

Function find(const char *name, const void *caller)
{
    void *symbol = findSymbol(name);
    if (symbol == nullptr) {
        void *library = libraryOf(caller);
        symbol = library != nullptr ? dlsym(library, name) : nullptr;
        if (symbol == nullptr) {
            library = hiddenLibraryWith(name);
            symbol = library != nullptr ? dlsym(library, name) : nullptr;
        }
        if (symbol != nullptr)
            localLibrary.store(library, std::memory_order_release);
        else
            dlerror();
    }
    return reinterpret_cast<Function>(symbol);
}

Function findNext(const char *name)
{
    void *symbol = dlsym(RTLD_NEXT, name);
    if (symbol == nullptr)
        dlerror();
    return reinterpret_cast<Function>(symbol);
}

int noSuchCall()
{
    // Asked anew: the library may yet come.
    return findObject("ompi_mpi_comm_world") != nullptr ? 16 : 15;
}

std::atomic<int> kindOfHandles{-1};

bool askKindOfHandles()
{
    const bool arePointers = findObject("ompi_mpi_comm_world") != nullptr;
    kindOfHandles.store(arePointers ? 1 : 0, std::memory_order_relaxed);
    return arePointers;
}

int rankIn(Word communicator)
{
    int rank = -1;
    return commRank(communicator, &rank) == 0 ? rank : -1;
}

int sizeOf(Word communicator)
{
    int size = 0;
    return commSize(communicator, &size) == 0 ? size : 0;
}

int peersIn(Word communicator)
{
    int size = 0;
    if (isInter(communicator))
        return commRemoteSize(communicator, &size) == 0 ? size : 0;
    return sizeOf(communicator);
}

bool isInter(Word communicator)
{
    int answer = 0;
    return commTestInter(communicator, &answer) == 0 && answer != 0;
}

bool isRootOfOthers(int rank)
{
    return rank == (handlesArePointers() ? -4 : -3);
}

Neighbours neighboursIn(Word communicator)
{
    // Cartesian grids and graphs have their numbers the other way round in MPICH.
    constexpr int Distributed = 3;
    const int cartesian = handlesArePointers() ? 1 : 2;
    int kind = 0;
    int number = 0;
    if (topology(communicator, &kind) != 0)
        return {};
    if (kind == Distributed) {
        int sources = 0;
        int destinations = 0;
        int isWeighted = 0;
        if (distributedNeighbours(communicator, &sources, &destinations, &isWeighted) != 0)
            return {};
        return {sources, destinations};
    }
    if (kind == cartesian)
        return dimensions(communicator, &number) == 0 ? Neighbours{2 * number, 2 * number} : Neighbours{};
    if (kind == Distributed - cartesian && graphNeighbours(communicator, rankIn(communicator), &number) == 0)
        return {number, number};
    return {};
}

Word world()
{
    return worldCommunicator.handle();
}

Word predefined(const char *object, Word number)
{
    return handlesArePointers() ? reinterpret_cast<Word>(findObject(object)) : number;
}

Word ignoredStatus()
{
    return handlesArePointers() ? 0 : 1;
}

KnownType knownTypes[1U << KnownTypesBits];

std::uint64_t askSizeOfType(Word type)
{
    if (type == 0 || type == nullType.handle())
        return 0;
    KnownType &known = entryOfType(type);
    int asked = 0;
    if (typeSize(type, &asked) != 0 || asked < 0)
        return 0;
    known.type.store(0, std::memory_order_release);
    known.size.store(static_cast<std::uint64_t>(asked), std::memory_order_release);
    known.type.store(type, std::memory_order_release);
    return static_cast<std::uint64_t>(asked);
}

void forgetType(Word word)
{
    const Word type = handle(word);
    KnownType &known = entryOfType(type);
    if (known.type.load(std::memory_order_relaxed) == type)
        known.type.store(0, std::memory_order_release);
}

Word handleAt(Word address, int index)
{
    return handlesArePointers()
        ? reinterpret_cast<const Word *>(address)[index]
        : handle(static_cast<Word>(reinterpret_cast<const std::int32_t *>(address)[index]));
}

Word typeFromFortran(int type)
{
    return handlesArePointers() ? typeOfFortran(type) : handle(type);
}

Word communicatorFromFortran(int communicator)
{
    return handlesArePointers() ? communicatorOfFortran(communicator) : handle(communicator);
}

bool isInPlaceOfFortran(Word buffer)
{
    return inPlace.isAt(buffer);
}

bool isStatusIgnoredOfFortran(Word status)
{
    return statusIgnore.isAt(status);
}

bool areStatusesIgnoredOfFortran(Word statuses)
{
    return statusesIgnore.isAt(statuses);
}

std::size_t statusSize()
{
    return (handlesArePointers() ? 6 : 5) * sizeof(int);
}

bool isCancelled(const unsigned char *status)
{
    int answer = 0;
    return testCancelled(status, &answer) == 0 && answer != 0;
}

std::atomic<int> statusesRead{0};

std::uint64_t askReceivedBytes(const unsigned char *status, std::uint64_t room)
{
    std::int64_t number = -1;
    if (elements(status, byteType.handle(), &number) != 0 || number < 0)
        return room;
    const auto bytes = static_cast<std::uint64_t>(number);
    int read = statusesRead.load(std::memory_order_relaxed);
    if (bytesIn(status) != bytes)
        statusesRead.store(-1, std::memory_order_relaxed);
    else if (bytes != 0 && read >= 0 && read < EnoughStatuses) // nothing is anywhere
        statusesRead.compare_exchange_strong(read, read + 1, std::memory_order_relaxed);
    return bytes < room ? bytes : room;
}

} // namespace fern::mpi
