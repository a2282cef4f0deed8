#include "accelerator/acceleratorlibrary.h"

#include "core/text.h"

#include <atomic>
#include <dlfcn.h>
#include <errno.h>
#include <link.h>

namespace fern::accelerator {

namespace {

constexpr auto Calls = static_cast<unsigned>(Call::Count);
constexpr unsigned Libraries = 3;

constexpr const char *Names[Calls] = {
#define FERN_ACCELERATOR(library, name, words) #name,
#include "accelerator/acceleratorcalls.def"
};

constexpr Library LibraryOf[Calls] = {
#define FERN_ACCELERATOR(library, name, words) Library::library,
#include "accelerator/acceleratorcalls.def"
};

// How the names of the libraries' files begin. Packages of Python put a number of their own behind that.
constexpr const char *FileNames[Libraries] = {"libcudart", "libcuda.", "libamdhip64"};

// Functions of libraries that the whole program sees: the same for every caller.
std::atomic<Function> common[Calls];

// Functions of libraries that were loaded for one module alone. Such a library can be there more than once,
// each module having its own, and what one of them knows (a symbol's address on the device) another doesn't:
// the function depends on who calls. An entry's key is the call and the caller's address, 0 as long as it is
// free.
struct Entry {
    std::atomic<std::uint64_t> key;
    std::atomic<Function> function;
};
constexpr unsigned Entries = 4096;
constexpr unsigned Tries = 32;
Entry entries[Entries];
std::atomic<bool> hasEntries{false};

std::uint64_t keyOf(Call call, const void *caller)
{
    static_assert(Calls < 256);
    return reinterpret_cast<std::uint64_t>(caller) << 8 | static_cast<std::uint64_t>(call);
}

// The entry of a key, or the free one where it belongs; nullptr if there is no room.
Entry *entryOf(std::uint64_t key)
{
    // Fibonacci hashing.
    const std::uint64_t hash = key * 0x9e3779b97f4a7c15;
    for (unsigned i = 0; i < Tries; ++i) {
        Entry &entry = entries[((hash >> 52) + i) % Entries];
        const std::uint64_t known = entry.key.load(std::memory_order_acquire);
        if (known == key || known == 0)
            return &entry;
    }
    return nullptr;
}

Function remembered(std::uint64_t key)
{
    const Entry *entry = entryOf(key);
    return entry != nullptr && entry->key.load(std::memory_order_acquire) == key
        ? entry->function.load(std::memory_order_acquire)
        : nullptr;
}

// Two threads may come at the same moment: the one that takes the entry's key fills it in, the other's
// function is looked up again at its next call.
void remember(std::uint64_t key, Function function)
{
    Entry *entry = entryOf(key);
    std::uint64_t nobody = 0;
    if (entry == nullptr || !entry->key.compare_exchange_strong(nobody, key, std::memory_order_acq_rel))
        return;
    entry->function.store(function, std::memory_order_release);
    hasEntries.store(true, std::memory_order_release);
}

bool isOurOwn(const void *function)
{
    Dl_info there;
    Dl_info here;
    return dladdr(function, &there) != 0 && dladdr(Names, &here) != 0 && there.dli_fbase == here.dli_fbase;
}

// A function as a loaded library or module sees it, the libraries that it was linked to included; the program
// itself sees our wrapper. The library stays from now on, since its function will be called again.
void *findIn(const char *file, const char *name)
{
    void *library = file != nullptr ? dlopen(file, RTLD_LAZY | RTLD_NOLOAD) : nullptr;
    void *function = library != nullptr ? dlsym(library, name) : nullptr;
    return function != nullptr && !isOurOwn(function) ? function : nullptr;
}

struct Search {
    const char *beginning; // of the file's name
    char path[4096]; // of the first library with such a name
};

int lookAtObject(dl_phdr_info *object, std::size_t, void *data)
{
    Search &search = *static_cast<Search *>(data);
    const char *name = object->dlpi_name;
    for (const char *at = object->dlpi_name; *at != '\0'; ++at) {
        if (*at == '/')
            name = at + 1;
    }
    const char *wanted = search.beginning;
    while (*wanted != '\0' && *name == *wanted) {
        ++name;
        ++wanted;
    }
    if (*wanted == '\0')
        copyText(search.path, object->dlpi_name);
    return *wanted == '\0' ? 1 : 0;
}

// A function that returns by calling ours leaves its own caller's address, whose module may know nothing of
// the library. Then there is at least the library itself.
void *findInLoadedLibrary(Call call)
{
    Search search{FileNames[static_cast<unsigned>(LibraryOf[static_cast<unsigned>(call)])], {}};
    dl_iterate_phdr(lookAtObject, &search);
    return search.path[0] != '\0' ? findIn(search.path, Names[static_cast<unsigned>(call)]) : nullptr;
}

// In the order in which the dynamic linker would have looked.
Function lookUp(Call call, const void *caller)
{
    const auto index = static_cast<unsigned>(call);
    void *function = dlsym(RTLD_NEXT, Names[index]);
    if (function != nullptr && !hasEntries.load(std::memory_order_acquire)) {
        common[index].store(reinterpret_cast<Function>(function), std::memory_order_release);
        return reinterpret_cast<Function>(function);
    }
    Dl_info info;
    if (function == nullptr && dladdr(caller, &info) != 0)
        function = findIn(info.dli_fname, Names[index]);
    if (function == nullptr)
        function = findInLoadedLibrary(call);
    if (function != nullptr)
        remember(keyOf(call, caller), reinterpret_cast<Function>(function));
    dlerror(); // a program may ask for errors of its own only
    return reinterpret_cast<Function>(function);
}

} // namespace

Function find(Call call, const void *caller)
{
    if (const Function function = common[static_cast<unsigned>(call)].load(std::memory_order_acquire))
        return function;
    if (const Function function = remembered(keyOf(call, caller)))
        return function;
    const int error = errno;
    const Function function = lookUp(call, caller);
    errno = error;
    return function;
}

Word codeWithout(Library library)
{
    // cudaErrorInsufficientDriver, CUDA_ERROR_NOT_INITIALIZED, hipErrorNotInitialized
    constexpr Word Codes[Libraries] = {35, 3, 3};
    return Codes[static_cast<unsigned>(library)];
}

} // namespace fern::accelerator
