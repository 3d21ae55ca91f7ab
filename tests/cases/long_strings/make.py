for name, length in (("whole", 65535), ("empty", 65536), ("one", 65537)):
    with open(name + ".pdd", "w", encoding="ascii") as file:
        file.write('{"protocols": [{"name": "a", "altname": "' + "x" * length + '"}]}\n')
