#include "wrappers/hooks.h"

#include <dlfcn.h>

namespace fern::hooks {

void *functions[static_cast<unsigned>(Id::Count)];

namespace {

constexpr const char *Names[] = {
#define FERN_CALL(result, name, parameters, arguments, category, condition) #name,
#define FERN_ALONE(result, name, parameters, arguments) #name,
#define FERN_SPECIAL(result, name, parameters) #name,
#include "wrappers/calls.def"
};

} // namespace

const char *nameOf(Id id)
{
    return Names[static_cast<unsigned>(id)];
}

void findAll()
{
    for (unsigned id = 0; id < static_cast<unsigned>(Id::Count); ++id)
        find(static_cast<Id>(id));
    dlerror(); // a program may ask for errors of its own only
}

void *find(Id id)
{
    const auto index = static_cast<unsigned>(id);
    functions[index] = dlsym(RTLD_NEXT, Names[index]);
    return functions[index];
}

} // namespace fern::hooks
