"""What may notice a mutant: the test programs, and the tests that run the shipped programs.

Each is run once unchanged, which says how long it takes, and that it passes.
"""
import hashlib
import json
import os
import re
import resource
import shutil
import signal
import subprocess
import time
from collections import Counter
from concurrent.futures import ThreadPoolExecutor

from mutant_build import BUILD, SHIPPED, SOURCE, output_of, read_bytes

RUN_BYTES = 8 << 30
LONGEST = 240 # seconds that a test may take unchanged


def limit_memory():
    os.setsid()
    resource.setrlimit(resource.RLIMIT_AS, (RUN_BYTES, RUN_BYTES))


def run(command, folder, seconds):
    """Whether a command succeeds in time. It works in the folder, and ends with all it started."""
    environment = dict(os.environ, TMPDIR=folder)
    with subprocess.Popen(command, cwd=folder, preexec_fn=limit_memory, env=environment,
                          stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL) as process:
        try:
            return process.wait(timeout=seconds) == 0
        except subprocess.TimeoutExpired:
            os.killpg(process.pid, signal.SIGKILL)
            return False


class Tests:
    """All tests, by name: those of a program named so, and those of ctest that run what is shipped."""

    def __init__(self, build, jobs, work):
        self.contents = build.contents
        self.commands = {}  # name -> command, in which "{bin}" is the folder of the programs
        self.needs = {}     # name -> the shipped programs that it runs
        for program in build.links:
            if program.startswith("tests/"):
                self.commands[program] = ["{programs}/" + program, "--gtest_brief=1",
                                          "--gtest_fail_fast"]
                self.needs[program] = {program}
        self.find_shipped()
        self.kills = Counter()
        self.seconds = self.measured(jobs, work)

    def find_shipped(self):
        listed = json.loads(output_of("ctest", "--show-only=json-v1", cwd=BUILD))["tests"]
        folder = os.path.join(BUILD, "bin")
        for test in listed:
            command = [word.replace(folder, "{programs}/bin") for word in test.get("command", [])]
            if "{programs}/bin" not in " ".join(command):
                continue
            whole = any(word == "{programs}/bin" for word in command)
            self.commands[test["name"]] = command
            self.needs[test["name"]] = {program for program in SHIPPED
                                        if whole or "{programs}/" + program in command}

    def measured(self, jobs, work):
        """The seconds of the tests unchanged, once for a tree."""
        path = os.path.join(work, "seconds.json")
        if os.path.exists(path):
            with open(path, encoding="utf-8") as file:
                kept = json.load(file)
            if kept["tree"] == tree_hash():
                return kept["seconds"]
        seconds = self.measure(jobs, work)
        with open(path, "w", encoding="utf-8") as file:
            json.dump({"tree": tree_hash(), "seconds": seconds}, file, indent=1)
        return seconds

    def measure(self, jobs, work):
        """Runs every test unchanged. Returns the seconds of those that pass."""
        folder = fresh_folder(os.path.join(work, "unchanged"))
        seconds = {}

        def measure_one(name):
            place = fresh_folder(os.path.join(folder, name.replace("/", "_")))
            start = time.monotonic()
            if run(self.command(name, BUILD), place, LONGEST):
                seconds[name] = time.monotonic() - start
            shutil.rmtree(place, ignore_errors=True)

        with ThreadPoolExecutor(jobs) as pool:
            list(pool.map(measure_one, self.commands))
        return seconds

    def command(self, name, programs):
        return [word.replace("{programs}", programs) for word in self.commands[name]]

    def of(self, path, programs):
        """The tests that run one of the programs: those first that killed in the file's folder, then
        those named like the file, then test programs, the smallest first, then the quickest."""
        folder = os.path.dirname(path)
        found = [name for name in self.seconds if self.needs[name] & set(programs)]
        return sorted(found, key=lambda name: (-self.kills[folder, name], -likeness(path, name),
                                               not name.startswith("tests/"),
                                               len(self.contents.get(name, "")),
                                               self.seconds[name]))

    def passes(self, name, programs, folder):
        return run(self.command(name, programs), folder, 10 + 5 * self.seconds[name])


def tree_hash():
    """What tells one state of the copy from another."""
    names = sorted(output_of("git", "ls-files", "--cached", "--others", "--exclude-standard")
                   .splitlines())
    total = hashlib.sha256()
    for name in names:
        path = os.path.join(SOURCE, name)
        if os.path.isfile(path):
            total.update(name.encode() + read_bytes(path))
    return total.hexdigest()


def likeness(path, name):
    """How many words of a file's name and folder begin as words of a test's name do."""
    words = {word for word in re.split(r"\W|_", path)[-4:-1] if len(word) > 2}
    others = [word for word in re.split(r"\W|_", name) if len(word) > 2]
    return sum(any(a.startswith(b) or b.startswith(a) for b in others) for a in words)


def fresh_folder(path):
    shutil.rmtree(path, ignore_errors=True)
    os.makedirs(path)
    return path
