#!/usr/bin/env python3
"""The commands that the papers show, and what they say comes of them.

    papers_test.py FOLDER PAPER

runs every "$ command" of a paper in a fresh folder, one after the other, with the programs of
FOLDER and the shipped examples, and compares the outputs with the lines below the commands. A line
"..." stands for any lines, and "..." in a line for any part of it. A description that a command names and that nobody shipped is the last
one that the paper shows.
"""

import os
import re
import shlex
import subprocess
import sys
import tempfile

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))


def blocks(text):
    """The indented blocks of a paper, without their indentation, each with the name of the file
    that the line in front of it introduces, as in "This is `draft.pdd`:"."""
    for found in re.finditer(r"(?:^    .*\n|^\n(?=    ))+", text, re.MULTILINE):
        before = text[:found.start()].rstrip().rsplit("\n\n", 1)[-1]
        named = re.search(r"`([\w.-]+)`[^`]*:$", before)
        yield ([line[4:] for line in found.group().strip("\n").split("\n")],
               named.group(1) if named else None)


def steps(lines):
    """The commands of a block, each with the lines below it."""
    joined = re.sub(r"\\\n\s*", "", "\n".join(lines)).split("\n")
    found = []
    for line in joined:
        if line.startswith("$ "):
            found.append((line[2:], []))
        elif found:
            found[-1][1].append(line)
    return found


def agrees(shown, printed):
    """Whether the lines that were printed are those that are shown."""
    pattern = "\n".join(".*" if line.strip() == "..." else
                        re.escape(line).replace(re.escape("..."), ".*") for line in shown)
    return re.fullmatch(pattern, "\n".join(printed), re.DOTALL) is not None


def run(programs, command, description, folder):
    """Runs a command, which ends with status 0 or with the one that a comment behind it says."""
    command, _, status = command.partition("  # status ")
    words = shlex.split(command)
    if "--pdd" in words:
        path = os.path.join(folder, words[words.index("--pdd") + 1])
        if not os.path.exists(path):
            with open(path, "w", encoding="ascii") as file:
                file.write(description)
    words[0] = os.path.join(programs, words[0])
    done = subprocess.run(words, cwd=folder, check=False, capture_output=True, text=True)
    assert done.returncode == int(status or 0), (command, done.returncode, done.stderr)
    return [line.rstrip() for line in done.stdout.splitlines()]


def main():
    programs, paper = os.path.abspath(sys.argv[1]), os.path.join(ROOT, sys.argv[2])
    with open(paper, encoding="utf-8") as file:
        text = file.read()
    description, wrong, nr_step = "", 0, 0
    with tempfile.TemporaryDirectory() as folder:
        os.symlink(os.path.join(ROOT, "examples"), os.path.join(folder, "examples"))
        for lines, name in blocks(text):
            if name is not None and not lines[0].startswith("$ "):
                shown = "\n".join(lines).split("\n\n$ ")[0]
                with open(os.path.join(folder, name), "w", encoding="ascii") as file:
                    file.write(shown + "\n")
            if lines[0].startswith("{"):
                # The commands may follow in the same block.
                description = "\n".join(lines).split("\n$ ")[0]
            for command, shown in steps(lines):
                nr_step += 1
                printed = run(programs, command, description, folder)
                if shown and shown[-1] == "":
                    shown = shown[:-1]
                if not agrees(shown, printed):
                    wrong += 1
                    print(f"$ {command}", *printed, "is not what is shown:", *shown, sep="\n")
    assert nr_step != 0, "no command in the paper"
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
