"""Mutations: small slips of the pen, one a mutant, in lines of C++.

A line is cut into code, texts and comments without a parser; texts, comments, directives and
assertions of the compiler are left alone. The operators are those that were found to suffice (A. J.
Offutt, A. Lee, G. Rothermel, R. H. Untch and C. Zapf, "An experimental determination of sufficient
mutant operators", 1996), and statements that are left out.
"""
import re
from collections import namedtuple

Mutant = namedtuple("Mutant", "path number before after")

# What is found in code, and what it becomes.
REPLACEMENTS = [
    (r"(?<![<>=!])==(?!=)", ["!="]),
    (r"!=", ["=="]),
    (r" < ", [" <= ", " > "]),
    (r" <= ", [" < ", " > "]),
    (r" > ", [" >= ", " < "]),
    (r" >= ", [" > ", " < "]),
    (r" && ", [" || "]),
    (r" \|\| ", [" && "]),
    (r" \+ ", [" - "]),
    (r" - ", [" + "]),
    (r" \* (?=[\w(])", [" + "]),
    (r" / ", [" * "]),
    (r" % ", [" / "]),
    (r" & ", [" | "]),
    (r" \| ", [" & "]),
    (r" \+= ", [" -= "]),
    (r" -= ", [" += "]),
    (r"\+\+(?=\w)", ["--"]),
    (r"--(?=\w)", ["++"]),
    (r"(?<=[( ])!(?=[\w(])", [""]),
    (r"\btrue\b", ["false"]),
    (r"\bfalse\b", ["true"]),
    (r"\bcontinue;", ["break;"]),
    (r"\bbreak;", ["continue;"]),
    (r"\bstd::min\b", ["std::max"]),
    (r"\bstd::max\b", ["std::min"]),
    (r"\bPDATA_TRY\((?=.*\);$)", ["(void)("]),
]
NUMBER = re.compile(r"(?<![\w.\"'])(\d+)(?=[uUlL]*\b)(?![.x])")
STATEMENT = re.compile(r"^\s+(?!return\b|break\b|continue\b|goto\b|throw\b|using\b|case\b)"
                       r"(\+\+|--)?[\w:.\->\[\]]+( [-+*/|&^]?= .*|\(.*\)|\+\+|--)?;$")
DECLARATION = re.compile(r"^\s+(const |constexpr |auto |static |struct |[\w:<>]+ [&*]?\w+ = )")
LEFT_ALONE = re.compile(r"^\s*(#|//|static_assert|template|using|\[\[|case |extern)")
TEXT = re.compile(r'"(\\.|[^"\\])*"|\'(\\.|[^\'\\])\'|//.*')


def code_only(line):
    """The line with texts and comments blanked out."""
    return TEXT.sub(lambda found: " " * len(found.group()), line)


def mutants_of(path, number, line):
    """All mutants of a line (without its end)."""
    if LEFT_ALONE.match(line):
        return []
    code = code_only(line)
    after = []
    for pattern, replacements in REPLACEMENTS:
        for found in re.finditer(pattern, code):
            after += [line[:found.start()] + text + line[found.end():] for text in replacements]
    for found in NUMBER.finditer(code):
        after.append(line[:found.start()] + str(int(found.group(1)) + 1) + line[found.end():])
    if STATEMENT.match(code) and not DECLARATION.match(code):
        after.append(re.match(r"\s*", line).group() + ";")
    return [Mutant(path, number, line, text) for text in after]
