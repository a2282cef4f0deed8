/* acceleratorguest ask
 * acceleratorguest load MODULE...
 *
 * "ask": calls what it finds of an accelerator's libraries without having one. "load": runs modules that have
 * one each, for themselves alone, in turn and twice. */
#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

static void ask(const char *name)
{
    int (*call)(void *) = (int (*)(void *))dlsym(RTLD_DEFAULT, name);
    if (call)
        printf("%s %d\n", name, call(NULL));
}

static int load(const char *path)
{
    char *arguments[] = {(char *)path, (char *)"0", (char *)"0", (char *)"sleeps", NULL};
    void *module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    int (*run)(int, char **) = module ? (int (*)(int, char **))dlsym(module, "runModule") : NULL;
    if (!run) {
        fprintf(stderr, "%s\n", dlerror());
        return 3;
    }
    return run(4, arguments);
}

int main(int count, char **arguments)
{
    int status = 0;
    if (count == 2 && !strcmp(arguments[1], "ask")) {
        ask("cudaDeviceSynchronize");
        ask("cuStreamSynchronize");
        ask("hipFree");
        return 0;
    }
    for (int turn = 0; turn < 2; ++turn) {
        for (int i = 2; i < count && status == 0; ++i)
            status = load(arguments[i]);
    }
    return status;
}
