"""The examples in C of docs/c-interface.md, compiled strictly, linked with the library, and run.

    document_test.py COMPILER LIBRARY DOCS HEADERS

An example is the body of a function that has the first definition of docs/definition-format.md as `definition`. It
has to make a page and to complain about nothing.
"""

import pathlib
import re
import subprocess
import sys
import tempfile

PROGRAM = """#include "brivane-report.h"
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

static const char definition[] = %s;

/* What the example frees is looked at before. */
static void looked_at(void *page)
{
    if (page && strstr((const char *)page, "</html>"))
        puts("page");
    free(page);
}
#define free looked_at

int main(void)
{
%s
    return 0;
}
"""


def literal(text):
    lines = text.replace("\\", "\\\\").replace('"', '\\"').split("\n")
    return "\n".join(f'    "{line}\\n"' for line in lines)


def main():
    compiler, library, docs, headers = sys.argv[1:]
    docs = pathlib.Path(docs)
    examples = re.findall(r"```c\n(.*?)```", (docs / "c-interface.md").read_text(), re.S)
    definition = re.search(r"```xml\n(.*?)\n```", (docs / "definition-format.md").read_text(), re.S).group(1)
    assert examples, "no example found"
    with tempfile.TemporaryDirectory() as folder:
        for example in examples:
            source = pathlib.Path(folder, "example.c")
            program = pathlib.Path(folder, "example")
            source.write_text(PROGRAM % (literal(definition), example))
            subprocess.run([compiler, "-std=c89", "-pedantic-errors", "-Wall", "-Wextra", "-Werror",
                            "-Wno-overlength-strings", "-I", headers, source, library,
                            f"-Wl,-rpath,{pathlib.Path(library).parent}", "-o", program], check=True)
            result = subprocess.run([program], capture_output=True, text=True, check=True)
            assert (result.stdout, result.stderr) == ("page\n", ""), (example, result)


main()
