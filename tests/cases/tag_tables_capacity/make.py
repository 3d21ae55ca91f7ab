def table(number, value):
    members = ", ".join(f'"t{i}": {value(i)}' for i in range(number))
    return '{"tag_table": {' + members + "}}\n"


for name, text in (("cfg_128", table(128, str)), ("cfg_129", table(129, str)),
                   ("cfg_names", table(200, lambda i: '"text"'))):
    with open(f"{name}/tag_table.json", "w", encoding="ascii") as file:
        file.write(text)
