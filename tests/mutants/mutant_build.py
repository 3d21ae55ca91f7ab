"""The copy of the tree that mutants are made from, built once, and never changed by a mutant.

A mutant is one source compiled elsewhere, and the programs that contain it linked once more with
that object in the place of the built one. So any number of mutants can be tried at a time.
"""
import json
import os
import re
import shlex
import shutil
import subprocess

TOP = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
WORK = os.path.join(TOP, "build", "mutants")
SOURCE = os.path.join(WORK, "source")
# Where an ordinary build of the copy would stand, so that a cache of the compiler serves both.
BUILD = os.path.join(SOURCE, "build", "release")
SHIPPED = ("bin/pdata_compiler", "bin/pdata", "bin/loadable_verify")


def output_of(*command, cwd=TOP):
    return subprocess.run(command, cwd=cwd, check=True, capture_output=True, text=True).stdout


def read_bytes(path):
    with open(path, "rb") as file:
        return file.read()


def copy_tree():
    """Brings the copy up to date; what has not changed keeps its time."""
    names = output_of("git", "ls-files", "--cached", "--others", "--exclude-standard").splitlines()
    for name in names:
        source, target = os.path.join(TOP, name), os.path.join(SOURCE, name)
        if not os.path.isfile(source):
            continue
        os.makedirs(os.path.dirname(target), exist_ok=True)
        if not os.path.exists(target) or read_bytes(source) != read_bytes(target):
            shutil.copy(source, target)
    for name in output_of("git", "ls-files", "--deleted").splitlines():
        if os.path.exists(os.path.join(SOURCE, name)):
            os.remove(os.path.join(SOURCE, name))


def run_build(jobs):
    linker = "-fuse-ld=mold" if shutil.which("mold") else ""
    subprocess.run(["cmake", "-S", SOURCE, "-B", BUILD, "-G", "Ninja",
                    "-DCMAKE_BUILD_TYPE=Release", "-DPDATA_TESTS=ON", "-DPDATA_TESTS_TOGETHER=ON",
                    "-DPDATA_LTO=OFF", "-DCMAKE_CXX_FLAGS=",
                    "-DCMAKE_DISABLE_PRECOMPILE_HEADERS=ON", "-DCMAKE_EXE_LINKER_FLAGS=" + linker,
                    "-DCMAKE_EXPORT_COMPILE_COMMANDS=ON"],
                   check=True, stdout=subprocess.DEVNULL)
    subprocess.run(["ninja", f"-j{jobs}"], cwd=BUILD, check=True, stdout=subprocess.DEVNULL)


def parts_of(commands):
    """Returns the link command of every program, and the objects of every library."""
    links, libraries = {}, {}
    for line in commands.splitlines():
        for command in line.split(" && "):
            words = command.split()
            found = re.search(r" -o (tests/\S+_test|bin/\w+) ", command)
            if found and " -c " not in command:
                links[found.group(1)] = words
            elif words[:2] == ["/usr/bin/ar", "qc"] or words[:1] == ["ar"]:
                libraries[words[2]] = words[3:]
    return links, libraries


class Build:
    """The programs of the copy, and how each of its sources is compiled and linked."""

    def __init__(self, jobs):
        copy_tree()
        run_build(jobs)
        with open(os.path.join(BUILD, "compile_commands.json"), encoding="utf-8") as file:
            self.compiles = {os.path.relpath(row["file"], SOURCE): shlex.split(row["command"])
                             for row in json.load(file)}
        self.links, libraries = parts_of(output_of("ninja", "-t", "commands", cwd=BUILD))
        self.contents = {}
        for program, words in self.links.items():
            objects = [name for word in words for name in libraries.get(word, [word])]
            self.contents[program] = frozenset(name for name in objects if name.endswith(".o"))

    @staticmethod
    def path_of(program):
        return os.path.join(BUILD, program)

    def object_of(self, name):
        words = self.compiles[name]
        return words[words.index("-o") + 1]

    def programs_of(self, name):
        """The programs that contain a source, the smallest first."""
        if name not in self.compiles:
            return []
        found = [program for program, objects in self.contents.items()
                 if self.object_of(name) in objects]
        return sorted(found, key=lambda program: len(self.contents[program]))

    def compile(self, name, text, folder):
        """Compiles a changed text of a source. Returns the path of the object; None if it fails."""
        source = os.path.join(folder, os.path.basename(name))
        with open(source, "w", encoding="utf-8") as file:
            file.write(text)
        path = source + ".o"
        original = os.path.join(SOURCE, name)
        words = [source if word == original else word for word in self.compiles[name]]
        words[words.index("-o") + 1] = path
        words[-2:-2] = ["-iquote", os.path.dirname(original)]
        return path if run_quietly(words) else None

    def same_object(self, name, path):
        return read_bytes(os.path.join(BUILD, self.object_of(name))) == read_bytes(path)

    def link(self, program, name, path, folder):
        """Links a program with an object in the place of that of a source, into folder/program."""
        target = os.path.join(folder, program)
        os.makedirs(os.path.dirname(target), exist_ok=True)
        words = list(self.links[program])
        place = words.index("-o")
        words[place + 1] = target
        if self.object_of(name) in words:
            words[words.index(self.object_of(name))] = path
        else: # of a library: what is named before it comes first
            words.insert(place, path)
        if os.path.lexists(target):
            os.remove(target)
        return run_quietly(words)


def run_quietly(words):
    return subprocess.run(words, cwd=BUILD, check=False, stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL,
                          env=dict(os.environ, CCACHE_DISABLE="1")).returncode == 0
