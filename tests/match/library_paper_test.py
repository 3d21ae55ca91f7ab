#!/usr/bin/env python3
"""The program of docs/library.md, built against the installed library and run.

    library_paper_test.py BUILD_FOLDER LOADABLE CC CMAKE
"""

import os
import re
import subprocess
import sys
import tempfile

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))


def block(text, language, number=0):
    return re.findall(r"```" + language + r"\n(.*?)```", text, re.DOTALL)[number]


def main():
    build, loadable, compiler, cmake = sys.argv[1:5]
    with open(os.path.join(ROOT, "docs", "library.md"), encoding="utf-8") as file:
        paper = file.read()
    with tempfile.TemporaryDirectory() as folder:
        prefix = os.path.join(folder, "installed")
        for component in ("runtime", "development"):
            subprocess.run([cmake, "--install", build, "--component", component,
                            "--prefix", prefix], check=True, capture_output=True)
        source = os.path.join(folder, "hosts.c")
        with open(source, "w", encoding="ascii") as file:
            file.write(block(paper, "c"))
        library = os.path.dirname(next(os.path.join(place, name)
                                       for place, _, names in os.walk(prefix)
                                       for name in names if name == "libpdata.so.1"))
        for name, flags in (("shared", ["-L" + library, "-lpdata", "-Wl,-rpath," + library]),
                            ("static", [os.path.join(library, "libpdata.a"), "-lstdc++", "-lm"])):
            program = os.path.join(folder, name)
            subprocess.run([compiler, "-std=c11", "-Wall", "-Wextra", "-Wpedantic", "-Werror",
                            "-I" + os.path.join(prefix, "include"), source, "-o", program] + flags,
                           check=True)
            printed = subprocess.run([program, loadable], input=block(paper, "text"), text=True,
                                     check=True, capture_output=True).stdout
            if printed != block(paper, "text", 1):
                sys.exit(name + ": other lines than the paper shows:\n" + printed)
        names = subprocess.run(["nm", "-D", "--defined-only",
                                os.path.join(library, "libpdata.so.1")],
                               check=True, capture_output=True, text=True).stdout
    exported = set(re.findall(r" T (pdata_\w+)@@PDATA_1\.0", names))
    with open(os.path.join(ROOT, "pdata", "src", "match", "include", "pdata.h"),
              encoding="ascii") as file:
        declared = set(re.findall(r"PDATA_API[\w\s*]*?\b(pdata_\w+)\(", file.read()))
    if exported != declared or len(re.findall(r" [TW] ", names)) != len(exported):
        sys.exit("exported, not declared: %s; declared, not exported: %s" %
                 (sorted(exported - declared), sorted(declared - exported)))


if __name__ == "__main__":
    main()
