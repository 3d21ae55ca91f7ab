"""How full limits are, counted from the texts of descriptions, and what each loses in silence.

limits_test.py PDATA PDATA_COMPILER SOURCE

Every description is written here, compiled, and listed. What must stand in the list is counted
from its values by a few lines: the states of a trie are the prefixes of its words, an item record
is a count and its items.
"""
import json
import pathlib
import re
import subprocess
import sys
import tempfile

PDATA, COMPILER, SOURCE = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
HOLDER = tempfile.TemporaryDirectory()
FOLDER = pathlib.Path(HOLDER.name)


def expect(found, wanted, what):
    if found != wanted:
        sys.exit(f"{what}: found {found}, wanted {wanted}")


def compiled(protocols, loadable=True, name="p"):
    text = json.dumps({"protocols": protocols}, ensure_ascii=False)
    (FOLDER / "p.pdd").write_text(text)
    pdb = FOLDER / f"{name}.pdb"
    subprocess.run([COMPILER, "--pdd", "p.pdd", "--cfg-path", SOURCE / "examples/cfg",
                    "--loadable" if loadable else "--description", "--pdb-out", pdb],
                   cwd=FOLDER, check=True, capture_output=True)
    return pdb


def rule(protocol, key, value, **more):
    extra = {"mindata": 65536} if key.endswith("stream") else {}
    return {"order": "50:1", **more, "rule": [{"protocol": protocol, **extra, key: value}]}


def protocol(rules, name="probe", number=16777300):
    return {"name": name, "id": number, "rules": rules}


def protocols(rules):
    """As many protocols as the rules need."""
    return [protocol(rules[at:at + 1199], f"probe{at}", 16777300 + at)
            for at in range(0, len(rules), 1199)]


def limits(pdb):
    """(used, limit) by subject and name, the status, and what was passed."""
    done = subprocess.run([PDATA, "list", "--limits", "--json", pdb], capture_output=True)
    rows = json.loads(done.stdout)["limits"]
    shares = [row["used"] / row["limit"] if row["limit"] else float("inf") for row in rows]
    expect(shares, sorted(shares, reverse=True), "the order")
    by_name = {(row["subject"], row["name"]): (row["used"], row["limit"]) for row in rows}
    expect(len(by_name), len(rows), "rows of their own names")
    passed = {(row["subject"], row["name"]) for row in rows if row["passed"]}
    expect(passed, {key for key, (used, limit) in by_name.items() if used > limit}, "passed ones")
    expect(done.returncode, 1 if passed else 0, "the status")
    return by_name, passed


def word(number):
    """A word of three letters for each number below 17576."""
    return "".join(chr(ord("a") + number // 26 ** i % 26) for i in range(3))


def prefixes(words):
    return {text[:i] for text in words for i in range(len(text) + 1)}


def longest_run(words):
    """Bytes of the longest run in a trie without a branch or an end, behind the first byte."""
    states = prefixes(words)
    ends = set(words)
    children = {state: sum(state + chr(c) in states for c in range(128)) for state in states}
    longest = 0
    for state in states:
        run, at = 0, state
        while at and children[at] == 1 and at not in ends:
            run += 1
            at = next(longer for c in range(128) if (longer := at + chr(c)) in states)
        longest = max(longest, run if len(state) > 1 else 0)
    return longest if longest > 1 else 0


# One part of the format each: values that fill it, and what they must fill it with.

def automaton():
    words = [word(i * 7) + "q" * (i % 5) for i in range(300)] + [word(i * 7)[1:] for i in range(9)]
    found, passed = limits(compiled(protocols([rule("http", "cts-server", f".*{text}.*")
                                               for text in words])))
    here = "http:server cts"
    expect(passed, set(), "what an automaton passes")
    expect(found[here, "states of the automaton"], (len(prefixes(words)), 32768), "states")
    expect(found[here, "bytes of the alphabet of the automaton"], (len(set("".join(words))), 254),
           "bytes")
    expect((here, "private ids, entries of the second level") in found, False, "private ids")
    expect(found["rules", "item ids"], (len(words) + 1, 536870912), "item ids")
    expect(found[here, "item words of the automaton"], (item_words(words[::-1]), 32768),
           "item words")


def item_words(words, of_item=1):
    """Words up to the first one of the last record, in the order in which states are made: a count
    and the items of all texts that end there, of as many words each. A state of one item of one
    word has it inline."""
    states = dict.fromkeys(text[:i] for text in words for i in range(len(text) + 1))
    items = [sum(state.endswith(text) for text in words) for state in states]
    counts = [number for number in items if number > (1 if of_item == 1 else 0)]
    return sum(1 + number * of_item for number in counts) - counts[-1] * of_item


def edge_words(words):
    """Words of the runs of a tree, behind one that is not used: each has its length and two other
    bytes in front of its own."""
    states = prefixes(words)
    children = {}
    for state in states - {""}:
        children.setdefault(state[:-1], []).append(state)
    total, within = 1, set()
    for state in sorted(states - {""}, key=len):
        for at in children.get(state, []) if state not in within else []:
            run = []
            while len(children.get(at, [])) == 1 and at not in words:
                run.append(at)
                at = children[at][0]
            if len(run) > 1:
                within.update(run)
                total += (len(run) + 2) // 4 + 1
    return total


def trees():
    words = [word(i * 11) + "x" * (i % 7) + word(i) for i in range(200)]
    found, passed = limits(compiled(protocols([rule("http", "cts-uri", f"{text}.*")
                                               for text in words])))
    here = "http:uri cts"
    expect(passed, set(), "what a tree passes")
    expect(found[here, "private ids, entries of the second level"], (len(words), 32768),
           "private ids")
    expect(found[here, "longest compressed edge of the prefix tree"], (longest_run(words), 255),
           "the longest run")
    expect(found[here, "item words of the prefix tree"], (2 * len(set(words)) - 1, 65535),
           "words up to the last record of one item")


def mapper():
    ports = list(range(1000, 1600, 2))
    found, passed = limits(compiled([protocol([rule("tcp", "port", str(port)) for port in ports])]))
    expect(passed, set(), "what a mapper passes")
    # A word of zeros, then a count and an item for each port; none behind a port that ends alone.
    expect(found["tcp:port cts", "item words of the mapper"], (2 * len(ports), 65536), "mapper")


def records(data, at, end):
    """(type, start, end) of the records between two places."""
    while at < end:
        head = int.from_bytes(data[at:at + 4], "big")
        yield head >> 24, at + 4, at + 4 + (head & 0xFFFFFF) * 4
        at += 4 + (head & 0xFFFFFF) * 4


def entries(data, at, end):
    number = 0
    while at + 2 < end and (length := int.from_bytes(data[at:at + 2], "big")):
        at += 2 + length + length % 2
        number += 1
    return number


def pools():
    values = [word(i) for i in range(500)]
    for loadable in (False, True):
        pdb = compiled(protocols([rule("http", "cts-server", value) for value in values]), loadable)
        found, passed = limits(pdb)
        data = pdb.read_bytes()
        expect(passed, set(), "what pools pass")
        for kind, begin, end in records(data, 0, len(data)):
            if kind == 3:
                expect(found["main strings", "words of the string pool"],
                       ((end - begin) // 4, 16777215), "words of the main strings")
                expect(found["main strings", "entries of the string pool"],
                       (entries(data, begin, end), 16777215), "entries of the main strings")
            if kind == 1:
                group = next(records(data, begin, end))
                pool = [one for one in records(data, *group[1:]) if one[0] == 2][0]
                key = "protocol group 1, strings"
                expect(found[key, "words of the string pool"],
                       ((pool[2] - pool[1]) // 4, 16777215), "words of a group's strings")
                expect(found[key, "entries of the string pool"],
                       (entries(data, *pool[1:]), 16777215), "entries of a group's strings")
                # A loadable pdb has the words once more: as the values of a matcher, if unproved.
                texts = len(set(values)) + len({"probe0", "http", "server"})
                expect(entries(data, *pool[1:]) >= texts, True, "entries counted from the text")
                expect(found["protocol descriptions", "words of the record"][0],
                       (end - begin) // 4, "words of a record")


def protocol_limits():
    few = [rule("http", "cts-server", word(i)) for i in range(7)]
    pairs = [{"order": "50:1", "rule": [{"protocol": "http", "cts-server": word(i)},
                                        {"protocol": "http", "cts-uri": word(i)}]}
             for i in range(1199)]
    for loadable in (False, True):
        found, passed = limits(compiled([protocol(few, "few"),
                                         protocol(pairs, "many", 16777301)], loadable))
        expect(passed, set(), "what a protocol passes")
        expect(found["few", "rules of the protocol"], (7, 1199), "rules")
        expect(found["few", "slots of sub-rules of the protocol"], (7, 2400), "slots")
        expect(found["many", "rules of the protocol"], (1199, 1199), "as many rules as may be")
        expect(found["many", "slots of sub-rules of the protocol"], (2398, 2400), "slots")


def merged_rules():
    """Only a merge brings a protocol more rules than a text may have; nothing is lost then."""
    for name, first in (("one", 0), ("two", 5000)):
        compiled([protocol([rule("http", "cts-server", word(first + i)) for i in range(1100)])],
                 False, name)
    subprocess.run([COMPILER, "--pdb-in", "one.pdb;two.pdb", "--cfg-path", SOURCE / "examples/cfg",
                    "--merge", "--description", "--pdb-out", "both.pdb"],
                   cwd=FOLDER, check=True, capture_output=True)
    found, passed = limits(FOLDER / "both.pdb")
    expect(passed, set(), "what a merge passes")
    expect(found["probe", "rules of the protocol"], (2200, 2400), "rules of a merge")


# What is passed in silence: each has its row, and no other one is passed.

def passes(rules, subject, name, used, loadable=True):
    found, passed = limits(compiled(protocols(rules), loadable))
    expect(passed, {(subject, name)}, "what is passed")
    expect(found[subject, name][0], used, name)


def silent_states():
    words = [word(i) + "x" * 8 + word(i * 3) for i in range(4000)]
    passes([rule("http", "cts-server", f".*{text}.*") for text in words], "http:server cts",
           "states of the automaton", len(prefixes(words)))


def silent_item_records():
    words = ["a" * length for length in range(1, 262)]
    passes([rule("http", "cts-server", f".*{text}.*") for text in words], "http:server cts",
           "item words of the automaton", item_words(words[::-1]))


def unsafe_item_records_with_offsets():
    """Here an index that wrapped leads into a record, and an offset reads as an id: nobody reads it."""
    words = ["a" * length for length in range(1, 262)]
    expect(item_words(words[::-1], 2) > 65535, True, "item words")
    pdb = compiled(protocols([rule("tcp", "cts-stream", f".*{text}.*") for text in words]))
    done = subprocess.run([PDATA, "list", "--limits", pdb], capture_output=True)
    expect((done.returncode, done.stdout), (3, b""), "the end of an unsafe file")
    passed = r"tcp:stream cts: (\d+) items, of which 65535 can be told apart"
    shown = re.search("lost part: matchers: " + passed, done.stderr.decode())
    expect(int(shown[1]) > item_words(words[::-1], 2), True, "the limit that made it unsafe")
    done = subprocess.run([PDATA, "verify", pdb], capture_output=True, text=True)
    expect(re.search("unsound: lost part: matchers: " + passed, done.stdout)[1], shown[1],
           "the limit among the faults")
    few, passed = limits(compiled(protocols([rule("tcp", "cts-stream", f".*{text}.*")
                                             for text in words[:250]])))
    expect(passed, set(), "what the texts below the limit pass")
    expect(few["tcp:stream cts", "item words of the automaton with offsets"],
           (item_words(words[249::-1], 2), 65535), "item words")


def silent_edges():
    """Rows and runs are numbered together, so that the rows pass their limit as well."""
    words = {word(i) + "-" + "x" * 239 + word(i) for i in range(1150)}
    found, passed = limits(compiled([protocol([rule("http", "cts-uri", f"{text}.*")
                                               for text in sorted(words)])]))
    edges = ("http:uri cts", "words of compressed edges of the prefix tree")
    expect(passed, {edges, ("http:uri cts", "rows of the prefix tree")}, "what runs pass")
    expect(found[edges], (edge_words(words), 65536), "words of runs")


def silent_rows():
    """As many values as there are private ids, each with a state of its own in front of its end."""
    letters = "abcdefghijklmnopqrstuvwxyz012345"
    words = [a + b + c + "-" for a in letters for b in letters for c in letters]
    passes([rule("http", "cts-uri", f"{text}.*") for text in words], "http:uri cts",
           "rows of the prefix tree", 1 + 32 + 32 ** 2 + 2 * 32 ** 3)


def silent_inline():
    """Two pieces each: private id 16383 is the second piece of one of them."""
    rules = [rule("http", "cts-server", f"A{word(i)}.*B{word(i)}.*") for i in range(8800)]
    passes(rules, "http:server cts", "states of private id 16383 written inline", 1)
    few, passed = limits(compiled(protocols(rules[:8191])))
    expect(passed, set(), "16382 private ids")
    expect(few["http:server cts", "private ids, entries of the second level"], (16382, 32768),
           "private ids")


def silent_bytes():
    text = "".join(f"\\x{byte:02x}" for byte in range(1, 256))
    passes([rule("tcp", "cts-stream", f".*Z{text[i:i + 40]}.*") for i in range(0, 1020, 40)],
           "tcp:stream cts", "bytes of the alphabet of the automaton with offsets", 255)


def silent_chain():
    passes([rule("http", "cts-server", "^" + "q" * 300)], "http:server cts",
           "longest compressed edge of the suffix tree", longest_run(["q" * 300 + "^"]))


def silent_item_words():
    passes([rule("tcp", "cts-port", str(port)) for port in range(33000)], "tcp:port cts",
           "item words of the mapper", 2 * 33000)


def silent_preempts():
    rules = [rule("tcp", "cts-stream", ".*abz.*", preempt=True),
             rule("tcp", "cts-stream", ".*xabq.*")]
    for loadable in (False, True):
        passes(rules, "tcp:stream cts", "preempts that lost an overlap", 1, loadable)
        passes(rules[:1] + [rule("tcp", "cts-stream", ".*bz.*")], "tcp:stream cts",
               "texts that lost an overlap with a preempt", 1, loadable)


def too_many_states_beside_preempts():
    """What is lost is not judged then, which is said in a pdb of descriptions too."""
    words = [word(i) + "x" * 8 + word(i * 3) for i in range(3500)]
    rules = [rule("tcp", "cts-stream", ".*abz.*", preempt=True),
             rule("tcp", "cts-stream", ".*xabq.*")]
    rules += [rule("tcp", "cts-stream", f".*{text}.*") for text in words]
    states = len(prefixes(words + ["abz", "xabq"]))
    here = "tcp:stream cts"
    beside = (here, "states of texts beside preempts")
    found, passed = limits(compiled(protocols(rules), False))
    expect((found[beside], passed), ((states, 32768), {beside}), "passed by descriptions")
    found, passed = limits(compiled(protocols(rules)))
    automaton = (here, "states of the automaton with offsets")
    expect((found[beside], found[automaton]), ((states, 32768),) * 2, "states that pass the limit")
    expect(passed, {beside, automaton}, "passed by a loadable pdb")
    found, passed = limits(compiled(protocols(rules[:1000]), False))
    expect(passed, {(here, "texts that lost an overlap with a preempt")},
           "words with z, which begin in abz, where fewer texts are judged")


def silent_ranges():
    lists = ["80-90,85-99", "80-90", "1-9,20-30,25", "100-200,150-160"]
    for loadable in (False, True):
        found, passed = limits(compiled([protocol([rule("tcp", "cts-port", text)
                                                   for text in lists])], loadable))
        name = "lists with overlapping ranges that lost a tail"
        expect(passed, {("tcp:port cts", name)}, "what ranges pass")
        expect(found["tcp:port cts", name], (2, 0), "lists that lost a tail")


CHECKS = (automaton, trees, mapper, pools, protocol_limits, merged_rules, silent_states,
          silent_item_records, unsafe_item_records_with_offsets, silent_edges, silent_rows,
          silent_inline, silent_bytes, silent_chain, silent_item_words, silent_preempts,
          too_many_states_beside_preempts, silent_ranges)
for check in CHECKS:
    print(check.__name__)
    check()
