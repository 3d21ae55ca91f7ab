#!/usr/bin/env python3
"""Damaged files through every command of pdata: each ends with a status of its own, and soon.

    damage_test.py BIN [ROUNDS]

BIN is the folder of the programs. The shipped examples, a pdb and a loadable pdb of them, a list and
a log are cut, and have bytes exchanged, from a fixed seed. A run must end with 0 to 3: a crash, an
abort of a sanitizer, a hang and an internal error (4) are failures. A pdb that "verify" calls unsafe
must be refused with 3, or be shown with its damage and 1 by "dump".
"""

import json
import os
import random
import subprocess
import sys
import tempfile

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
EXAMPLES = os.path.join(ROOT, "examples")
HANG_SECONDS = 120

# Kind of input: the commands that read it, with "@" for the file.
COMMANDS = {
    "description": ["check @", "build @ -o out", "build @ in.pdd --loadable -o out", "fmt @",
                    "fmt --check @", "import domains in.txt --name mine --into @"],
    "list": ["import domains @ --name mine", "import hosts @ --name mine --compact",
             "import v2ray @ --name mine", "import addresses @ --name mine",
             "import ports @ --name mine --split"],
    "log": ["flows @", "classify loadable @ --json"],
    "suite": ["test loadable @"],
    "flows": ["match loadable @", "match --json loadable @", "diff loadable loadable --flows @",
              "diff loadable loadable --flows flows --allow @"],
    "pdb": ["list @", "list --protocols --rules --values -- @", "list --limits @", "dump --json @",
            "verify @", "decompile @", "diff pdb @", "report @ -o page"],
    "loadable": ["list --json @", "list --values --json -- @", "dump @", "verify --json @",
                 "dump --dot ssl:common_name @", "decompile @ --aliases aliases",
                 "diff @ loadable", "diff loadable @ --flows flows", "match @ flows",
                 "test @ suite", "classify @ log", "report @ -o page"],
}


def read(*path):
    with open(os.path.join(*path), "rb") as file:
        return file.read()


def damaged(r, content):
    """The content cut somewhere, or with up to eight bytes exchanged."""
    if r.random() < 0.3:
        return content[:r.randrange(len(content))]
    out = bytearray(content)
    for _ in range(r.randint(1, 8)):
        out[r.randrange(len(out))] = r.choice((0, 0xFF, 0x22, 0x5B, 0x0A, r.randrange(256)))
    return bytes(out)


def make_inputs(folder, programs):
    def compiled(source, form, name):
        subprocess.run([os.path.join(programs, "pdata_compiler"), *source, form, "--cfg-path",
                        os.path.join(EXAMPLES, "cfg"), "--pdb-out", name],
                       cwd=folder, check=True, capture_output=True)
        return read(folder, name)

    inputs = {
        "description": read(EXAMPLES, "user.pdd"),
        "list": read(EXAMPLES, "domains.txt"),
        "log": read(EXAMPLES, "eve.json"),
        "suite": read(EXAMPLES, "traffic", "samples.tsv"),
        "flows": b'ssl:common_name cts "www.example.com"; tcp:port stc 443\n' * 3,
        "pdb": compiled(["--pdd", os.path.join(EXAMPLES, "user.pdd")], "--description", "pdb"),
        "loadable": compiled(["--pdb-in", "pdb"], "--loadable", "loadable"),
    }
    for name, kind in (("flows", "flows"), ("in.pdd", "description"), ("in.txt", "list"),
                       ("log", "log"), ("suite", "suite")):
        with open(os.path.join(folder, name), "wb") as file:
            file.write(inputs[kind])
    return inputs


def is_unsafe(folder, programs):
    done = subprocess.run([os.path.join(programs, "pdata"), "verify", "--json", "damaged"],
                          cwd=folder, capture_output=True, timeout=HANG_SECONDS)
    return done.returncode == 1 and json.loads(done.stdout)["unsafe"] > 0


def statuses(command, unsafe):
    """The statuses that a command may end with."""
    if not unsafe or command.startswith("verify"):
        return range(4)
    return (1,) if command.startswith("dump") and "--dot" not in command else (3,)


def run(folder, programs, command, allowed):
    try:
        done = subprocess.run([os.path.join(programs, "pdata"), *command], cwd=folder,
                              stdin=subprocess.DEVNULL, capture_output=True,
                              timeout=HANG_SECONDS)
    except subprocess.TimeoutExpired:
        return "it hangs"
    return "" if done.returncode in allowed else f"status {done.returncode}: {done.stderr[-400:]!r}"


def main():
    programs = os.path.abspath(sys.argv[1])
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 8
    faults = []
    with tempfile.TemporaryDirectory() as folder:
        inputs = make_inputs(folder, programs)
        for kind, commands in COMMANDS.items():
            for seed in range(rounds):
                with open(os.path.join(folder, "damaged"), "wb") as file:
                    file.write(damaged(random.Random(f"{kind} {seed}"), inputs[kind]))
                unsafe = kind in ("pdb", "loadable") and is_unsafe(folder, programs)
                for command in commands:
                    fault = run(folder, programs, command.replace("@", "damaged").split(),
                                statuses(command, unsafe))
                    if fault:
                        faults.append(f"{command}, {kind} {seed}: {fault}")
    print("\n".join(faults))
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
