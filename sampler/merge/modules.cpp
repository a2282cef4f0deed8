#include "merge/modules.h"

#include <link.h>

namespace fern::modules {

namespace {

struct Module {
    std::uint64_t begin;
    std::uint64_t end;
    std::uint64_t place; // where it begins for everybody
};

constexpr std::uint32_t MaxModules = 512;
Module known[MaxModules];
std::uint32_t knownCount = 0;
const char *programPath = "";
std::uint64_t ownPlace = 0;

// Fowler, Noll and Vo's hash, 1a.
std::uint64_t hash(const char *text)
{
    std::uint64_t value = 0xcbf29ce484222325;
    for (; *text != '\0'; ++text)
        value = (value ^ static_cast<unsigned char>(*text)) * 0x100000001b3;
    return value;
}

int note(dl_phdr_info *info, std::size_t, void *)
{
    constexpr std::uint64_t PageSize = 4096; // of files, the least that there is
    constexpr std::uint64_t LargestModule = std::uint64_t(1) << 32;
    std::uint64_t begin = ~std::uint64_t(0);
    std::uint64_t end = 0;
    for (int i = 0; i < info->dlpi_phnum; ++i) {
        const ElfW(Phdr) &segment = info->dlpi_phdr[i];
        if (segment.p_type != PT_LOAD)
            continue;
        const std::uint64_t from = info->dlpi_addr + segment.p_vaddr;
        begin = from < begin ? from : begin;
        end = from + segment.p_memsz > end ? from + segment.p_memsz : end;
    }
    begin -= begin % PageSize;
    if (begin >= end || end - begin > LargestModule || knownCount == MaxModules)
        return 0;
    const bool isProgram = info->dlpi_name == nullptr || info->dlpi_name[0] == '\0';
    constexpr std::uint64_t Everybodys = std::uint64_t(1) << 62;
    const std::uint64_t name = hash(isProgram ? programPath : info->dlpi_name) & 0x3fffffff;
    known[knownCount++] = {begin, end, Everybodys | name << 32};
    return 0;
}

} // namespace

void find(const char *executable, std::uint32_t salt)
{
    constexpr std::uint64_t OneProcess = std::uint64_t(1) << 63;
    programPath = executable;
    ownPlace = OneProcess | (std::uint64_t(salt) & 0x7fff) << 47;
    knownCount = 0;
    dl_iterate_phdr(note, nullptr);
}

std::uint64_t commonAddress(std::uint64_t address)
{
    for (std::uint32_t i = 0; i < knownCount; ++i) {
        const Module &module = known[i];
        if (address >= module.begin && address < module.end)
            return module.place + (address - module.begin);
    }
    return ownPlace | (address & ((std::uint64_t(1) << 47) - 1));
}

} // namespace fern::modules
