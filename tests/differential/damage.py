"""Damage to files: cuts, flips, extreme words, and records of pdbs that are longer or shorter."""

import struct

EXTREMES = (0, 1, 2, 0xff, 0xffff, 0x00ffffff, 0x01000000, 0x01ffffff, 0x7fffffff, 0x80000000,
            0xfffffffe, 0xffffffff, 0x2000002, 0x3000003, 0x1000001)


def cut(r, data):
    return data[:r.randrange(len(data) + 1)]


def flip(r, data):
    spoiled = bytearray(data)
    for _ in range(r.choice((1, 1, 1, 2, 5, 20))):
        spoiled[r.randrange(len(spoiled))] ^= r.choice((1, 0x20, 0x80, r.randrange(1, 256)))
    return bytes(spoiled)


def replace(r, data):
    """Puts another byte, or a copied run of bytes, in place of some."""
    at, length = r.randrange(len(data)), r.choice((1, 1, 4, 40))
    source = r.randrange(len(data))
    piece = r.choice((b"", b"\0", b"\"", b"}", b"]", b",", b"{", b"\\", b"9", b"\xff",
                      data[source:source + length]))
    return data[:at] + piece + data[at + r.choice((0, length)):]


def extreme_word(r, data):
    if len(data) < 4:
        return flip(r, data)
    at = 4 * r.randrange(len(data) // 4)
    return data[:at] + struct.pack(">I", r.choice(EXTREMES)) + data[at + 4:]


def children(data, start, end):
    """Returns (header position, end) of the records that fill the range, nothing if none do."""
    found = []
    while start + 4 <= end:
        after = start + 4 + 4 * int.from_bytes(data[start + 1:start + 4], "big")
        if after > end:
            return []
        found.append((start, after))
        start = after
    return found if start == end else []


def a_record(r, data):
    """Returns the way to a random record: (header position, end) of it and all around it."""
    way, level = [], children(data, 0, len(data))
    while level:
        way.append(r.choice(level))
        start, end = way[-1]
        level = children(data, start + 4, end) if r.random() < 0.85 else []
    return way


def with_length(data, at, change):
    words = (int.from_bytes(data[at + 1:at + 4], "big") + change) % (1 << 24)
    return data[:at + 1] + words.to_bytes(3, "big") + data[at + 4:]


def record_length(r, data):
    """Changes the length of a record and leaves its words."""
    way = a_record(r, data)
    return with_length(data, way[-1][0], r.choice((-1, 1, 1, 2, -2, 1 << 20))) if way else cut(r, data)


def record_words(r, data):
    """Inserts a word into a record or takes one out; the lengths around it follow."""
    way = a_record(r, data)
    if not way:
        return flip(r, data)
    start, end = way[-1]
    at = start + 4 * r.randrange(1, (end - start) // 4 + 1)
    longer = at == end or r.random() < 0.5
    data = data[:at] + data[at - 4:at] + data[at:] if longer else data[:at] + data[at + 4:]
    for header, _ in way:
        data = with_length(data, header, 1 if longer else -1)
    return data


def record_type(r, data):
    way = a_record(r, data)
    if not way:
        return flip(r, data)
    at = way[-1][0]
    return data[:at] + bytes([r.choice((0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 12, 255))]) + data[at + 1:]


def record_order(r, data):
    """Takes a root record out, doubles it, or moves it to the end."""
    roots = children(data, 0, len(data))
    if not roots:
        return cut(r, data)
    start, end = r.choice(roots)
    rest, record = data[:start] + data[end:], data[start:end]
    return r.choice((rest, rest + record, data + record, record + rest))


def rule_words(r, data):
    """Spoils several words of the descriptions at once."""
    for _ in range(r.choice((1, 2, 4))):
        data = extreme_word(r, data)
    return data


TEXTS = (cut, flip, replace, replace)
PDBS = (cut, flip, extreme_word, extreme_word, rule_words, record_length, record_words, record_words,
        record_type, record_order, record_order)


def spoil(r, data, ways):
    """Returns the data with one kind of damage, or two."""
    for _ in range(r.choice((1, 1, 1, 2))):
        data = r.choice(ways)(r, data) if data else b"\0"
    return data
