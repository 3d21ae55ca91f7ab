"""The page of "pdata report", read by Python's parser and shown in headless Chromium.

report_test.py PDATA PDATA_COMPILER SOURCE CHECK
"""
import html.parser
import json
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile

PDATA, COMPILER, SOURCE = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
VOID = {"meta", "input", "br", "link", "img"}
OPTIONAL_END = {"li"}


def expect(condition, message):
    if not condition:
        sys.exit(message)


class Page(html.parser.HTMLParser):
    """Tags with their attributes, the visible text, and whether what is opened is closed."""

    def __init__(self, text):
        super().__init__()
        self.tags, self.text, self.open = [], [], []
        self.feed(text)
        self.close()
        expect(not [tag for tag in self.open if tag not in OPTIONAL_END], f"open: {self.open}")

    def handle_starttag(self, tag, attributes):
        self.tags.append((tag, dict(attributes)))
        if tag not in VOID:
            self.open.append(tag)

    def handle_endtag(self, tag):
        while self.open and self.open[-1] != tag and self.open[-1] in OPTIONAL_END:
            self.open.pop()
        expect(self.open and self.open[-1] == tag, f"</{tag}> closes {self.open[-3:]}")
        self.open.pop()

    def handle_data(self, data):
        if not self.open or self.open[-1] not in ("style", "script"):
            self.text.append(data)


def compiled(folder, name, description, form="--loadable"):
    pdd = folder / f"{name}.pdd"
    if isinstance(description, str):
        shutil.copy(SOURCE / description, pdd)
    else:
        pdd.write_text(json.dumps(description).replace("\\u001b", "\x1b"))
    done = subprocess.run([COMPILER, "--pdd", pdd, "--cfg-path", SOURCE / "examples/cfg", form,
                           "--pdb-out", folder / f"{name}.pdb"], cwd=folder, capture_output=True)
    expect(done.returncode == 0, done.stdout.decode() + done.stderr.decode())
    return folder / f"{name}.pdb"


def report(folder, *arguments, status=0):
    page = folder / "report.html"
    done = subprocess.run([PDATA, "report", *arguments, "-o", page], capture_output=True, text=True)
    expect(done.returncode == status, f"status {done.returncode}: {done.stderr}")
    return page.read_text() if page.exists() else None


def protocol(name, number, values):
    return {"name": name, "id": 16777300 + number, "rules": [
        {"order": "50:1", "scope": "http",
         "rule": [{"protocol": "http", "cts-server": value}]} for value in values]}


def page(folder):
    """Everything is in the page, and the page needs nothing else."""
    text = report(folder, compiled(folder, "p", "examples/protocols.pdd"))
    read = Page(text)
    for tag, attributes in read.tags:
        for name in ("src", "href", "action", "data"):
            target = attributes.get(name, "#")
            expect(target.startswith("#"), f"<{tag} {name}={target}> leads out of the page")
    expect(not re.search(r"@import|url\(|https?://", text), "the page asks for something else")
    expect(len([tag for tag, _ in read.tags if tag == "script"]) == 1, "one script")
    visible = " ".join(read.text)
    for word in ("215", "411", "466", "youtube", "ssl:common_name", "Nothing: the file is sound",
                 "How full each limit of the format is"):
        expect(word in visible, f"{word} is not in the page")
    anchors = {attributes["id"] for _, attributes in read.tags if "id" in attributes}
    links = {attributes["href"][1:] for tag, attributes in read.tags if tag == "a"}
    expect(links <= anchors, f"links that lead nowhere: {links - anchors}")


def actions(folder):
    """Six actions of a kind are lines of their own; more unfold, each with its text."""
    (folder / "t.tsv").write_text('[first]\na\thttp:server cts "x.host0"\n')
    for count in (6, 7, 40):
        values = [protocol("a", 0, [f".*\\.host{i}" for i in range(count + 1)])]
        text = report(folder, compiled(folder, "p", {"protocols": values}),
                      "--tests", folder / "t.tsv")
        shown = text[:text.index("</ul></details>")] if count > 6 else text
        lines = re.findall(r"<li[^>]*>(?:<b>rule without a test</b> )?/a[^<]*", shown)
        expect(len(lines) == count, f"{len(lines)} lines of {count} rules without a test")
        unfolds = "<summary><b>rule without a test</b> \u00d7 " + str(count)
        expect((unfolds in text) == (count > 6), f"{count} actions unfold or do not")


def browser():
    for name in ("chromium", "chromium-browser"):
        if shutil.which(name):
            return [name, "--headless", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage"]
    print("skipped: Chromium is not installed")
    sys.exit(77)


def shown_in_a_browser(folder):
    """A browser shows the page without a fault, and its search leaves what is searched for."""
    command = browser() + [f"--user-data-dir={folder}/profile", "--enable-logging=stderr"]
    report(folder, compiled(folder, "p", "examples/protocols.pdd"))
    done = subprocess.run([*command, "--dump-dom", f"file://{folder}/report.html#search=ytimg"],
                          capture_output=True, text=True, timeout=120)
    read = Page(done.stdout)
    rows = [attributes for tag, attributes in read.tags
            if tag == "details" and attributes.get("class") == "p"]
    expect(len(rows) == 215, f"{len(rows)} protocols")
    expect(len([row for row in rows if "hidden" not in row]) == 1, "the search found one protocol")
    expect("1 of 215" in "".join(read.text), "the search says how many")
    expect("CONSOLE" not in done.stderr, done.stderr)
    picture = folder / "report.png"
    subprocess.run([*command, f"--screenshot={picture}", "--window-size=900,1200",
                    f"file://{folder}/report.html"], capture_output=True, timeout=120)
    expect(picture.read_bytes()[:4] == b"\x89PNG", "no picture")


def hostile_names(folder):
    """Names and values that would be HTML, control sequences or line ends are text."""
    name = "<script>alert(1)</script>&amp;\"'\x1b[31m"
    text = report(folder, compiled(folder, "p", {"protocols": [protocol(name, 0, [".*<b>x"])]}))
    read = Page(text)
    expect(len([tag for tag, _ in read.tags if tag == "script"]) == 1, "a script of a stranger")
    visible = "".join(read.text)
    expect("<script>alert(1)</script>&amp;\"'\\x1b[31m" in visible, "the name is not as it is")
    expect(".*<b>x" in visible, "the value is not as it is")
    expect("\x1b" not in text, "a control byte")


def difference(folder):
    """Of two files the page says what the second says differently."""
    before = compiled(folder, "a", {"protocols": [protocol("one", 0, [".*\\.a", ".*\\.b"])]})
    after = compiled(folder, "b", {"protocols": [protocol("one", 0, [".*\\.a", ".*\\.c"]),
                                                 protocol("two", 1, [".*\\.d"])]})
    read = Page(report(folder, before, after))
    changes = [(tag, i) for i, (tag, _) in enumerate(read.tags) if tag in ("ins", "del")]
    visible = " ".join(read.text)
    expect(changes, "nothing is marked")
    for word in ("Difference", ".*\\.b", ".*\\.c", "two"):
        expect(word in visible, f"{word} is not in the page")
    same = Page(report(folder, before, before))
    expect("both say the same" in " ".join(same.text), "the same file is different")


def tests_and_damage(folder):
    """Tests that fail stand first; an unsafe file is refused."""
    pdb = compiled(folder, "p", {"protocols": [protocol("one", 0, [".*\\.a"]),
                                               protocol("two", 1, [".*\\.b"])]})
    (folder / "t.tsv").write_text('[wrong]\ntwo\thttp:server cts "x.a"\n')
    read = Page(report(folder, pdb, "--tests", folder / "t.tsv", status=1))
    visible = " ".join(read.text)
    expect(re.search(r"test failed\s+wrong", visible), "the failed test is not named")
    expect(re.search(r"rule without a test\s+/two", visible), "the rule without a test is not named")
    with open(pdb, "rb") as piped:
        done = subprocess.run([PDATA, "report", "-", "--tests", folder / "t.tsv", "-o", "-"],
                              stdin=piped, capture_output=True)
    expect(done.returncode == 1 and b"wrong" in done.stdout, done.stderr.decode())
    damaged = folder / "damaged.pdb"
    damaged.write_bytes(pdb.read_bytes()[:-8])
    (folder / "report.html").unlink()
    expect(report(folder, damaged, status=3) is None, "a page about an unsafe file")


def large(folder):
    """30,000 rules make a page of at most 10 MB."""
    many = [protocol(f"service{i}", i, [f".*\\.host-{i}-{j}\\.example\\.org" for j in range(100)])
            for i in range(300)]
    text = report(folder, compiled(folder, "p", {"protocols": many}, "--description"))
    expect(len(text.encode()) <= 10_000_000, f"{len(text.encode())} bytes")
    read = Page(text)
    expect(len([tag for tag, _ in read.tags if tag == "details"]) >= 300, "protocols are missing")
    expect("host-299-99" in text, "rules are missing")


with tempfile.TemporaryDirectory() as place:
    globals()[sys.argv[4]](pathlib.Path(place).resolve())
