#!/usr/bin/env python3
"""A test of the tests: changes one line of the product at a time, and looks whether a test notices.

    run_mutants.py COMMIT                lines that differ from a commit
    run_mutants.py --draw N [--seed S] [--under FOLDER] [COMMIT]
                                         N mutants at random, of all lines of the product, or of
                                         those that differ
    run_mutants.py --again               those that survived earlier runs, where their lines are now

Works on a copy of the tree in build/mutants, which is built once. Of a mutant the changed file is
compiled, and the programs that contain it are linked with it, one after another, until a test
notices: the smallest test programs first, at last whatever runs the shipped programs. A mutant is

    killed      where a test fails, crashes or takes too long;
    survived    where none does: a test is missing, or the change makes no difference;
    refused     where it does not compile without a warning: no mutant;
    same        where it compiles to the same object: none either (M. Papadakis, Y. Jia, M. Harman
                and Y. Le Traon, "Trivial compiler equivalence", 2015).

Verdicts are kept in build/mutants/results.jsonl, and a run goes on where one ended: what was killed
stays so. A run with --seconds 45 is quick; --again then shows its survivors to all tests, and later
to new ones. The last verdict of a mutant counts.

Prints the survivors and the share that was killed. Exit code 1 if a mutant survived.
"""
import argparse
import json
import os
import random
import re
import shutil
import sys
import threading
import time
from collections import Counter

from mutant_build import SHIPPED, TOP, WORK, Build, output_of
from mutant_tests import Tests, fresh_folder
from mutation import Mutant, mutants_of

# What is shipped; pages and completions are written by a program of the build.
PRODUCT = ("clib_symbol_abstraction/", "modules/src/", "pragmar/src/", "pdata/src/",
           "pdata/applications/pdata/", "pdata/applications/pdata_compiler/")
RESULTS = os.path.join(WORK, "results.jsonl")


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


def survivors():
    """The mutants that survived, at the lines that are the nearest with their text now."""
    for row in known_verdicts().values():
        if row["verdict"] != "survived":
            continue
        places = [number for number, line in enumerate(lines_of(row["path"]), 1)
                  if line == row["before"]]
        if places:
            number = min(places, key=lambda place: abs(place - row["number"]))
            yield Mutant(row["path"], number, row["before"], row["after"])


def candidates(options):
    """The mutants to try, in the order in which they are tried."""
    if options.again:
        return list(survivors())
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


class Trial:
    """Tries mutants, several at a time, and keeps their verdicts."""

    def __init__(self, options):
        self.build = Build(options.jobs)
        self.tests = Tests(self.build, options.jobs, WORK)
        self.most = options.draw or sys.maxsize
        self.seconds = options.seconds or sys.maxsize
        self.end = time.monotonic() + 60 * options.minutes if options.minutes else None
        self.queue = iter(candidates(options))
        self.lock = threading.Lock()
        self.total = Counter()
        self.known = {} if options.again else known_verdicts()

    def next(self):
        """The next mutant that has no verdict; None when there are enough."""
        with self.lock:
            while not (self.end and time.monotonic() > self.end):
                if self.total["killed"] + self.total["survived"] + self.total["tried"] >= self.most:
                    return None
                mutant = next(self.queue, None)
                if mutant is None:
                    return None
                row = self.known.get(key_of(mutant))
                if row is None:
                    self.total["tried"] += 1
                    return mutant
                self.count(mutant, row)
        return None

    def count(self, mutant, row):
        self.total[row["verdict"]] += 1
        if row["verdict"] == "survived":
            print(f"{mutant.path}:{mutant.number}\n  - {mutant.before.strip()}\n"
                  f"  + {mutant.after.strip()}", flush=True)

    def work(self, folder):
        while (mutant := self.next()) is not None:
            start = time.monotonic()
            verdict, by = self.verdict_of(mutant, fresh_folder(folder))
            row = dict(mutant._asdict(), verdict=verdict, by=by,
                       seconds=round(time.monotonic() - start, 1))
            with self.lock, open(RESULTS, "a", encoding="utf-8") as file:
                file.write(json.dumps(row) + "\n")
                self.total["tried"] -= 1
                self.count(mutant, row)
        shutil.rmtree(folder, ignore_errors=True)

    def verdict_of(self, mutant, folder):
        """Returns the verdict, and the test that killed it."""
        lines = lines_of(mutant.path)
        lines[mutant.number - 1] = mutant.after
        programs = self.build.programs_of(mutant.path)
        path = self.build.compile(mutant.path, "\n".join(lines), folder) if programs else None
        if path is None:
            return "refused", None
        if self.build.same_object(mutant.path, path):
            return "same", None
        linked = self.link_shipped(mutant, path, folder)
        left = self.seconds
        for name in self.tests.of(mutant.path, programs):
            left -= self.tests.seconds[name]
            if left < 0:
                break
            if name in programs and name not in linked:
                linked.add(name)
                if not self.build.link(name, mutant.path, path, folder):
                    continue
            if not self.tests.passes(name, folder, fresh_folder(os.path.join(folder, "run"))):
                with self.lock:
                    self.tests.kills[os.path.dirname(mutant.path), name] += 1
                return "killed", name
        return "survived", None

    def link_shipped(self, mutant, path, folder):
        """Fills folder/bin with the shipped programs, changed where they contain the file."""
        programs = set(self.build.programs_of(mutant.path)) & set(SHIPPED)
        os.makedirs(os.path.join(folder, "bin"))
        for program in SHIPPED:
            if program not in programs or \
                    not self.build.link(program, mutant.path, path, folder):
                os.symlink(self.build.path_of(program), os.path.join(folder, program))
        return programs


def key_of(mutant):
    return mutant.path, mutant.number, mutant.before, mutant.after


def known_verdicts():
    """The last verdicts of earlier runs."""
    if not os.path.exists(RESULTS):
        return {}
    with open(RESULTS, encoding="utf-8") as file:
        rows = [json.loads(line) for line in file]
    return {(row["path"], row["number"], row["before"], row["after"]): row for row in rows}


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("commit", nargs="?", help="only lines that differ from it")
    parser.add_argument("--draw", type=int, default=0, help="as many mutants, at random")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--under", default="", help="only files whose name begins so")
    parser.add_argument("--jobs", type=int, default=2, help="mutants tried at a time")
    parser.add_argument("--minutes", type=float, default=0, help="ends early after so long")
    parser.add_argument("--seconds", type=float, default=0,
                        help="of tests a mutant, the likeliest to notice it; 0: all")
    parser.add_argument("--again", action="store_true", help="those that survived earlier runs")
    options = parser.parse_args()
    if bool(options.commit or options.draw) == options.again:
        parser.error("a commit, --draw N, or both, or --again")
    return options


def main():
    options = arguments()
    os.nice(19) # it runs for hours; others go first
    trial = Trial(options)
    workers = [threading.Thread(target=trial.work, args=(os.path.join(WORK, f"try{number}"),))
               for number in range(options.jobs)]
    for worker in workers:
        worker.start()
    for worker in workers:
        worker.join()
    total = trial.total
    tried = total["killed"] + total["survived"]
    print(f"{tried} mutants, {total['killed']} killed, {total['survived']} survived; "
          f"{total['same']} compiled to the same object, {total['refused']} not without a warning")
    if tried:
        print(f"{100 * total['killed'] / tried:.1f} % killed")
    return 1 if total["survived"] else 0


if __name__ == "__main__":
    sys.exit(main())
