#!/usr/bin/env python3
"""A test of the tests: changes one line of the product at a time, and looks whether a test notices.

    run_mutants.py COMMIT                lines that differ from a commit
    run_mutants.py --draw N [--seed S] [--under FOLDER]
                                         N mutants at random, of all lines of the product

Works on a copy of the tree in build/mutants, and builds there only the test programs that contain
the changed file: the smallest first, and at the end those that run the whole program. A mutant is

    killed      where a test fails, crashes or takes too long;
    survived    where none does: a test is missing, or the change makes no difference;
    no mutant   where it does not compile without a warning, or compiles to the same object (M.
                Papadakis, Y. Jia, M. Harman and Y. Le Traon, "Trivial compiler equivalence", 2015).

Prints the survivors and the share that was killed. Exit code 1 if a mutant survived.
"""
import argparse
import hashlib
import json
import os
import random
import re
import resource
import shutil
import subprocess
import sys
import time
from collections import Counter

from mutation import mutants_of

TOP = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
WORK = os.path.join(TOP, "build", "mutants")
SOURCE = os.path.join(WORK, "source")
# Where an ordinary build of the copy would stand, so that a cache of the compiler serves both.
BUILD = os.path.join(SOURCE, "build", "release")
PRODUCT = ("clib_symbol_abstraction/", "modules/src/", "pragmar/src/", "pdata/")
RUN_SECONDS = 120
RUN_BYTES = 8 << 30


def output_of(*command, cwd=TOP):
    return subprocess.run(command, cwd=cwd, check=True, capture_output=True, text=True).stdout


def copy_tree():
    """Brings the copy up to date; what has not changed keeps its time."""
    for name in output_of("git", "ls-files", "--cached", "--others", "--exclude-standard") \
            .splitlines():
        source, target = os.path.join(TOP, name), os.path.join(SOURCE, name)
        if not os.path.isfile(source):
            continue
        os.makedirs(os.path.dirname(target), exist_ok=True)
        if not os.path.exists(target) or read_bytes(source) != read_bytes(target):
            shutil.copy(source, target)


def read_bytes(path):
    with open(path, "rb") as file:
        return file.read()


def write_text(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


def is_product(name):
    return name.startswith(PRODUCT) and name.endswith(".cpp")


def changed_lines(commit):
    """Yields (name, number) of the lines that differ from a commit."""
    name = None
    for line in output_of("git", "diff", "--unified=0", commit, "--", *PRODUCT).splitlines():
        if line.startswith("+++ "):
            name = line[6:]
        found = re.match(r"@@ -\S+ \+(\d+)(?:,(\d+))? @@", line)
        if found and is_product(name):
            start, count = int(found.group(1)), int(found.group(2) or 1)
            yield from ((name, number) for number in range(start, start + count))


def all_lines(under):
    for name in output_of("git", "ls-files", "--", *PRODUCT).splitlines():
        if is_product(name) and name.startswith(under):
            for number in range(1, len(lines_of(name)) + 1):
                yield name, number


def lines_of(name):
    with open(os.path.join(TOP, name), encoding="utf-8") as file:
        return file.read().split("\n")


def candidates(options):
    """The mutants to try, in the order in which they are tried."""
    places = list(changed_lines(options.commit) if options.commit else all_lines(options.under))
    texts = {name: lines_of(name) for name in {name for name, _ in places}}
    found = [mutants_of(name, number, texts[name][number - 1]) for name, number in places]
    if not options.draw:
        return [mutant for of_line in found for mutant in of_line]
    # A line is drawn first, so that long ones do not count more.
    generator = random.Random(options.seed)
    found = [of_line for of_line in found if of_line]
    generator.shuffle(found)
    return [generator.choice(of_line) for of_line in found]


class Build:
    """The copy, its build, and which programs contain which file."""

    def __init__(self):
        copy_tree()
        self.run_cmake()
        with open(os.path.join(BUILD, "compile_commands.json"), encoding="utf-8") as file:
            self.objects = {os.path.relpath(row["file"], SOURCE):
                            re.search(r" -o (\S+)", row["command"]).group(1)
                            for row in json.load(file)}
        self.programs = self.find_programs()

    @staticmethod
    def run_cmake():
        subprocess.run(["cmake", "-S", SOURCE, "-B", BUILD, "-G", "Ninja",
                        "-DCMAKE_BUILD_TYPE=Release", "-DPDATA_LTO=OFF", "-DCMAKE_CXX_FLAGS=",
                        "-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON",
                        "-DCMAKE_EXE_LINKER_FLAGS=" +
                        ("-fuse-ld=mold" if shutil.which("mold") else ""),
                        "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON"],
                       check=True, stdout=subprocess.DEVNULL)

    @staticmethod
    def find_programs():
        """Returns the sources of every test program, and of the programs that cases run."""
        targets = output_of("ninja", "-t", "targets", "all", cwd=BUILD)
        names = re.findall(r"^(tests/\S*_test): CXX_EXECUTABLE_LINKER", targets, re.M) + \
            ["bin/pdata_compiler", "bin/pdata"]
        return {name: frozenset(output_of("ninja", "-t", "inputs", name, cwd=BUILD).split())
                for name in names}

    def programs_of(self, name):
        """The programs that contain a file, the smallest first."""
        path = os.path.join(SOURCE, name)
        found = [program for program, inputs in self.programs.items() if path in inputs]
        return sorted(found, key=lambda program: (program.startswith("bin/"),
                                                  len(self.programs[program])))

    def make(self, target):
        return subprocess.run(["ninja", "-j2", target], cwd=BUILD, check=False,
                              stdout=subprocess.DEVNULL).returncode == 0

    def object_hash(self, name):
        return hashlib.sha256(read_bytes(os.path.join(BUILD, self.objects[name]))).digest()


def limit_memory():
    resource.setrlimit(resource.RLIMIT_AS, (RUN_BYTES, RUN_BYTES))


def passes(program):
    """Runs a test program, or the cases of a program."""
    path = os.path.join(BUILD, program)
    command = [path, "--gtest_brief=1"]
    folder = os.path.dirname(path)
    if program.startswith("bin/"):
        kinds = "companion" if program == "bin/pdata" else "cases|golden"
        command, folder = ["ctest", "-j2", "--timeout", str(RUN_SECONDS), "--stop-on-failure",
                           "-R", f"^({kinds})\\."], BUILD
    try:
        return subprocess.run(command, cwd=folder, check=False, timeout=2 * RUN_SECONDS,
                              preexec_fn=limit_memory, stdout=subprocess.DEVNULL,
                              stderr=subprocess.DEVNULL).returncode == 0
    except subprocess.TimeoutExpired:
        return False


def needs(build, program):
    """What must be built to run a program's tests."""
    extra = {"bin/pdata_compiler": ["loadable_verify"], "bin/pdata": ["pdata_compiler"]}
    return all(build.make(target) for target in [program] + extra.get(program, []))


def try_mutant(build, mutant, most):
    """Returns "killed", "survived" or "no mutant"."""
    programs = build.programs_of(mutant.path)
    if not programs:
        return "no mutant"
    path = os.path.join(SOURCE, mutant.path)
    text = read_bytes(path).decode()
    if not build.make(build.objects[mutant.path]):
        sys.exit(f"{mutant.path} does not compile unchanged")
    before = build.object_hash(mutant.path)
    lines = text.split("\n")
    lines[mutant.number - 1] = mutant.after
    try:
        write_text(path, "\n".join(lines))
        if not build.make(build.objects[mutant.path]) or \
                build.object_hash(mutant.path) == before:
            return "no mutant"
        chosen = [program for program in programs if program.startswith("tests/")][:most] + \
            [program for program in programs if program.startswith("bin/")]
        survived = all(needs(build, program) and passes(program) for program in chosen)
        return "survived" if survived else "killed"
    finally:
        write_text(path, text)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("commit", nargs="?", help="only lines that differ from it")
    parser.add_argument("--draw", type=int, default=0, help="as many mutants, at random")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--under", default="", help="only files whose name begins so")
    parser.add_argument("--programs", type=int, default=6, help="test programs a mutant, at most")
    parser.add_argument("--minutes", type=float, default=0, help="ends early after so long")
    options = parser.parse_args()
    if bool(options.commit) == bool(options.draw):
        parser.error("a commit, or --draw N")
    return options


def main():
    options = arguments()
    os.nice(15) # it runs for hours; others go first
    build = Build()
    start = time.monotonic()
    total = Counter()
    for mutant in candidates(options):
        tried = total["killed"] + total["survived"]
        if (options.draw and tried == options.draw) or \
                (options.minutes and time.monotonic() - start > 60 * options.minutes):
            break
        verdict = try_mutant(build, mutant, options.programs)
        total[verdict] += 1
        if verdict == "survived":
            print(f"{mutant.path}:{mutant.number}\n  - {mutant.before.strip()}\n"
                  f"  + {mutant.after.strip()}", flush=True)
    tried = total["killed"] + total["survived"]
    print(f"{tried} mutants, {total['killed']} killed, {total['survived']} survived, "
          f"{total['no mutant']} were none")
    if tried:
        print(f"{100 * total['killed'] / tried:.1f} % killed")
    return 1 if total["survived"] else 0


if __name__ == "__main__":
    sys.exit(main())
