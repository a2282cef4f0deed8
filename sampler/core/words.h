#ifndef SAMPLER_CORE_WORDS_H
#define SAMPLER_CORE_WORDS_H

// Arguments that are handed on as machine words, whatever they mean: pointers and integers travel as one word
// each in both calling conventions that we know (x86-64, AAPCS64), and so do results.

#include <cstdint>

namespace fern {

using Word = std::intptr_t;

} // namespace fern

// Lists of so many parameters and arguments, a0 being the first. Includers name the type Word.
#define FERN_PARAMETERS_0 void
#define FERN_PARAMETERS_1 Word a0
#define FERN_PARAMETERS_2 FERN_PARAMETERS_1, Word a1
#define FERN_PARAMETERS_3 FERN_PARAMETERS_2, Word a2
#define FERN_PARAMETERS_4 FERN_PARAMETERS_3, Word a3
#define FERN_PARAMETERS_5 FERN_PARAMETERS_4, Word a4
#define FERN_PARAMETERS_6 FERN_PARAMETERS_5, Word a5
#define FERN_PARAMETERS_7 FERN_PARAMETERS_6, Word a6
#define FERN_PARAMETERS_8 FERN_PARAMETERS_7, Word a7
#define FERN_PARAMETERS_9 FERN_PARAMETERS_8, Word a8
#define FERN_PARAMETERS_10 FERN_PARAMETERS_9, Word a9
#define FERN_PARAMETERS_11 FERN_PARAMETERS_10, Word a10
#define FERN_PARAMETERS_12 FERN_PARAMETERS_11, Word a11
#define FERN_PARAMETERS_13 FERN_PARAMETERS_12, Word a12
#define FERN_PARAMETERS_14 FERN_PARAMETERS_13, Word a13

#define FERN_ARGUMENTS_0
#define FERN_ARGUMENTS_1 a0
#define FERN_ARGUMENTS_2 FERN_ARGUMENTS_1, a1
#define FERN_ARGUMENTS_3 FERN_ARGUMENTS_2, a2
#define FERN_ARGUMENTS_4 FERN_ARGUMENTS_3, a3
#define FERN_ARGUMENTS_5 FERN_ARGUMENTS_4, a4
#define FERN_ARGUMENTS_6 FERN_ARGUMENTS_5, a5
#define FERN_ARGUMENTS_7 FERN_ARGUMENTS_6, a6
#define FERN_ARGUMENTS_8 FERN_ARGUMENTS_7, a7
#define FERN_ARGUMENTS_9 FERN_ARGUMENTS_8, a8
#define FERN_ARGUMENTS_10 FERN_ARGUMENTS_9, a9
#define FERN_ARGUMENTS_11 FERN_ARGUMENTS_10, a10
#define FERN_ARGUMENTS_12 FERN_ARGUMENTS_11, a11
#define FERN_ARGUMENTS_13 FERN_ARGUMENTS_12, a12
#define FERN_ARGUMENTS_14 FERN_ARGUMENTS_13, a13

#endif
