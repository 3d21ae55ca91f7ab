def description(name, *parts):
    """Writes a description with one protocol; a part is a number and that many rules alike."""
    rules = ", ".join(rule for number, rule in parts for _ in range(number))
    with open(name, "w", encoding="ascii") as file:
        file.write('{"protocols": [{"name": "a", "rules": [' + rules + "]}]}\n")


EMPTY = '{"rule": []}'
TWO_PROTOCOLS = '{"rule": [{"protocol": ["tcp", "udp"]}]}'
description("rules_1199.pdd", (1199, EMPTY))
description("rules_1200.pdd", (1200, EMPTY))
description("split_to_1199.pdd", (1197, EMPTY), (1, TWO_PROTOCOLS))
description("split_to_1200.pdd", (1198, EMPTY), (1, TWO_PROTOCOLS))
