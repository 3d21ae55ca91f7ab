"""How long the compiler of another commit and that of this tree take, and how much memory.

    scripts/compare_speed COMMIT [--pairs N]

Both are built as users get them. Each flow is run as whole processes, one after the other in turn;
the quotient of each pair counts, so that what else the machine does cancels out, and its median is
shown. The input is the large generated description and the shipped example.
"""

import argparse
import os
import resource
import statistics
import subprocess
import sys
import tempfile
import time

from builds import Failed, compiler_of, do
from vocabulary import ROOT

CFG = os.path.join(ROOT, "examples", "cfg")

# A flow: its name, its arguments, and the most that its quotient should be.
FLOWS = (
    ("description to pdb", ["--pdd", "{large}", "--cfg-path", CFG, "--description"], 0.65),
    ("description to loadable pdb", ["--pdd", "{large}", "--cfg-path", CFG, "--loadable"], 0.8),
    ("pdb to loadable pdb", ["--pdb-in", "{pdb}", "--loadable"], 0.8),
    ("the example to a pdb", ["--pdd", os.path.join(ROOT, "examples", "protocols.pdd"),
                              "--cfg-path", CFG, "--description"], 0.7),
)


def built_generator():
    do("cmake", "--preset", "bench", folder=ROOT)
    do("cmake", "--build", "--preset", "bench", "--target", "make_description", folder=ROOT)
    return os.path.join(ROOT, "build", "bench", "bin", "make_description")


def built_compiler():
    """This tree's compiler as users get it, in a folder that no test build touches."""
    folder = os.path.join(ROOT, "build", "compare", "released")
    do("cmake", "--preset", "release", "-B", folder, "-DPDATA_TESTS=OFF", folder=ROOT)
    do("cmake", "--build", folder, "--target", "pdata_compiler", folder=ROOT)
    return os.path.join(folder, "bin", "pdata_compiler")


def write_inputs(folder, generator, compiler):
    places = {}
    for name, protocols in (("large", 3700), ("twice", 7400)):
        places[name] = os.path.join(folder, f"{name}.pdd")
        with open(places[name], "wb") as file:
            subprocess.run([generator, str(protocols), str(protocols * 200 // 37)], stdout=file,
                           check=True)
    places["pdb"] = os.path.join(folder, "large.pdb")
    subprocess.run([compiler, "--pdd", places["large"], "--cfg-path", CFG, "--description",
                    "--pdb-out", places["pdb"]], cwd=folder, stdout=subprocess.DEVNULL,
                   stderr=subprocess.DEVNULL, check=True)
    return places


def once(compiler, arguments, folder):
    """Runs a process: seconds from its start to its end, and the KiB of its peak."""
    with open(os.devnull, "wb") as nothing:
        begin = time.perf_counter()
        child = subprocess.Popen([compiler, *arguments, "--pdb-out", "out.pdb"], cwd=folder,
                                 stdout=nothing, stderr=nothing)
        _, status, usage = os.wait4(child.pid, 0)
        seconds = time.perf_counter() - begin
    child.returncode = os.waitstatus_to_exitcode(status)
    if child.returncode != 0:
        raise Failed(f"{compiler} {' '.join(arguments)}: status {child.returncode}")
    return seconds, usage.ru_maxrss


def pairs_of(first, second, pairs, folder):
    """Medians over pairs: the quotient of the times, and both peaks."""
    quotients, peaks = [], ([], [])
    once(*first, folder), once(*second, folder)
    for _ in range(pairs):
        (a, a_peak), (b, b_peak) = once(*first, folder), once(*second, folder)
        quotients.append(a / b)
        peaks[0].append(a_peak)
        peaks[1].append(b_peak)
    return statistics.median(quotients), statistics.median(peaks[0]), statistics.median(peaks[1])


def compare(old, new, places, pairs, folder):
    print(f"{'flow':<32} {'time':>6} {'at most':>8} {'peak, KiB':>10} {'before':>8}")
    for name, arguments, limit in FLOWS:
        filled = [word.format(**places) for word in arguments]
        quotient, peak, old_peak = pairs_of((new, filled), (old, filled), pairs, folder)
        print(f"{name:<32} {quotient:6.2f} {limit:8.2f} {peak:10.0f} {old_peak:8.0f}", flush=True)
    for name, arguments, _ in FLOWS[:2]:
        twice = [word.format(large=places["twice"]) for word in arguments]
        filled = [word.format(**places) for word in arguments]
        quotient, _, _ = pairs_of((new, twice), (new, filled), pairs, folder)
        print(f"{name + ', twice the input':<45}"[:46] + f" {quotient:6.2f} {2.15:8.2f}", flush=True)


def main():
    parser = argparse.ArgumentParser(description=__doc__,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("commit")
    parser.add_argument("--pairs", type=int, default=11)
    options = parser.parse_args()
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
    try:
        old, new = compiler_of(options.commit), built_compiler()
        with tempfile.TemporaryDirectory() as folder:
            places = write_inputs(folder, built_generator(), new)
            compare(old, new, places, options.pairs, folder)
    except Failed as failure:
        sys.exit(f"compare_speed: {failure}")


if __name__ == "__main__":
    main()
