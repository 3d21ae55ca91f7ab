#!/usr/bin/env python3
"""Command-line cases: what the compiler is given, and what must come of it.

    run.py COMPILER [--update] [--verify PROGRAM] [NAME ...]

runs the named cases, or all of them, each in a fresh folder, and prints how they differ from what
is expected; --update writes what came out as the new expectation (scripts/update_cases does). The
exit code is 0 when nothing differs. PROGRAM is run on every loadable pdb that comes out; what it
has to say against one differs from what is expected, too.

A case is a folder beside this file. Its name is the name of its test, "cases.NAME". It holds

    cmd        what is done, one step a line, words as in a shell
    expected   what comes of every run
    anything else: input files, copied into the working folder

Steps:

    use PATH [AS]    copy a file or folder of shared/ into the working folder; a PATH that begins
                     with "/" starts at the root of the checkout
    remove PATH      remove a file or folder
    make [WORD ...]  run make.py of the case, for inputs that are too long to be kept or are made
                     from an output
    run ARGUMENT...  run the compiler
    show NAME...     list these generated sources in full (they are otherwise only named), or the
                     "usage" (it is otherwise one line where it is what shared/usage says)

All "use" steps come first; the files of the case then go over what they copied, so that a case
states only what is special to it. An input whose name ends in ".hex" is turned into the binary
file without the ending: hexadecimal digits, blanks, and comments behind "#".

In "expected" every run is listed with its exit code, its two outputs, and every file that it wrote;
a file that is not listed was not written. An output line is escaped as in C where it is not plain
ASCII, and "\\" at its end says that the line feed is missing. Source lines of diagnostics stand as
"#", the path of the compiler as "COMPILER". A binary file is listed by its root records.
"""

import argparse
import difflib
import hashlib
import os
import re
import shlex
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.normpath(os.path.join(HERE, "..", ".."))
SHARED = os.path.join(HERE, "shared")
NOT_COPIED = {"cmd", "expected", "make.py"}
LISTED_WHOLE = 4096  # bytes of a record
TIMEOUT = 120  # seconds for one run; a case that needs more hangs

# Written by every run on a description; their contents matter where a case shows them.
GENERATED = {"ipbt_serialization.c", "ipbt_serialization.h", "psa_key.h", "psa_serialization.c",
             "psa_serialization.h"}


class BadCase(Exception):
    """A case that says something this runner does not understand."""


def names_of_cases():
    """Returns the names of all cases, sorted."""
    return sorted(entry for entry in os.listdir(HERE)
                  if os.path.isfile(os.path.join(HERE, entry, "cmd")))


def copy(source, target):
    """Copies a file or a folder over what is there."""
    if os.path.isdir(source):
        shutil.copytree(source, target, dirs_exist_ok=True)
    else:
        shutil.copyfile(source, target)


def from_hex(text):
    """Returns the bytes of a hexadecimal listing."""
    return bytes.fromhex("".join(line.split("#")[0] for line in text.splitlines()))


def convert_hex_files(folder):
    """Turns every "NAME.hex" of the folder into the binary file "NAME"."""
    for name in os.listdir(folder):
        if name.endswith(".hex"):
            path = os.path.join(folder, name)
            with open(path, encoding="ascii") as listing:
                content = from_hex(listing.read())
            with open(path[:-len(".hex")], "wb") as binary:
                binary.write(content)
            os.remove(path)


def copy_inputs(case, folder):
    """Copies the files that the case holds itself."""
    for name in os.listdir(case):
        if name not in NOT_COPIED and name != "__pycache__":
            copy(os.path.join(case, name), os.path.join(folder, name))
    convert_hex_files(folder)


def is_text(content):
    """Tells whether a file is listed by lines."""
    return all(byte >= 32 and byte < 127 or byte in b"\n\t" for byte in content)


def escaped(line):
    """Returns a line of bytes as ASCII."""
    names = {0x09: "\\t", 0x0d: "\\r", 0x1b: "\\e", 0x5c: "\\\\"}
    return "".join(names.get(byte, chr(byte) if 32 <= byte < 127 else f"\\x{byte:02x}")
                   for byte in line)


def list_text(content):
    """Yields the lines of an output."""
    lines = content.split(b"\n")
    for line in lines[:-1]:
        yield f"| {escaped(line)}" if line else "|"
    if lines[-1]:
        yield f"| {escaped(lines[-1])}\\"


def list_bytes(content):
    """Yields a listing of bytes; of many only the first and the last, and a digest of all."""
    if len(content) <= LISTED_WHOLE:
        yield from list_rows(content, 0, len(content))
        return
    tail = (len(content) - 1) // 16 * 16
    yield from list_rows(content, 0, 64)
    yield f"    ...  sha256 {hashlib.sha256(content).hexdigest()}"
    yield from list_rows(content, tail, len(content))


def list_rows(content, start, end):
    """Yields rows of four words, with offsets."""
    for at in range(start, end, 16):
        row = content[at:at + 16]
        words = " ".join(row[i:i + 4].hex() for i in range(0, len(row), 4))
        shown = "".join(chr(byte) if 32 < byte < 127 else "." for byte in row)
        yield f"    {at:6x}  {words:<35}  {shown}"


def list_binary(content):
    """Yields a listing of a file of root records, and of what follows the last whole one."""
    at = 0
    while at + 4 <= len(content):
        words = int.from_bytes(content[at + 1:at + 4], "big")
        if at + 4 + 4 * words > len(content):
            break
        yield f"  record {content[at]}: {words} words"
        yield from list_bytes(content[at + 4:at + 4 + 4 * words])
        at += 4 + 4 * words
    if at < len(content):
        yield "  no record:"
        yield from list_bytes(content[at:])


def masked(output, compiler):
    """Returns an output without what depends on the machine or on the lines of the sources."""
    output = output.replace(os.fsencode(compiler), b"COMPILER")
    return re.sub(rb"\[(ERROR  |WARNING)\]\[\d+\]", rb"[\1][#]", output)


def is_loadable(content):
    """Tells whether a file is a loadable pdb: it has a version record, whole or that of an empty
    pdb."""
    at = 0
    while at + 4 <= len(content):
        if content[at] in (6, 7):
            return True
        at += 4 + 4 * int.from_bytes(content[at + 1:at + 4], "big")
    return False


class Case:
    """One case on its way through the steps."""

    def __init__(self, name, compiler, verify, folder):
        self.path = os.path.join(HERE, name)
        self.compiler = compiler
        self.verify = verify
        self.folder = folder
        self.shown = set()
        self.listed = {}  # what was listed in full: contents, and the file that held them
        self.report = []

    def inside(self, path):
        return os.path.join(self.folder, path)

    def run_steps(self):
        """Takes all steps and returns the report."""
        with open(os.path.join(self.path, "cmd"), encoding="ascii") as file:
            steps = [shlex.split(line, comments=True) for line in file]
        steps = [step for step in steps if step]
        inputs = [step for step in steps if step[0] == "use"]
        for step in inputs:
            self.use(*step[1:])
        copy_inputs(self.path, self.folder)
        for step in steps:
            self.take(step)
        return "".join(line + "\n" for line in self.report)

    def take(self, step):
        action, *words = step
        if action == "show":
            self.shown.update(words)
        elif action == "remove":
            path = self.inside(words[0])
            shutil.rmtree(path) if os.path.isdir(path) else os.remove(path)
        elif action == "make":
            subprocess.run([sys.executable, os.path.join(self.path, "make.py"), *words],
                           cwd=self.folder, check=True)
        elif action == "run":
            self.run(words)
        elif action != "use":
            raise BadCase(f"{self.path}: no step: {action}")

    def use(self, path, target=None):
        source = os.path.join(ROOT, path[1:]) if path.startswith("/") else \
            os.path.join(SHARED, path)
        copy(source, self.inside(target or os.path.basename(path.rstrip("/"))))

    def files(self):
        for folder, _, names in os.walk(self.folder):
            for name in names:
                path = os.path.join(folder, name)
                if os.path.isfile(path):
                    yield os.path.relpath(path, self.folder)

    def run(self, arguments):
        before = set(self.files())
        for path in before:
            os.utime(self.inside(path), (0, 0))
        if self.report:
            self.report.append("")
        self.report.append("$ " + shlex.join(arguments))
        try:
            done = subprocess.run([self.compiler, *arguments], cwd=self.folder, timeout=TIMEOUT,
                                  stdin=subprocess.DEVNULL, capture_output=True, check=False)
        except subprocess.TimeoutExpired:
            self.report.append(f"no end within {TIMEOUT} seconds")
            return
        self.report.append(f"exit {done.returncode}")
        for title, output in (("stdout", done.stdout), ("stderr", done.stderr)):
            if output:
                self.report.append(title)
                self.report.extend(self.shortened(list_text(masked(output, self.compiler))))
        self.list_files(before)

    def shortened(self, lines):
        """Returns the lines of an output with one line in place of the help."""
        lines = list(lines)
        with open(os.path.join(SHARED, "usage"), encoding="ascii") as file:
            usage = file.read().splitlines()
        if lines[:len(usage)] == usage and "usage" not in self.shown:
            lines[:len(usage)] = ["| <usage>"]
        return lines

    def list_files(self, before):
        """Lists what a run wrote, and what it removed."""
        after = set(self.files())
        written = sorted(path for path in after
                         if path not in before or os.stat(self.inside(path)).st_mtime_ns != 0)
        only_named = [path for path in written if path in GENERATED - self.shown]
        for path in written:
            if path in only_named:
                continue
            with open(self.inside(path), "rb") as file:
                content = file.read()
            self.list_file(path, content)
            if self.verify and is_loadable(content):
                self.verify_file(path)
        if only_named:
            self.report.append("written " + " ".join(only_named))
        self.report.extend(f"removed {path}" for path in sorted(before - after))

    def verify_file(self, path):
        """Says what the reader of loadable pdbs has against a file."""
        done = subprocess.run([self.verify, path], cwd=self.folder, timeout=TIMEOUT,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False)
        if done.returncode != 0:
            self.report.append(f"not a sound loadable pdb, {done.returncode}")
            self.report.extend(list_text(done.stdout))

    def list_file(self, path, content):
        title = f"file {path}: {len(content)} bytes"
        if len(content) > 64 and content in self.listed:
            self.report.append(f"{title}, the same as {self.listed[content]} above")
            return
        self.listed[content] = path
        self.report.append(title)
        self.report.extend(list_text(content) if is_text(content) else list_binary(content))


def expectation_of(name):
    path = os.path.join(HERE, name, "expected")
    if not os.path.exists(path):
        return ""
    with open(path, encoding="ascii") as file:
        return file.read()


def run_case(name, compiler, verify, update):
    """Runs a case; returns how it differs from what is expected, empty for not at all."""
    with tempfile.TemporaryDirectory() as folder:
        report = Case(name, compiler, verify, folder).run_steps()
    expected = expectation_of(name)
    if update and report != expected:
        with open(os.path.join(HERE, name, "expected"), "w", encoding="ascii") as file:
            file.write(report)
    return "".join(difflib.unified_diff(expected.splitlines(True), report.splitlines(True),
                                        f"{name}/expected", f"{name}/now"))


def main():
    parser = argparse.ArgumentParser(description="Run the command-line cases.")
    parser.add_argument("compiler")
    parser.add_argument("names", nargs="*", metavar="NAME")
    parser.add_argument("--update", action="store_true")
    parser.add_argument("--verify", type=os.path.abspath)
    options = parser.parse_intermixed_args()  # names may follow options
    unknown = sorted(set(options.names) - set(names_of_cases()))
    if unknown:
        parser.error(f"no such case: {' '.join(unknown)}")
    differing = []
    for name in options.names or names_of_cases():
        difference = run_case(name, os.path.abspath(options.compiler), options.verify,
                              options.update)
        if difference:
            differing.append(name)
            print(difference, end="")
    if differing:
        print(f"{len(differing)} {'updated' if options.update else 'differ'}: "
              f"{' '.join(differing)}")
    return 1 if differing and not options.update else 0


if __name__ == "__main__":
    sys.exit(main())
