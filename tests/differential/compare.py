#!/usr/bin/env python3
"""Compares the compiler of another commit with that of this tree on random inputs.

    scripts/compare_with COMMIT [--short | --count N] [--seed S] [--jobs J] [--only KIND] [--case N]

Both are built and run on the same descriptions, pdbs, damaged files and command lines. Exit
statuses, both outputs (without the source lines of diagnostics) and all bytes of all files must be
the same, but for the lines on standard error that tests/differential/intended.tsv names with their
reasons. A case that differs is left in build/compare/failed/KIND-NUMBER: its inputs, what both
wrote, and "commands" with the two command lines. The same seed makes the same cases. Other
differences that are meant (tests/differential/meant.py) are counted and end their case.

The exit code is 0 when nothing differs, 1 when something does, and 2 for a wrong use.
"""

import argparse
import multiprocessing
import os
import shlex
import shutil
import signal
import sys
import tempfile
import time

import builds
import cases
import runner
from vocabulary import ROOT, STATUSES

COUNT = 10000
SHORT = 600
SCRATCH = "/dev/shm" if os.access("/dev/shm", os.W_OK) else None  # memory, where there is such
SHOWN = 20  # differences that are printed and kept
FAILED = os.path.join(ROOT, "build", "compare", "failed")


def parse_options(arguments):
    parser = argparse.ArgumentParser(prog="scripts/compare_with", description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("commit", metavar="COMMIT", help="what to compare this tree with")
    amount = parser.add_mutually_exclusive_group()
    amount.add_argument("--short", action="store_const", const=SHORT, dest="count",
                        help=f"{SHORT} descriptions instead of {COUNT}, and fewer of all else")
    amount.add_argument("--count", type=int, help="the number of descriptions")
    parser.add_argument("--seed", type=int, default=1)
    parser.add_argument("--jobs", type=int, default=len(os.sched_getaffinity(0)))
    parser.add_argument("--only", choices=cases.KINDS, metavar="KIND",
                        help=f"one kind of cases: {', '.join(cases.KINDS)}")
    parser.add_argument("--case", type=int, metavar="N", help="only this case of the kind")
    parser.add_argument("--time", type=float, default=20, help="seconds for one run")
    parser.add_argument("--now", metavar="FILE", type=os.path.abspath,
                        help="a compiler to compare instead of that of this tree")
    options = parser.parse_args(arguments)
    if options.case is not None and options.only is None:
        parser.error("--case needs --only")
    if options.jobs < 1 or options.count is not None and options.count < 1:
        parser.error("numbers begin at 1")
    options.count = options.count or COUNT
    return options


def numbered_cases(options):
    """Returns (kind, number) of all cases to take."""
    if options.case is not None:
        return [(options.only, options.case)]
    kinds = [options.only] if options.only else cases.KINDS
    return [(kind, number) for kind in kinds
            for number in range(max(1, int(options.count * cases.SHARES[kind])))]


class Worker:
    """What one process of the pool works with."""

    def __init__(self, compilers, folder, options):
        self.options = options
        self.runner = runner.Runner(compilers, os.path.join(folder, str(os.getpid())), options.time)


worker = None


def start_worker(*arguments):
    global worker
    signal.signal(signal.SIGINT, signal.SIG_IGN)
    runner.limit_memory()
    worker = Worker(*arguments)


def keep(name, difference):
    """Leaves what belongs to a difference in the folder of the failed cases."""
    folder = os.path.join(FAILED, name)
    shutil.copytree(worker.runner.folder, folder, ignore=shutil.ignore_patterns("base", "now"))
    for side, source in zip(runner.SIDES, worker.runner.folders):
        shutil.copytree(source, os.path.join(folder, side), symlinks=True)
    with open(os.path.join(folder, "commands"), "w", encoding="utf-8") as file:
        file.write(f"# {difference}\n# The last two differ; those in front make what they read.\n")
        for arguments in worker.runner.commands:
            for side, compiler in zip(runner.SIDES, worker.runner.compilers):
                file.write(f"(cd {side} && {shlex.join([compiler, *arguments])})\n")


def take(numbered):
    """Takes one case; returns its name, its tally, and how the two compilers differ."""
    kind, number = numbered
    name = f"{kind}-{number}"
    tally = runner.Tally()
    worker.runner.clear()
    case = cases.make(kind, number, worker.options.seed, worker.runner.inputs)
    difference = worker.runner.compare(case, tally)
    if difference and len(os.listdir(FAILED)) < SHOWN:
        keep(name, difference)
    return name, tally, difference


def compare_all(compilers, options):
    """Takes all cases; returns the tally and the number of those that differ."""
    total, differing = runner.Tally(), 0
    chosen = numbered_cases(options)
    with tempfile.TemporaryDirectory(prefix="compare_", dir=SCRATCH) as folder, \
            multiprocessing.Pool(options.jobs, start_worker, (compilers, folder, options)) as pool:
        for name, tally, difference in pool.imap_unordered(take, chosen, chunksize=4):
            total.add(tally)
            if difference:
                differing += 1
                if differing <= SHOWN:
                    print(f"{name} (seed {options.seed}): {difference}", flush=True)
    return total, differing


def summarize(total, options, differing, seconds):
    failed = total.runs - total.statuses[0]
    print(f"{total.runs} runs in {seconds:.0f} s: {total.statuses[0]} succeeded, {failed} failed, "
          f"{total.skipped} skipped (no end in time); {len(total.messages)} beginnings of messages")
    print("statuses: " + ", ".join(f"{status} x {count}"
                                   for status, count in sorted(total.statuses.items())))
    for reason, count in sorted(total.intended.items()):
        print(f"intended, {count} times: {reason}")
    never = [str(status) for status in STATUSES if status not in total.statuses]
    if never:
        print(f"statuses of docs/exit_codes.md that no run ended with: {', '.join(never)}")
    counted = {}
    for kind, _ in numbered_cases(options):
        counted[kind] = counted.get(kind, 0) + 1
    parts = ", ".join(f"{count} {kind}" for kind, count in counted.items())
    print(f"{parts} compared: {differing} differ")


def main():
    options = parse_options(sys.argv[1:])
    try:
        compilers = (builds.compiler_of(options.commit), options.now or builds.compiler_of_tree())
    except builds.Failed as problem:
        print(problem, file=sys.stderr)
        return 2
    shutil.rmtree(FAILED, ignore_errors=True)
    os.makedirs(FAILED)
    start = time.monotonic()
    total, differing = compare_all(compilers, options)
    summarize(total, options, differing, time.monotonic() - start)
    return 1 if differing else 0


if __name__ == "__main__":
    sys.exit(main())
