#include "workflow/ferntool.h"
#include "workflow/frontend.h"

int main(int argc, char **argv)
{
    FernTool tool;
    return runTool(tool, argc, argv);
}
