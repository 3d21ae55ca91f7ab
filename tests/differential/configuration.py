"""Configuration directories: tag tables, aliases, pattern tables, IPv4 tables, and their faults."""

import os

import values
from descriptions import Raw, text_of
from vocabulary import ATTRIBUTES, CONFIGURATION, EXAMPLES, ROOT, TAGS

ANY_SHAPE = os.path.join(ROOT, "tests", "cases", "shared", "cfg")
PATTERN_TABLES = ("http", "http2", "spdy", "http_proxy")
WAYS = {"cts": "cts-", "stc": "stc-", "both": ""}


def tag_table(r):
    names = r.sample(sorted(TAGS), r.randrange(2, 20)) + ["web"]
    return {"tag_table": {name: number for number, name in enumerate(names, r.randrange(9))}}


def bad_tag_table(r):
    table = tag_table(r)
    return r.choice((
        {"tag_table": {f"t{i}": i for i in range(r.choice((127, 128, 129, 140)))}},
        {"tag_table": {**table["tag_table"], "again": 9, "late": 5000, "web": 1}},
        {"tag_table": {**table["tag_table"], "": 77}},
        {"other": {"a": 1}, **table}, {"tag_table": {}}, {"tag_table": {"a": "b"}}, [], {},
        {"tag_table": {"a": {"b": 5}, "c": 6}}, Raw("{"), Raw(""), {"tag_table": {"n" * 70000: 3}}))


def side(protocol, name, way):
    return {"protocol": protocol, "attr": name, "way": way}


def aliases(r):
    """Aliases that rules survive: within a protocol, or of protocols that hold one attribute."""
    pairs = []
    for _ in range(r.randrange(6)):
        protocol = r.choice(("http", "ssl", "sip", "quic", "dtls"))
        known = [row for row in ATTRIBUTES if row.protocol == protocol and row.kind == "text"]
        one, other = r.choice(known), r.choice(known)
        way = r.choice([way for way in WAYS if WAYS[way] in one.ways])
        pairs.append({"alias": side(protocol, one.name, way),
                      "reference": side(protocol, other.name, way)})
    if r.random() < 0.5:
        for way in WAYS:
            pairs.append({"alias": side("dtls", "common_name", way),
                          "reference": side("ssl", "common_name", way)})
    return {"aliases": pairs}


def any_side(r):
    row = r.choice(ATTRIBUTES)
    return side(r.choice((row.protocol, row.protocol, "nobody")), r.choice((row.name, row.name, "zz")),
                r.choice(tuple(WAYS)))


def crossing_aliases(r):
    """Aliases from few protocols to few others, so that some go two ways at once."""
    return {"aliases": [{"alias": side(r.choice(("http", "ssl")), "user_agent", "cts"),
                         "reference": side(r.choice(("http", "sip", "quic")), "user_agent", "cts")}
                        for _ in range(r.randrange(2, 6))]}


def bad_aliases(r):
    def pair():
        return {"alias": any_side(r), "reference": any_side(r)}
    one = pair()
    return crossing_aliases(r) if r.random() < 0.3 else r.choice((
        {"aliases": [pair() for _ in range(r.choice((3, 10, 30)))]},
        {"aliases": [one] * r.choice((62, 63, 64, 65, 66))},
        {"aliases": [{"alias": {**any_side(r), "way": r.choice(("CTS", "", "all"))}, "reference": any_side(r)}]},
        {"aliases": [{"alias": any_side(r)}, pair()]}, {"aliases": [{}]}, {"aliases": {}}, {}, [],
        {"aliases": [{"alias": side("", "", "cts"), "reference": side("http", "uri", "cts")}]},
        {"aliases": [{"alias": {"protocol": 5}, "reference": any_side(r)}]}, Raw("{\"aliases\": ["),
        {"x": [pair()], "aliases": [pair()]}))


def pattern_table(r):
    def entries():
        return [{f"{values.word(r)}_{r.randrange(9)}-": values.word(r) + r.choice(("", " ", "/", ": "))}
                for _ in range(r.randrange(9))]
    return {key: entries() for key in ("prefix", "suffix", "regular") if r.random() < 0.7}


def bad_pattern_table(r):
    return r.choice((
        {"prefix": [{f"n{i}": f"v{i}"} for i in range(r.choice((63, 64, 65, 128, 129)))]},
        {"regular": [{"same": f"v{i}"} for i in range(r.choice((127, 128, 129)))]},
        {"suffix": [{"n" * r.choice((253, 254, 255, 256)): "v"}]},
        {"prefix": [{"a": ""}, {"": "b"}]}, {"prefix": [{"a": 5}, {"b": "c"}]},
        {"prefix": {"a": "b"}}, {"prefix": "a", "suffix": ["b", "c"], "regular": [["d"]]},
        {"regular": [{"a": "v" * r.choice((1024, 1025, 70000))}]}, {"other": [{"a": "b"}]},
        {"prefix": [{"a": "x"}, {"b": "x"}, {"a": "x"}]}, Raw("[1"), Raw(""), [], Raw("{} x"),
        {"regular": [{f"k{i}{'q' * 240}": f"v{i}"} for i in range(60)]}))


def ipbt_rule(r):
    return {"comment": values.word(r),
            "values": [{"type": "protocol", "value": str(r.randrange(4000))}
                       for _ in range(r.randrange(1, 4))],
            "ips": [values.address4(r) + r.choice(("", "/8", "/0", f"/{r.randrange(33)}"))
                    + r.choice(("", " # place")) for _ in range(r.randrange(1, 6))]}


def ipbt(r):
    return {"rules": [ipbt_rule(r) for _ in range(r.choice((0, 1, 3, 12)))]}


def bad_ipbt(r):
    rule = ipbt_rule(r)
    return r.choice((
        {"rules": [{**rule, "ips": [r.choice(("300.0.0.0/8", "1.2.3.4/33", "1.2.3/8", "", "a",
                                              "1.2.3.4  # x", "1.2.3.4 x", "1.2.3.4/8/8", "-1.2.3.4"))]}]},
        {"rules": [{**rule, "values": [{"type": r.choice(("proto", "", "port")), "value": "5"}]}]},
        {"rules": [{**rule, "values": [{"type": "protocol", "value": r.choice(("9" * 17, "x", "", "-1"))}]}]},
        {"rules": [{**rule, "more": 1}]}, {"rules": [{"values": rule["values"]}]}, {"rules": [{}]},
        {"rules": [{"ips": rule["ips"]}]}, {"rules": [{**rule, "values": []}]}, {"rules": {}},
        {"rules": [{**rule, "values": [{"value": "5"}]}]}, {"rules": [{**rule, "values": [{}]}]},
        {"rules": [{**rule, "values": [5, "a"]}]}, {"rule": []}, [], Raw("{"), Raw(""), Raw("null"),
        {"rules": [{**rule, "values": [{"type": 5, "value": 5}]}]}, {"rules": [{**rule, "ips": [5]}]}))


SOUND = {"tag_table": tag_table, "matcher_alias": aliases, "ipbt": ipbt,
         **{name: pattern_table for name in PATTERN_TABLES}}
FAULTY = {"tag_table": bad_tag_table, "matcher_alias": bad_aliases, "ipbt": bad_ipbt,
          **{name: bad_pattern_table for name in PATTERN_TABLES}}


def write(path, content):
    data = content if isinstance(content, bytes) else text_of(content).encode()
    with open(path, "wb") as file:
        file.write(data)
    return content


def make(r, folder, faulty):
    """Makes a configuration directory and returns the names of its tags.

    Most of the files are those of the examples; of a faulty directory one file has a fault.
    """
    os.mkdir(folder)
    fault = r.choice(sorted(FAULTY) + ["matcher_alias", "tag_table"]) if faulty else None
    tags = sorted(TAGS)
    shapes = ANY_SHAPE if r.random() < 0.1 else EXAMPLES
    for name in CONFIGURATION:
        path = os.path.join(folder, f"{name}.json")
        if name == fault:
            write(path, FAULTY[name](r))
        elif name in SOUND and r.random() < 0.3:
            made = write(path, SOUND[name](r))
            tags = sorted(made["tag_table"]) if name == "tag_table" else tags
        else:
            os.symlink(os.path.join(shapes if "semantic" in name else EXAMPLES, f"{name}.json"), path)
    if faulty and r.random() < 0.05:
        os.remove(os.path.join(folder, f"{r.choice(CONFIGURATION)}.json"))
    return tags


