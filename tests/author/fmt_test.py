#!/usr/bin/env python3
"""A description in canonical layout makes the same pdb, byte for byte, and stays as it is.

    fmt_test.py BIN [ROUNDS]

takes the shipped descriptions and random ones, each also with other blanks between its tokens, lays
them out with "pdata fmt" and compares the pdbs of "pdata_compiler". The tokens are compared too, by
a reader of their own.
"""

import os
import random
import re
import subprocess
import sys
import tempfile

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
sys.path.insert(0, os.path.join(ROOT, "tests", "differential"))

import descriptions  # noqa: E402

TOKEN = re.compile(rb'"(?:\\.|[^"\\])*"|[0-9]+|[a-z]+|[][{}:,]', re.DOTALL)
TAGS = ("chat", "video")


def run(*words, content=None):
    done = subprocess.run(words, input=content, capture_output=True, check=False)
    return done.returncode, done.stdout


def spread(r, text):
    """Returns the text with other blanks between its tokens; three bytes follow the array."""
    pieces = [piece + b" " * r.randrange(3) + r.choice((b"", b"\n", b"\t"))
              for piece in TOKEN.findall(text)]
    return b"".join(pieces[:-1]).rstrip() + b"\n}\n"


class Check:
    def __init__(self, programs, folder):
        self.programs, self.folder = programs, folder
        self.compiled = 0

    def laid_out(self, text):
        status, out = run(os.path.join(self.programs, "pdata"), "fmt", "-", content=text)
        assert status == 0, text
        return out

    def pdb(self, text):
        """Returns what the compiler makes of a text: its status, and its pdb."""
        paths = [os.path.join(self.folder, name) for name in ("in.pdd", "out.pdb")]
        with open(paths[0], "wb") as file:
            file.write(text)
        if os.path.exists(paths[1]):
            os.remove(paths[1])
        status, _ = run(os.path.join(self.programs, "pdata_compiler"), "--pdd", paths[0],
                        "--cfg-path", os.path.join(ROOT, "examples", "cfg"), "--description",
                        "--ignore-sem", "--pdb-out", paths[1])
        if status != 0:
            return status, b""
        self.compiled += 1
        with open(paths[1], "rb") as file:
            return status, file.read()

    def take(self, text):
        layout = self.laid_out(text)
        assert TOKEN.findall(layout) == TOKEN.findall(text), text
        assert self.laid_out(layout) == layout, text
        assert self.pdb(layout) == self.pdb(text), text


def main():
    programs = os.path.abspath(sys.argv[1])
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 60
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)  # where the compiler leaves its sources
        check = Check(programs, folder)
        for name in ("protocols.pdd", "user.pdd"):
            path = os.path.join(ROOT, "examples", name)
            status, _ = run(os.path.join(programs, "pdata"), "fmt", "--check", path)
            assert status == 0, f"{name} is not in canonical layout"
            with open(path, "rb") as file:
                check.take(spread(random.Random(1), file.read()))
        for seed in range(rounds):
            r = random.Random(seed)
            text = descriptions.description_text(descriptions.make_protocols(r, TAGS)).encode()
            check.take(text)
            check.take(spread(r, text))
        print(f"{check.compiled} pdbs compared")
        assert check.compiled > rounds
    return 0


if __name__ == "__main__":
    sys.exit(main())
