#ifndef HOST_CLI_PLATFORM_H
#define HOST_CLI_PLATFORM_H

// The kind of machine that the host was built for.
namespace Platform {

enum Enum { LinuxX86_64, LinuxAarch64, LinuxOther };

constexpr Enum current()
{
#if defined(__x86_64__)
    return LinuxX86_64;
#elif defined(__aarch64__)
    return LinuxAarch64;
#else
    return LinuxOther;
#endif
}

} // namespace Platform

#endif
