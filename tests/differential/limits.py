"""Descriptions at their limits, just within them and just beyond."""

import descriptions
import values
from descriptions import NO_MINIMUM
from faults import a_rule, put_sub_rule, rules_of


def about(r, limit):
    """Returns the limit, or a number near it."""
    return limit + r.choice((-1, 0, 0, 1, 1, 2))


def words(count, name="w"):
    return [f"{name}{i}" for i in range(count)]


def altnames(r, protocol):
    protocol["altname"] = words(about(r, 10))


def categories(r, protocol):
    protocol["tags"] = {"category": words(about(r, 9)), "family": "f", "deprecated": True}


def scopes(r, protocol):
    a_rule(r, protocol)["scope"] = ["http"] * about(r, 8)
    last_rule_key(protocol)


def paths(r, protocol):
    a_rule(r, protocol)["path"] = words(about(r, 4) - 1) + [protocol.get("name", "")]
    last_rule_key(protocol)


def rule_tags(r, protocol):
    a_rule(r, protocol)["rule-tags"] = ["web"] * about(r, 4)
    last_rule_key(protocol)


def last_rule_key(protocol):
    """Puts the sub-rules behind all other keys of their rule, where they belong."""
    for rule in rules_of(protocol):
        if isinstance(rule, dict) and "rule" in rule:
            rule["rule"] = rule.pop("rule")


def sub_rules(r, protocol):
    a_rule(r, protocol)["rule"] = [descriptions.make_sub_rule(r, most=1)
                                   for _ in range(about(r, 2))]


def bottom_protocols(r, protocol):
    put_sub_rule(r, protocol, {"protocol": words(about(r, 6), "http")})


def attribute_values(r, protocol):
    put_sub_rule(r, protocol, {"protocol": "http", "cookie": words(about(r, 8))})


def attributes(r, protocol):
    sub_rule = {"protocol": "http", "mindata": NO_MINIMUM}
    names = ("uri", "cookie", "server", "referer", "header_raw", "mime_type", "content", "user_agent")
    for i in range(about(r, 16)):
        sub_rule.setdefault(("cts-" if i < 8 else "") + names[i % 8], []).append(f"v{i}.*")
    put_sub_rule(r, protocol, sub_rule)


def items(r, protocol):
    """Items of a rule, over two sub-rules."""
    half = {"protocol": "ssl", "cts-common_name": words(8)}
    other = {"protocol": "ssl", "stc-common_name": words(about(r, 8), "x")[:8],
             "subject_alt_name": words(r.choice((1, 2)))}
    a_rule(r, protocol)["rule"] = [half, other]


def offsets(r, protocol):
    sub_rule = {"protocol": "tcp", "mindata": NO_MINIMUM,
                "pattern": [f"p{i} .*" for i in range(8)], "port": ["80"] * (about(r, 16) - 9)}
    sub_rule["cts-stream_offset"] = {"offset": 5, "pattern": "q"}
    put_sub_rule(r, protocol, sub_rule)


def permutations(r, protocol):
    value = "[a-z]" * r.choice((1, 2, 3)) + r.choice(("x", "(aa|b|c)", "q?q?q?q?q?q?", "[0-9][0-9]", ".*"))
    put_sub_rule(r, protocol, {"protocol": "http", "uri": value})


def long_values(r, protocol):
    length = r.choice((255, 256, 1023, 1024, 1025, 4000, 65535, 65536, 65540))
    text = "a" * length
    put_sub_rule(r, protocol, {"protocol": r.choice(("http", "ip")), "uri": text} if r.random() < 0.5
                 else {"protocol": "http", "cookie": f".*{text}.*"})


def long_names(r, protocol):
    text = "n" * r.choice((255, 256, 300, 1023, 1100, 65535, 65537))
    if r.random() < 0.6:
        protocol["name"] = text
    else:
        put_sub_rule(r, protocol, {"protocol": text, "a" + text[:2000]: "v"})


def many_rules(r, protocol):
    count = r.choice((1198, 1199, 1200))
    protocol["rules"] = [{"order": "9:0", "rule": [{"protocol": "ssl", "common_name": f"host{i}"}]}
                         for i in range(count)]


def split_rules(r, protocol):
    many_rules(r, protocol)
    protocol["rules"] = protocol["rules"][:about(r, 1195)]
    protocol["rules"][3]["rule"] = [{"protocol": words(4)}]


def private_ids(r, protocol):
    """Values whose pieces nearly fill, or overfill, the table of one matcher."""
    count = r.choice((500, 520))
    protocol["rules"] = [{"order": "9:0", "rule": [
        {"protocol": "http", "user_agent": f"u{i}[a-h][ijkl].*{values.word(r)}.*"}]}
        for i in range(count)]


LIMITS = (altnames, categories, scopes, paths, rule_tags, sub_rules, bottom_protocols,
          attribute_values, attributes, items, offsets, permutations, long_values, long_names)
LARGE = (many_rules, split_rules, private_ids)
