#ifndef CHECK_H
#define CHECK_H

#include <stdio.h>
#include <string.h>

static int failures = 0;

static void checkNumber(int line, const char *what, int actual, int expected)
{
    if (actual == expected)
        return;
    printf("line %d: %s is %d, expected %d\n", line, what, actual, expected);
    ++failures;
}

/* Either text may be null. */
static void checkText(int line, const char *what, const char *actual, const char *expected)
{
    if (actual && expected ? strcmp(actual, expected) == 0 : actual == expected)
        return;
    printf("line %d: %s is \"%s\", expected \"%s\"\n", line, what, actual ? actual : "(null)",
        expected ? expected : "(null)");
    ++failures;
}

#define CHECK_NUMBER(actual, expected) checkNumber(__LINE__, #actual, (actual), (expected))
#define CHECK_TEXT(actual, expected) checkText(__LINE__, #actual, (actual), (expected))

#endif
