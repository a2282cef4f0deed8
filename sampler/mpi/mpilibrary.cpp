#include "mpi/mpilibrary.h"

#include <atomic>
#include <dlfcn.h>

namespace fern::mpi {

namespace {

// The numbers of MPICH's binary interface, which several other implementations share.
constexpr Word MpichWorld = 0x44000000;
constexpr Word MpichNullType = 0x0c000000;

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

// A function of MPI that the sampler itself calls.
template <typename... Arguments> class Helper {
public:
    explicit constexpr Helper(const char *name)
        : mName(name)
    {
    }
    // MPI's own result code, or -1 if there is no such function.
    int operator()(Arguments... arguments)
    {
        Function function = mFunction.load(std::memory_order_relaxed);
        if (function == nullptr) {
            function = find(mName, nullptr);
            mFunction.store(function, std::memory_order_relaxed);
        }
        return function != nullptr ? reinterpret_cast<int (*)(Arguments...)>(function)(arguments...) : -1;
    }

private:
    const char *mName;
    std::atomic<Function> mFunction{nullptr};
};

Helper<Word, int *> commRank("PMPI_Comm_rank");
Helper<Word, int *> commSize("PMPI_Comm_size");
Helper<Word, int *> commTestInter("PMPI_Comm_test_inter");
Helper<Word, int *> commRemoteSize("PMPI_Comm_remote_size");
Helper<Word, int *> typeSize("PMPI_Type_size");

// Whether handles are addresses of the library's own objects, as in Open MPI and its kin.
bool handlesArePointers()
{
    static std::atomic<int> answer{-1};
    int known = answer.load(std::memory_order_relaxed);
    if (known < 0) {
        known = findObject("ompi_mpi_comm_world") != nullptr ? 1 : 0;
        answer.store(known, std::memory_order_relaxed);
    }
    return known == 1;
}

// What is significant of a handle's word: an integer's upper half may hold anything.
Word handle(Word word)
{
    return handlesArePointers() ? word : static_cast<Word>(static_cast<std::uint32_t>(word));
}

Word nullType()
{
    static std::atomic<Word> type{0};
    Word known = type.load(std::memory_order_relaxed);
    if (known == 0) {
        known = handlesArePointers() ? reinterpret_cast<Word>(findObject("ompi_mpi_datatype_null"))
                                     : MpichNullType;
        type.store(known, std::memory_order_relaxed);
    }
    return known;
}

// Asking the library at every call costs more than the rest of a wrapper. The entry's type is 0 while
// its size changes.
struct KnownType {
    std::atomic<Word> type;
    std::atomic<std::uint64_t> size;
};

constexpr std::size_t KnownTypes = 256;
KnownType knownTypes[KnownTypes];

KnownType &entryOf(Word type)
{
    // Fibonacci hashing: handles differ in their middle bits.
    const auto hash = static_cast<std::uint64_t>(type) * 0x9e3779b97f4a7c15;
    return knownTypes[hash >> 56];
}

} // namespace

Function find(const char *name, const void *caller)
{
    void *symbol = findSymbol(name);
    if (symbol == nullptr) {
        if (void *library = libraryOf(caller)) {
            symbol = dlsym(library, name);
            if (symbol != nullptr)
                localLibrary.store(library, std::memory_order_release);
        }
    }
    return reinterpret_cast<Function>(symbol);
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
    int isInter = 0;
    int size = 0;
    if (commTestInter(communicator, &isInter) == 0 && isInter != 0)
        return commRemoteSize(communicator, &size) == 0 ? size : 0;
    return sizeOf(communicator);
}

Word world()
{
    return handlesArePointers() ? reinterpret_cast<Word>(findObject("ompi_mpi_comm_world")) : MpichWorld;
}

std::uint64_t sizeOfType(Word word)
{
    const Word type = handle(word);
    if (type == 0 || type == nullType())
        return 0;
    KnownType &known = entryOf(type);
    if (known.type.load(std::memory_order_acquire) == type) {
        const std::uint64_t size = known.size.load(std::memory_order_acquire);
        if (known.type.load(std::memory_order_relaxed) == type)
            return size;
    }
    int asked = 0;
    if (typeSize(type, &asked) != 0 || asked < 0)
        return 0;
    known.type.store(0, std::memory_order_release);
    known.size.store(static_cast<std::uint64_t>(asked), std::memory_order_release);
    known.type.store(type, std::memory_order_release);
    return static_cast<std::uint64_t>(asked);
}

void forgetTypeAt(Word address)
{
    const Word type = handlesArePointers()
        ? *reinterpret_cast<const Word *>(address)
        : handle(static_cast<Word>(*reinterpret_cast<const std::int32_t *>(address)));
    KnownType &known = entryOf(type);
    if (known.type.load(std::memory_order_relaxed) == type)
        known.type.store(0, std::memory_order_release);
}

bool isInPlace(Word buffer)
{
    return buffer == (handlesArePointers() ? 1 : -1);
}

} // namespace fern::mpi
