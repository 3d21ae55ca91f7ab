#!/usr/bin/env python3
"""Says whether two loadable pdbs differ by exactly the configuration record.

    configuration_record.py FROM_DESCRIPTION FROM_PDB

FROM_DESCRIPTION has one, behind the load state; FROM_PDB has none. Files may be compressed, with
".xz" behind their names. The exit code is 0 when that is the only difference.
"""

import lzma
import sys

LOAD, CONFIGURATION = 12, 11


def content_of(path):
    with (lzma.open if path.endswith(".xz") else open)(path, "rb") as file:
        return file.read()


def records(content):
    """Yields the root records, headers included."""
    at = 0
    while at < len(content):
        size = 4 + 4 * int.from_bytes(content[at + 1:at + 4], "big")
        yield content[at:at + size]
        at += size


def main():
    one, other = (list(records(content_of(path))) for path in sys.argv[1:])
    types = [record[0] for record in one]
    if types.count(CONFIGURATION) != 1 or types[:2] != [LOAD, CONFIGURATION]:
        print(f"records of the first: {types}")
        return 1
    rest = one[:1] + one[2:]
    if rest != other:
        differing = [i for i, pair in enumerate(zip(rest, other)) if pair[0] != pair[1]]
        print(f"records of the second: {[record[0] for record in other]}; at fault: {differing}")
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main())
