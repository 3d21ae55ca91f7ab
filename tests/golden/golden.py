#!/usr/bin/env python3
"""The golden files: what the compiler makes of the shipped examples, byte for byte.

    golden.py BIN compare SET...    says how what the compiler writes now differs from them
    golden.py BIN update [SET...]   makes what it writes now the golden files, of all sets if none
                                    is named (scripts/update_goldens does)

BIN is the folder of the programs. The golden files of a set are in the folder "SET/golden"; one of
more than 200 KB is kept compressed, with ".xz" behind its name. Every loadable pdb is read whole
and checked before it is compared or kept. Look at the difference before you commit an update:
description/round_trip.py says whether a pdb still gives back what the description says.
"""

import difflib
import lzma
import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
EXAMPLES = os.path.normpath(os.path.join(HERE, "..", "..", "examples"))
LARGEST = 200 * 1024
SHOWN = 40  # lines of a difference

EXAMPLE = ["--pdd", os.path.join(EXAMPLES, "protocols.pdd"), "--cfg-path",
           os.path.join(EXAMPLES, "cfg")]
USER = ["--pdd", os.path.join(EXAMPLES, "user.pdd"), "--cfg-path", os.path.join(EXAMPLES, "cfg")]
HTTP = "67"  # the id of a protocol with rules of its own

# The runs of each set, and the files that are kept.
SETS = {
    "description": (
        [EXAMPLE + ["--description", "--pdb-out", "example.pdb"]],
        ["example.pdb", "psa_key.h", "psa_serialization.c", "psa_serialization.h",
         "ipbt_serialization.c", "ipbt_serialization.h"]),
    "loadable": (
        [EXAMPLE + ["--loadable", "--pdb-out", "from_description.pdb"],
         EXAMPLE + ["--description", "--pdb-out", "example.pdb"],
         ["--pdb-in", "example.pdb", "--loadable", "--pdb-out", "from_pdb.pdb"]],
        ["from_description.pdb", "from_pdb.pdb"]),
    "merged": (
        [EXAMPLE + ["--description", "--pdb-out", "example.pdb"],
         USER + ["--description", "--pdb-out", "user.pdb"],
         ["--pdb-in", "example.pdb;user.pdb", "--merge", "--description", "--pdb-out",
          "merged.pdb"],
         ["--pdb-in", "example.pdb;user.pdb", "--merge", "--loadable", "--pdb-out",
          "merged_loadable.pdb"],
         ["--pdb-in", "example.pdb", "--delete", HTTP, "--description", "--pdb-out",
          "without_http.pdb"],
         ["--pdb-in", "example.pdb", "--delete", HTTP, "--loadable", "--pdb-out",
          "without_http_loadable.pdb"]],
        ["merged.pdb", "merged_loadable.pdb", "without_http.pdb", "without_http_loadable.pdb"]),
}


def written_by(programs, name):
    """Returns what the runs of a set write, by file."""
    runs, kept = SETS[name]
    with tempfile.TemporaryDirectory() as folder:
        for arguments in runs:
            subprocess.run([os.path.join(programs, "pdata_compiler"), *arguments], cwd=folder,
                           check=True)
            subprocess.run([os.path.join(programs, "loadable_verify"), arguments[-1]],
                           cwd=folder, check=True)
        written = {}
        for file_name in kept:
            with open(os.path.join(folder, file_name), "rb") as file:
                written[file_name] = file.read()
        return written


def stored_path(name, file_name):
    return os.path.join(HERE, name, "golden", file_name)


def read_golden(name, file_name):
    path = stored_path(name, file_name)
    if os.path.exists(path + ".xz"):
        with lzma.open(path + ".xz") as file:
            return file.read()
    with open(path, "rb") as file:
        return file.read()


def update(name, written):
    os.makedirs(stored_path(name, ""), exist_ok=True)
    for file_name, content in written.items():
        path = stored_path(name, file_name)
        for old in (path, path + ".xz"):
            if os.path.exists(old):
                os.remove(old)
        if len(content) > LARGEST:
            with lzma.open(path + ".xz", "wb", preset=9) as file:
                file.write(content)
        else:
            with open(path, "wb") as file:
                file.write(content)


def listing(file_name, content):
    """The lines by which two files are compared: of a pdb one for each word."""
    if not file_name.endswith(".pdb"):
        return content.decode("ascii").splitlines()
    return [content[at:at + 4].hex() for at in range(0, len(content), 4)]


def first_difference(one, other):
    """The number of lines in front of the first one that differs, less a few."""
    same = next((i for i, pair in enumerate(zip(one, other)) if pair[0] != pair[1]),
                min(len(one), len(other)))
    return max(0, same - 3)


def compare(name, written):
    """Prints how the files differ; returns whether they do."""
    differs = False
    for file_name, content in written.items():
        golden = read_golden(name, file_name)
        if golden == content:
            continue
        differs = True
        print(f"{name}/{file_name}: {len(golden)} bytes golden, {len(content)} now")
        before, now = listing(file_name, golden), listing(file_name, content)
        start = first_difference(before, now)
        print(f"from line {start + 1}:")
        lines = difflib.unified_diff(before[start:start + SHOWN], now[start:start + SHOWN],
                                     "golden", "now", lineterm="")
        print("\n".join(lines))
    return differs


def main():
    programs, action, *names = sys.argv[1:]
    programs = os.path.abspath(programs)
    if action == "update":
        for name in names or SETS:
            update(name, written_by(programs, name))
        return 0
    return 1 if any([compare(name, written_by(programs, name)) for name in names]) else 0


if __name__ == "__main__":
    sys.exit(main())
