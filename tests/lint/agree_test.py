#!/usr/bin/env python3
"""pdata check finds an error exactly where the compiler refuses a description.

    agree_test.py BIN [NUMBER [SEED]]

Protocols of the shipped example are changed at random, one or two of their tokens at a time: taken
away, written twice, exchanged, or replaced by what authors write by mistake. Each is compiled into a
loadable pdb, and checked with the proofs off, which find more than the compiler does. Nothing but the
exit statuses is compared; what the check finds is printed where they differ.
"""

import os
import random
import re
import subprocess
import sys
import tempfile

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
CFG = os.path.join(ROOT, "examples", "cfg")
TOKEN = re.compile(r'"(?:[^"\\]|\\.)*"|\d+|true|false|null|[{}\[\]:,]')
PROOFS = ["dead-value", "dead-rule", "lossy-value"]
KEYS = ["name", "id", "version", "tags", "category", "altname", "rules", "order", "scope", "path",
        "rule-tags", "fastpass", "preempt", "rule", "protocol", "mindata", "cts-mindata",
        "stc-mindata", "stream_offset", "cts-stream_offset", "offset", "pattern", "port", "address",
        "cts-port", "stc-server", "cts-server", "server", "stream", "cts-stream", "stc-stream",
        "content", "cts-content", "common_name", "protoid", "payload_len", "query", "major", "family"]
VALUES = ["", "80", "0x50", "80-90,85-95", "90-80", "70000", "256", "1.2.3.4", "1.2.3.4/33", "::1",
          "2001:db8::/32", "10.0.0.9-10.0.0.1", ".*", "a.*", ".*a", "a.*b.*", "(a|b", "a)", "[b-a]",
          "[a-z]+", "a{2}", "*a", "a**", "\\\\", "\\\\x4", "\\\\x41\\\\x42", "a,b", ",", "tcp", "udp",
          "ip", "http", "ssl", "dns", "all", "s", "nope", "video", "5", "5:6", "256:0", "1:16777216",
          "50:0", "0123456789" * 120, ".*" + "0123456789" * 120 + ".*", "^a", "a$", "a^b", "(.*\\\\.)?a",
          "\\u00fc", "a\\\\", "(a|b|c).*(d|e)"]
SCALARS = ["0", "1", "2", "3", "4", "8", "16", "65536", "65535", "4294967296", "true", "false", "null",
           "{}", "[]", '"x"', '["a"]', '["80", "81"]', '["a", "b", "c", "d", "e", "f", "g", "h", "i"]',
           '{"offset": 4, "pattern": "abcd"}', '{"offset": 2, "pattern": "\\\\x4"}']


def protocols():
    """The texts of the example's protocols."""
    with open(os.path.join(ROOT, "examples", "protocols.pdd"), encoding="utf-8") as file:
        text = file.read()
    return re.findall(r"^    \{\n.*?^    \}", text, re.S | re.M)


def change(tokens, rng):
    at = rng.randrange(len(tokens))
    strings = [i for i, token in enumerate(tokens) if token.startswith('"')]
    what = rng.randrange(16)
    if what == 0:
        del tokens[at]
    elif what == 1:
        tokens.insert(at, tokens[at])
    elif what == 2:
        other = rng.randrange(len(tokens))
        tokens[at], tokens[other] = tokens[other], tokens[at]
    elif what < 4:
        i = rng.choice(strings)
        tokens[i] = '"%s"' % rng.choice(KEYS)
    elif what < 12:
        values = [i for i in strings if i + 1 < len(tokens) and tokens[i + 1] != ":"] or strings
        tokens[rng.choice(values)] = '"%s"' % rng.choice(VALUES)
    else:
        values = [i for i, token in enumerate(tokens[:-1])
                  if token not in "{}[]:," and tokens[i + 1] != ":"] or strings
        tokens[rng.choice(values)] = rng.choice(SCALARS)


def description(texts, rng):
    tokens = TOKEN.findall(rng.choice(texts))
    for _ in range(rng.choice((1, 1, 2))):
        change(tokens, rng)
    return '{"protocols": [' + " ".join(tokens) + "]}\n"


def is_refused(bin_folder, folder):
    run = subprocess.run(
        [os.path.join(bin_folder, "pdata_compiler"), "--pdd", "a.pdd", "--cfg-path", CFG,
         "--loadable", "--pdb-out", "a.pdb"], cwd=folder, capture_output=True, check=False)
    return run.returncode != 0, run.stdout + run.stderr


def is_found(bin_folder, folder):
    off = [word for name in PROOFS for word in ("-W", name + "=off")]
    run = subprocess.run([os.path.join(bin_folder, "pdata"), "check", "a.pdd", "--cfg", CFG] + off,
                         cwd=folder, capture_output=True, check=False)
    assert run.returncode in (0, 1), run.stderr
    return run.returncode == 1, run.stdout


def main():
    bin_folder = os.path.abspath(sys.argv[1])
    number = int(sys.argv[2]) if len(sys.argv) > 2 else 150
    rng = random.Random(int(sys.argv[3]) if len(sys.argv) > 3 else 1)
    texts = protocols()
    failures = 0
    refused = 0
    with tempfile.TemporaryDirectory() as folder:
        for _ in range(number):
            text = description(texts, rng)
            with open(os.path.join(folder, "a.pdd"), "w", encoding="utf-8") as file:
                file.write(text)
            expected, said = is_refused(bin_folder, folder)
            found, shown = is_found(bin_folder, folder)
            refused += expected
            unnamed = b"[refused]" in shown
            if expected != found or unnamed:
                failures += 1
                print("compiler refuses: %s, check: %s\n%s%s%s" % (
                    expected, found, text, said.decode(errors="replace"),
                    shown.decode(errors="replace")))
    print("%d descriptions, %d refused, %d differ" % (number, refused, failures))
    return 1 if failures or not number // 5 < refused < number else 0


sys.exit(main())
