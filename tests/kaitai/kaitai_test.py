"""Holds docs/pdb.ksy against "pdata dump --json" and against the tables of the format.

kaitai_test.py SOURCE PDATA PDATA_COMPILER
"""
import json
import lzma
import pathlib
import re
import subprocess
import sys
import tempfile

import kaitai

try:
    import yaml
except ImportError:
    print("skipped: python3-yaml is not installed")
    sys.exit(77)

SOURCE, PDATA, COMPILER = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
DESCRIPTION = yaml.safe_load((SOURCE / "docs/pdb.ksy").read_text())


def fail(message):
    sys.exit(message)


def dumped(path):
    """Ranges of the dump: (byte, size, bytes, value as a number or None), and records."""
    ranges, records = [], []
    done = subprocess.run([PDATA, "dump", "--json", path], capture_output=True, text=True)
    for line in done.stdout.splitlines():
        row = json.loads(line)
        if "summary" in row:
            continue
        value = str(row.get("value"))
        number = int(value, 0) if re.fullmatch(r"\d+|0x[0-9a-f]+", value) else None
        if row.get("header"):
            records.append((row["offset"], row["record"].lower()))
            number = None
        ranges.append((row["offset"], row["size"], number))
    return ranges, records


def compare(name, path):
    data = path.read_bytes()
    reader = kaitai.Reader(DESCRIPTION, data)
    at = 0
    for begin, bits, _ in reader.leaves:
        if begin != at:
            fail(f"{name}: bit {at} belongs to nothing, bit {begin} comes next")
        at += bits
    if at != len(data) * 8:
        fail(f"{name}: the description ends at bit {at}")
    ranges, records = dumped(path)
    if records != reader.records:
        wrong = next(pair for pair in zip(records, reader.records) if pair[0] != pair[1])
        fail(f"{name}: the dump has record {wrong[0]}, the description {wrong[1]}")
    starts = {begin: (bits, value) for begin, bits, value in reader.leaves}
    compared = 0
    for offset, size, number in ranges:
        if offset * 8 not in starts:
            fail(f"{name}: byte {offset} begins a range of the dump, and no field")
        bits, value = starts[offset * 8]
        if number is None or bits != size * 8 or not isinstance(value, int):
            continue
        compared += 1
        if number != value:
            fail(f"{name}: byte {offset}: the dump says {number}, the description {value}")
    print(f"{name}: {len(records)} records, {len(ranges)} ranges, {compared} numbers")


def check_tables():
    """Every record kind of the tables is in the description with its type, and no other."""
    tables = {}
    for path in (SOURCE / "pdata/src/format").glob("*records.def"):
        for kind, number in re.findall(
                r"^FORMAT_RECORD\(\s*\w+,\s*(\w+),\s*\w+,\s*(\d+),", path.read_text(), re.M):
            tables[kind.lower()] = int(number)
    described = {name: number for enum, rows in DESCRIPTION["enums"].items()
                 if enum.endswith("_kind") for number, name in rows.items()}
    if tables != described:
        fail(f"tables and description differ: {set(tables.items()) ^ set(described.items())}")
    print(f"{len(tables)} kinds of record")


def check_goldens(folder):
    for path in sorted((SOURCE / "tests/golden").rglob("*.pdb*")):
        plain = path
        if path.suffix == ".xz":
            plain = folder / path.stem
            plain.write_bytes(lzma.decompress(path.read_bytes()))
        compare(path.relative_to(SOURCE), plain)


def check_examples(folder):
    for name, form in (("user", "--description"), ("user", "--loadable")):
        made = folder / f"{name}{form}.pdb"
        subprocess.run([COMPILER, "--pdd", SOURCE / f"examples/{name}.pdd", "--cfg-path",
                        SOURCE / "examples/cfg", form, "--pdb-out", made],
                       cwd=folder, check=True, capture_output=True)
        compare(made.name, made)


def check_damage(folder):
    """What a reader would pass over is refused: a cut, a byte too many, a length too long."""
    data = (SOURCE / "tests/golden/description/golden/example.pdb").read_bytes()
    for damaged in (data[:-4], data + b"\0", data[:2] + b"\xff" + data[3:]):
        try:
            kaitai.Reader(DESCRIPTION, damaged)
        except kaitai.Fault:
            continue
        fail("a damaged file was read to its end")


with tempfile.TemporaryDirectory() as place:
    check_tables()
    check_goldens(pathlib.Path(place))
    check_examples(pathlib.Path(place))
    check_damage(pathlib.Path(place))
