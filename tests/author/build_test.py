#!/usr/bin/env python3
"""A build writes what runs of the compiler write, byte for byte, whole or not at all.

    build_test.py BIN [ROUNDS]

The shipped descriptions and random ones are built alone and together, and compared with outputs of
"pdata_compiler", merged two at a time. Builds that fail leave every old file. Dependency files are
tried with make, and with ninja where it is there.
"""

import os
import random
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
CFG = os.path.join(ROOT, "examples", "cfg")
sys.path.insert(0, os.path.join(ROOT, "tests", "differential"))

import descriptions  # noqa: E402

TAGS = ("chat", "video")
SOURCES = ("psa_key.h", "psa_serialization.c", "psa_serialization.h", "ipbt_serialization.c",
           "ipbt_serialization.h")


def content(path):
    with open(path, "rb") as file:
        return file.read()


def write(path, text):
    with open(path, "w", encoding="utf-8") as file:
        file.write(text)


class Programs:
    def __init__(self, folder):
        self.folder = folder

    def run(self, program, *words, folder="."):
        return subprocess.run([os.path.join(self.folder, program), *words], capture_output=True,
                              text=True, check=False, cwd=folder)

    def build(self, *words, status=0, folder="."):
        done = self.run("pdata", "build", *words, folder=folder)
        assert done.returncode == status, (words, done.returncode, done.stdout, done.stderr)
        return done.stderr

    def build_as(self, status, expected, *words):
        """Builds what the compiler gave a status for; returns 1 where both wrote the same."""
        done = self.run("pdata", "build", *words, "-o", "built.pdb")
        if done.returncode == 0:
            assert status == 0, (words, status)
            assert content("built.pdb") == content(expected), words
            return 1
        # What the check stops may compile; what does not compile is stopped.
        assert done.returncode == 1, (words, done.stderr)
        assert " error: " in done.stderr or f"({status}:" in done.stderr, (words, done.stderr)
        return 0

    def compile(self, pdd, out, form):
        """Returns the status of a run of the compiler, in a folder of its own for its sources."""
        os.makedirs("compiler", exist_ok=True)
        return self.run("pdata_compiler", "--pdd", os.path.abspath(pdd), "--cfg-path", CFG, form,
                        "--pdb-out", os.path.abspath(out), folder="compiler").returncode

    def merge(self, first, second, out, form):
        return self.run("pdata_compiler", "--merge", "--pdb-in", f"{first};{second}", form,
                        "--pdb-out", out).returncode

    def merged(self, pdds):
        """Compiles descriptions, and merges them two at a time; returns the first status."""
        for i, pdd in enumerate(pdds):
            status = self.compile(pdd, f"{i}.pdb", "--description")
            last = i + 1 == len(pdds)
            if status == 0 and i > 0:
                status = self.merge("0.pdb" if i == 1 else f"merged{i - 1}.pdb", f"{i}.pdb",
                                    f"merged{i}.pdb", "--loadable" if last else "--description")
            if status != 0:
                return status
        os.replace(f"merged{len(pdds) - 1}.pdb", "expected.pdb")
        return 0


def alone(programs, rounds):
    paths = [os.path.join(ROOT, "examples", name) for name in ("protocols.pdd", "user.pdd")]
    for seed in range(rounds):
        text = descriptions.description_text(
            descriptions.make_protocols(random.Random(seed), TAGS))
        write(f"{seed}.pdd", text)
        paths.append(f"{seed}.pdd")
    equal = 0
    for path in paths:
        for form, flags in (("--description", ()), ("--loadable", ("--loadable",))):
            status = programs.compile(path, "expected.pdb", form)
            for cfg in ((), ("--cfg", CFG)):
                equal += programs.build_as(status, "expected.pdb", path, *flags, *cfg)
    assert equal > 2 * rounds
    return equal


def together(programs, rounds):
    names = [os.path.join(ROOT, "examples", "protocols.pdd"),
             os.path.join(ROOT, "examples", "user.pdd")]
    for i in range(4):
        write(f"list{i}", "".join(f"h{i}{j}.list.example\n" for j in range(5 + i)))
        done = programs.run("pdata", "import", "domains", f"list{i}", "--name", f"list{i}", "--id",
                            str(16778000 + i), "-o", f"list{i}.pdd")
        assert done.returncode == 0, done.stderr
        names.append(f"list{i}.pdd")
    equal = 0
    for seed in range(rounds):
        r = random.Random(seed)
        chosen = [names[0]] + r.sample(names[1:], r.randrange(1, 5))
        if seed % 3 == 0:
            r.shuffle(chosen)
        status = programs.merged(chosen)
        equal += programs.build_as(status, "expected.pdb", *chosen, "--loadable", "--cfg", CFG)
    assert equal > rounds / 2, equal
    return equal


def whole_or_not(programs):
    """What fails leaves all that was there."""
    user = os.path.join(ROOT, "examples", "user.pdd")
    os.makedirs("sources")
    programs.build(user, "-o", "out.pdb", "--sources", "sources", "--depfile", "out.d")
    assert sorted(os.listdir("sources")) == sorted(SOURCES)
    assert programs.compile(user, "expected.pdb", "--description") == 0
    for name in SOURCES:
        assert content(os.path.join("sources", name)) == content(os.path.join("compiler", name))
    before = {path: (content(path), os.stat(path).st_ino) for path in
              ["out.pdb", "out.d"] + [os.path.join("sources", name) for name in SOURCES]}
    write("broken.pdd", '{"protocols": [{"name": "a", "nmae": "b"}]}\n')
    write("holds.tsv", '-\tssl:common_name cts "no.such.name.example"\n')
    write("fails.tsv", 'ssl\tssl:common_name cts "no.such.name.example"\n')
    broken_cfg = os.path.join(os.getcwd(), "broken_cfg")
    shutil.copytree(CFG, broken_cfg)
    os.remove(os.path.join(broken_cfg, "http.json"))
    bad_psa = os.path.join(os.getcwd(), "bad_psa")
    shutil.copytree(CFG, bad_psa)
    write(os.path.join(bad_psa, "spdy.json"), "{")
    os.makedirs("taken/ipbt_serialization.h")
    asked = ("-o", "out.pdb", "--sources", "sources", "--depfile", "out.d")
    failures = (
        (1, ("broken.pdd", *asked)),
        (1, (user, *asked, "--tests", "fails.tsv")),
        (1, (user, *asked, "--tests", "holds.tsv", "--tests", "fails.tsv")),
        (3, (user, *asked, "--tests", "missing.tsv")),
        (3, (user, *asked, "--cfg", broken_cfg)),
        (3, ("missing.pdd", *asked)),
        (1, (user, *asked, "--cfg", bad_psa)),
        (3, (user, "-o", "out.pdb", "--depfile", "out.d", "--sources", "taken")),
        (3, (user, "-o", "out.pdb", "--sources", "sources", "--depfile", "no/out.d")),
        (3, (user, "-o", "no/out.pdb", "--sources", "sources", "--depfile", "out.d")),
        (2, (user, user, *asked)),
    )
    for status, words in failures:
        said = programs.build(*words, status=status)
        assert said, words
        for path, was in before.items():
            assert (content(path), os.stat(path).st_ino) == was, (words, path)
        assert os.listdir("taken") == ["ipbt_serialization.h"]
        assert not [name for name in os.listdir(".") if name.endswith(".pdata-new")]
    programs.build(user, "-o", "out.pdb", "--tests", "holds.tsv", "--cfg", bad_psa)
    assert content("out.pdb") == before["out.pdb"][0]
    return len(failures)


def printed(programs):
    user = os.path.join(ROOT, "examples", "user.pdd")
    with open(user, "rb") as file:
        done = subprocess.run([os.path.join(programs.folder, "pdata"), "build", "-", "-o", "-"],
                              stdin=file, capture_output=True, check=True)
    programs.build(user, "-o", "printed.pdb")
    assert done.stdout == content("printed.pdb")
    return 1


def depfiles(programs, names):
    """make and ninja build again exactly when an input changed, whatever the names hold."""
    user = content(os.path.join(ROOT, "examples", "user.pdd")).decode()
    pdata = os.path.join(programs.folder, "pdata")
    checked = 0
    for name in names:
        write(name, user)
        write("out.stamp", "")
        quoted = "'" + name.replace("'", "'\\''") + "'"
        command = f"{pdata} build {quoted} -o out.pdb --depfile out.d --cfg cfg"
        shutil.copytree(CFG, "cfg", dirs_exist_ok=True)
        write("Makefile", "out.pdb:\n\t" + command.replace("$", "$$") + "\n-include out.d\n")
        write("build.ninja", "rule build\n  command = " + command.replace("$", "$$")
              + "\n  depfile = out.d\nbuild out.pdb: build\n")
        # ninja before 1.12 cannot read every name that make can
        ninja = shutil.which("ninja") and not set(name) & set("\\'")
        tools = [["make", "-s"]] + ([["ninja"]] if ninja else [])
        for tool in tools:
            for left in ("out.pdb", ".ninja_deps", ".ninja_log"):
                if os.path.exists(left):
                    os.remove(left)
            subprocess.run(tool, check=True, capture_output=True)
            for changed in (name, "cfg/http2.json"):
                old = os.stat("out.pdb").st_mtime_ns - 10**10
                for path in (name, *(os.path.join("cfg", file) for file in os.listdir("cfg"))):
                    os.utime(path, ns=(old, old))
                inode = os.stat("out.pdb").st_ino
                subprocess.run(tool, check=True, capture_output=True)
                assert os.stat("out.pdb").st_ino == inode, (tool, name, "built for nothing")
                new = os.stat("out.pdb").st_mtime_ns + 10**10
                os.utime(changed, ns=(new, new))
                subprocess.run(tool, check=True, capture_output=True)
                assert os.stat("out.pdb").st_ino != inode, (tool, name, changed, "not built")
                checked += 1
    return checked


NAMES = ("a b.pdd", "c$d.pdd", "e#f.pdd", "g\\h.pdd", "i\\ j.pdd", "k'l.pdd", "m%n.pdd")


def main():
    programs = Programs(os.path.abspath(sys.argv[1]))
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else 20
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        print("alone", alone(programs, rounds))
        print("together", together(programs, rounds))
        for check in (whole_or_not, printed):
            print(check.__name__, check(programs))
        print("depfiles", depfiles(programs, NAMES[:rounds]))
    return 0


if __name__ == "__main__":
    sys.exit(main())
