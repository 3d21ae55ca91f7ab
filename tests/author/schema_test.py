#!/usr/bin/env python3
"""What the compiler accepts validates, and what validates is accepted, or refused for a reason that
the schema lists.

    schema_test.py BIN [ROUNDS]

writes every schema with "pdata schema" and compares it with the shipped file; then random documents,
most of them with a few faults, go through python3-jsonschema and through "pdata_compiler". A rule
file with counts that keys share is tried too. How many documents were refused for each reason is
printed; each reason that a schema lists must be met (unless ROUNDS is less than usual), and no
other one.
"""

import collections
import json
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
CFG = os.path.join(ROOT, "examples", "cfg")
sys.path.insert(0, os.path.join(ROOT, "tests", "differential"))

import descriptions  # noqa: E402

try:
    import jsonschema
except ImportError:
    jsonschema = None

ROUNDS = 100
NO_PROTOCOL = '{"protocols": [{"name": "none", "id": 16777300}]}\n'
SCALARS = ("", "x", "protocol", "80", 0, 1, 7, 1.5, -1, 1e30, True, False, None)
WORDS = ("name", "rule", "order", "rules", "protocol", "scope", "tags", "offset", "values", "ips",
         "comment", "prefix", "alias", "way", "stream_offset", "nonsense")


def containers(tree):
    """Yields every object and array of a document."""
    if isinstance(tree, (dict, list)):
        yield tree
        for item in tree.values() if isinstance(tree, dict) else tree:
            yield from containers(item)


def any_value(r, depth=0):
    kind = r.randrange(8)
    if kind == 0 and depth < 3:
        return [any_value(r, depth + 1) for _ in range(r.randrange(3))]
    if kind == 1 and depth < 3:
        return {r.choice(WORDS): any_value(r, depth + 1) for _ in range(r.randrange(3))}
    return r.choice(SCALARS)


def rename(container, old, new):
    items = [(new if key == old else key, value) for key, value in container.items()]
    container.clear()
    container.update(items)


def shuffle(r, container):
    items = list(container.items()) if isinstance(container, dict) else list(container)
    r.shuffle(items)
    container.clear()
    (container.update if isinstance(container, dict) else container.extend)(items)


def mutate(r, tree):
    """Makes one fault, or none."""
    places = list(containers(tree))
    if not places:
        return any_value(r)
    place = r.choice(places)
    keys = list(place) if isinstance(place, dict) else list(range(len(place)))
    what = r.randrange(8)
    if what == 0 or not keys:
        if isinstance(place, dict):
            place[r.choice(WORDS)] = any_value(r)
        else:
            place.insert(r.randrange(len(place) + 1), any_value(r))
    elif what == 1:
        del place[r.choice(keys)]
    elif what == 2:
        place[r.choice(keys)] = any_value(r)
    elif what == 3:
        key = r.choice(keys)
        place[key] = [place[key]]
    elif what == 4:
        shuffle(r, place)
    elif what == 5 and isinstance(place, dict):
        rename(place, r.choice(keys), r.choice(WORDS))
    elif what == 6:
        key = r.choice(keys)
        if isinstance(place[key], list) and len(place[key]) == 1:
            place[key] = place[key][0]
    elif r.random() < 0.2:
        place.clear()
    return tree


def make_pdd(r):
    protocols = descriptions.make_protocols(r, ("chat", "video"))
    return json.loads(descriptions.description_text(protocols[:2]))


def make_tags(r):
    return {"tag_table": {f"tag{i}": r.randrange(1000) for i in range(r.choice((0, 1, 5, 127)))}}


def make_aliases(r):
    def side():
        return {"protocol": r.choice(("http", "spdy", "ssl", "dns")),
                "attr": r.choice(("server", "common_name", "query")),
                "way": r.choice(("cts", "stc", "both"))}
    return {"aliases": [{"alias": side(), "reference": side()} for _ in range(r.randrange(3))]}


def make_psa(r):
    return {kind: [{f"{kind}_{i}": r.choice(("GET ", " x", "\u00e9", "a" * 9))}
                   for i in range(r.randrange(4))]
            for kind in r.sample(("prefix", "suffix", "regular", "other"), r.randrange(4))}


def make_ipbt(r):
    def block():
        address = ".".join(str(r.choice((0, 1, 255, "01", r.randrange(256)))) for _ in range(4))
        return address + r.choice(("", "/0", "/24", "/032", " # why", "/8 # 300.1/33", "/33", ".1",
                                   "  # two", "#x", "/"))[:r.choice((99, 99, 2))]
    return {"rules": [{"comment": any_value(r),
                       "values": [{"type": "protocol", "value": str(r.randrange(9999))}
                                  for _ in range(r.randrange(1, 3))],
                       "ips": [block() for _ in range(r.choice((1, 1, 2)))]}
                      for _ in range(r.randrange(3))]}


KINDS = {"pdd": (make_pdd, None), "tags": (make_tags, "tag_table.json"),
         "aliases": (make_aliases, "matcher_alias.json"), "psa": (make_psa, "http.json"),
         "ipbt": (make_ipbt, "ipbt.json")}


def leaves(tree):
    if isinstance(tree, (dict, list)):
        for item in tree.values() if isinstance(tree, dict) else tree:
            yield from leaves(item)
    else:
        yield tree


def has_other_numbers(tree):
    return any(isinstance(leaf, (int, float)) and not isinstance(leaf, bool)
               and not re.fullmatch("[0-9]+", json.dumps(leaf)) for leaf in leaves(tree))


def pdd_reason(tree, text, printed):
    if has_other_numbers(tree) or "\r" in text:
        return "text-form"
    if len(text) - text.rindex("]") - 1 > 3:
        return "text-behind"
    if "Bad semantic" not in printed:
        return "judged-later"
    rules = [rule for place in containers(tree) if isinstance(place, dict)
             and isinstance(place.get("rules"), list) for rule in place["rules"]]
    if any(isinstance(rule, dict) and "rule" in rule and list(rule)[-1] != "rule"
           for rule in rules):
        return "rule-not-last"
    return "order-needed" if 'Key "order" appears 0 times.' in printed else None


def tags_reason(tree, _text, _printed):
    if has_other_numbers(tree):
        return "text-form"
    return "too-many" if len(tree["tag_table"]) > 128 else None


def aliases_reason(tree, _text, printed):
    if has_other_numbers(tree):
        return "text-form"
    if any(not isinstance(leaf, str) for leaf in leaves(tree)):
        return "wrong-kind"
    if "" in leaves(tree):
        return "empty-name"
    if "Unknown way" in printed:
        return "way"
    if "you cannot create an alias" in printed:
        return "several-targets"
    return "too-many" if len(tree["aliases"]) > 63 else None


def psa_reason(tree, _text, _printed):
    if has_other_numbers(tree):
        return "text-form"
    names = {re.sub("[^A-Z0-9]", "_", name.upper()) for table in tree.values()
             if isinstance(table, list) for entry in table if isinstance(entry, dict)
             for name in entry}
    return "too-many" if len(names) > 64 else None


def ipbt_reason(tree, _text, _printed):
    return "text-form" if has_other_numbers(tree) else None


REASONS = {"pdd": pdd_reason, "tags": tags_reason, "aliases": aliases_reason, "psa": psa_reason,
           "ipbt": ipbt_reason}


def passed_over(kind, tree):
    """Whether readers without rules leave out what a schema does not know, and accept the rest."""
    if kind == "psa":
        return True  # nothing but a text without a name is refused
    arrays = [place for place in containers(tree) if isinstance(place, list)]
    return kind == "ipbt" and (not isinstance(tree, dict) or any(
        not isinstance(item, (dict, str)) for array in arrays for item in array))


class Documents:
    def __init__(self, programs, kind, validator, cfg):
        self.kind, self.validator, self.cfg = kind, validator, cfg
        self.compiler = os.path.join(programs, "pdata_compiler")
        self.counts = collections.Counter()

    def compile(self, text):
        """Returns the status of the compiler and what it prints."""
        name = KINDS[self.kind][1]
        with open("document" if name is None else os.path.join(self.cfg, name), "w",
                  encoding="utf-8") as file:
            file.write(text)
        with open("none.pdd", "w", encoding="utf-8") as file:
            file.write(NO_PROTOCOL)
        done = subprocess.run([self.compiler, "--pdd", "document" if name is None else "none.pdd",
                               "--cfg-path", self.cfg, "--description", "--pdb-out", "out.pdb"],
                              capture_output=True, check=False)
        return done.returncode, done.stdout.decode("utf-8", "replace")

    def rules_refuse(self, tree):
        """Whether the rules, or the reader in front of them, refuse a description: a protocol of it
        by itself, since what a later step finds in one hides those behind it."""
        if not isinstance(tree, dict) or len(tree) != 1:
            return True
        protocols = next(iter(tree.values()))
        if not isinstance(protocols, list) or not protocols:
            return True
        for protocol in protocols:
            _, printed = self.compile(json.dumps({"protocols": [protocol]}) + "\n")
            if not isinstance(protocol, dict) or "Bad semantic" in printed or \
                    "failure on line" in printed:
                return True
        return False

    def take(self, tree, text):
        valid = self.validator.is_valid(tree)
        status, printed = self.compile(text)
        self.counts["documents"] += 1
        if status == 0:
            self.counts["accepted"] += 1
            if not valid:
                assert passed_over(self.kind, tree), ("accepted, and does not validate", text)
                self.counts["passed-over"] += 1
            return
        if not valid and KINDS[self.kind][1] is None:
            assert self.rules_refuse(tree), ("the rules accept it, and it does not validate", text)
        if valid:
            reason = REASONS[self.kind](tree, text, printed)
            assert reason is not None, ("validates, and is refused", status, printed, text)
            self.counts[reason] += 1
        else:
            self.counts["refused by both"] += 1


def random_documents(documents, rounds):
    make = KINDS[documents.kind][0]
    for seed in range(rounds):
        r = random.Random(seed)
        tree = make(r)
        for _ in range(r.choice((0, 1, 1, 2, 4))):
            tree = mutate(r, tree)
        text = json.dumps(tree, ensure_ascii=r.random() < 0.2, indent=r.choice((None, 1)))
        documents.take(tree, text + ("\n" if r.random() < 0.9 else r.choice((" " * 9, "\n  "))))


def special_documents(documents):
    """What chance does not reach."""
    kind = documents.kind
    if kind == "tags":
        for count in (128, 129):
            documents.take(*both({"tag_table": {f"t{i}": i for i in range(count)}}))
        documents.take(*both({"tag_table": {"a": 1.0}}))
    elif kind == "aliases":
        side = {"protocol": "spdy", "attr": "server", "way": "cts"}
        pair = {"alias": side, "reference": dict(side, protocol="http")}
        other = {"alias": side, "reference": dict(side, protocol="ssl")}
        documents.take(*both({"aliases": [pair] * 63}))
        documents.take(*both({"aliases": [pair] * 65}))
        documents.take(*both({"aliases": [pair, pair, other]}))
        for wrong in ({"way": "up"}, {"attr": ""}, {"attr": 5}, {"attr": 5.0}):
            documents.take(*both({"aliases": [dict(pair, alias=dict(side, **wrong))]}))
    elif kind == "psa":
        for count in (64, 65):
            documents.take(*both({"prefix": [{f"n{i}": "x"} for i in range(count)]}))
        documents.take(*both({"prefix": [{"a": "x"}], "other": 1.5}))
    elif kind == "ipbt":
        value = {"type": "protocol", "value": "1"}
        documents.take(*both({"rules": [{"values": [value], "ips": ["1.2.3.4"], "comment": 1.5}]}))
    elif kind == "pdd":
        rule = {"rule": [{"protocol": "ssl", "common_name": "a"}], "order": "1:0"}
        documents.take(*both({"protocols": [{"name": "a", "rules": [rule]}]}))
        rule = {"rule": [{"protocol": "ssl", "common_name": "a"}]}
        documents.take(*both({"protocols": [{"name": "a", "rules": [rule]}]}))
        rule = {"order": "1:0", "rule": [{"protocol": "ssl", "no_such_name": "a"}]}
        documents.take(*both({"protocols": [{"name": "a", "rules": [rule]}]}))
        documents.take({"protocols": [{"name": "a"}]}, '{"protocols": [{"name": "a"}]} \n} \n')
        documents.take(*both({"any key": [{"name": "a"}]}))
        documents.take({"protocols": [{"name": "a"}]}, '{"protocols":\r\n[{"name": "a"}]}\n')
        documents.take(*both({"protocols": [{"name": "a", "virtual_id": 2.0}]}))


def both(tree):
    return tree, json.dumps(tree) + "\n"


def listed_reasons(schema):
    """The names of the reasons in a description."""
    return set(re.findall(r"(?:nevertheless:|\.) ([a-z-]+): ", schema["description"]))


def check_kind(programs, kind, rounds):
    printed = subprocess.run([os.path.join(programs, "pdata"), "schema", kind], check=True,
                             capture_output=True, text=True).stdout
    again = subprocess.run([os.path.join(programs, "pdata"), "schema", kind, "--cfg", CFG],
                           check=True, capture_output=True, text=True).stdout
    with open(os.path.join(ROOT, "examples", "schemas", f"{kind}.schema.json"),
              encoding="utf-8") as file:
        assert file.read() == printed == again, f"{kind}: run scripts/update_schemas"
    schema = json.loads(printed)
    jsonschema.Draft202012Validator.check_schema(schema)
    validator = jsonschema.Draft202012Validator(schema)
    shutil.copytree(CFG, "cfg", dirs_exist_ok=True)
    documents = Documents(programs, kind, validator, "cfg")
    random_documents(documents, rounds)
    special_documents(documents)
    listed = listed_reasons(schema) - {"shared-count", "lost-tag", "odd-id"}
    met = set(documents.counts) - {"documents", "accepted", "refused by both"}
    assert met <= listed and (met == listed or rounds < ROUNDS), (kind, met ^ listed)
    assert documents.counts["accepted"] > rounds / 6 and documents.counts["refused by both"] > 0
    print(kind, dict(documents.counts))
    return validator


def check_shipped(validators):
    shipped = {"pdd": ["protocols.pdd", "user.pdd"], "tags": ["cfg/tag_table.json"],
               "aliases": ["cfg/matcher_alias.json"], "ipbt": ["cfg/ipbt.json"],
               "psa": [f"cfg/{name}.json" for name in ("http", "http2", "spdy", "http_proxy")]}
    for kind, names in shipped.items():
        for name in names:
            with open(os.path.join(ROOT, "examples", name), encoding="utf-8") as file:
                validators[kind].validate(json.load(file))


def check_every_key(validators):
    """Each key of the schema of descriptions says what it is."""
    bare = [(path, key) for path, place in objects(validators["pdd"].schema, "")
            for key, value in place.items() if "description" not in value]
    assert not bare, bare


def objects(schema, path):
    if isinstance(schema, dict):
        if isinstance(schema.get("properties"), dict) and "type" in schema:
            yield path, schema["properties"]
        for key, value in schema.items():
            yield from objects(value, f"{path}/{key}")
    elif isinstance(schema, list):
        for i, value in enumerate(schema):
            yield from objects(value, f"{path}/{i}")


SHARED = """
node start
    { -> object
node object
    "one" -> either
    "two" -> either
    "list" -> list
    } -> end
node next
    , -> object
    } -> end
node end
    check either
    end
node either
    count 1..1
    * -> next
node list
    [ -> items
node items
    { -> inner
    "word" -> item
node item
    , -> items
    ] -> next
node inner
    * -> inner_key
node inner_key
    { -> inner
    * -> inner_end
node inner_end
    } -> item
"""


def check_shared_counts(programs):
    """Keys that count as one, constants, objects within objects, arrays that are not empty."""
    shutil.copytree(CFG, "shared", dirs_exist_ok=True)
    with open("shared.sem", "w", encoding="utf-8") as file:
        file.write(SHARED)
    subprocess.run([sys.executable, os.path.join(ROOT, "scripts", "make_semantic"), "shared.sem",
                    "shared/semantic_tag_table.json"], check=True)
    printed = subprocess.run([os.path.join(programs, "pdata"), "schema", "tags", "--cfg",
                              "shared"], check=True, capture_output=True, text=True).stdout
    validator = jsonschema.Draft202012Validator(json.loads(printed))
    documents = Documents(programs, "tags", validator, "shared")
    for tree, valid, accepted in (
            ({"one": 1}, True, True), ({"two": "x", "list": ["word"]}, True, True), ({}, False, False),
            ({"one": 1, "two": 2}, True, False), ({"list": ["word"]}, False, False),
            ({"one": 1, "list": []}, False, False), ({"one": 1, "list": ["other"]}, False, False),
            ({"one": 1, "list": [{"a": 1}, "word"]}, True, True),
            ({"one": 1, "list": [{}]}, False, False), ({"three": 3}, False, False)):
        status, text = documents.compile(json.dumps(tree))
        assert validator.is_valid(tree) == valid, (tree, printed)
        assert ("Bad semantic" not in text) == accepted, (tree, status, text)


def check_doubling(programs):
    """Rules whose objects double with each level end in a schema all the same."""
    levels = [f"node o{i}\n    \"a\" -> k{i}\n    \"b\" -> l{i}\nnode k{i}\n    {{ -> o{i + 1}\n"
              f"node l{i}\n    {{ -> o{i + 1}\n" for i in range(30)]
    with open("shared.sem", "w", encoding="utf-8") as file:
        file.write("node start\n    { -> o0\n" + "".join(levels) + "node o30\n    } -> o30\n")
    subprocess.run([sys.executable, os.path.join(ROOT, "scripts", "make_semantic"), "shared.sem",
                    "shared/semantic_tag_table.json"], check=True)
    done = subprocess.run([os.path.join(programs, "pdata"), "schema", "tags", "--cfg", "shared"],
                          check=True, capture_output=True, timeout=60)
    validator = jsonschema.Draft202012Validator(json.loads(done.stdout))
    tree = {}
    for i in range(30):
        tree = {"ab"[i % 2]: tree}
    assert validator.is_valid(tree) and not validator.is_valid({"c": tree})


def main():
    if jsonschema is None:
        print("python3-jsonschema is not installed")
        return 0
    programs = os.path.abspath(sys.argv[1])
    rounds = int(sys.argv[2]) if len(sys.argv) > 2 else ROUNDS
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        validators = {kind: check_kind(programs, kind, rounds) for kind in KINDS}
        check_shipped(validators)
        check_every_key(validators)
        check_shared_counts(programs)
        check_doubling(programs)
    return 0


if __name__ == "__main__":
    sys.exit(main())
