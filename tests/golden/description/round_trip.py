#!/usr/bin/env python3
"""Says whether a pdb gives back everything that its description says, and nothing else.

    round_trip.py PDD CFG PROTOCOL_IDS PDB

PDD and CFG are what the pdb was made from, PROTOCOL_IDS the list of built-in protocols. The exit
code is 0 when they say the same; each difference is one line: where it is, what the pdb says, what
the description says.
"""

import sys

from pdb_reader import BadPdb, read_pdb
from pdd_model import model_of


def differences(read, said, place=""):
    """Yields the places where two models differ."""
    if isinstance(said, dict) and isinstance(read, dict) and read.keys() == said.keys():
        for key in said:
            yield from differences(read[key], said[key], f"{place}.{key}")
    elif isinstance(said, list) and isinstance(read, list) and len(read) == len(said):
        for i, (one, other) in enumerate(zip(read, said)):
            yield from differences(one, other, f"{place}[{i}]")
    elif read != said:
        yield f"{place.lstrip('.')}: {read!r} in the pdb, {said!r} in the description"


def main():
    pdd, cfg, ids, pdb_path = sys.argv[1:]
    with open(pdb_path, "rb") as file:
        content = file.read()
    try:
        read = read_pdb(content)
    except BadPdb as error:
        print(f"{pdb_path}: {error}")
        return 1
    found = list(differences(read, model_of(pdd, cfg, ids)))
    print("\n".join(found[:50]))
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
