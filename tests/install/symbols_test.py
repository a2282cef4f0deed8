"""What the two report libraries show, against lists.

symbols_test.py NM LIBRARY LIST [--by-class]

With --by-class members stand for their class, so that the list says what is shown and not how it is made."""

import re
import subprocess
import sys


def exported(nm, library):
    lines = subprocess.run([nm, "-DC", "--defined-only", library], check=True, capture_output=True, text=True).stdout
    # Weak symbols are what the compiler happened not to inline.
    rows = [line[17:].split(" ", 1) for line in lines.splitlines()]
    names = {name for kind, name in rows if kind in "TDBR"}
    return names - {"_edata", "_end", "__bss_start"}


def shown(name):
    name = re.sub(r"^(vtable for|typeinfo for|typeinfo name for|non-virtual thunk to) ", "", name)
    name = re.sub(r"\(.*|\[abi:.*", "", name)
    parts = name.split("::")
    classes = [i for i, part in enumerate(parts) if re.match(r"[A-Z]|quillon_report$", part)]
    return "::".join(parts[:classes[0] + 1]) if classes else name


def main():
    nm, library, listed = sys.argv[1:4]
    names = exported(nm, library)
    if "--by-class" in sys.argv:
        names = {shown(name) for name in names}
    with open(listed, encoding="utf-8") as file:
        wanted = set(file.read().split("\n")) - {""}
    for name in sorted(names - wanted):
        print(f"{library} shows {name}, which {listed} doesn't list")
    for name in sorted(wanted - names):
        print(f"{library} doesn't show {name}, which {listed} lists")
    sys.exit(0 if names == wanted else 1)


main()
