#include "quillonreporttool.h"
#include "workflow/frontend.h"

int main(int argc, char **argv)
{
    return runTool(*QuillonReportTool::instance(), argc, argv);
}
