#!/usr/bin/env python3
"""pdata diff names one edit of a description, and just that one.

    diff_edits.py BIN

BIN is the folder of the programs. The shipped description is edited at random places, as JSON: a
value, an order, a version, a tag, minimum data, a rule or a protocol that goes, what moves, a value
that is spelled otherwise. Both texts are compiled, and what pdata diff says is compared with what
was done. The exit code is 0 when nothing differs.
"""

import copy
import json
import os
import random
import subprocess
import sys
import tempfile

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
ROUNDS = 48
NUMBERS = ("port", "protoid", "type", "code", "typeval", "dscp", "address", "payload_len")
HEX = "0123456789abcdefABCDEF"


def plain_rules(protocol):
    """Returns the rules that stay one rule each."""
    return [rule for rule in protocol.get("rules", [])
            if all(isinstance(part["protocol"], str) for part in rule["rule"])]


def pick_rule(chooser, protocols):
    protocol = chooser.choice([one for one in protocols if plain_rules(one)])
    return protocol, chooser.choice(plain_rules(protocol))


def texts_of(rule):
    """Returns where the texts of a rule that are expanded stand."""
    return [(part, key) for part in rule["rule"] for key, value in part.items()
            if isinstance(value, str) and key != "protocol" and key.split("-")[-1] not in NUMBERS]


def pick_text(chooser, protocols, fits=bool):
    places = [(protocol, part, key) for protocol in protocols for rule in plain_rules(protocol)
              for part, key in texts_of(rule) if fits(part[key])]
    return chooser.choice(places)


def changed(protocol, fields=(), rules=()):
    return [("changed", protocol["name"], sorted(fields), sorted(rules))]


def edit_value(chooser, protocols):
    protocol, part, key = pick_text(chooser, protocols,
                                    lambda text: text[0].isalpha() and len(text) < 60)
    before = part[key]
    part[key] = "Qz" + before
    return changed(protocol, rules=[("changed", (), (before,), (part[key],))])


def edit_order(chooser, protocols):
    protocol, rule = pick_rule(chooser, protocols)
    rule["order"] = "77:7777"
    return changed(protocol, rules=[("changed", ("order",), (), ())])


def edit_version(chooser, protocols):
    protocol = chooser.choice(protocols)
    protocol["version"]["minor"] += 1
    return changed(protocol, fields=["version"])


def edit_tag(chooser, protocols):
    protocol = chooser.choice([one for one in protocols if "tags" in one])
    protocol["tags"]["family"] = "Another Family"
    return changed(protocol, fields=["tags"])


def edit_mindata(chooser, protocols):
    protocol, part = chooser.choice([(protocol, part) for protocol in protocols
                                     for rule in plain_rules(protocol) for part in rule["rule"]
                                     if "cts-mindata" in part])
    part["cts-mindata"] += 1
    return changed(protocol, rules=[("changed", (), ("mindata",), ("mindata",))])


def drop_rule(chooser, protocols):
    protocol, rule = pick_rule(chooser, protocols)
    protocol["rules"] = [one for one in protocol["rules"] if one is not rule]
    return [("changed", protocol["name"], [], "removed")]


def drop_protocol(chooser, protocols):
    protocol = protocols.pop(chooser.randrange(len(protocols)))
    return [("removed", protocol["name"], [], "removed")]


def move(chooser, protocols):
    chooser.shuffle(protocols)
    for protocol in protocols:
        chooser.shuffle(protocol.get("rules", []))
    return []


def spellable(text):
    """Returns the letters of a text that may be written in hexadecimal: nothing in front of one
    makes it part of an escape or a class, and nothing behind it is taken for more digits."""
    if any(char in text for char in "\\[]"):
        return []
    return [i for i, char in enumerate(text)
            if char.isalpha() and text[i + 1:i + 2] not in tuple(HEX) + ("*", "+", "?")]


def respell(chooser, protocols):
    proved = lambda text: ".*" not in text and "?" not in text and "+" not in text
    _, part, key = pick_text(chooser, protocols, lambda text: spellable(text) and proved(text))
    at = chooser.choice(spellable(part[key]))
    part[key] = part[key][:at] + "\\x%02x" % ord(part[key][at]) + part[key][at + 1:]
    return []


EDITS = (edit_value, edit_order, edit_version, edit_tag, edit_mindata, drop_rule, drop_protocol,
         move, respell)


def compiled(folder, programs, description, name):
    with open(os.path.join(folder, name + ".pdd"), "w", encoding="utf-8") as file:
        json.dump(description, file)
    pdb = os.path.join(folder, name + ".pdb")
    subprocess.run([os.path.join(programs, "pdata_compiler"), "--pdd", name + ".pdd", "--cfg-path",
                    os.path.join(ROOT, "examples", "cfg"), "--description", "--pdb-out", pdb],
                   cwd=folder, check=True, capture_output=True)
    return pdb


def value_of(text):
    """Returns the text of a value as it is listed, "mindata" for minimum data."""
    words = text.split(" ")
    if "mindata" in words[:3]:
        return "mindata"
    return text.split(" cts ", 1)[-1].split(" stc ", 1)[-1].split(" both ", 1)[-1]


def said(rule):
    return (rule["change"], tuple(field["name"] for field in rule["fields"]),
            tuple(value_of(text) for text in rule["removed"]),
            tuple(value_of(text) for text in rule["added"]))


def agrees(expected, document):
    """Tells whether what is said is what was done."""
    if len(expected) != len(document["protocols"]):
        return False
    for (change, name, fields, rules), protocol in zip(expected, document["protocols"]):
        if (protocol["change"], protocol["name"]) != (change, name):
            return False
        if [field["name"] for field in protocol["fields"]] != list(fields):
            return False
        if rules == "removed":
            if any(rule["change"] != "removed" for rule in protocol["rules"]):
                return False
            if change == "changed" and len(protocol["rules"]) != 1:
                return False
        elif sorted(said(rule) for rule in protocol["rules"]) != rules:
            return False
    return True


def main():
    programs = os.path.abspath(sys.argv[1])
    with open(os.path.join(ROOT, "examples", "protocols.pdd"), encoding="utf-8") as file:
        description = json.load(file)
    for rule in (rule for one in description["protocols"] for rule in one.get("rules", [])):
        if rule["order"].endswith(":0"):  # it would be made of the lengths of texts
            rule["order"] = rule["order"][:-1] + "900"
    wrong = 0
    with tempfile.TemporaryDirectory() as folder:
        before = compiled(folder, programs, description, "before")
        for number in range(ROUNDS):
            edited = copy.deepcopy(description)
            edit = EDITS[number % len(EDITS)]
            expected = edit(random.Random(number), edited["protocols"])
            after = compiled(folder, programs, edited, "after")
            run = subprocess.run([os.path.join(programs, "pdata"), "diff", "--json", before, after],
                                 capture_output=True, check=False)
            if run.returncode != (1 if expected else 0) or \
                    not agrees(expected, json.loads(run.stdout)):
                wrong += 1
                print(f"round {number}, {edit.__name__}: {expected}, status {run.returncode}, not\n"
                      f"{run.stdout.decode()}{run.stderr.decode()}")
    print(f"{ROUNDS} edits, {wrong} not named as they are")
    return wrong != 0


if __name__ == "__main__":
    sys.exit(main())
