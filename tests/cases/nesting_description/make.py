DEPTH = 1000000
TEXTS = {
    "open": '{"name": "a", "x": ' + "[" * DEPTH,
    "closed": '{"name": "a", "x": ' + "[" * DEPTH + "]" * DEPTH + "}]}",
    "alone": "[" * DEPTH + "]" * DEPTH + "]}",
    "objects": '{"a":' * DEPTH + "1" + "}" * DEPTH + "]}",
    "open_objects": '{"a":' * DEPTH,
}

for name, text in TEXTS.items():
    with open(name + ".pdd", "w", encoding="ascii") as file:
        file.write('{"protocols": [' + text + "\n")
