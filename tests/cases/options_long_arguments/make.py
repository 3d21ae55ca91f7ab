with open("x" * 255, "w", encoding="ascii") as file:
    file.write('{"protocols": [{"name": "a"}]}\n')
