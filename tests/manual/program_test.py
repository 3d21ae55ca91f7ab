#!/usr/bin/env python3
"""The program that writes manual pages and completions: what it writes, and how it fails.

    program_test.py PDATA_MANUAL FRAMES MADE

MADE is what it wrote when the project was built.
"""

import pathlib
import subprocess
import sys
import tempfile

PROGRAM, FRAMES, MADE = sys.argv[1], pathlib.Path(sys.argv[2]), pathlib.Path(sys.argv[3])
WORDS = {"pdata.bash": ["@COMMANDS@", "@ARGUMENTS@", "@WORDS@"],
         "_pdata": ["@COMMANDS@", "@ARGUMENTS@"], "pdata.fish": ["@COMMANDS@"]}


def run(*words):
    done = subprocess.run([PROGRAM, *map(str, words)], capture_output=True, text=True, check=False)
    return done.returncode, done.stderr


def contents(folder):
    return {file.name: file.read_bytes() for file in folder.iterdir()}


def writes_the_same_again(folder):
    assert run(FRAMES, folder / "new/made") == (0, "")
    assert contents(folder / "new/made") == contents(MADE)


def keeps_every_frame(folder):
    """A frame is all there, in its order, and what fills it holds no word that was to be filled."""
    for name, words in WORDS.items():
        made = (MADE / name).read_text()
        rest = (FRAMES / f"{name}.in").read_text()
        at = 0
        for word in words:
            before, rest = rest.split(word)
            assert made.startswith(before, at), (name, before)
            at = made.index(rest.split("@")[0], at + len(before))
            assert word not in made, (name, word)
        assert made.endswith(rest), name


def says_what_is_wrong(folder):
    """Of the command line, the folder, a page that cannot be written, and frames."""
    usage = "usage: pdata_manual FRAMES DIR\n"
    assert run() == (2, usage) and run(FRAMES) == (2, usage) and run(1, 2, 3) == (2, usage)
    (folder / "file").write_text("")
    status, message = run(FRAMES, folder / "file")
    assert status == 1 and message.startswith("pdata_manual: "), message
    (folder / "taken/pdata.1").mkdir(parents=True)
    assert run(FRAMES, folder / "taken") == (1, "pdata_manual: cannot write pdata.1\n")
    assert run(folder, folder / "made") == \
        (1, "pdata_manual: cannot read the frame of pdata.bash\n")
    (folder / "pdata.bash.in").write_text("@COMMANDS@ alone\n")
    status, message = run(folder, folder / "made")
    assert status == 1 and message.startswith("pdata_manual: "), message


for check in (writes_the_same_again, keeps_every_frame, says_what_is_wrong):
    with tempfile.TemporaryDirectory() as name:
        check(pathlib.Path(name))
