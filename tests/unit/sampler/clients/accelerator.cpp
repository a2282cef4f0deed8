// accelerator COMPUTE WAIT sleeps|burns
//
// Computes and waits for so many seconds, in turn, once for each call of an accelerator's library that waits.
// Prints what it measured and how many calls answered otherwise than they were asked.

#include "accelerator.h"

#include "clock.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#define STAND_IN_CALL(name, words) extern "C" Word name(FERN_PARAMETERS_##words);
#define FERN_ACCELERATOR(library, name, words) FERN_ROW_##library(name, words)
#include "accelerator/acceleratorcalls.def"
#undef STAND_IN_CALL

namespace {

constexpr int MaxWords = 9;

struct Row {
    const char *name;
    int words;
    Word (*call)(const Word *arguments);
};

#define FERN_VALUES_0
#define FERN_VALUES_1 a[0]
#define FERN_VALUES_2 FERN_VALUES_1, a[1]
#define FERN_VALUES_3 FERN_VALUES_2, a[2]
#define FERN_VALUES_4 FERN_VALUES_3, a[3]
#define FERN_VALUES_5 FERN_VALUES_4, a[4]
#define FERN_VALUES_6 FERN_VALUES_5, a[5]
#define FERN_VALUES_7 FERN_VALUES_6, a[6]
#define FERN_VALUES_8 FERN_VALUES_7, a[7]
#define FERN_VALUES_9 FERN_VALUES_8, a[8]

const Row rows[] = {
#define STAND_IN_CALL(name, words)                                                                           \
    {#name, words, []([[maybe_unused]] const Word *a) { return name(FERN_VALUES_##words); }},
#define FERN_ACCELERATOR(library, name, words) FERN_ROW_##library(name, words)
#include "accelerator/acceleratorcalls.def"
};

// Uses all of a word's bits.
Word argumentOf(int index)
{
    return static_cast<Word>(0x123456789abcdef * (index + 1));
}

} // namespace

// A module is run by client-loader, too.
#if defined(MODULE)
extern "C" __attribute__((visibility("default"))) int runModule(int count, char **arguments)
#else
int main(int count, char **arguments)
#endif
{
    if (count != 4)
        return 2;
    const int calls = sizeof(rows) / sizeof(rows[0]);
    const double work = std::atof(arguments[1]) / calls;
    standInTakes(std::atof(arguments[2]) / calls, std::strcmp(arguments[3], "burns") == 0);
    const double begin = seconds();
    double computing = 0;
    double waiting = 0;
    int wrong = 0;
    for (const Row &row : rows) {
        Word values[MaxWords];
        for (int i = 0; i < MaxWords; ++i)
            values[i] = argumentOf(i);
        computing += compute(work);
        const double start = seconds();
        const Word answer = row.call(values);
        waiting += seconds() - start;
        if (static_cast<int>(answer) != standInAnswer(IDENTITY, row.name, values, row.words))
            ++wrong;
    }
    std::printf("compute %f\nwait %f\nwhole %f\ncalls %d\nwrong %d\n", computing, waiting, seconds() - begin,
        calls, wrong);
    return 0;
}
