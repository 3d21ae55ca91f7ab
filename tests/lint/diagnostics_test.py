#!/usr/bin/env python3
"""Runs the examples of docs/diagnostics.md: what each section shows, and what it says is mended.

    diagnostics_test.py BIN

Of every section the first example must be found under the section's id, and the one behind "Mended:"
must be free of that id and of every error. Every row of diagnostics.def has a section, with its level.
"""

import os
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
PAPER = os.path.join(ROOT, "docs", "diagnostics.md")
TABLE = os.path.join(ROOT, "pdata", "src", "lint", "diagnostics.def")
FOUND = re.compile(r"^[^ ].*: (error|warning|note): .*\[([a-z-]+)\]$")
# What nothing that is known of shows.
NO_EXAMPLE = {"refused"}


def rows():
    with open(TABLE, encoding="utf-8") as file:
        return re.findall(r'^DIAGNOSTIC\(\w+,\s*"([a-z-]+)",\s*(\w+),', file.read(), re.M)


def sections():
    """The sections by id: their text, the blocks in front of "Mended:" and those behind it."""
    with open(PAPER, encoding="utf-8") as file:
        parts = re.split(r"^#+ (.*)$", file.read(), flags=re.M)
    result = {}
    for title, text in zip(parts[1::2], parts[2::2]):
        shown, _, mended = text.partition("\nMended:\n")
        result[title] = (text.strip(), blocks(shown), blocks(mended))
    return result


def blocks(text):
    found = re.findall(r"(?:^    .*\n?)+", text, re.M)
    return [re.sub(r"^    ", "", block, flags=re.M).rstrip("\n") for block in found]


def description(part):
    """The smallest description around a part of one."""
    if part.startswith('{"order"') or part.startswith('{"rule"'):
        part = '{"name": "chatter", "id": 16777216, "rules": [%s]}' % part
    elif part.startswith('{"protocol"'):
        return description('{"order": "50:0", "rule": [%s]}' % part)
    if part.startswith('{"name"'):
        part = '{"protocols": [%s]}' % part
    rule = '{"order": "50:0", "rule": [{"protocol": "tcp", "port": "%d"}]}'
    text = re.sub(r"<rules (\d+)>",
                  lambda match: ",".join(rule % nr for nr in range(1, int(match.group(1)) + 1)), part)
    text = text.replace("<long>", "x" * 65537)
    text = re.sub(r"<pieces (\d+)>",
                  lambda many: ".*".join(f"a{i}b" for i in range(int(many.group(1)))), text)
    return text.encode().replace(b"<mark>", b"\xef\xbb\xbf").replace(b"<cr>", b"\r")


def check(program, folder, text, aliases, ids):
    """The levels and ids that a check finds, with the ids that are switched on."""
    cfg = os.path.join(folder, "cfg")
    shutil.copytree(os.path.join(ROOT, "examples", "cfg"), cfg, dirs_exist_ok=True)
    if aliases:
        with open(os.path.join(cfg, "matcher_alias.json"), "w", encoding="utf-8") as file:
            file.write(aliases)
    path = os.path.join(folder, "example.pdd")
    with open(path, "wb") as file:
        file.write(description(text))
    options = [option for word in ids for option in ("-W", word + "=note")]
    run = subprocess.run([program, "check", path, "--cfg", cfg] + options, capture_output=True,
                         text=True, errors="replace", check=False)
    if run.returncode not in (0, 1):
        raise SystemExit(run.stderr)
    return [match.groups() for match in map(FOUND.match, run.stdout.splitlines()) if match]


def judge(program, name, level, section):
    text, shown, mended = section
    wrong = []
    if not text.startswith(level.capitalize() + "."):
        wrong.append("does not begin with its level, " + level)
    if name in NO_EXAMPLE:
        return wrong
    if not shown or len(mended) != 1:
        return wrong + ["has no example, or no mended one"]
    aliases = shown[0] if len(shown) > 1 else None
    ids = [name] if level == "note" else []
    with tempfile.TemporaryDirectory() as folder:
        found = check(program, folder, shown[-1], aliases, ids)
        if name not in [word for _, word in found]:
            wrong.append("is not found in its example, but %s" % found)
        after = check(program, folder, mended[0], aliases, ids)
        if name in [word for _, word in after] or "error" in [word for word, _ in after]:
            wrong.append("is not mended: %s" % after)
    return wrong


def main():
    program = os.path.join(sys.argv[1], "pdata")
    paper = sections()
    failures = []
    for name, level in rows():
        if name not in paper:
            failures.append("%s has no section" % name)
            continue
        failures += ["%s %s" % (name, wrong)
                     for wrong in judge(program, name, level.lower(), paper[name])]
    for failure in failures:
        print(failure)
    return 1 if failures else 0


sys.exit(main())
