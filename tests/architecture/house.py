"""Draws the house from the targets of the build, as the picture in docs/architecture.md.

house.py --check|--update CMAKE SOURCE: configures the project in a folder of its own, reads which
target of which folder links which others, and draws the folders with the arrows that are not implied
by other arrows. --check fails when the page has another picture.
"""
import json
import pathlib
import subprocess
import sys
import tempfile

MODE, CMAKE, SOURCE = sys.argv[1], sys.argv[2], pathlib.Path(sys.argv[3]).resolve()
PAGE = SOURCE / "docs/architecture.md"
BEGIN, END = "<!-- house -->\n", "<!-- end -->\n"

# Folders whose subfolders are one floor; every other folder with targets stands for itself.
FLOORS = ("modules/src", "pragmar/src", "pdata/src/common", "pdata/src/builder")
APART = {"pdata/src/common/plu": "pdata/src/builder"}


def floor_of(folder):
    for inner, floor in APART.items():
        if folder == inner:
            return floor
    for floor in FLOORS:
        if folder == floor or folder.startswith(floor + "/"):
            return floor
    return folder


def targets(build):
    query = build / ".cmake/api/v1/query/codemodel-v2"
    query.parent.mkdir(parents=True)
    query.touch()
    subprocess.run([CMAKE, "-S", SOURCE, "-B", build, "-DPDATA_TESTS=OFF"], check=True,
                   capture_output=True)
    reply = build / ".cmake/api/v1/reply"
    index = json.loads(next(reply.glob("codemodel-v2-*.json")).read_text())
    rows = {}
    for entry in index["configurations"][0]["targets"]:
        row = json.loads((reply / entry["jsonFile"]).read_text())
        if row["type"] != "UTILITY":
            rows[row["id"]] = row
    return rows


def source_folder(row):
    """The folder of a target's own files: a module may be declared above it."""
    for source in row.get("sources", []):
        path = pathlib.PurePath(source["path"])
        if not path.is_absolute() and path.parts[0] != "build":
            return str(path.parent)
    return row["paths"]["source"]


def arrows(build):
    rows = targets(build)
    floors = {name: floor_of(source_folder(row)) for name, row in rows.items()}
    pairs = set()
    for name, row in rows.items():
        for dependency in row.get("dependencies", []):
            if dependency["id"] in rows and floors[name] != floors[dependency["id"]]:
                pairs.add((floors[name], floors[dependency["id"]]))
    return set(floors.values()), pairs


def reached(start, pairs, without):
    seen, waiting = set(), [start]
    while waiting:
        here = waiting.pop()
        for begin, end in pairs:
            if begin == here and (begin, end) != without and end not in seen:
                seen.add(end)
                waiting.append(end)
    return seen


def reduced(pairs):
    for begin, _ in pairs:
        if begin in reached(begin, pairs, None):
            sys.exit(f"{begin} depends on itself")
    return sorted(pair for pair in pairs if pair[1] not in reached(pair[0], pairs, pair))


def picture(build):
    floors, pairs = arrows(build)
    names = {floor: f"n{i}" for i, floor in enumerate(sorted(floors))}
    lines = ["```mermaid", "flowchart TD"]
    lines += [f'    {names[floor]}["{floor}"]' for floor in sorted(floors)]
    lines += [f"    {names[begin]} --> {names[end]}" for begin, end in reduced(pairs)]
    return "\n".join(lines + ["```", ""])


with tempfile.TemporaryDirectory() as place:
    made = picture(pathlib.Path(place).resolve())
before, rest = PAGE.read_text().split(BEGIN)
shown, after = rest.split(END, 1)
if MODE == "--update":
    PAGE.write_text(before + BEGIN + made + END + after)
elif shown != made:
    sys.exit("the picture of the house is not that of the targets; scripts/update_architecture "
             "draws it anew\n" + made)
