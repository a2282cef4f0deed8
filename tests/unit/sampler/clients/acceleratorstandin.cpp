#include "accelerator.h"

#include "clock.h"

namespace {

double wanted = 0;
bool burning = false;

Word waitAndAnswer(const char *name, const Word *arguments, int count)
{
    if (burning) {
        compute(wanted);
    } else {
        const timespec duration{0, static_cast<long>(wanted * 1e9)};
        nanosleep(&duration, nullptr);
    }
    return standInAnswer(IDENTITY, name, arguments, count);
}

} // namespace

extern "C" void standInTakes(double duration, bool burns)
{
    wanted = duration;
    burning = burns;
}

#define STAND_IN_CALL(name, words)                                                                           \
    extern "C" Word name(FERN_PARAMETERS_##words)                                                            \
    {                                                                                                        \
        const Word arguments[words + 1] = {FERN_ARGUMENTS_##words};                                          \
        return waitAndAnswer(#name, arguments, words);                                                       \
    }
#define FERN_ACCELERATOR(library, name, words) FERN_ROW_##library(name, words)
#include "accelerator/acceleratorcalls.def"
