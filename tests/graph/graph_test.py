"""Engines drawn by "pdata dump --dot", read back from what Graphviz makes of them.

graph_test.py PDATA PDATA_COMPILER SOURCE

What must be in a picture is worked out from the values by a few lines here: the states of a trie are
the prefixes of its words, those of a tree the places where its words part.
"""
import json
import pathlib
import shutil
import subprocess
import sys
import tempfile

PDATA, COMPILER, SOURCE = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
if shutil.which("dot") is None:
    print("skipped: Graphviz is not installed")
    sys.exit(77)


def expect(found, wanted, what):
    if found != wanted:
        sys.exit(f"{what}: found {found}, wanted {wanted}")


def compiled(folder, attribute, values, protocol="http", name="probe"):
    """A loadable pdb with a rule for each value."""
    key, extra = attribute
    rules = [{"order": "50:1", "scope": protocol,
              "rule": [{"protocol": protocol, **extra, key: value}]} for value in values]
    text = json.dumps({"protocols": [{"name": name, "id": 16777300, "rules": rules}]})
    (folder / "p.pdd").write_text(text.replace("\\u001b", "\x1b"))
    subprocess.run([COMPILER, "--pdd", "p.pdd", "--cfg-path", SOURCE / "examples/cfg", "--loadable",
                    "--pdb-out", "p.pdb"], cwd=folder, check=True, capture_output=True)
    return folder / "p.pdb"


def drawn(pdb, *options):
    """States and edges, as Graphviz reads them: labels by name, and (from, to, label, style)."""
    dot = subprocess.run([PDATA, "dump", "--dot", *options, pdb], check=True,
                         capture_output=True).stdout
    picture = json.loads(subprocess.run(["dot", "-Tjson0"], input=dot, check=True,
                                        capture_output=True).stdout)
    labels = [node["label"] for node in picture.get("objects", [])]
    edges = sorted((labels[edge["tail"]].split("\\n")[0], labels[edge["head"]].split("\\n")[0],
                    edge["label"], edge.get("style", "")) for edge in picture.get("edges", []))
    return labels, edges


def accepting(labels):
    """The text of each state that has rules, with the rules."""
    return {label.split("\\n")[0]: label.split("\\n")[1:] for label in labels if "rule" in label}


def suffix_tree(folder):
    pdb = compiled(folder, ("cts-server", {}), [".*abcdefgh", ".*xbcdefgh"])
    labels, edges = drawn(pdb, "http:server")
    expect(sorted(accepting(labels)), ["*abcdefgh", "*xbcdefgh"], "words of a suffix tree")
    for begin, end, label, _ in edges:
        expect(end, "*" + label + begin.replace("end of the data", "").lstrip("*"), "an edge")
    expect("*bcdefgh" in {end for _, end, _, _ in edges}, True, "the place where the words part")
    expect(len(edges), len(labels) - 1, "edges of a tree")


def prefix_tree(folder):
    pdb = compiled(folder, ("cts-uri", {}), ["/a.*", "/b.*"])
    labels, edges = drawn(pdb, "http:uri", "--engine", "prefix-tree")
    expect(edges, [("/", "/a", "a", ""), ("/", "/b", "b", ""), ("start", "/", "/", "")],
           "edges of a prefix tree")
    expect(accepting(labels), {"/a": ["rule 1: /probe"], "/b": ["rule 2: /probe"]},
           "words of a prefix tree")


def automaton(folder):
    words = ["hers", "she"]
    pdb = compiled(folder, ("cts-uri", {}), [f".*{word}.*" for word in words])
    labels, edges = drawn(pdb, "http:uri")
    prefixes = {word[:size] for word in words for size in range(1, len(word) + 1)}
    states = {label.split("\\n")[0] for label in labels}
    expect(states, prefixes | {"start"}, "states of an automaton")
    steps = {(begin, end) for begin, end, _, style in edges if style == ""}
    expect(steps, {(word[:-1] or "start", word) for word in prefixes}, "steps of an automaton")
    # Behind "she" the data may go on as behind "he", and behind "hers" as behind "s".
    fallbacks = {(begin, end, label) for begin, end, label, style in edges if style == "dotted"}
    expect(fallbacks, {("she", "her", "r"), ("hers", "sh", "h")}, "fallbacks of an automaton")


def neighbourhood(folder):
    words = [f"w{i:03d}" for i in range(300)]
    pdb = compiled(folder, ("cts-uri", {}), [f".*{word}.*" for word in words])
    labels, _ = drawn(pdb, "http:uri")
    expect(len(labels), 150, "states of a large automaton")
    labels, _ = drawn(pdb, "http:uri", "--around", "w12")
    states = {label.split("\\n")[0] for label in labels}
    expect(states, {"start", "w", "w1", "w12"} | {f"w12{i}" for i in range(10)}, "states around")


def hostile(folder):
    """Names and values that would be DOT, HTML or an escape sequence are texts."""
    pdb = compiled(folder, ("cts-uri", {}), ['.*a";b<script>&amp;.*'], name='x"];<b>&lt;\x1b[31m')
    labels, _ = drawn(pdb, "http:uri")
    last = max(labels, key=len).replace('\\"', '"')
    for piece in ('a";b<script>&amp;amp;', 'x"];<b>&amp;lt;\\\\x1b[31m'):
        expect(piece in last, True, f"{piece!r} in {last!r}")


def refusals(folder):
    pdb = compiled(folder, ("cts-server", {}), [".*abc"])
    for options, status in ((["http:uri"], 1), (["http:server", "--around", "zzz"], 1),
                            (["http:server", "--engine", "dot-prefix"], 1)):
        done = subprocess.run([PDATA, "dump", "--dot", *options, pdb], capture_output=True)
        expect((done.returncode, done.stdout), (status, b""), f"refusal of {options}")


for check in (suffix_tree, prefix_tree, automaton, neighbourhood, hostile, refusals):
    with tempfile.TemporaryDirectory() as place:
        check(pathlib.Path(place))
    print(f"{check.__name__}: as it should be")
