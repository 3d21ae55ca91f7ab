import json

MASKS = [f"{i % 251}.{i % 241}.{i % 239}.{i % 233}" for i in range(4000)]
with open("cfg/ipbt.json", "w", encoding="ascii") as file:
    json.dump({"rules": [{"values": [{"type": "protocol", "value": "5"}], "ips": MASKS}]}, file)
