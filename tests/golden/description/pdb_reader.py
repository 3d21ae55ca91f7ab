"""Reads a pdb that came from a description, with nothing but the format in hand.

Every length is checked against what holds it, and nothing may be left over: what this reader gives
back is all that the file says. It shares no code with the compiler.
"""

import struct


class BadPdb(Exception):
    """A file that is not what the format says."""


def require(condition, message):
    if not condition:
        raise BadPdb(message)


def words_of(data):
    require(len(data) % 4 == 0, "a value is not made of words")
    return list(struct.unpack(f">{len(data) // 4}I", data))


def records(data):
    """Yields type and value of the records that fill `data`."""
    at = 0
    while at < len(data):
        require(at + 4 <= len(data), "a header does not fit")
        word = struct.unpack_from(">I", data, at)[0]
        kind, length = word >> 24, (word & 0xFFFFFF) * 4
        require(at + 4 + length <= len(data), f"record {kind} claims too much")
        yield kind, data[at + 4:at + 4 + length]
        at += 4 + length


def expect(data, kinds):
    """The values of records that must have these types, in this order."""
    found = list(records(data))
    require([kind for kind, _ in found] == list(kinds),
            f"records {[kind for kind, _ in found]} in place of {list(kinds)}")
    return [value for _, value in found]


class StringPool:
    """A pool, and a check of the order in which its strings came into it."""

    def __init__(self, blob):
        self.blob = blob
        self.entries = {}
        self.referred = []  # offsets in the order of their first use
        at = 0
        while at + 2 <= len(blob):
            length = int.from_bytes(blob[at:at + 2], "big")
            if length == 0:
                break
            require(at + 2 + length <= len(blob), "a string runs past its pool")
            self.entries[at] = bytes(blob[at + 2:at + 2 + length])
            end = at + 2 + length
            at += (length + 3) & ~1
            require(not any(blob[end:at]), "no zero behind a string of odd length")
        require(not any(blob[at:]) and len(blob) - at < 4, "no zeros at the end of a pool")
        require(len(set(self.entries.values())) == len(self.entries), "a string is stored twice")

    def text(self, offset):
        require(offset in self.entries, f"no string at {offset}")
        if offset not in self.referred:
            self.referred.append(offset)
        return self.entries[offset]

    def check_order(self):
        """Every string is referred to, first in the order in which they stand."""
        require(self.referred == sorted(self.entries), "strings out of order or unused")


class Words:
    """A cursor over the words of a value."""

    def __init__(self, data):
        self.left = words_of(data)

    def take(self, number=1):
        require(number <= len(self.left), "too few words")
        taken, self.left = self.left[:number], self.left[number:]
        return taken

    def one(self):
        return self.take()[0]

    def texts(self, pool, number):
        return [pool.text(offset) for offset in self.take(number)]

    def end(self):
        require(not self.left, "too many words")


def check_offsets(offsets, values):
    """An offset list says where each record of the list behind it starts, in words."""
    at = 0
    require(len(offsets) == len(values), "a list of offsets of another length")
    for offset, value in zip(offsets, values):
        require(offset == at, "an offset that is none")
        at += 1 + len(value) // 4


ATTRIBUTE_TYPES = {6: "stream", 5: "number8", 2: "number16", 3: "ip4", 4: "ip6"}
WAYS = {1: "stc", 2: "cts", 3: "both"}


def read_attribute(kind, data, pool):
    require(kind in ATTRIBUTE_TYPES, f"attribute type {kind}")
    words = Words(data)
    way = words.one()
    require(way in WAYS, f"way {way}")
    name = words.texts(pool, 1)[0]
    number = len(words.left) // 2 if kind == 6 else len(words.left)
    values = words.texts(pool, number)
    offsets = words.take(number) if kind == 6 else [0] * number
    words.end()
    return {"name": name, "type": ATTRIBUTE_TYPES[kind], "way": WAYS[way],
            "values": list(zip(values, offsets))}


def read_sub_rule(data, pool):
    meta, offsets, attributes = expect(data, (4, 3, 2))
    words = Words(meta)
    bottom, real_bottom = words.texts(pool, 2)
    stc_mindata, cts_mindata = words.take(2)
    words.end()
    found = list(records(attributes))
    check_offsets(words_of(offsets), [value for _, value in found])
    return {"bottom": bottom, "real_bottom": real_bottom, "stc_mindata": stc_mindata,
            "cts_mindata": cts_mindata,
            "attributes": [read_attribute(kind, value, pool) for kind, value in found]}


def read_rule(data, pool, tags):
    found = list(records(data))
    require([kind for kind, _ in found][1:] == [3, 2] and found[0][0] in (7, 8), "parts of a rule")
    (form, meta), (_, offsets), (_, sub_rules) = found
    words = Words(meta)
    rule = {"priority": words.one()}
    require(words.one() == 0, "the reserved word")
    rule["scope"] = words.one()
    rule["vid"] = words.one() if form == 8 else None
    rule["fastpass"], rule["preempt"] = words.take(2)
    rule["path"] = words.texts(pool, words.one())
    rule["tags"] = words.texts(tags, words.one())
    words.end()
    values = expect(sub_rules, [2] * len(words_of(offsets)))
    check_offsets(words_of(offsets), values)
    rule["sub_rules"] = [read_sub_rule(value, pool) for value in values]
    return rule


def read_protocol(data, pool, tags):
    meta, tag_list, descriptions, compat, supported, altnames, offsets, rules = \
        expect(data, (1, 2, 3, 6, 4, 5, 8, 7))
    words = Words(meta)
    protocol = {"id": words.one(), "name": words.texts(pool, 1)[0],
                "default_port": words.texts(pool, 1)[0]}
    for key in ("max_trans", "cacheable", "http_reclassify", "major", "minor", "revision",
                "implicit_bottom_layer"):
        protocol[key] = words.one()
    words.end()
    for key, value in (("tags", tag_list), ("descriptions", descriptions)):
        texts = Words(value).texts(pool, len(value) // 4)
        protocol[key] = list(zip(texts[::2], texts[1::2], strict=True))
    for key, value in (("compat", compat), ("supported", supported), ("altnames", altnames)):
        protocol[key] = Words(value).texts(pool, len(value) // 4)
    values = expect(rules, [2] * len(words_of(offsets)))
    check_offsets(words_of(offsets), values)
    protocol["rules"] = [read_rule(value, pool, tags) for value in values]
    return protocol


def read_group(data, tags):
    """The protocols of the descriptions record, their strings in the group's own pool."""
    protocols, strings = expect(expect(data, (1,))[0], (1, 2))
    pool = StringPool(strings)
    found = expect(protocols, [1] * sum(1 for _ in records(protocols)))
    result = [read_protocol(value, pool, tags) for value in found]
    pool.check_order()
    return result


def read_aliases(data, pool):
    """Pairs of (protocol, attribute, way), 18 bytes each, padded to whole words."""
    ways = {1: "cts", 2: "stc", 3: "both"}
    pairs = []
    for at in range(0, len(data) - 17, 18):
        sides = []
        for protocol, attribute, way in struct.iter_unpack(">IIB", data[at:at + 18]):
            require(way in ways, f"way {way} of an alias")
            sides.append((pool.text(protocol), pool.text(attribute), ways[way]))
        pairs.append(tuple(sides))
    require(not any(data[18 * len(pairs):]) and len(data) - 18 * len(pairs) < 4, "padding")
    return pairs


def read_pdb(data):
    """Everything that a pdb of a description says."""
    load, group, aliases, tag_table, strings = expect(data, (12, 1, 10, 9, 3))
    pool = StringPool(strings)
    pdb = {"load": words_of(load), "aliases": read_aliases(aliases, pool)}
    entries = words_of(tag_table)
    require(len(entries) % 2 == 0, "half a tag")
    pdb["tags"] = [(pool.text(name), number) for name, number in zip(entries[::2], entries[1::2])]
    pdb["protocols"] = read_group(group, pool)
    pool.check_order()
    return pdb
