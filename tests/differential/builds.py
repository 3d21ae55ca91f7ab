"""Builds the compiler of a commit, once, and that of this tree."""

import os
import shutil
import subprocess

from vocabulary import ROOT

FOLDER = os.path.join(ROOT, "build", "compare")
BUILT = os.path.join("build", "release", "bin", "pdata_compiler")


class Failed(Exception):
    """A commit that does not exist, or a build that fails."""


def do(*words, folder=ROOT):
    """Runs a command; what it prints is shown only when it fails."""
    done = subprocess.run(words, cwd=folder, stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                          stderr=subprocess.STDOUT, text=True, errors="replace", check=False)
    if done.returncode:
        raise Failed(f"{done.stdout}{' '.join(words)}: failed")
    return done.stdout.strip()


def build(folder, *settings):
    do("cmake", "--preset", "release", *settings, folder=folder)
    do("cmake", "--build", "--preset", "release", "--target", "pdata_compiler", folder=folder)
    return os.path.join(folder, BUILT)


def unpack(commit, folder):
    """Puts the files of a commit into a new folder."""
    part = f"{folder}.part"
    shutil.rmtree(part, ignore_errors=True)
    os.makedirs(part)
    archive = f"{part}.tar"
    do("git", "archive", "-o", archive, commit)
    do("tar", "-xf", archive, "-C", part)
    os.remove(archive)
    os.rename(part, folder)


def compiler_of(name):
    """Returns the compiler of a commit; it is built the first time."""
    if name.startswith("-"):
        raise Failed(f"no commit: {name}")
    commit = do("git", "rev-parse", "--verify", f"{name}^{{commit}}")
    folder = os.path.join(FOLDER, commit)
    if not os.path.exists(folder):
        unpack(commit, folder)
    compiler = os.path.join(folder, BUILT)
    return compiler if os.path.exists(compiler) else build(folder, "-DPDATA_TESTS=OFF")


def compiler_of_tree():
    """Returns a copy of this tree's compiler, which later builds do not touch."""
    copied = os.path.join(FOLDER, "pdata_compiler")
    os.makedirs(FOLDER, exist_ok=True)
    shutil.copy2(build(ROOT), f"{copied}.part")
    os.replace(f"{copied}.part", copied)
    return copied
