#!/usr/bin/env python3
"""What commands take of memory for large pdbs: at most twice the files and 16 MiB.

    memory_test.py BIN [--counting]

compiles two descriptions of which nothing is alike, and one of a single large protocol, and runs
the commands as processes of their own, whose peak the system tells. That of a process begins with
the peak of the one that it was forked from, so that a small one starts them. A program that counts
what it runs (--counting) has its counters beside that, whatever it is given.
"""

import json
import os
import pathlib
import random
import subprocess
import sys
import tempfile

BIN = pathlib.Path(sys.argv[1]).resolve()
SOURCE = pathlib.Path(__file__).resolve().parents[2]
PROGRAM = 16 << 20  # bytes that a command may take whatever it is given
COUNTERS = 12 << 20  # what counters and code that is not optimised take more


def word(choice):
    return "".join(choice.choices("abcdefghijklmnopqrstuvwxyz", k=choice.randint(5, 20)))


def rule(choice, text):
    values = {"cts-server": [text or f"{word(choice)}\\.{word(choice)}.*" for _ in range(3)],
              "cts-uri": [f".*{word(choice)}(a|b)", f"^{word(choice)}"]}
    return {"order": f"{choice.randint(1, 200)}:{choice.randint(1, 9999)}", "scope": "http",
            "rule": [{"protocol": "http", **values}]}


def write(pdd, name, seed, protocols, rules, text):
    choice = random.Random(seed)
    text = {"protocols": [{"name": f"{name}{i}", "id": 16777216 + seed * 10000 + i,
                           "rules": [rule(choice, text) for _ in range(rules)]}
                          for i in range(protocols)]}
    pathlib.Path(pdd).write_text(json.dumps(text))


def compiled(folder, name, seed, protocols, rules, text=None):
    """A pdb of as many protocols of so many rules, whose values are "text" if they are of one."""
    pdd = folder / f"{name}.pdd"
    pdb = folder / f"{name}.pdb"
    write(pdd, name, seed, protocols, rules, text)
    subprocess.run([BIN / "pdata_compiler", "--pdd", pdd, "--cfg-path", SOURCE / "examples/cfg",
                    "--description", "--pdb-out", pdb], cwd=folder, check=True, capture_output=True)
    return pdb


# Runs a command, says on standard error how it ended and its peak in KiB, and is small itself.
RUN = """import os, sys
child = os.posix_spawn(sys.argv[1], sys.argv[1:], os.environ)
_, status, usage = os.wait4(child, 0)
os.write(2, f"\\n{os.waitstatus_to_exitcode(status)} {usage.ru_maxrss}".encode())"""


def peak(folder, status, *words):
    """Bytes at the peak of a run, which must end with the status."""
    with open(folder / "out", "wb") as out:
        done = subprocess.run([sys.executable, "-I", "-S", "-c", RUN, BIN / "pdata", *words],
                              stdout=out, stderr=subprocess.PIPE, check=True)
    ended, used = done.stderr.split()[-2:]
    assert int(ended) == status, (words, done.stderr)
    return int(used) * 1024


def main():
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        one = compiled(folder, "one", 1, 900, 16)
        two = compiled(folder, "two", 2, 900, 16)
        wide = compiled(folder, "wide", 3, 1, 1199)
        shared = compiled(folder, "shared", 4, 4, 1000, "y" * 30000)
        loadable = folder / "loadable"
        some = compiled(folder, "some", 5, 300, 16)
        subprocess.run([BIN / "pdata_compiler", "--pdb-in", some, "--loadable", "--pdb-out",
                        loadable], cwd=folder, check=True, capture_output=True)
        suite = folder / "suite"
        suite.write_text("[nothing]\n-\tudp:port cts 1\n")
        page = folder / "page"
        runs = [(1, [one, two], "diff"), (1, [one, two], "diff", "--json"),
                (1, [one, two], "diff", "--stat"), (0, [one, one], "diff"),
                (1, [one, wide], "diff"), (0, [one], "decompile"), (0, [wide], "decompile"),
                (0, [one], "verify"), (0, [one], "list"), (0, [one], "list", "--limits"),
                (0, [one], "list", "--rules", "--values", "--"), (0, [one], "dump"),
                (0, [one], "list", "--json", "--protocols", "--rules", "--values", "--"),
                (0, [one], "report", "-o", page), (0, [wide], "report", "-o", page),
                (0, [one, two], "report", "-o", page), (0, [shared], "report", "-o", page),
                (1, [loadable], "report", "-o", page),
                (1, [loadable], "report", "-o", page, "--tests", suite)]
        for status, files, *words in runs:
            bound = 2 * sum(file.stat().st_size for file in files) + PROGRAM
            bound += COUNTERS if "--counting" in sys.argv[2:] else 0
            used = peak(folder, status, *words, *files)
            print(f"{used / 2**20:5.1f} of {bound / 2**20:5.1f} MiB", *words)
            assert used <= bound, (words, used, bound)


if __name__ == "__main__":
    main()
