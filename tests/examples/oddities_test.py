#!/usr/bin/env python3
"""The paper of oddities against the code and the tests.

Its numbers, in any order, run from 1 without a gap; each entry says what holds it; the tests that
it names exist; and the code cites every number of the paper and no other. An oddity that is "Gone."
needs neither.
"""

import os
import re
import sys

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
PAPER = os.path.join(ROOT, "docs", "oddities.md")
CODE = ("clib_symbol_abstraction", "modules", "pragmar", "pdata")
TESTS = ("tests", "fuzz", "bench")
SOURCES = (".cpp", ".h", ".def", ".inc", ".in")

ENTRY = re.compile(r"^\*\*O(\d+)\. (.+?)(?=^\*\*O|^## |\Z)", re.MULTILINE | re.DOTALL)
UNIT_TEST = re.compile(r"^(?:TEST|TEST_F|TEST_P|TYPED_TEST)\((\w+),\s*(\w+)\)", re.MULTILINE)
CITATION = re.compile(r"[Oo]ddit(?:y|ies) (O\d+(?:(?:,| and|, and) O\d+)*)")
# What oddities were called before they had numbers.
FORMER_NAME = re.compile(r"part of the " + "format", re.IGNORECASE)


def read(path):
    with open(path, encoding="utf-8") as file:
        return file.read()


def sources(folders):
    """Yields every source of some folders: its path, and its text with comments unwrapped."""
    for top in folders:
        for folder, _, names in os.walk(os.path.join(ROOT, top)):
            for name in sorted(names):
                if name.endswith(SOURCES):
                    path = os.path.join(folder, name)
                    text = re.sub(r"\n\s*(?://+|\*|#)?\s*", " ", read(path))
                    yield os.path.relpath(path, ROOT), text


def cited(folders):
    """Returns where every number is cited."""
    places = {}
    for path, text in sources(folders):
        for match in CITATION.finditer(text):
            for number in re.findall(r"O(\d+)", match.group(1)):
                places.setdefault(int(number), []).append(path)
    return places


def unit_tests():
    """Returns the names of all unit tests."""
    names = set()
    for folder, _, files in os.walk(os.path.join(ROOT, "tests")):
        for name in files:
            if name.endswith(".cpp"):
                names.update(".".join(match) for match in
                             UNIT_TEST.findall(read(os.path.join(folder, name))))
    return names


def exists(test, units):
    """Tells whether there is a test of that name."""
    suite, _, name = test.partition(".")
    if suite == "cases":
        return os.path.isfile(os.path.join(ROOT, "tests", "cases", name, "cmd"))
    return test in units


def faults_of_paper(entries):
    """Yields what is wrong with the paper by itself."""
    numbers = sorted(number for number, _ in entries)
    if numbers != list(range(1, len(numbers) + 1)) or not numbers:
        yield "the numbers do not run from 1 without a gap"
    units = unit_tests()
    for number, text in entries:
        held = re.search(r"Held\s+by\s+(.*)\Z", text, re.DOTALL)
        tests = re.findall(r"`([^`]+)`", held.group(1)) if held else []
        if not tests:
            yield f"O{number} is held by no test"
        for test in tests:
            if not exists(test, units):
                yield f"O{number} is held by {test}, which does not exist"


def faults():
    """Yields everything that is wrong."""
    everything = [(int(number), text.strip()) for number, text in ENTRY.findall(read(PAPER))]
    entries = [(number, text) for number, text in everything if "Gone." not in text]
    gone = {number for number, text in everything if "Gone." in text}
    yield from faults_of_paper([(n, "Held by `cases.options_help`" if n in gone else text)
                                for n, text in everything])
    present = {number for number, _ in entries}
    in_code = cited(CODE)
    for number in sorted(present - in_code.keys()):
        yield f"O{number} is cited nowhere in the code"
    for places in (in_code, cited(TESTS)):
        for number in sorted(places.keys() - present):
            yield f"O{number} is cited in {places[number][0]}, and the paper does not have it"
    for path, text in sources(CODE + TESTS):
        if FORMER_NAME.search(text):
            yield f"{path} says '{FORMER_NAME.pattern}': cite an oddity, or say what it is"


def main():
    wrong = list(faults())
    print(*wrong, sep="\n", end="\n" if wrong else "")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
