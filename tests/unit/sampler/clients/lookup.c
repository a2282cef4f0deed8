/* lookup NAME
 *
 * Looks for a function as programs do that want to know whether there is one. */
#define _GNU_SOURCE

#include <dlfcn.h>
#include <stdio.h>

int main(int count, char **arguments)
{
    if (count != 2)
        return 2;
    puts(dlsym(RTLD_DEFAULT, arguments[1]) ? "there" : "missing");
    return 0;
}
