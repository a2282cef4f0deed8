"""No sentence of advice without a test that has heard it.

Runs the tests of the advice, which write down what was said, and looks for each text of the advice modules in it:

    sentences_test.py LIBRARY TEST...
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

# The modules whose texts are all meant for readers, and those of which only translated texts are.
WHOLE = [
    "advicesentences.h",
    "performanceadvice.cpp",
    "rateclassification.cpp",
    "trappedcapacityadvice.cpp",
]
TRANSLATED = ["forcedmetrics.cpp", "quillonreport.cpp"]

LITERAL = r'"(?:\\.|[^"\\])*"'
TEXT = re.compile(rf"(?P<before>[\w]*\(\s*(?:\"QObject\",\s*)?)?(?P<text>{LITERAL}(?:\s*{LITERAL})*)")


def literals(path):
    """The texts of a source file, with whether they are translated."""
    source = re.sub(r"^\s*(#|//).*$", "", path.read_text(encoding="utf-8"), flags=re.MULTILINE)
    for match in TEXT.finditer(source):
        before = (match["before"] or "").split("(")[0]
        pieces = re.findall(LITERAL, match["text"])
        text = "".join(piece[1:-1] for piece in pieces).replace('\\"', '"')
        if before != "QLatin1String" and re.search("[A-Za-z]", re.sub(r"%\d", "", text)):
            yield text, before in ("tr", "QT_TRANSLATE_NOOP")


def texts(library):
    for name in WHOLE:
        yield from ((name, text) for text, _ in literals(library / name))
    for name in TRANSLATED:
        yield from ((name, text) for text, translated in literals(library / name) if translated)


def was_heard(name, text, record):
    """A word of a scale has to be all that was said; anything else may stand among other words."""
    pattern = re.sub(r"%\d", ".*", re.escape(text))
    if name == "rateclassification.cpp" and re.fullmatch(r"[\w ]{1,12}", text):
        return re.search(f"^{pattern}$", record, re.MULTILINE)
    return re.search(rf"(^|\W){pattern}(\W|$)" if text[-1].isalnum() else pattern, record, re.MULTILINE)


def main():
    library = pathlib.Path(sys.argv[1])
    with tempfile.TemporaryDirectory() as folder:
        record = pathlib.Path(folder, "record")
        for test in sys.argv[2:]:
            environment = dict(os.environ, QUILLON_RECORDED_SENTENCES=str(record))
            subprocess.run([test], env=environment, check=True, stdout=subprocess.DEVNULL)
        heard = record.read_text(encoding="utf-8")

    everything = list(texts(library))
    unheard = [f"{name}: {text}" for name, text in everything if not was_heard(name, text, heard)]
    print(f"{len(everything) - len(unheard)} of {len(everything)} texts were heard")
    if len(everything) < 150:
        sys.exit("the texts of the advice weren't found")
    if unheard:
        sys.exit("No test has heard:\n" + "\n".join(unheard))


if __name__ == "__main__":
    main()
