#!/usr/bin/env python3
"""What lists are imported as fires on every entry and on no near miss.

    import_test.py BIN [STEP]

imports lists, checks that "pdata check" finds nothing, compiles the descriptions and runs flows:
every entry, names below and beside it, the ends of every range and their neighbours. What is
expected is worked out from the lists by a reader of their own. With STEP, only one of so many
samples is taken, and the smallest lists. Lists of a folder named by PDATA_DOMAIN_LISTS are tried as
well, where it is set.
"""

import ipaddress
import os
import random
import re
import subprocess
import sys
import tempfile

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))


# What is true of a list, whatever is made of it: how much there is, and how much it describes.
STEP = int(sys.argv[2]) if len(sys.argv) > 2 else 1
EXPLAINED = {"nearly-full", "broad-value"}


class Import:
    """One import, compiled, with the flows that are tried on it."""

    def __init__(self, programs, kind, path, *options, status=0):
        self.programs = programs
        done = subprocess.run([os.path.join(programs, "pdata"), "import", kind, path, "--name",
                               "mine", *options, "-o", "mine.pdd"], capture_output=True, text=True,
                              check=False)
        assert done.returncode == status, (kind, path, options, done.stderr[:2000])
        self.findings = done.stderr.splitlines()
        laid_out = subprocess.run([os.path.join(programs, "pdata"), "fmt", "--check", "mine.pdd"],
                                  check=False)
        assert laid_out.returncode == 0
        checked = subprocess.run([os.path.join(programs, "pdata"), "check", "mine.pdd"],
                                 capture_output=True, text=True, check=False)
        found = re.findall(r" (?:error|warning|note): .* \[([a-z-]+)\]", checked.stdout)
        assert checked.returncode == 0 and set(found) <= EXPLAINED, (checked.stdout[:2000], path)
        subprocess.run([os.path.join(programs, "pdata_compiler"), "--pdd", "mine.pdd",
                        "--cfg-path", os.path.join(ROOT, "examples", "cfg"), "--loadable",
                        "--pdb-out", "mine.pdb"], check=True, stdout=subprocess.DEVNULL)
        with open("mine.pdd", encoding="utf-8") as file:
            self.text = file.read()

    def fire(self, flows):
        """Returns for every flow whether a rule fires."""
        done = subprocess.run([os.path.join(self.programs, "pdata"), "match", "mine.pdb", "-"],
                              input="".join(flow + "\n" for flow in flows), capture_output=True,
                              text=True, check=True)
        answers = done.stdout.splitlines()
        assert len(answers) == len(flows)
        return [answer != "-" for answer in answers]

    def check(self, meant, flow_of):
        """Compares what fires with what is meant, a dictionary of samples."""
        samples = sorted(meant)[::STEP]
        fired = self.fire([flow_of(sample) for sample in samples])
        wrong = [(sample, meant[sample]) for sample, hit in zip(samples, fired)
                 if hit != meant[sample]]
        assert not wrong, wrong[:10]
        return len(samples)


def name_matcher(entries):
    """Returns what tells whether a name is described by entries, by the meaning of each kind."""
    domains = {text for kind, text in entries if kind == "domain"}
    full = {text for kind, text in entries if kind == "full"}
    words = [text for kind, text in entries if kind == "keyword"]
    expressions = [re.compile(text) for kind, text in entries if kind == "regexp"]

    def matches(name):
        labels = name.split(".")
        return (name in full or any(".".join(labels[i:]) in domains for i in range(len(labels)))
                or any(word in name for word in words)
                or any(expression.search(name) for expression in expressions))

    return matches


def near(text):
    """Names like one that is described: it, below it, and beside it."""
    first, _, rest = text.partition(".")
    return [text, "www." + text, "a.b." + text, "not" + text, text + ".evil.org", text + "x",
            text[1:] or "x", rest or "x", first, text.replace(".", "x"), "." + text,
            text.upper().lower() + ".", "evil-" + text, "w.not" + text]


def samples_of(entries):
    names = set()
    for kind, text in entries:
        if kind == "regexp":
            text = text.removeprefix("(^|\\.)").removeprefix("^").removesuffix("$")
            for filling in ("x", "xyz", "x.y", ""):
                names.update(near(text.replace(".+", filling).replace(".*", filling)
                                  .replace("\\.", ".")))
        else:
            names.update(near(text))
    return names


def check_names(programs, kind, path, entries, options, findings=0):
    run = Import(programs, kind, path, *options, status=1 if findings else 0)
    assert len(run.findings) == findings, run.findings
    matches = name_matcher(entries)
    meant = {name: matches(name) for name in samples_of(entries) if name}
    assert any(meant.values()) and not all(meant.values())
    return sum(run.check(meant, lambda name, attribute=attribute: f'{attribute} "{name}"')
               for attribute in ("ssl:common_name cts", "ssl:common_name stc", "http:server cts",
                                 "quic:server_name cts"))


def random_name(r):
    return ".".join("".join(r.choice("abcxyz019-") for _ in range(r.randrange(1, 9)))
                    for _ in range(r.randrange(2, 5)))


def write(name, lines):
    with open(name, "w", encoding="utf-8") as file:
        file.write("".join(line + "\n" for line in lines))


def names(programs):
    count = 0
    for seed, size in ((1, 5), (2, 40), (3, 133))[:3 if STEP == 1 else 1]:
        r = random.Random(seed)
        made = [random_name(r) for _ in range(size)]
        made += ["sub." + made[0], made[1]]
        for options in ((), ("--compact",), ("--split",)):
            write("list.txt", [name + r.choice(("", " # mine", "  ")) for name in made])
            count += check_names(programs, "domains", "list.txt",
                                 [("domain", name) for name in made], options)
            write("hosts.txt", [f"0.0.0.0 {name}" for name in made])
            count += check_names(programs, "hosts", "hosts.txt",
                                 [("full", name) for name in made], options)
            entries = [(r.choice(("domain", "full", "keyword")), name) for name in made]
            entries += [("regexp", r"(^|\.)api-.+\.aws\.com$"), ("regexp", r"^x1.*y\.net$"),
                        ("regexp", r"track[.]x"), ("regexp", r"qq\.zz")]
            write("v2ray", [f"{kind}:{text} @ads" for kind, text in entries])
            count += check_names(programs, "v2ray", "v2ray",
                                 [entry for entry in entries if "[" not in entry[1]], options, 1)
    return count


def many_names(programs):
    """Beyond the rules of a protocol, and beyond a matcher's room."""
    made = [f"h{i}.many.example" for i in range(450)]
    write("list.txt", made)
    entries = [("domain", name) for name in made]
    count = check_names(programs, "domains", "list.txt", entries, ("--split",))
    run = Import(programs, "domains", "list.txt", status=1)
    assert len(run.findings) == 450 - 399, len(run.findings)
    if STEP != 1:
        return count
    made = [f"h{i}.many.example" for i in range(8300)]
    write("list.txt", made)
    run = Import(programs, "domains", "list.txt", "--compact", "--split", status=1)
    left_out = {made[int(line.split(":")[1]) - 1] for line in run.findings}
    assert 0 < len(left_out) < 200, len(left_out)
    meant = {name: name not in left_out for name in made}
    return count + run.check(meant, lambda name: f'ssl:common_name cts "www.{name}"')


def shared_lists(programs):
    folder = os.environ.get("PDATA_DOMAIN_LISTS")
    if folder is None:
        print("PDATA_DOMAIN_LISTS is not set: its lists are not tried")
        return 0
    count = 0
    for name in sorted(os.listdir(folder)):
        if not name.endswith(".txt"):
            continue
        path = os.path.join(folder, name)
        entries, missing = [], 0
        with open(path, encoding="utf-8") as file:
            for line in file:
                word = line.split("#")[0].split()
                if not word:
                    continue
                kind, _, text = word[0].rpartition(":") if ":" in word[0] and \
                    not word[0].startswith("regexp") else ("", "", word[0])
                if word[0].startswith("regexp:"):
                    kind, text = "regexp", word[0][7:]
                if kind == "include":
                    missing += 1
                else:
                    entries.append((kind or "domain", text))
        count += check_names(programs, "v2ray", path, entries, ("--compact",), missing)
    return count


def ports(programs):
    count = 0
    for seed in range(3 if STEP == 1 else 1):
        r = random.Random(seed)
        meant = {"tcp": set(), "udp": set()}
        lines = ["0", "65530-65535/udp", "80/tcp"]
        for _ in range(30):
            first = r.randrange(65000)
            last = r.choice((first, first + r.randrange(300)))
            lines.append(f"{first}-{last}" + r.choice(("", "/tcp", "/udp")))
        for line in lines:
            span, _, transport = line.partition("/")
            first, _, last = span.partition("-")
            for name in meant:
                if transport in ("", name):
                    meant[name].update(range(int(first), int(last or first) + 1))
        write("ports.txt", lines)
        for options in ((), ("--compact",)):
            run = Import(programs, "ports", "ports.txt", *options)
            for name, numbers in meant.items():
                count += run.check({port: port in numbers for port in range(65536)},
                                   lambda port, name=name: f"{name}:port cts {port}")
    return count


def addresses(programs):
    count = 0
    for seed in range(0 if STEP == 1 else 4, 6): # the last two have what is odd
        r = random.Random(seed)
        spans, lines = [], []
        for bits, address in ((32, ipaddress.IPv4Address), (128, ipaddress.IPv6Address)):
            base = r.getrandbits(bits - 12) << 12
            for _ in range(25):
                first = base + r.randrange(4000)
                last = min(first + r.choice((0, 1, r.randrange(200))), (1 << bits) - 1)
                spans.append((address, first, last))
                lines.append(str(address(first)) if first == last else
                             f"{address(first)}-{address(last)}")
            for _ in range(10):
                length = r.choice((bits, bits - 1, bits - 8, bits - 4, 8, 1 if seed == 5 else 9))
                first = r.getrandbits(length) << (bits - length)
                spans.append((address, first, first + (1 << (bits - length)) - 1))
                lines.append(f"{address(first)}/{length}")
            if seed == 4:
                lines.append(f"{address(0)}/0")
                spans.append((address, 0, (1 << bits) - 1))
        r.shuffle(lines)
        write("addresses.txt", lines)
        meant = {}
        for address, first, last in spans:
            for number in (first, last, first - 1, last + 1, (first + last) // 2):
                if 0 <= number <= int(address(0).max_prefixlen and 2 ** address(0).max_prefixlen - 1):
                    meant[str(address(number))] = any(
                        low <= number <= high for kind, low, high in spans if kind is address)
        for options in ((), ("--compact",)):
            run = Import(programs, "addresses", "addresses.txt", *options)
            count += run.check(meant, lambda text: ("ip6" if ":" in text else "ip")
                               + f":address cts {text}")
    return count


def into(programs):
    """The text of a description that is added to is kept, and its records too."""
    path = os.path.join(ROOT, "examples", "user.pdd")
    with open(path, encoding="utf-8") as file:
        before = file.read()
    write("list.txt", ["a.example"])
    run = Import(programs, "domains", "list.txt", "--into", path)
    at = run.text.index(',\n    {\n      "name": "mine"')
    assert before.startswith(run.text[:at]) and before.endswith(run.text[-len(before) + at:])
    assert '"id": 16777220' in run.text
    return run.check({"portal.corp.example": True, "a.example": True, "b.example": False},
                     lambda name: f'ssl:common_name cts "{name}"')


def main():
    programs = os.path.abspath(sys.argv[1])
    with tempfile.TemporaryDirectory() as folder:
        os.chdir(folder)
        for check in (names, many_names, ports, addresses, into, shared_lists):
            print(check.__name__, check(programs))
    return 0


if __name__ == "__main__":
    sys.exit(main())
