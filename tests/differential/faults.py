"""Faults of descriptions: each operation takes a sound protocol and spoils it in one way."""

import copy

import descriptions
import values
from descriptions import NO_MINIMUM, Raw
from vocabulary import ATTRIBUTES, SCOPES

BAD_EXPRESSIONS = ("(", ")", "*a", "a(b", "a)b", "[a", "[z-a]x", r"\x4", "\\", r"\0", r"a\[b", "a**",
                   "+", "?a", "a$b", "(a|b", r"\]", "a^b", "[]", "[^]", r"[\d-a]", r"\xzz", "|", "()")
BAD_NUMBERS = ("256", "65536", "9-5", "[5]", "[9-5]", "12-300", "1000-70000", "a", "-1", "5-", "1,,2",
               "", " 5", "5 ", "99999999999", "[1-2", "1-2-3", "0x10", ",", "+5", "4294967297")
BAD_ADDRESSES4 = ("1.2.3", "1.2.3.4/33", "300.1.1.1", "1.2.3.4-", "1.2.3.9-1.2.3.4", "1.2.3.4.5", "a",
                  "1.2.3.4/8-1.2.3.9", "1..2.3", "1.2.3.0004", "1.2.3.4/", "0.0.0.0-0.0.0.0", "")
BAD_ADDRESSES6 = ("1:2", ":1", "1::2::3", "1:2:3:4:5:6:7:8:9", "12345::", "::1/128", "::1/1000", "g::",
                  "1:2:3:4:5:6:7:8::", "::1.2.3.4", "::/", "1:2:3:4:5:6:7:", "::1/-1", ":")
BAD_ORDERS = ("5", "256:1", "1:16777216", "", ":", "a:b", "1:2:3", " 1:1", "-1:5", "99999999999:1",
              "1;1", ":5", "5:")
BAD_PATTERNS = ("a\\", r"\x4", r"\xg1", r"a\x", "", r"\x00", "\\")
SYNTAX = (",", "}", "]", "{", "\r", "tru", "-1", "1.5", "// x", "'a'", '"open', "\0", ":", "01x", "nul",
          "\u00e9", '"a" "b"', "[1,]", "{}{}", '{"a"}', '{"a":}', '{,}', "\\", "+1", "truefalse")
WRONG_KINDS = (5, "five", True, False, None, {}, [], {"a": 1}, [1, 2], ["a", 5], [["a"]], Raw(""),
               [True], 4294967296)


def wrong_value(r):
    return copy.deepcopy(r.choice(WRONG_KINDS))


def rules_of(protocol):
    """Returns the rules, sound ones where earlier faults left none."""
    rules = protocol.get("rules")
    if not rules or not isinstance(rules, list) or not all(isinstance(rule, dict) for rule in rules):
        protocol["rules"] = [{"order": "1:1", "rule": [{"protocol": "http", "uri": "a.*"}]}]
    return protocol["rules"]


def a_rule(r, protocol):
    return r.choice(rules_of(protocol))


def put_sub_rule(r, protocol, sub_rule):
    """Replaces the sub-rules of one rule."""
    a_rule(r, protocol)["rule"] = [sub_rule]


def put_value(r, protocol, kind, texts):
    attribute = r.choice([row for row in ATTRIBUTES if row.kind == kind])
    put_sub_rule(r, protocol, {"protocol": attribute.protocol, "mindata": NO_MINIMUM,
                               r.choice(attribute.ways) + attribute.name: r.choice(texts)})


def containers(tree):
    """Yields every object of the tree."""
    if isinstance(tree, dict):
        yield tree
    for item in tree.values() if isinstance(tree, dict) else tree if isinstance(tree, list) else ():
        yield from containers(item)


def an_object(r, protocol):
    return r.choice([found for found in containers(protocol) if found] or [{"name": "lost"}])


def syntax(r, protocol):
    found = an_object(r, protocol)
    found[r.choice(list(found))] = Raw(r.choice(SYNTAX))


def key_syntax(r, protocol):
    an_object(r, protocol)[Raw(r.choice(('"a" ', "a: ", '"a":: ', "5: ", ": ", '"a', "")))] = "b"


def wrong_kind(r, protocol):
    found = an_object(r, protocol)
    found[r.choice(list(found))] = wrong_value(r)


def unknown_key(r, protocol):
    an_object(r, protocol)[values.word(r)] = wrong_value(r)


def doubled_key(r, protocol):
    found = an_object(r, protocol)
    key = r.choice([key for key in found if not isinstance(key, Raw)] or ["name"])
    found[Raw(f'"{key}" : ')] = found.get(key, "x")


def lost_key(r, protocol):
    found = an_object(r, protocol)
    found.pop(r.choice(list(found)))


def late_key(r, protocol):
    rule = a_rule(r, protocol)
    if rule:
        key = r.choice(list(rule))
        rule[key] = rule.pop(key)


def empty_text(r, protocol):
    found = an_object(r, protocol)
    found[r.choice(list(found))] = r.choice(("", [""], ["a", ""]))


def bad_order(r, protocol):
    rule = a_rule(r, protocol)
    rule["order"] = r.choice(BAD_ORDERS)
    rule.update({key: rule.pop(key) for key in ("rule",) if key in rule})


def bad_scope(r, protocol):
    rules_of(protocol)[0] = {"order": "1:1", "scope": r.choice(("htt", "", "HTTP", "httpx", ["ip", "zz"])),
                             "rule": [descriptions.make_sub_rule(r)]}


def dns_scope(r, protocol):
    rules_of(protocol).append({"order": "1:1", "scope": ["dns", "http"],
                               "rule": [{"protocol": "ip", "protoid": "5"}]})


def bad_path(r, protocol):
    path = r.choice((["tcp"], ["tcp", "udp"], [], ["", ""], ["a", "b", "c", protocol.get("name", "x")]))
    rules_of(protocol)[0] = {"order": "1:1", "path": path, "rule": [descriptions.make_sub_rule(r)]}


def unknown_tag(r, protocol):
    rules_of(protocol).append({"order": "2:1", "rule-tags": ["no_such_tag"],
                               "rule": [descriptions.make_sub_rule(r)]})


def unknown_attribute(r, protocol):
    put_sub_rule(r, protocol, {"protocol": r.choice(("http", "nobody", "")),
                               r.choice(("urix", "port", "cts-", "stc-", "cts-x")): "a"})


def wrong_way(r, protocol):
    attribute = r.choice([row for row in ATTRIBUTES if len(row.ways) == 2])
    way = "stc-" if attribute.ways[1] == "cts-" else "cts-"
    put_sub_rule(r, protocol, {"protocol": attribute.protocol, way + attribute.name: "a"})


def bad_expression(r, protocol):
    put_value(r, protocol, "text", BAD_EXPRESSIONS)


def bad_number(r, protocol):
    put_value(r, protocol, r.choice(("number8", "number16")), BAD_NUMBERS)


def bad_address(r, protocol):
    put_value(r, protocol, "address4", BAD_ADDRESSES4) if r.random() < 0.5 else \
        put_value(r, protocol, "address6", BAD_ADDRESSES6)


def bad_offset(r, protocol):
    offset = {"offset": r.choice((0, 3, 65535, 65536)), "pattern": r.choice(BAD_PATTERNS)}
    if r.random() < 0.3:
        offset.pop(r.choice(list(offset)))
    put_sub_rule(r, protocol, {"protocol": r.choice(("tcp", "udp", "http")), "mindata": 70000,
                               "cts-stream_offset": offset})


def bad_minimum(r, protocol):
    sub_rule = {"protocol": r.choice(("tcp", "udp")), "stream": "long first bytes.*"}
    if r.random() < 0.7:
        sub_rule = {"protocol": sub_rule.pop("protocol"),
                    r.choice(("mindata", "cts-mindata")): r.choice((0, 1, 4, 16)), **sub_rule}
    if r.random() < 0.3:
        sub_rule["cts-stream_offset"] = {"offset": 20, "pattern": "abcd"}
    put_sub_rule(r, protocol, sub_rule)


def just_minimum(r, protocol):
    """Minimum data about as long as the bytes that they must cover."""
    length, offset = r.randrange(1, 9), r.choice((1, 3, 8))
    reach = length + r.choice((-1, 0, 0, 1)) + r.choice((0, offset))
    sub_rule = {"protocol": r.choice(("tcp", "udp")), "mindata": reach}
    if r.random() < 0.5:
        sub_rule["stream"] = "b" * length + ".*"
    else:
        sub_rule["cts-stream_offset"] = {"offset": offset, "pattern": "b" * length}
    put_sub_rule(r, protocol, sub_rule)


def end_of_stream(r, protocol):
    put_sub_rule(r, protocol, {"protocol": "tcp", "mindata": NO_MINIMUM,
                               "stream": r.choice((".*end", "a.*b", "whole"))})


def preempt(r, protocol):
    sub_rule = {"protocol": "tcp", "mindata": NO_MINIMUM}
    for key in r.sample(("cts-stream", "stc-stream", "stream", "port", "cts-pattern", "stc-port"),
                        r.randrange(1, 4)):
        sub_rule[key] = "80" if key.endswith("port") else r.choice(("ab", "a.*b", "(a|b)c", "ab.*"))
    rules_of(protocol).append({"order": "1:1", "preempt": True,
                               "rule": [sub_rule] * r.choice((1, 1, 2))})


def namespace(r, protocol):
    protocol["id"] = r.choice((0, 0xffffffff, 0x2000001, 0x3000001, 0x1000001, 7, 65536, 4294967297))


def deep(r, protocol):
    protocol[r.choice(("x", "rules", "tags"))] = Raw("[" * (depth := r.choice((20, 300))) + "]" * depth)


def mixed_protocols(r, protocol):
    put_sub_rule(r, protocol, {"protocol": ["http", "ssl"], "uri": "a"})


def scope_words(r, protocol):
    a_rule(r, protocol).update(scope=[word[:r.randrange(len(word) + 1)] for word in SCOPES[:8]])


# Seen while a pdb is made from a description.
EARLY = (syntax, key_syntax, wrong_kind, unknown_key, doubled_key, lost_key, late_key, empty_text,
         bad_order, bad_scope, dns_scope, bad_path, unknown_attribute, wrong_way, deep,
         mixed_protocols)

# Seen, some never, when the pdb is made loadable.
LATE = (unknown_tag, bad_expression, bad_number, bad_address, bad_offset, bad_minimum, just_minimum,
        end_of_stream, preempt, namespace, scope_words)
