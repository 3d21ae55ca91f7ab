#!/usr/bin/env python3
"""Console cases of the companion: commands, and what they print.

    run.py BIN [--update] [NAME ...]

BIN is the folder of the programs. The named cases, or all of them, are run, each in a fresh folder,
and how they differ from what is expected is printed; --update writes what came out as the new
expectation (scripts/update_cases does). The exit code is 0 when nothing differs.

A case is a file NAME.case beside this one; its name is the name of its test, "companion.NAME". Its
lines:

    # text           a comment
    use PATH [AS]    copies a file or folder of the checkout into the working folder
    file NAME        the lines that follow, each behind "| ", become a file of the working folder;
                     of a line that ends in a backslash the line feed is left out; "\\xHH" is a byte
    $ COMMAND        a command, as the shell takes it
    $$ COMMAND       the same; nothing of it is shown but a status other than 0

What a command printed follows it: its standard output behind "> ", its standard error behind "! ",
and its exit status, unless it is 0, as "[1]". Bytes that are not printable ASCII are shown as
"\\xHH" in both, and "\\" at the end of a line says that the line feed is missing.
"""

import argparse
import difflib
import os
import re
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "..", ".."))
TIMEOUT = 120  # seconds for one command; one that needs more hangs
OUTCOME = re.compile(r"[>!\[]")


def names_of_cases():
    return sorted(entry[:-len(".case")] for entry in os.listdir(HERE) if entry.endswith(".case"))


def unescaped(line):
    """Returns the bytes that a line of a "file" block stands for."""
    text, end = (line[:-1], b"") if line.endswith("\\") else (line, b"\n")
    parts = re.split(r"\\x([0-9a-f]{2})", text)
    return b"".join(bytes([int(part, 16)]) if i % 2 else part.encode()
                    for i, part in enumerate(parts)) + end


def shown(content, prefix):
    """Yields the lines of an output."""
    *lines, rest = content.split(b"\n")
    for line in lines + [rest + b"\\"] if rest else lines:
        text = "".join(chr(byte) if 32 <= byte < 127 else f"\\x{byte:02x}" for byte in line)
        yield f"{prefix} {text}" if text else prefix


class Case:
    """One case on its way through its lines."""

    def __init__(self, folder, programs):
        self.folder = folder
        self.environment = {"PATH": programs + ":/usr/local/bin:/usr/bin:/bin", "HOME": folder,
                            "LC_ALL": "C.UTF-8", "ROOT": ROOT}
        self.report = []

    def take(self, line, block):
        """Takes an input line and the "| " lines behind it, and reports what comes of it."""
        self.report.append(line)
        self.report.extend("| " + text if text else "|" for text in block)
        if line.startswith("use "):
            source, *name = line.split()[1:]
            target = os.path.join(self.folder, name[0] if name else os.path.basename(source))
            source = os.path.join(ROOT, source)
            shutil.copytree(source, target) if os.path.isdir(source) else \
                shutil.copyfile(source, target)
        elif line.startswith("file "):
            with open(os.path.join(self.folder, line.split()[1]), "wb") as file:
                file.write(b"".join(unescaped(text) for text in block))
        elif line.startswith("$"):
            quiet = line.startswith("$$")
            self.run(line.lstrip("$"), quiet)

    def shown_output(self, output):
        """Takes note of what a command printed; here of nothing."""

    def run(self, command, quiet):
        done = subprocess.run(["sh", "-c", command], cwd=self.folder, env=self.environment,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=TIMEOUT,
                              check=False)
        self.shown_output(done.stdout)
        if not quiet:
            self.report.extend(shown(done.stdout, ">"))
            self.report.extend(shown(done.stderr, "!"))
        if done.returncode != 0:
            self.report.append(f"[{done.returncode}]")


def steps(lines):
    """Yields every input line with the "| " lines that belong to it, and drops what is expected."""
    at = 0
    while at < len(lines):
        line = lines[at]
        at += 1
        block = []
        if line.startswith("file "):
            while at < len(lines) and lines[at].startswith("|"):
                block.append(lines[at][2:])
                at += 1
        yield line, block
        while line.startswith("$") and at < len(lines) and OUTCOME.match(lines[at]):
            at += 1


def run_case(name, programs, update):
    """Runs a case; returns how it differs from what is expected, empty for not at all."""
    path = os.path.join(HERE, name + ".case")
    with open(path, encoding="utf-8") as file:
        expected = file.read().splitlines()
    with tempfile.TemporaryDirectory() as folder:
        case = Case(folder, programs)
        for line, block in steps(expected):
            case.take(line, block)
    if update and case.report != expected:
        with open(path, "w", encoding="utf-8") as file:
            file.write("".join(line + "\n" for line in case.report))
    return "\n".join(difflib.unified_diff(expected, case.report, name, name + " now", lineterm=""))


def main():
    parser = argparse.ArgumentParser(description="Run the console cases of the companion.")
    parser.add_argument("programs", type=os.path.abspath)
    parser.add_argument("names", nargs="*", metavar="NAME")
    parser.add_argument("--update", action="store_true")
    options = parser.parse_intermixed_args()  # names may follow options
    differing = []
    for name in options.names or names_of_cases():
        difference = run_case(name, options.programs, options.update)
        if difference:
            differing.append(name)
            print(difference)
    if differing:
        print(f"{len(differing)} {'updated' if options.update else 'differ'}: "
              f"{' '.join(differing)}")
    return 1 if differing and not options.update else 0


if __name__ == "__main__":
    sys.exit(main())
