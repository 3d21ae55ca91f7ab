"""Random descriptions without faults, as trees of dictionaries and lists, and their text."""

import json

import values
from vocabulary import ATTRIBUTES, PROTOCOL_NAMES, PROTOCOLS, SCOPES

NO_MINIMUM = 65536
USERS = 0x1000000  # the first id of the namespace of users


class Raw(str):
    """Stands in a tree for a text that is written as it is."""


def text_of(tree, indent=0):
    """Returns the text of a tree; unlike json, with raw pieces and keys that may stand twice."""
    if isinstance(tree, Raw):
        return str(tree)
    if isinstance(tree, dict):
        pairs = [f"{json.dumps(str(key), ensure_ascii=False)}: {text_of(item, indent + 1)}"
                 if not isinstance(key, Raw) else f"{key}{text_of(item, indent + 1)}"
                 for key, item in tree.items()]
        return "{" + ("," + "\n" + " " * indent).join(pairs) + "}"
    if isinstance(tree, list):
        return "[" + ", ".join(text_of(item, indent + 1) for item in tree) + "]"
    return json.dumps(tree, ensure_ascii=False)


def some(r, items, most):
    """Returns one item, or a list of them."""
    count = min(r.randrange(1, most + 1), len(items))
    return r.choice(items) if count == 1 and r.random() < 0.7 else r.sample(items, count)


def values_for(r, attribute):
    count = r.choice((1, 1, 1, 1, 2, 3))
    made = [values.value_of(r, attribute) for _ in range(count)]
    return made[0] if count == 1 and r.random() < 0.9 else made


def put_offset(r, sub_rule, way):
    sub_rule[f"{way}stream_offset"] = {"offset": r.choice((0, 1, 4, 40, r.randrange(70000))),
                                       "pattern": values.offset_pattern(r)}


def put_minimum(r, sub_rule):
    """Puts minimum data in front, enough for any value."""
    number = r.choice((NO_MINIMUM, NO_MINIMUM, 200000))
    keys = {key: number for key in r.choice((("mindata",), ("cts-mindata", "stc-mindata")))}
    rest = dict(sub_rule)
    sub_rule.clear()
    sub_rule.update({"protocol": rest.pop("protocol"), **keys, **rest})


def make_sub_rule(r, protocol=None, most=3):
    protocol = protocol or r.choice(PROTOCOLS)
    known = [attribute for attribute in ATTRIBUTES if attribute.protocol == protocol]
    sub_rule = {"protocol": protocol}
    for attribute in r.sample(known, min(len(known), r.randrange(1, most + 1))):
        way = r.choice(attribute.ways)
        if attribute.offsets and r.random() < 0.3:
            put_offset(r, sub_rule, way)
        else:
            sub_rule[way + attribute.name] = values_for(r, attribute)
    mandatory = any(attribute.mindata for attribute in known)
    if mandatory or r.random() < 0.05:
        put_minimum(r, sub_rule)
    return sub_rule


def make_bare_sub_rule(r):
    """A sub-rule that only says that a protocol is there."""
    return {"protocol": some(r, PROTOCOLS, r.choice((1, 1, 3)))}


def make_preempt_sub_rule(r):
    protocol = r.choice(("tcp", "udp"))
    sub_rule = {"protocol": protocol, "mindata": NO_MINIMUM}
    for way in r.choice((("cts-",), ("stc-",), ("cts-", "stc-"))):
        sub_rule[f"{way}stream"] = values.word(r) + " "
    return sub_rule


def make_order(r):
    return f"{r.choice((0, 1, 50, 255, r.randrange(256)))}:{r.choice((0, 1, 16777215, r.randrange(9999)))}"


def make_rule(r, name, tags):
    rule = {"order": make_order(r)}
    preempt = r.random() < 0.06
    scopes = SCOPES
    if r.random() < 0.3:
        scope = some(r, [word for word in scopes if word != "dns"], 3)
        rule["scope"] = scope
    if r.random() < 0.3:
        rule["path"] = r.sample(PROTOCOLS, r.randrange(1, 4)) + [name]
    if tags and r.random() < 0.3:
        rule["rule-tags"] = some(r, tags, 4)
    if r.random() < 0.2:
        rule["fastpass"] = r.random() < 0.7
    if preempt:
        rule["preempt"] = r.random() < 0.8
    rule["rule"] = [make_preempt_sub_rule(r)] if preempt else make_sub_rules(r)
    return rule


def make_sub_rules(r):
    sub_rules = [make_sub_rule(r)]
    if r.random() < 0.25:
        sub_rules.append(r.choice((make_sub_rule, make_bare_sub_rule))(r))
    elif r.random() < 0.05:
        sub_rules = [make_bare_sub_rule(r)]
    return sub_rules


def put_optional_keys(r, protocol):
    if r.random() < 0.6:
        protocol["version"] = {key: r.randrange(2000) for key in ("major", "minor", "revision")
                               if r.random() < 0.8} or {"major": 1}
    if r.random() < 0.6:
        protocol["tags"] = {"category": some(r, PROTOCOL_NAMES[:40], r.choice((2, 9)))}
        if r.random() < 0.7:
            protocol["tags"]["family"] = values.word(r)
        if r.random() < 0.2:
            protocol["tags"]["deprecated"] = r.random() < 0.5
    for key, make in (("altname", lambda: some(r, PROTOCOL_NAMES, r.choice((2, 10)))),
                      ("http_reclassify", lambda: r.random() < 0.5),
                      ("implicit_bottom_layer", lambda: r.randrange(3)),
                      ("virtual_id", lambda: r.randrange(1 << 32)),
                      ("cacheable", lambda: r.random() < 0.5),
                      ("description", lambda: {"en": values.word(r), "fr": "é" + values.word(r)})):
        if r.random() < 0.15:
            protocol[key] = make()


def make_protocol(r, number, tags):
    """Returns a protocol; most have an id of the namespace of users."""
    protocol = {"name": f"{values.word(r)}_{number}", "id": USERS + number}
    identity = r.random()
    if identity < 0.2:
        protocol = {"name": r.choice(PROTOCOL_NAMES)}
    elif identity < 0.3:
        protocol["id"] = r.randrange(1, 1 << 16)
    put_optional_keys(r, protocol)
    if r.random() < 0.95:
        count = r.choice((0, 1, 1, 2, 3, 5))
        protocol["rules"] = [make_rule(r, protocol["name"], tags) for _ in range(count)]
    return protocol


def make_protocols(r, tags, most=6):
    return [make_protocol(r, 1 + n, tags) for n in range(r.randrange(1, most + 1))]


def description_text(protocols, key="protocols"):
    return text_of({key: protocols})
