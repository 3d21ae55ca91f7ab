import json


def write(cfg, **tables):
    """Writes a pattern table; a kind is the list of its names and texts."""
    text = {kind: [{name: text} for name, text in entries] for kind, entries in tables.items()}
    with open(f"{cfg}/http.json", "w", encoding="ascii") as file:
        json.dump(text, file)


def entries(number, name="n{}", text="x{}"):
    return [(name.format(i), text.format(i)) for i in range(number)]


write("names_64", prefix=entries(40), suffix=entries(40, name="m{}")[:24], regular=entries(40))
write("names_65", prefix=entries(41), suffix=entries(40, name="m{}")[:24], regular=entries(40))
write("values_128", prefix=entries(128, name="n"), suffix=entries(128, name="n"),
      regular=entries(128, name="n"))
write("values_129", suffix=entries(129, name="n"))
write("key_full", prefix=entries(64, name="n" * 240 + "{}"))
write("source_full", regular=entries(128, name="n", text="{}" + "abcdefgh" * 60))
