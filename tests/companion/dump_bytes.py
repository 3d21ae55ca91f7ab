#!/usr/bin/env python3
"""Turns what "pdata dump" prints back into the bytes of the file.

    dump_bytes.py text|json

reads the dump of a whole file from standard input and writes the bytes. A "*" stands for lines that
repeat the one before it up to the offset of the one behind it.
"""

import json
import sys


def bytes_of_text(lines):
    content = bytearray()
    starred = False
    for line in lines:
        if line == "*":
            starred = True
            continue
        offset = int(line[:8], 16)
        line_bytes = bytes.fromhex(line[10:57])
        while starred and len(content) < offset:
            content += content[-16:]
        starred = False
        if len(content) != offset:
            sys.exit(f"{line}: behind byte {len(content)}")
        content += line_bytes
    return bytes(content)


def bytes_of_json(lines):
    content = bytearray()
    for line in lines:
        document = json.loads(line)
        if "summary" in document:
            break
        if document["offset"] != len(content) or len(document["bytes"]) != document["size"] * 2:
            sys.exit(f"{line[:100]}: behind byte {len(content)}")
        content += bytes.fromhex(document["bytes"])
    return bytes(content)


if __name__ == "__main__":
    FORMS = {"text": bytes_of_text, "json": bytes_of_json}
    sys.stdout.buffer.write(FORMS[sys.argv[1]](sys.stdin.read().split("\n")[:-1]))
