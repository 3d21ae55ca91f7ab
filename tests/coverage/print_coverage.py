#!/usr/bin/env python3
"""Sums a report of gcovr by folder.

    print_coverage.py REPORT.json

Prints a table of the folders; on standard error, every line of which a branch was never taken.
"""
import json
import os
import sys
from collections import Counter


def count(file):
    """Counts lines and branches of a file. Yields the lines with branches that were not taken."""
    total = Counter()
    missed = []
    for line in file["lines"]:
        if line.get("gcovr/noncode"):
            continue
        total["lines"] += 1
        total["lines run"] += line["count"] > 0
        branches = [branch for branch in line["branches"] if not branch["throw"]]
        taken = sum(branch["count"] > 0 for branch in branches)
        total["branches"] += len(branches)
        total["branches taken"] += taken
        if taken < len(branches):
            missed.append(f"{file['file']}:{line['line_number']}: {taken} of {len(branches)}")
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
