"""Takes the steps of a case with two compilers and says in what they differ."""

import collections
import os
import re
import resource
import shutil
import subprocess

import meant

SIDES = ("base", "now")
MEMORY = 3 << 30  # bytes of address space of one run

INTENDED = os.path.join(os.path.dirname(os.path.abspath(__file__)), "intended.tsv")

# What a run did; `intended` are the reasons of the lines that were left out of `stderr`.
Done = collections.namedtuple("Done", "status stdout stderr intended")


class Tally:
    """What the runs of many cases came to."""

    def __init__(self):
        self.runs = 0
        self.skipped = 0
        self.statuses = collections.Counter()
        self.messages = set()
        self.intended = collections.Counter()

    def add(self, other):
        self.runs += other.runs
        self.skipped += other.skipped
        self.statuses.update(other.statuses)
        self.messages |= other.messages
        self.intended.update(other.intended)

    def count(self, done):
        self.runs += 1
        self.statuses[done.status] += 1
        self.messages.update(messages_of(done))


def masked(text):
    """Returns diagnostics without the numbers of source lines."""
    return re.sub(rb"\[(ERROR  |WARNING)\]\[\d+\]", rb"[\1][#]", text)


def intended_lines(path=INTENDED):
    """Returns the (pattern, reason) rows of the list of intended lines."""
    with open(path, encoding="ascii") as listing:
        rows = [line.rstrip("\n").split("\t") for line in listing if not line.startswith("#")]
    return [(re.compile(pattern.encode()), reason) for pattern, reason in rows]


def without_intended(text, intended):
    """Returns the text without intended lines, and their reasons."""
    kept, reasons = [], []
    for line in text.splitlines(keepends=True):
        found = next((reason for pattern, reason in intended
                      if line.endswith(b"\n") and pattern.fullmatch(line[:-1])), None)
        if found is None:
            kept.append(line)
        else:
            reasons.append(found)
    return b"".join(kept), reasons


def beginning_of(line):
    """Returns what a message begins with, without numbers and most of the names in it."""
    return b" ".join(re.sub(rb"\d+", b"#", line[:200]).split()[:5])


def messages_of(done):
    """Yields the beginnings of the messages of a run."""
    lines = done.stderr.splitlines()
    report = re.search(rb"^\(\d+:.*\)\n(.*)", done.stdout, re.MULTILINE)
    if report:
        lines.append(report[0].replace(b"\n", b" "))
    return {beginning_of(line) for line in lines if line}


def limit_memory():
    """Bounds the memory of this process and of all that it starts."""
    resource.setrlimit(resource.RLIMIT_AS, (MEMORY, MEMORY))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def run(compiler, arguments, folder, seconds, intended=()):
    """Runs a compiler and returns what it did, None if it did not end in time."""
    try:
        done = subprocess.run(["pdata_compiler", *arguments], executable=compiler, cwd=folder,
                              stdin=subprocess.DEVNULL, capture_output=True, timeout=seconds,
                              check=False)
    except subprocess.TimeoutExpired:
        return None
    stderr, reasons = without_intended(masked(done.stderr), intended)
    return Done(done.returncode, done.stdout, stderr, reasons)


def files_of(folder):
    """Returns the names of the files that were written into a folder."""
    return sorted(entry.name for entry in os.scandir(folder) if entry.name != "in")


def content_of(folder, name):
    path = os.path.join(folder, name)
    if os.path.isdir(path):
        return b""
    with open(path, "rb") as file:
        return file.read()


def first_difference(one, other):
    """Returns the position of the first byte that differs."""
    length = min(len(one), len(other))
    return next((i for i in range(length) if one[i] != other[i]), length)


def line_at(text, position):
    """Returns the line of the text that holds a position."""
    start = text.rfind(b"\n", 0, position) + 1
    return text[start:].split(b"\n", 1)[0][:100]


def text_difference(name, one, other):
    at = first_difference(one, other)
    return f"{name}: {line_at(one, at)!r} became {line_at(other, at)!r}"


def file_difference(name, one, other):
    at = first_difference(one, other)
    return f"{name}: {len(one)} and {len(other)} bytes, differ from byte {at}"


def difference_of_runs(one, other):
    if one.status != other.status:
        return f"status {one.status} became {other.status}"
    for name in ("stdout", "stderr"):
        if getattr(one, name) != getattr(other, name):
            return text_difference(name, getattr(one, name), getattr(other, name))
    return None


def difference_of_files(folders):
    names = [files_of(folder) for folder in folders]
    if names[0] != names[1]:
        return f"files {names[0]} became {names[1]}"
    for name in names[0]:
        one, other = (content_of(folder, name) for folder in folders)
        if one != other:
            return file_difference(name, one, other)
    return None


def remove_all_but_pdbs(folder):
    """Removes what a run wrote and no later one reads, so that the next has to write it again."""
    for name in files_of(folder):
        path = os.path.join(folder, name)
        if not name.endswith(".pdb") and not os.path.isdir(path):
            os.remove(path)


class Runner:
    """Two compilers and a folder in which they are run, one case at a time."""

    def __init__(self, compilers, folder, seconds, intended=None):
        self.compilers = compilers
        self.intended = intended_lines() if intended is None else intended
        self.folder = folder
        self.seconds = seconds
        self.inputs = os.path.join(folder, "in")
        self.folders = [os.path.join(folder, side) for side in SIDES]
        self.commands = []
        self.meant = None  # the name of the last difference, if it is an intended one
        self.clear()

    def clear(self):
        """Makes the folders of a new case."""
        shutil.rmtree(self.folder, ignore_errors=True)
        os.makedirs(self.inputs)
        for folder in self.folders:
            os.mkdir(folder)
            os.symlink(os.path.join("..", "in"), os.path.join(folder, "in"))
        self.commands = []

    def run_both(self, arguments, seconds):
        return [run(compiler, arguments, folder, seconds, self.intended)
                for compiler, folder in zip(self.compilers, self.folders)]

    def compare_run(self, arguments, tally):
        """Runs both compilers; returns in what they differ, None for nothing."""
        self.commands.append(arguments)
        done = self.run_both(arguments, self.seconds)
        if (done[0] is None) != (done[1] is None):  # perhaps the machine was busy
            done = self.run_both(arguments, 10 * self.seconds)
        if done == [None, None]:
            tally.skipped += 1
            return None
        if None in done:
            return f"only {SIDES[done.index(None)]} does not end within {10 * self.seconds} seconds"
        tally.count(done[0])
        tally.intended.update(done[1].intended)
        difference = difference_of_runs(*done) or difference_of_files(self.folders)
        self.meant = difference and meant.name_of(arguments, self.folders[0], done[0])
        return difference

    def forget_files(self):
        for folder in self.folders:
            remove_all_but_pdbs(folder)

    def spoil(self, source, target, operation):
        """Makes the damaged copy of an output; false if there is no such output."""
        path = os.path.join(self.folders[0], source)
        if not os.path.exists(path):
            return False
        damaged = operation(content_of(self.folders[0], source))
        for folder in self.folders:
            with open(os.path.join(folder, target), "wb") as file:
                file.write(damaged)
        return True

    def lacks_pdb(self, arguments):
        """Tells whether a run is to read an output that an earlier run did not write."""
        named = [name for option, value in zip(arguments, arguments[1:]) if option == "--pdb-in"
                 for name in value.split(";")]
        return any(re.fullmatch(r"out\d+\.pdb", name) and
                   not os.path.exists(os.path.join(self.folders[0], name)) for name in named)

    def compare(self, case, tally):
        """Takes the steps of a case up to the first difference, which it returns unless it is meant."""
        for action, *words in case.steps:
            if action == "spoil":
                if not self.spoil(*words):
                    return None
            elif not self.lacks_pdb(words[0]):
                difference = self.compare_run(words[0], tally)
                if difference and self.meant:
                    tally.intended[self.meant] += 1
                    return None
                if difference:
                    return difference
                self.forget_files()
        return None
