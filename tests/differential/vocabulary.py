"""The words that inputs are made of, read from the papers, the data and the shipped examples."""

import json
import os
import re
from collections import namedtuple

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
EXAMPLES = os.path.join(ROOT, "examples", "cfg")
CONFIGURATION = ("tag_table", "matcher_alias", "http2", "http", "spdy", "http_proxy",
                 "semantic_matcher_alias", "semantic_protocol", "semantic_csm",
                 "semantic_tag_table", "ipbt")

# kind is one of KINDS, ways the prefixes that may be written in front of the name, offsets whether
# the engines for offsets hold it, mindata whether it must have minimum data.
Attribute = namedtuple("Attribute", "protocol name kind ways offsets mindata")

KINDS = {"": "text", "8": "number8", "16": "number16", "4": "address4", "6": "address6"}
WAYS = (("", "cts-"), ("", "stc-"), ("", "cts-", "stc-"))


class Missing(Exception):
    """A paper no longer says what is looked for in it."""


def text_of(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return file.read()


def rows_below(path, heading):
    """Returns the cells of the first table behind a line that begins with the heading."""
    lines = text_of(path).splitlines()
    starts = [i for i, line in enumerate(lines) if line.startswith(heading)]
    if not starts:
        raise Missing(f"{path}: no table {heading!r}")
    rows = []
    for line in lines[starts[0] + 2:]:
        if not line.startswith("|"):
            return rows
        rows.append([cell.strip() for cell in line.strip("|").split("|")])
    return rows


def attributes_of(protocol, cell, ways):
    """Yields the attributes of one cell, as in "uri\\*, stream (m, o), port (16)"."""
    for name, flags in re.findall(r"(\w+)(?:\\\*)?(?: \(([^)]*)\))?", cell):
        flags = set(flags.split(", ")) if flags else set()
        kind = KINDS["".join(flags & set(KINDS))]
        yield Attribute(protocol, name, kind, ways, "o" in flags, "m" in flags)


def read_attributes():
    found = []
    for protocols, *cells in rows_below("docs/pdd.md", "| protocol | attributes, client"):
        for protocol in protocols.split(", "):
            for cell, ways in zip(cells, WAYS):
                found.extend(attributes_of(protocol, cell, ways))
    if len(found) < 40:
        raise Missing("docs/pdd.md: too few attributes")
    return found


def read_scopes():
    rows = rows_below("docs/pdd.md", "| word | bit")
    return [cell for row in rows for cell in row[::2] if cell]


def read_protocol_names():
    lines = text_of("data/protocol_ids.tsv").splitlines()
    return [line.split("\t")[0] for line in lines if not line.startswith("#")]


def read_statuses():
    """Returns the codes that a run may end with."""
    return [int(row[0]) for row in rows_below("docs/exit_codes.md", "| code | name")]


def read_tags():
    return json.loads(text_of("examples/cfg/tag_table.json"))["tag_table"]


ATTRIBUTES = read_attributes()
SCOPES = read_scopes()
PROTOCOL_NAMES = read_protocol_names()
STATUSES = read_statuses()
TAGS = read_tags()
PROTOCOLS = sorted({attribute.protocol for attribute in ATTRIBUTES})
WORDS = ("alpha beta gamma delta video chat login mail cdn api static img play stream upload get "
         "post token user agent mobile edge node data x y zz q1 v2 www m").split()
EXPORTS = ("signature_coverage", "pcap_generation")
DUMPS = ("limit", "tlv", "digraph", "graph_info")
