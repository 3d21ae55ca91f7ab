"""The cases of each kind: what is made, and which runs of the compiler follow."""

import copy
import os
from random import Random

import configuration
import damage
import descriptions
import faults
import limits
from options import random_arguments
from vocabulary import CONFIGURATION, EXPORTS, TAGS

ANY_OPTIONS = (["--ignore-sem"], ["--dump", "tlv"], ["--cfg-name", "x"], ["--pdd-namespace", "1"],
               *(["--sig-export", name] for name in EXPORTS))
TAILS = ("", "\n", "}\n", "}x\n", "    ", "\n}\n\n\n", "}\n ")


class Case:
    """A case: its folder of inputs and the steps to take with each of two compilers.

    Steps are of two forms: ("run", arguments), and ("spoil", source, target, operation), which
    makes a damaged copy of an earlier output; both sides get the copy of the first one's.
    """

    def __init__(self, kind, number, seed, inputs):
        self.random = Random(f"{seed}/{kind}/{number}")
        self.inputs = inputs
        self.steps = []
        self.outputs = 0

    def write(self, name, content):
        with open(os.path.join(self.inputs, name), "wb") as file:
            file.write(content)

    def read(self, name):
        with open(os.path.join(self.inputs, name), "rb") as file:
            return file.read()

    def configure(self, faulty=False):
        return configuration.make(self.random, os.path.join(self.inputs, "cfg"), faulty)

    def run(self, *arguments):
        self.steps.append(("run", list(arguments)))

    def output(self):
        """Returns the name of the next output file."""
        self.outputs += 1
        return f"out{self.outputs}.pdb"

    def build(self, pdd, form, *options):
        target = self.output()
        self.run("--pdd", f"in/{pdd}", "--cfg-path", "in/cfg", form, "--pdb-out", target, *options)
        return target

    def use(self, pdbs, form, *options):
        target = self.output()
        self.run("--pdb-in", pdbs, form, "--pdb-out", target, *options)
        return target


def some_options(r):
    return [word for option in r.sample(ANY_OPTIONS, r.choice((0, 0, 0, 1, 1, 2))) for word in option]


def spoil_protocols(r, protocols):
    """Puts one to five faults into random protocols, limits and large ones among them."""
    kinds = (faults.LATE,) if r.random() < 0.4 else (faults.EARLY, faults.LATE, limits.LIMITS)
    for _ in range(r.choice((1, 1, 2, 3, 5))):
        r.choice(r.choice(kinds))(r, r.choice(protocols))
    if r.random() < 0.01:
        r.choice(limits.LARGE)(r, r.choice(protocols))
    if r.random() < 0.1:
        protocols.insert(r.randrange(len(protocols) + 1), copy.deepcopy(r.choice(protocols)))


def faulty_text(r, protocols):
    """Returns the text of a description with faults in its protocols or around them."""
    if r.random() < 0.93:
        spoil_protocols(r, protocols)
    text = descriptions.description_text(protocols)
    if r.random() < 0.1:
        text = text[:-1] + r.choice(TAILS)
    if r.random() < 0.04:
        text = r.choice(("", "{", "[]", '{"p": []}', '{"p": {}}', '{"p": [1]}', text[1:], "x" + text))
    return text


def description_case(case):
    """A description, as a pdb and as a loadable pdb; a third of them with faults."""
    r = case.random
    faulty = r.random() < 0.34
    tags = case.configure(faulty and r.random() < 0.35)
    protocols = descriptions.make_protocols(r, tags)
    text = faulty_text(r, protocols) if faulty else descriptions.description_text(protocols)
    case.write("description.pdd", text.encode("utf-8", "surrogateescape"))
    options = some_options(r)
    for form in ("--description", "--loadable"):
        case.build("description.pdd", form, *options)


def relatives(r, tags):
    """Returns the protocols of two pdbs that have some in common."""
    first = descriptions.make_protocols(r, tags)
    second = [copy.deepcopy(protocol) for protocol in first if r.random() < 0.6]
    for protocol in second:
        change_protocol(r, protocol, tags)
    for number in range(r.choice((0, 1, 2))):
        second.append(descriptions.make_protocol(r, 100 + number, tags))
    return first, second or copy.deepcopy(first)


def change_protocol(r, protocol, tags):
    rules = protocol.get("rules", [])
    if r.random() < 0.5:
        rules.insert(r.randrange(len(rules) + 1), descriptions.make_rule(r, protocol["name"], tags))
        protocol["rules"] = rules
    if rules and r.random() < 0.3:
        rules.pop(r.randrange(len(rules)))
    if r.random() < 0.2:
        protocol["version"] = {"major": r.randrange(9)}


def an_id(r, protocols):
    ids = [protocol["id"] for protocol in protocols if "id" in protocol]
    return str(r.choice(ids) if ids and r.random() < 0.8 else r.choice((0, 5, 512, 0x1000001, "x")))


def pdb_case(case):
    """Pdbs of related descriptions: compiled, merged, with a protocol removed, and in lists."""
    r = case.random
    tags = case.configure()
    first, second = relatives(r, tags)
    pdbs = []
    for name, protocols in (("first", first), ("second", second)):
        case.write(f"{name}.pdd", descriptions.description_text(protocols).encode())
        pdbs.append(case.build(f"{name}.pdd", "--loadable" if r.random() < 0.1 else "--description"))
    for _ in range(r.choice((1, 2, 3))):
        pdbs.append(use_pdbs(case, pdbs, first + second))


def use_pdbs(case, pdbs, protocols):
    """Adds a run on some of the pdbs and returns its output."""
    r = case.random
    form = r.choice(("--loadable", "--loadable", "--description"))
    options = some_options(r) if r.random() < 0.2 else []
    way = r.randrange(10)
    if way < 3:
        return case.use(r.choice(pdbs), form, *options)
    if way < 7:
        pair = [r.choice(pdbs)] * 2 if r.random() < 0.2 else r.sample(pdbs, 2)
        return case.use(r.choice(("{};{}", "{};{};", ";{};;{}")).format(*pair), form, "--merge", *options)
    if way < 9:
        return case.use(r.choice(pdbs), form, "--delete", an_id(r, protocols), *options)
    three = ";".join(r.choice(pdbs) for _ in range(3))
    return case.use(three, form, *r.choice(([], ["--merge"], ["--merge"], ["--delete", "5"])))


def damage_case(case):
    """A damaged description, configuration file or pdb."""
    r = case.random
    tags = case.configure()
    protocols = descriptions.make_protocols(r, tags, most=3)
    text = descriptions.description_text(protocols).encode()
    target = r.randrange(20)
    if target < 7:
        text = damage.spoil(r, text, damage.TEXTS)
    elif target < 11:
        spoil_configuration(case)
    case.write("description.pdd", text)
    if target < 11:
        case.build("description.pdd", r.choice(("--description", "--loadable")), *some_options(r))
    else:
        damaged_pdb(case, protocols)


def spoil_configuration(case):
    name = f"cfg/{case.random.choice(CONFIGURATION)}.json"
    content = damage.spoil(case.random, case.read(name), damage.TEXTS)
    os.remove(os.path.join(case.inputs, name))  # it may be a link to the one of the examples
    case.write(name, content)


def damaged_pdb(case, protocols):
    r = case.random
    sound = case.build("description.pdd", "--loadable" if r.random() < 0.15 else "--description")
    for number in range(3):
        target = f"damaged{number}.pdb"
        case.steps.append(("spoil", sound, target, lambda data: damage.spoil(r, data, damage.PDBS)))
        use_damaged(case, sound, target, protocols)


def use_damaged(case, sound, damaged, protocols):
    r = case.random
    form = r.choice(("--loadable", "--loadable", "--description"))
    way = r.randrange(6)
    if way < 3:
        case.use(damaged, "--loadable", *some_options(r))
    elif way == 3:
        case.use(damaged, form, "--delete", an_id(r, protocols))
    else:
        pair = (damaged, sound) if way == 4 else (sound, damaged)
        case.use(";".join(pair), form, "--merge")


def option_case(case):
    """Any options, with files that are there and others that are not."""
    r = case.random
    case.configure()
    protocols = descriptions.make_protocols(r, sorted(TAGS), most=2)
    case.write("a.pdd", descriptions.description_text(protocols).encode())
    case.build("a.pdd", "--description")
    case.run(*random_arguments(r))


KINDS = {"descriptions": description_case, "pdbs": pdb_case, "damaged": damage_case,
         "options": option_case}
SHARES = {"descriptions": 1, "pdbs": 0.4, "damaged": 0.4, "options": 0.2}


def make(kind, number, seed, inputs):
    """Writes the inputs of a case into a folder and returns the case."""
    case = Case(kind, number, seed, inputs)
    KINDS[kind](case)
    return case
