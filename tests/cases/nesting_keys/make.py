import sys

DEPTH = int(sys.argv[1])


def nested(key, depth):
    """Returns an object of `depth` keys, each in the value of the one before."""
    return f'{{"{key}": ' * depth + "7" + "}" * depth


RULES = """{"x": %s, "nodes": [{}, {}], "transitions": [
{"from": 0, "to": 1, "trans": "{"}, {"from": 1, "to": 1, "trans": "}"},
{"from": 1, "to": 1, "trans": "{"}, {"from": 1, "to": 1, "trans": "["},
{"from": 1, "to": 1, "trans": "]"},
{"from": 1, "to": 1, "trans": ","}, {"from": 1, "to": 1, "trans": "*"}]}
""" % nested("x", DEPTH - 1)
FILES = {"tag_table": nested("tag_table", DEPTH), "matcher_alias": nested("x", DEPTH)}
for name in ("semantic_matcher_alias", "semantic_protocol", "semantic_tag_table"):
    FILES[name] = RULES

for name, content in FILES.items():
    with open(f"{name}/{name}.json", "w", encoding="ascii") as file:
        file.write(content)
