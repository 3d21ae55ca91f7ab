"""Every link of every page leads somewhere, and every file that a page names is there.

links_test.py SOURCE
"""
import pathlib
import re
import sys

SOURCE = pathlib.Path(sys.argv[1]).resolve()
PAGES = sorted([*SOURCE.glob("*.md"), *SOURCE.glob("docs/*.md"), *SOURCE.glob("bench/*.md")])
FOLDERS = {path.name for path in SOURCE.iterdir() if path.is_dir()}
failures = []


def anchors(page):
    """The anchors of the headings, as the usual renderers make them."""
    found = set()
    for heading in re.findall(r"^#+ (.*)$", page.read_text(), re.M):
        text = re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-")
        found.add(text)
    return found | set(re.findall(r'<a (?:name|id)="([^"]+)"', page.read_text()))


def check_link(page, target):
    if re.match(r"https?:|mailto:", target):
        return
    name, _, anchor = target.partition("#")
    path = (page.parent / name).resolve() if name else page
    if not path.exists():
        failures.append(f"{page.name}: dead link {target}")
    elif anchor and path.suffix == ".md" and anchor not in anchors(path):
        failures.append(f"{page.name}: no heading for {target}")


def check_named(page, text):
    """A word in backquotes that begins with a folder of the project is a path in it."""
    for word in re.findall(r"`([\w./-]+/[\w./*-]*)`", text):
        first = word.split("/")[0]
        if first in FOLDERS - {"build"} and not any(
                SOURCE.glob(word.rstrip("/").replace("NAME", "*"))):
            failures.append(f"{page.name}: there is no {word}")


for page in PAGES:
    text = page.read_text()
    prose = re.sub(r"^    .*$|```.*?```", "", text, flags=re.M | re.S)
    for target in re.findall(r"\]\(([^)\s]+)\)", prose):
        check_link(page, target)
    check_named(page, prose)
print(f"{len(PAGES)} pages")
sys.exit("\n".join(failures) if failures else 0)
