"""Random command lines: combinations that go together and that do not."""

from vocabulary import DUMPS, EXPORTS

LONG = "n" * 300
INPUTS = ("in/a.pdd", "in/missing", "", LONG, "in/cfg", "in/" + "./" * 150 + "a.pdd")
PDBS = ("out1.pdb", "out1.pdb;out1.pdb", "out1.pdb;;out1.pdb;", ";", "", "missing.pdb", "in/a.pdd", LONG,
        "out1.pdb;missing.pdb", "out1.pdb;out1.pdb;out1.pdb", "./" * 260 + "out1.pdb")
OUTPUTS = ("out9.pdb", "out9.pdb", "out9.pdb", "", "no/where.pdb", "/dev/null", ".", LONG, "out1.pdb",
           LONG[:255])
FOLDERS = ("in/cfg", "in/cfg", "in/cfg", "in/cfg/", "in", "", LONG, "in/" + "./" * 120 + "cfg")
NUMBERS = ("0", "1", "16777217", "abc", "-1", "99999999999", "", " 5", "0x10")

ARGUMENTS = {
    "pdd": INPUTS, "loadable": None, "description": None, "pdb-in": PDBS, "pdb-out": OUTPUTS,
    "cfg-name": ("x", "", LONG), "cfg-path": FOLDERS, "ignore-sem": None, "merge": None,
    "delete": NUMBERS, "sig-export": (*EXPORTS, "none", "", LONG),
    "dump": (*DUMPS, "LIMIT", "", LONG, "%s"), "dump-list": None, "pdd-namespace": NUMBERS, "help": None,
}
RARE = {"dump-list", "help"}


def written(r, name):
    """Returns an option as the words of a command line."""
    choices = ARGUMENTS[name]
    shown = name if r.random() < 0.93 else name[:r.randrange(1, len(name))]
    if choices is None:
        return [f"--{shown}"] if r.random() < 0.98 else [f"--{shown}=x"]
    value = r.choice(choices)
    return [f"--{shown}={value}"] if r.random() < 0.2 else [f"--{shown}", value]


def likely_names(r):
    """Returns options of which most make a whole command."""
    names = r.choice((["pdd", "cfg-path"], ["pdb-in"])) + ["pdb-out", r.choice(("loadable", "description"))]
    if names[0] == "pdb-in" and r.random() < 0.6:
        names.append(r.choice(("merge", "delete")))
    others = [name for name in ARGUMENTS if name not in RARE]
    for _ in range(r.choice((0, 0, 1, 1, 2, 3))):
        names.append(r.choice(others if r.random() < 0.95 else sorted(RARE)))
    if r.random() < 0.2:
        names.remove(r.choice(names))
    r.shuffle(names)
    return names


def random_arguments(r):
    words = [word for name in likely_names(r) for word in written(r, name)]
    if r.random() < 0.1:
        words.insert(r.randrange(len(words) + 1), r.choice(("word", "-x", "--", "--nothing", "-", "")))
    if r.random() < 0.05 and words:
        words.pop()
    return words
