"""Reads files by a Kaitai Struct description: the part of the language that docs/pdb.ksy uses.

An attribute may have a type (u1, u2, u4, bN, a type of the description, or one that is switched on),
a size, size-eos, a condition, an enumeration, and be repeated by an expression or to the end.
Whatever else a description says is refused, so that nothing in it is passed over.
"""
import re

KNOWN = {"id", "type", "size", "size-eos", "if", "enum", "repeat", "repeat-expr", "doc"}
WORDS = re.compile(r"\b(not|_io\.eof|_io\.size|[a-z_][a-z_0-9]*)\b")


class Fault(Exception):
    pass


class Stream:
    def __init__(self, data, begin, end):
        self.data, self.at, self.begin, self.end, self.bit = data, begin, begin, end, 0

    def eof(self):
        return self.at >= self.end and self.bit == 0

    def take(self, size):
        if self.bit or size < 0 or self.at + size > self.end:
            raise Fault(f"byte {self.at}: {size} bytes wanted, {self.end - self.at} are left")
        self.at += size
        return self.data[self.at - size:self.at]

    def take_bits(self, count):
        value = 0
        for _ in range(count):
            if self.at >= self.end:
                raise Fault(f"byte {self.at}: bits wanted behind the end")
            value = value << 1 | self.data[self.at] >> 7 - self.bit & 1
            self.bit = (self.bit + 1) % 8
            self.at += self.bit == 0
        return value


class Reader:
    """What was read: leaves (first bit, number of bits, value), and records (byte, kind)."""

    def __init__(self, description, data):
        for key in description:
            if key not in ("meta", "doc", "seq", "types", "enums"):
                raise Fault(f"unknown key {key}")
        self.types, self.enums = description["types"], description["enums"]
        self.data, self.leaves, self.records = data, [], []
        stream = Stream(data, 0, len(data))
        self.sequence(description["seq"], stream)
        if not stream.eof():
            raise Fault(f"byte {stream.at}: the description ends, the file does not")

    def sequence(self, attributes, stream):
        fields = {}
        for attribute in attributes:
            unknown = set(attribute) - KNOWN
            if unknown:
                raise Fault(f"unknown keys {unknown}")
            if "if" in attribute and not self.evaluate(attribute["if"], fields, stream):
                continue
            repeat = attribute.get("repeat")
            if repeat == "eos":
                while not stream.eof():
                    self.one(attribute, fields, stream)
            elif repeat == "expr":
                for _ in range(self.evaluate(attribute["repeat-expr"], fields, stream)):
                    self.one(attribute, fields, stream)
            elif repeat is None:
                fields[attribute["id"]] = self.one(attribute, fields, stream)
            else:
                raise Fault(f"unknown repetition {repeat}")

    def evaluate(self, expression, fields, stream):
        if isinstance(expression, int):
            return expression

        def word(found):
            name = found.group(1)
            if name == "not":
                return "not"
            if name == "_io.eof":
                return repr(stream.eof())
            if name == "_io.size":
                return repr(stream.end - stream.begin)
            return repr(fields[name])

        return eval(WORDS.sub(word, expression).replace("/", "//"), {"__builtins__": {}})

    def one(self, attribute, fields, stream):
        begin = stream.at * 8 + stream.bit
        kind = attribute.get("type")
        if "size" in attribute or attribute.get("size-eos"):
            size = (self.evaluate(attribute["size"], fields, stream) if "size" in attribute
                    else stream.end - stream.at)
            inner = Stream(self.data, stream.at, stream.at + size)
            value = stream.take(size)
            kind = self.chosen(kind, fields)
            if kind is None:
                self.leaf(begin, size * 8, value)
                return value
            self.sequence(self.types[kind]["seq"], inner)
            if not inner.eof():
                raise Fault(f"byte {inner.at}: type {kind} ends, the value does not")
            return None
        if re.fullmatch(r"u[124]", kind):
            value = int.from_bytes(stream.take(int(kind[1])), "big")
        elif re.fullmatch(r"b\d+", kind):
            value = stream.take_bits(int(kind[1:]))
        else:
            self.sequence(self.types[kind]["seq"], stream)
            return None
        self.leaf(begin, stream.at * 8 + stream.bit - begin, value)
        if "enum" not in attribute:
            return value
        name = f"{attribute['enum']}::{self.enums[attribute['enum']].get(value, value)}"
        if attribute["id"] == "kind" and attribute["enum"].endswith("_kind"):
            self.records.append((begin // 8, name.split("::")[1]))
        return name

    @staticmethod
    def chosen(kind, fields):
        if not isinstance(kind, dict):
            return kind
        cases = {case.strip(): found for case, found in kind["cases"].items()}
        return cases.get(fields[kind["switch-on"]])

    def leaf(self, begin, bits, value):
        if bits:
            self.leaves.append((begin, bits, value))
