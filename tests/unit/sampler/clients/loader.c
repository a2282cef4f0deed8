/* loader MODULE ARGUMENTS
 *
 * Has nothing to do with MPI itself: loads a module that has, for itself alone as a plug-in is loaded, and
 * runs it. */
#include <dlfcn.h>
#include <stdio.h>

int main(int count, char **arguments)
{
    if (count < 2)
        return 2;
    void *module = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
    if (!module) {
        fprintf(stderr, "%s\n", dlerror());
        return 3;
    }
    int (*run)(int, char **) = (int (*)(int, char **))dlsym(module, "runModule");
    return run ? run(count - 1, arguments + 1) : 4;
}
