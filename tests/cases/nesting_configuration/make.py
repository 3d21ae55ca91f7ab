import sys

DEPTH = 1000000
DEEP = "[" * DEPTH + "]" * DEPTH
RULES = """{"x": %s, "nodes": [{}, {}], "transitions": [
{"from": 0, "to": 1, "trans": "{"}, {"from": 1, "to": 1, "trans": "}"},
{"from": 1, "to": 1, "trans": "{"}, {"from": 1, "to": 1, "trans": "["},
{"from": 1, "to": 1, "trans": "]"},
{"from": 1, "to": 1, "trans": ","}, {"from": 1, "to": 1, "trans": "*"}]}
""" % DEEP
CLOSED = {
    "tag_table": '{"x": %s}' % DEEP,
    "matcher_alias": '{"x": %s}' % DEEP,
    "ipbt": '{"rules": [{"comment": %s, "values": [{"type": "protocol", "value": "5"}], '
            '"ips": ["0.0.0.0/0"]}]}' % DEEP,
    "semantic_csm": "[]",
}
for name in ("http2", "http", "spdy", "http_proxy"):
    CLOSED[name] = '{"x": %s}' % DEEP
for name in ("semantic_matcher_alias", "semantic_protocol", "semantic_tag_table"):
    CLOSED[name] = RULES

for name, closed in CLOSED.items():
    with open(f"{name}/{name}.json", "w", encoding="ascii") as file:
        file.write("[" * DEPTH if sys.argv[1:] == ["open"] else closed)
