import json


def write(name, values):
    rules = [{"order": "1:0", "rule": [{"protocol": "http", "cts-cookie": value}]}
             for value in values]
    with open(name + ".pdd", "w", encoding="ascii") as file:
        json.dump({"protocols": [{"name": "a", "rules": rules}]}, file)


write("repeated", ["(a|b)" * 5 + "x" * 900] * 1000)
choices = "|".join("(" + f"({letter}|{letter.upper()})" * 5 + ")" for letter in "abcdefghijklmnop")
write("nested", ["(" + choices + ")" + "x" * 51000])
