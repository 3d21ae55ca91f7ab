#!/usr/bin/env python3
"""Sums a report of gcovr by folder.

    print_coverage.py REPORT.json

Prints a table of the folders; on standard error, every line of which a branch was never taken.

The compiler counts more branches than the source has. Left out are, of what exceptions alone reach,
the second way out of a call that may throw, the handlers, and the pairs of branches that a line has
beyond its own conditions and that were never come to: they clean up after an exception. (What was
never come to for another reason lies behind a branch that is counted.) And the way on from what
always says no.
"""
import json
import os
import re
import sys
from collections import Counter

CONDITION = re.compile(r"&&(?! *\w+[,:)=])|\|\||\?|\b(if|for|while|switch|PDATA_\w*TRY)\b")
ALWAYS_NO = re.compile(r"(^|\|\|) *(view_fail|view_within|fail_\w+)\(")
HANDLER = re.compile(r"^( *)\} catch \(")


def lines_of_handlers(texts):
    """The numbers of the lines that handle exceptions."""
    numbers, end = set(), None
    for number, text in enumerate(texts, 1):
        found = HANDLER.match(text)
        if found:
            end = found.group(1) + "}"
        elif end is not None and text.startswith(end):
            end = None
        if end is not None:
            numbers.add(number)
    return numbers


def own_branches(line, text):
    """The branches of a line that its source has."""
    branches = line["branches"]
    calls = {n + i for n, branch in enumerate(branches) if branch["throw"] for i in (-1, 0)}
    own = [branch for n, branch in enumerate(branches) if n not in calls]
    if ALWAYS_NO.search(text) and len(own) > 1:
        del own[-2:]
    pairs = len(own) // 2
    excess = pairs - len(CONDITION.findall(text))
    for n in reversed(range(pairs)):
        if excess > 0 and line["count"] and own[2 * n]["count"] == own[2 * n + 1]["count"] == 0:
            del own[2 * n:2 * n + 2]
            excess -= 1
    return own


def count(file):
    """Counts lines and branches of a file, and names the lines with branches that were not taken."""
    with open(file["file"], encoding="utf-8") as source:
        texts = source.read().split("\n")
    handlers = lines_of_handlers(texts)
    total = Counter()
    missed = []
    for line in file["lines"]:
        if line.get("gcovr/noncode") or line["line_number"] in handlers:
            continue
        total["lines"] += 1
        total["lines run"] += line["count"] > 0
        text = texts[line["line_number"] - 1]
        branches = own_branches(line, text)
        taken = sum(branch["count"] > 0 for branch in branches)
        total["branches"] += len(branches)
        total["branches taken"] += taken
        if taken < len(branches):
            missed.append(f"{file['file']}:{line['line_number']}: {taken} of {len(branches)}"
                          f": {text.strip()}")
    return total, missed


def share(part, whole):
    return f"{100 * part / whole:.1f} %" if whole else "-"


def print_row(name, total):
    print(f"| {name} | {total['lines']} | {share(total['lines run'], total['lines'])} "
          f"| {total['branches']} | {share(total['branches taken'], total['branches'])} |")


def main():
    with open(sys.argv[1], encoding="utf-8") as report:
        files = json.load(report)["files"]
    folders = {}
    for file in sorted(files, key=lambda file: file["file"]):
        total, missed = count(file)
        folders.setdefault(os.path.dirname(file["file"]), Counter()).update(total)
        for text in missed:
            print(text, file=sys.stderr)
    print("| folder | lines | run | branches | taken |\n|---|---|---|---|---|")
    for name, total in folders.items():
        print_row(f"`{name}`", total)
    print_row("all", sum(folders.values(), Counter()))


if __name__ == "__main__":
    main()
