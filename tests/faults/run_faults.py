#!/usr/bin/env python3
"""Makes every allocation, read, write, flush, rename ... of every flow fail, one a run, and judges.

    run_faults.py --library FILE --bin FOLDER [--short] [--most N] [--only FLOW] [--kind KIND]
                  [--nth N] [--before-main]

A run is counted first, without a fault. Then, for every kind of fault and every n, the nth call of
that kind fails, falls short, or is the one in front of which the program is killed. A run is

    right     where it succeeds with the outputs of the run without a fault, byte for byte;
    refused   where it fails with a status and a message, or is killed as it was to be, and every
              output is the old file or the new one, whole;
    wrong     in every other case: success with other bytes, a cut output, a file left behind (a kill
              may leave those of the fixed name, and temporary folders), a crash, a hang.

Prints a table of the flows and one of the kinds of fault. Exit code 1 if a run is wrong; --only, --kind and --nth show such a run.
"""
import argparse
import os
import shutil
import signal
import struct
import subprocess
import sys
import tempfile
from collections import Counter

TOP = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))

# The order of fault_library.c.
KINDS = ["memory", "open", "read", "read-short", "write", "write-short", "interrupt", "flush",
         "rename", "close", "status", "map", "kill", "terminate"]
EARLY, HAPPENED, DIM = len(KINDS), len(KINDS) + 1, len(KINDS) + 2
ENDING = {"kill": signal.SIGKILL, "terminate": signal.SIGTERM}
# A program must get through these: nothing has failed.
HARMLESS = {"read-short", "write-short", "interrupt"}

SOURCES = ["psa_key.h", "psa_serialization.c", "psa_serialization.h", "ipbt_serialization.c",
           "ipbt_serialization.h"]
TEMPORARY = ".pdata-new"
# A list, the newest line first, in which what was already said stays when the run fails afterwards.
LISTING = "signature_coverage.data"
OLD = b"what stood here before\n"
HANG_SECONDS = 60
ADDED = (b'{"protocols":[{"name":"added","id":16777230,"rules":[{"order":"1:1","rule":['
         b'{"protocol":"ssl","common_name":"added"}]}]}]}\n')
SLIPS = (b'{"protocols":[{"name":"slips","id":16777231,"rules":[{"order":"1:1","rule":['
         b'{"protocol":"http","cts-server":["a.b","(x|y)z","(x|.*y.*)z"]},'
         b'{"protocol":"tcp","port":"7-3"}]}]}]}\n')
DOMAINS = b"# a list\nexample.com\nwww.example.org\n"
EVE = (b'{"timestamp":"2026-01-05T10:00:00.000000+0000","flow_id":1,"event_type":"tls",'
       b'"src_ip":"10.0.0.1","src_port":50001,"dest_ip":"192.0.2.7","dest_port":443,'
       b'"proto":"TCP","tls":{"sni":"www.example.com"}}\n'
       b'{"timestamp":"2026-01-05T10:00:09.000000+0000","flow_id":1,"event_type":"flow",'
       b'"src_ip":"10.0.0.1","src_port":50001,"dest_ip":"192.0.2.7","dest_port":443,'
       b'"proto":"TCP"}\n')
# A program in place of tshark: it knows a few fields, and says the same of every capture.
TSHARK = b"""#!/bin/sh
if [ "$1" = -G ]; then
    for field in frame.protocols frame.len ip.src ip.dst ip.proto udp.srcport udp.dstport; do
        printf 'F\\tname\\t%s\\tFT\\n' "$field"
    done
    exit
fi
cat >/dev/null
echo '{"timestamp":"1","layers":{"frame_protocols":["eth:ethertype:ip:udp"],"frame_len":["60"],\
"ip_src":["10.0.0.1"],"ip_dst":["10.0.0.2"],"ip_proto":["17"],"udp_srcport":["4000"],\
"udp_dstport":["53"]}}'
"""
# A capture of one packet, whose bytes the program in place of tshark does not look at.
CAPTURE = struct.pack("<IHHiIII", 0xA1B2C3D4, 2, 4, 0, 0, 65535, 1) + \
    struct.pack("<IIII", 1, 0, 4, 4) + b"\0\0\0\0"
FLOW_TEXT = b'ssl:common_name cts "www.example.com"; tcp:port stc 443\nhttp:server cts "a.b"\n'

COMPILER, COMPANION = "pdata_compiler", "pdata"
FROM_TEXT = ["--pdd", "in.pdd", "--cfg-path", "cfg"]
TWO = "in.pdb;more.pdb"

# name: program, arguments, outputs, text of standard input
FLOWS = {
    "description": (COMPILER, FROM_TEXT + ["--description", "--pdb-out", "out"],
                    ["out"] + SOURCES, b""),
    "loadable from text": (COMPILER, FROM_TEXT + ["--loadable", "--pdb-out", "out"],
                           ["out"] + SOURCES, b""),
    "loadable from pdb": (COMPILER, ["--pdb-in", "in.pdb", "--loadable", "--pdb-out", "out",
                                     "--sig-export", "signature_coverage"],
                          ["out", "signature_coverage.data"], b""),
    "merge": (COMPILER, ["--pdb-in", TWO, "--merge", "--description", "--pdb-out", "out"],
              ["out"], b""),
    "merge, loadable": (COMPILER, ["--pdb-in", TWO, "--merge", "--loadable", "--pdb-out", "out"],
                        ["out"], b""),
    "removal": (COMPILER, ["--pdb-in", "in.pdb", "--delete", "ID", "--description",
                           "--pdb-out", "out"], ["out"], b""),
    "removal, loadable": (COMPILER, ["--pdb-in", "in.pdb", "--delete", "ID", "--loadable",
                                     "--pdb-out", "out"], ["out"], b""),
    "pdata list": (COMPANION, ["list", "in.pdb"], [], b""),
    "pdata list --json": (COMPANION, ["list", "--json", "in.pdb"], [], b""),
    "pdata list --limits": (COMPANION, ["list", "--limits", "loadable.pdb"], [], b""),
    "pdata verify": (COMPANION, ["verify", "in.pdb", "loadable.pdb", "-"], [], b"\0\0\0\1"),
    "pdata match": (COMPANION, ["match", "--near", "loadable.pdb", "-"], [], FLOW_TEXT),
    "pdata match --json": (COMPANION, ["match", "--json", "loadable.pdb", "-"], [], FLOW_TEXT),
    "pdata test": (COMPANION, ["test", "loadable.pdb", "cases.tsv", "--coverage", "--run", "c"], [],
                   b""),
    "pdata test --update": (COMPANION, ["test", "loadable.pdb", "out", "--update"], ["out"], b""),
    "pdata dump": (COMPANION, ["dump", "loadable.pdb"], [], b""),
    "pdata dump --json": (COMPANION, ["dump", "--json", "--section", "TAGS", "in.pdb"], [],
                          b""),
    "pdata decompile": (COMPANION, ["decompile", "in.pdb"], [], b""),
    "pdata decompile -o": (COMPANION, ["decompile", "loadable.pdb", "-o", "out", "--aliases",
                                       "aliases", "--tags", "tags"],
                           ["out", "aliases", "tags"], b""),
    "pdata diff": (COMPANION, ["diff", "in.pdb", "loadable.pdb"], [], b""),
    "pdata diff --json": (COMPANION, ["diff", "--json", "in.pdb", "more.pdb"], [], b""),
    "pdata import": (COMPANION, ["import", "domains", "-", "--name", "mine", "--compact"], [],
                     DOMAINS),
    "pdata import --into": (COMPANION, ["import", "addresses", "addresses.txt", "--name", "mine",
                                        "--into", "more.pdd", "-o", "out"], ["out"], b""),
    "pdata check": (COMPANION, ["check", "in.pdd", "more.pdd"], [], b""),
    "pdata check --json": (COMPANION, ["check", "--json", "--cfg", "cfg", "-"], [], SLIPS),
    "pdata check --fix": (COMPANION, ["check", "--fix", "--with", "in.pdb", "out"], ["out"], b""),
    "pdata build": (COMPANION, ["build", "more.pdd", "-o", "out", "--cfg", "cfg", "--sources", ".",
                                "--depfile", "dep"], ["out", "dep", *SOURCES], b""),
    "pdata build, refused": (COMPANION, ["build", "in.pdd", "-o", "out"], ["out"], b""),
    "pdata build, merge": (COMPANION, ["build", "more.pdd", "-", "-o", "out", "--loadable",
                                       "--tests", "hosts.tsv"], ["out"], ADDED),
    "pdata dump --dot": (COMPANION, ["dump", "loadable.pdb", "--dot", "http:server cts"], [], b""),
    "pdata report": (COMPANION, ["report", "more.pdb", "loadable.pdb", "--tests",
                                "cases.tsv", "-o", "out"],
                     ["out"], b""),
    "pdata report --json": (COMPANION, ["report", "in.pdb", "-o", "out", "--json"], ["out"], b""),
    "pdata schema": (COMPANION, ["schema", "pdd", "--cfg", "cfg", "-o", "out"], ["out"], b""),
    "pdata schema --json": (COMPANION, ["schema", "tags", "--json"], [], b""),
    "pdata decompile --json": (COMPANION, ["decompile", "in.pdb", "-o", "out", "--json"],
                               ["out"], b""),
    "pdata import --json": (COMPANION, ["import", "domains", "-", "--name", "mine", "-o", "out",
                                        "--json"], ["out"], DOMAINS),
    "pdata fmt --json": (COMPANION, ["fmt", "--check", "--json", "in.pdd", "more.pdd"], [], b""),
    "pdata fmt": (COMPANION, ["fmt", "in.pdd", "more.pdd"], [], b""),
    "pdata fmt --check": (COMPANION, ["fmt", "--check", "in.pdd"], [], b""),
    "pdata fmt --write": (COMPANION, ["fmt", "--write", "out"], ["out"], b""),
    "pdata flows": (COMPANION, ["flows", "log.json", "capture"], [], b""),
    "pdata flows --json": (COMPANION, ["flows", "--json", "-"], [], EVE),
    "pdata classify": (COMPANION, ["classify", "loadable.pdb", "log.json", "--summary"], [], b""),
    "pdata classify --json": (COMPANION, ["classify", "--json", "loadable.pdb", "log.json"], [],
                              b""),
}

# What stands in an output that is an input as well; OLD in all others.
REWRITTEN = {
    "pdata test --update": b"net\t" + FLOW_TEXT.splitlines()[1] + b"\n",
    "pdata check --fix": SLIPS,
    "pdata fmt --write": b'{"protocols":[{"name":"web","id":1000,"rules":[]}]}',
}


def old_of(flow):
    return REWRITTEN.get(flow, OLD)


class Folder:
    """A folder with the inputs of all flows, in which one run after another takes place."""

    def __init__(self, options):
        self.path = tempfile.mkdtemp(prefix="faults_")
        self.bin = os.path.abspath(options.bin)
        os.mkdir(self.file("bin"))
        os.mkdir(self.file("tmp"))
        self.environment = {"LD_PRELOAD": os.path.abspath(options.library), "PATH": self.file("bin") + ":/usr/bin:/bin",
                            "TMPDIR": self.file("tmp"), "FAULT_COUNTS": os.path.join(self.path, ".counts")}
        shutil.copytree(os.path.join(TOP, "examples", "cfg"), self.file("cfg"))
        shutil.copy(os.path.join(TOP, "tests", "faults", "in.pdd"), self.path)
        shutil.copy(os.path.join(TOP, "tests", "faults", "more.pdd"), self.path)
        for name in ("in", "more"):
            self.make("--pdd", name + ".pdd", "--cfg-path", "cfg", "--description",
                      "--pdb-out", name + ".pdb")
        self.put("log.json", EVE)
        self.put("capture", CAPTURE)
        self.put("addresses.txt", b"192.0.2.0/24\n198.51.100.7\n")
        self.put("bin/tshark", TSHARK)
        os.chmod(self.file("bin/tshark"), 0o755)
        self.put("hosts.tsv", b'web\thttp:server cts "a.example"\n')
        self.put("cases.tsv", b"web\t" + FLOW_TEXT.splitlines()[1] + b"\n")
        self.make("--pdb-in", "in.pdb", "--loadable", "--pdb-out", "loadable.pdb")
        for name in SOURCES:
            os.unlink(self.file(name))
        self.inputs = set(os.listdir(self.path)) | {".counts"}

    def file(self, name):
        return os.path.join(self.path, name)

    def make(self, *arguments):
        subprocess.run([os.path.join(self.bin, COMPILER), *arguments], cwd=self.path, check=True)

    def read(self, name):
        try:
            with open(self.file(name), "rb") as file:
                return file.read()
        except FileNotFoundError:
            return None

    def put(self, name, content):
        with open(self.file(name), "wb") as file:
            file.write(content)

    def run(self, flow, fault=None):
        """Runs a flow. Returns its exit code (None: it hangs), standard output and error."""
        program, arguments, outputs, text = FLOWS[flow]
        for name in set(os.listdir(self.path)) - self.inputs - set(outputs):
            os.unlink(self.file(name))
        for name in os.listdir(self.file("tmp")):
            shutil.rmtree(self.file("tmp/" + name))
        for name in outputs:
            if self.read(name) != old_of(flow):
                self.put(name, old_of(flow))
        environment = dict(self.environment)
        if fault is not None:
            environment["FAULT_KIND"] = str(KINDS.index(fault[0]))
            environment["FAULT_NTH"] = str(fault[1])
        command = [os.path.join(self.bin, program)] + \
            ["1000" if argument == "ID" else argument for argument in arguments]
        try:
            done = subprocess.run(command, cwd=self.path, env=environment, input=text,
                                  capture_output=True, timeout=HANG_SECONDS, close_fds=False)
        except subprocess.TimeoutExpired:
            return None, b"", b""
        return done.returncode, done.stdout, done.stderr

    def counts(self):
        return struct.unpack(f"{DIM}Q", self.read(".counts"))

    def left_behind(self, outputs, killed):
        names = set(os.listdir(self.path)) - self.inputs - set(outputs)
        if killed:
            names -= {name + TEMPORARY for name in outputs}
        else:
            names |= set(os.listdir(self.file("tmp")))
        return sorted(names)


class Whole:
    """What a flow does when nothing fails."""

    def __init__(self, folder, flow):
        self.outputs = FLOWS[flow][2]
        self.old = old_of(flow)
        self.companion = FLOWS[flow][0] == COMPANION
        self.code, self.out, _ = folder.run(flow)
        self.files = {name: folder.read(name) for name in self.outputs}
        self.counts = folder.counts()


def judge(folder, whole, kind, code, out, err):
    """Returns "right", "refused" or what is wrong with a run."""
    if code is None:
        return "it hangs"
    killed = kind == "kill" and code == -signal.SIGKILL
    ended = killed or (kind in ENDING and code == -ENDING[kind])
    left = folder.left_behind(whole.outputs, killed)
    if left:
        return "left behind: " + " ".join(left)
    if code < 0 and not ended:
        return f"crash: signal {-code}"
    files = {name: folder.read(name) for name in whole.outputs}
    if code == whole.code:
        if files != whole.files:
            return "success with other outputs"
        return "right" if out == whole.out or not whole.companion else "success with another answer"
    for name, content in files.items():
        if name == LISTING and content is not None and whole.files[name].endswith(content):
            continue
        if content not in (whole.old, whole.files[name]):
            return f"status {code}, and {name} is neither the old file nor the new one"
    if ended:
        return "refused"
    if kind in HARMLESS:
        return f"status {code}, although nothing failed"
    if whole.companion and code < 2:
        return f"status {code}, which says something about the file"
    return "refused" if out + err else f"status {code} without a message"


def places(count, most):
    """Which calls fail: all, or as many as are wanted, evenly spread, with the first and the last."""
    if most <= 0 or count <= most:
        return range(1, count + 1)
    return sorted({1 + round(i * (count - 1) / (most - 1)) for i in range(most)})


def sweep(folder, flow, kinds, most):
    """Yields (kind, nth, verdict) for every fault of a flow."""
    whole = Whole(folder, flow)
    if whole.code != 0 and not whole.companion:
        sys.exit(f"{flow}: status {whole.code} without a fault: {whole.out.decode()}")
    for kind in kinds:
        for nth in places(whole.counts[KINDS.index(kind)], most):
            result = folder.run(flow, (kind, nth))
            yield kind, nth, judge(folder, whole, kind, *result)


def arguments():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    parser.add_argument("--library", required=True)
    parser.add_argument("--bin", required=True)
    parser.add_argument("--short", action="store_true", help="9 places a kind and flow")
    parser.add_argument("--most", type=int, default=0, help="places a kind and flow; 0: all")
    parser.add_argument("--only", choices=FLOWS, help="one flow")
    parser.add_argument("--kind", choices=KINDS, help="one kind")
    parser.add_argument("--nth", type=int, help="one place: says what the run printed")
    parser.add_argument("--before-main", action="store_true",
                        help="only looks whether the compiler allocates in front of main")
    options = parser.parse_args()
    if options.nth and not (options.only and options.kind):
        parser.error("--nth goes with --only and --kind")
    return options


def show(folder, options):
    whole = Whole(folder, options.only)
    code, out, err = folder.run(options.only, (options.kind, options.nth))
    print(f"status {code}\n--- standard output\n{out.decode(errors='replace')}"
          f"--- standard error\n{err.decode(errors='replace')}---")
    print(judge(folder, whole, options.kind, code, out, err))


# The C++ library sets memory aside for exceptions that are thrown when there is none.
EARLY_OF_THE_LIBRARY = 1


def before_main(folder):
    early = Whole(folder, "description").counts[EARLY]
    if early > EARLY_OF_THE_LIBRARY:
        print(f"{early} allocations in front of main, {EARLY_OF_THE_LIBRARY} of the C++ library")
    return 1 if early > EARLY_OF_THE_LIBRARY else 0


def print_head(what):
    print(f"| {what} | tried | refused | right | wrong |\n|---|---|---|---|---|")


def print_row(name, row):
    print(f"| {name} | {row.total()} | {row['refused']} | {row['right']} | {row['wrong']} |",
          flush=True)


def run(folder, options):
    kinds = [options.kind] if options.kind else KINDS
    most = 9 if options.short else options.most
    of_kind = {kind: Counter() for kind in kinds}
    wrong = []
    print_head("flow")
    for flow in [options.only] if options.only else FLOWS:
        of_flow = Counter()
        for kind, nth, verdict in sweep(folder, flow, kinds, most):
            column = verdict if verdict in ("right", "refused") else "wrong"
            of_flow[column] += 1
            of_kind[kind][column] += 1
            if column == "wrong":
                wrong.append(f"{flow}, {kind} {nth}: {verdict}")
        print_row(flow, of_flow)
    print_row("all", sum(of_kind.values(), Counter()))
    print()
    print_head("fault")
    for kind, row in of_kind.items():
        print_row(kind, row)
    for text in wrong:
        print(text)
    return 1 if wrong else 0


def main():
    options = arguments()
    folder = Folder(options)
    try:
        if options.before_main:
            return before_main(folder)
        if options.nth:
            show(folder, options)
            return 0
        return run(folder, options)
    finally:
        shutil.rmtree(folder.path)


if __name__ == "__main__":
    sys.exit(main())
