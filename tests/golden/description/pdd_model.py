"""What a pdb must give back, worked out from the description and the configuration alone.

It follows the vocabulary of a description key by key and shares no code with the compiler. It is
for descriptions that compile: what is wrong with one is not looked for.
"""

import json
import os

SCOPES = ["all", "http", "ssl", "stun", "ip", "dns", "sip", "rtsp", "facebook", "quic", "http2",
          "http_proxy", "spdy"]
NO_VID = 0xFFFFFFFF

# Every attribute: how its values are kept and the way it is bound to, "both" for none.
ATTRIBUTES = {
    ("http", name): ("stream", way) for way, names in (
        ("cts", "uri_decoded post_variable_decoded uri_get_decoded uri_post_decoded "
                "uri_path_decoded server uri user_agent referer cookie"),
        ("stc", "server_agent location"),
        ("both", "header_raw content mime_type")) for name in names.split()}
ATTRIBUTES.update({(protocol, name): (kind, way) for kind, way, rows in (
    ("stream", "cts", "quic:server_name quic:user_agent rtmp:page_url rtsp:user_agent rtsp:server"),
    ("stream", "stc", "ssl:subject_alt_name rtsp:server_agent"),
    ("stream", "both", "ssl:common_name dtls:common_name ssl:organization_name tcp:stream "
                       "udp:stream tcp:pattern udp:pattern sip:user_agent sip:server_agent "
                       "sip:domain ip:resolv_name stun:realm stun:software dns:query"),
    ("number16", "both", "udp:port tcp:port udp:payload_len tcp:payload_len"),
    ("number8", "both", "icmp:typeval icmp:code icmp6:type icmp6:code ip:protoid ip6:protoid "
                        "ip:dscp ip6:dscp"),
    ("ip4", "both", "ip:address"), ("ip6", "both", "ip6:address"))
    for protocol, name in (row.split(":") for row in rows.split())})


def load(path):
    """A JSON document; objects are lists of pairs, as keys may come twice and order counts."""
    with open(path, encoding="latin-1") as file:
        text = file.read()
    assert "\\u" not in text, "an escape that this model reads otherwise"
    return json.loads(text, object_pairs_hook=lambda pairs: Object(pairs), strict=False)


class Object(list):
    """The pairs of an object, in text order."""

    def last(self, key, default=None):
        return next((value for name, value in reversed(self) if name == key), default)


def raw(text):
    return text.encode("latin-1")


def listed(value):
    """A text or a list of texts, as a list."""
    return value if isinstance(value, list) and not isinstance(value, Object) else [value]


def every(pairs, key):
    """All texts under a key, which may come twice."""
    return [text for name, value in pairs if name == key for text in listed(value)]


def built_in_ids(path):
    with open(path, encoding="ascii") as file:
        rows = [line.rstrip("\n").split("\t") for line in file if not line.startswith("#")]
    return {row[0]: int(row[1]) for row in rows if len(row) == 2}


def split_way(key):
    """The way that a prefix asks for, and the name behind it."""
    if len(key) > 4 and key[:4] in ("stc-", "cts-"):
        return key[:3], key[4:]
    return "both", key


def container_attributes(sub_rule):
    """Name, text, offset of each attribute value, in text order."""
    known = {"protocol", "mindata", "cts-mindata", "stc-mindata"}
    for key, value in sub_rule:
        if key in known:
            continue
        if key in ("stream_offset", "cts-stream_offset", "stc-stream_offset"):
            yield key[:-len("_offset")], value.last("pattern"), value.last("offset")
        else:
            for text in listed(value):
                yield key, text, None


def attributes_of(bottom, sub_rule):
    """The attributes of a sub-rule: each name and way once, values in order."""
    attributes = []
    for key, text, offset in container_attributes(sub_rule):
        asked, name = split_way(key)
        kind, bound = ATTRIBUTES[(bottom, name)]
        way = asked if bound == "both" else bound
        found = next((a for a in attributes if (a["name"], a["way"]) == (raw(name), way)), None)
        if found is None:
            found = {"name": raw(name), "type": kind, "way": way, "values": []}
            attributes.append(found)
        found["values"].append((raw(text), offset or 0))
    return attributes


def scope_bits(words, bottom):
    def bit(word):
        return next((1 << i for i, scope in enumerate(SCOPES) if scope.startswith(word)), 0)

    bits = 1 << SCOPES.index("http_proxy") | bit(bottom)
    for word in words:
        bits |= bit(word)
    return bits


def digits_of(text):
    """The number that a text begins with."""
    number = "".join(c if c.isdigit() else " " for c in text).split(" ")[0]
    return int(number or 0)


def container_rules(protocol):
    """Rules as the walk finds them: keys, and sub-rules as (keys, protocols). The end of a "rule"
    list ends the rule; keys behind it belong to the next one."""
    rules, current = [], []
    for rule in every(protocol, "rules"):
        for key, value in rule:
            current.append((key, value))
            if key == "rule":
                subs = [(sub, every(sub, "protocol")) for sub in value]
                rules.append((Object(current), subs))
                current = []
    return rules


def split_rules(rules):
    """A sub-rule of several protocols becomes one rule for each, the copies behind all others."""
    originals, copies = [], []
    for keys, subs in rules:
        many = next((i for i, (_, protocols) in enumerate(subs) if len(protocols) > 1), None)
        if many is None:
            originals.append((keys, subs))
            continue
        for n, name in enumerate(subs[many][1]):
            split = subs[:many] + [(subs[many][0], [name])] + subs[many + 1:]
            (originals if n == 0 else copies).append((keys, split))
    return originals + copies


class Slots:
    """What a rule without attributes inherits: the place of its first sub-rule keeps the flags,
    the scope and the version identifier of whatever stood there in a protocol before."""

    def __init__(self):
        self.kept = {}

    def fresh(self):
        return {"scope": 0, "vid": 0, "fastpass": 0, "preempt": 0}

    def of(self, place):
        return self.kept.setdefault(place, self.fresh())


def mindata_of(sub_rule):
    both = sub_rule.last("mindata", 0)
    return {"stc_mindata": sub_rule.last("stc-mindata", both),
            "cts_mindata": sub_rule.last("cts-mindata", both)}


def sub_rule_of(sub_rule, protocols):
    bottom = protocols[0]
    return {"bottom": raw(bottom), "real_bottom": raw(bottom), **mindata_of(sub_rule),
            "attributes": attributes_of(bottom, sub_rule)}


def rule_of(keys, subs, vid, slots, place):
    """A rule, whose first sub-rule stands at a place among the protocol's sub-rules."""
    sub_rules = [sub_rule_of(sub, protocols) for sub, protocols in subs]
    for i, ((_, protocols), sub_rule) in enumerate(zip(subs, sub_rules)):
        if sub_rule["attributes"]:
            slots.kept[place + i] = {
                "scope": scope_bits(every(keys, "scope"), protocols[0]), "vid": vid,
                "fastpass": int(keys.last("fastpass") is not None),
                "preempt": int(keys.last("preempt") is not None)}
    rule = {"priority": 0, "path": [], "tags": [], **slots.of(place), "sub_rules": sub_rules}
    if sub_rules[0]["attributes"]:
        numbers = keys.last("order").split(":", 1)
        rule["priority"] = digits_of(numbers[0]) << 24 | digits_of(numbers[1])
        rule["path"] = [raw(name) for name in every(keys, "path")]
        rule["tags"] = [raw(name) for name in every(keys, "rule-tags")]
    rule["vid"] = None if rule["vid"] == NO_VID else rule["vid"]
    return rule


def tags_of(protocol):
    tags = Object([pair for value in every(protocol, "tags") for pair in value])
    pairs = [(b"category", raw(text)) for text in every(tags, "category")]
    if tags.last("family") is not None:
        pairs.append((b"family", raw(tags.last("family"))))
    if tags.last("deprecated") is True:
        pairs.append((b"deprecated", b"true"))
    return pairs


def protocol_of(protocol, ids, slots):
    version = Object([pair for value in every(protocol, "version") for pair in value])
    name = protocol.last("name")
    rules, place = [], 0
    for keys, subs in split_rules(container_rules(protocol)):
        if subs:  # a rule without sub-rules leaves no trace
            rules.append(rule_of(keys, subs, protocol.last("virtual_id", NO_VID), slots, place))
        place += len(subs)
    return {"id": protocol.last("id", ids.get(name, 0)), "name": raw(name),
            "default_port": b"\0", "max_trans": 0,
            "cacheable": int(protocol.last("cacheable", True) is True),
            "http_reclassify": int(protocol.last("http_reclassify") is True),
            "major": version.last("major", 0), "minor": version.last("minor", 0),
            "revision": version.last("revision", 0),
            "implicit_bottom_layer": protocol.last("implicit_bottom_layer", 0),
            "tags": tags_of(protocol), "descriptions": [], "compat": [],
            "supported": [b"See atlas for details"],
            "altnames": [raw(text) for text in every(protocol, "altname")], "rules": rules}


def alias_pairs(document):
    def side(value):
        return raw(value.last("protocol")), raw(value.last("attr")), value.last("way")

    return [(side(pair.last("alias")), side(pair.last("reference")))
            for pair in every(document, "aliases")]


def move_mindata(sub_rule, before, after):
    if before[0] not in (b"stream", b"content") or after[0] not in (b"stream", b"content"):
        return
    larger = max(sub_rule["stc_mindata"], sub_rule["cts_mindata"])
    if (before[1], after[1]) in (("cts", "stc"), ("stc", "cts")):
        sub_rule[f"{after[1]}_mindata"] = larger
        sub_rule[f"{before[1]}_mindata"] = 0


def rewrite(sub_rule, pairs):
    """Takes a sub-rule from the protocol of an alias to that of its reference."""
    of_protocol = [pair for pair in pairs if pair[0][0] == sub_rule["bottom"]]
    for attribute in sub_rule["attributes"]:
        before = (attribute["name"], attribute["way"])
        for alias, reference in of_protocol:
            if alias[1:] == before:
                sub_rule["bottom"] = reference[0]
                move_mindata(sub_rule, before, reference[1:])
                attribute["name"], attribute["way"] = reference[1:]
                break


def tag_table(document):
    tags, numbers = [], set()
    for table in every(document, "tag_table"):
        for name, number in table:
            if number in numbers:
                return tags
            numbers.add(number)
            tags.append((raw(name), number))
    return tags


def model_of(pdd, cfg, ids_path):
    """Everything that the pdb of a description must say."""
    ids, slots = built_in_ids(ids_path), Slots()
    aliases = alias_pairs(load(os.path.join(cfg, "matcher_alias.json")))
    protocols = [protocol_of(protocol, ids, slots) for protocol in load(pdd)[0][1]]
    for protocol in protocols:
        for rule in protocol["rules"]:
            for sub_rule in rule["sub_rules"]:
                rewrite(sub_rule, aliases)
    return {"load": [0x01000001], "aliases": aliases,
            "tags": tag_table(load(os.path.join(cfg, "tag_table.json"))), "protocols": protocols}
