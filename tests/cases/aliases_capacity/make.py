PAIR = ('{"alias": {"protocol": "p%d", "attr": "a", "way": "cts"}, '
        '"reference": {"protocol": "q", "attr": "b", "way": "stc"}}')

for number in (63, 64, 65):
    with open(f"cfg_{number}/matcher_alias.json", "w", encoding="ascii") as file:
        file.write('{"aliases": [' + ",\n".join(PAIR % i for i in range(number)) + "]}\n")
