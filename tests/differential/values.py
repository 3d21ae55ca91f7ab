"""Attribute values that the compiler accepts: numbers, addresses, expressions, bytes at offsets."""

from vocabulary import WORDS


def word(r):
    return r.choice(WORDS) + (str(r.randrange(100)) if r.random() < 0.3 else "")


def number(r, limit):
    return str(r.choice((r.randrange(limit), r.randrange(min(limit, 300)), 0, limit - 1)))


def interval(r, limit):
    low = r.randrange(limit)
    return low, min(limit - 1, low + r.choice((0, 1, 9, limit // 4)))


def number_value(r, limit):
    """A number, a range, a range in brackets, or a list of them."""
    low, high = interval(r, limit)
    one = r.choice((number(r, limit), f"{low}-{high}", f"[{low}-{high}]", number(r, limit)))
    return one if r.random() < 0.8 else f"{one},{number_value(r, limit)}"


def address4(r):
    first = r.choice((10, 192, 203, r.randrange(256)))
    return f"{first}.{r.randrange(256)}.{r.choice((0, 1, r.randrange(256)))}.{r.randrange(256)}"


def address4_value(r):
    one = address4(r)
    parts = one.split(".")
    form = r.randrange(4)
    if form == 1:
        one = f"{one}/{r.choice((0, 1, 8, 16, 24, 31, 32, r.randrange(33)))}"
    elif form == 2:
        parts[3] = str(r.randrange(int(parts[3]), 256))
        one = f"{one}-{'.'.join(parts)}"
    return one if r.random() < 0.8 else f"{one},{address4_value(r)}"


def address6(r):
    groups = [f"{r.choice((0, 1, 0xdb8, r.randrange(65536))):x}" for _ in range(8)]
    if r.random() < 0.5:
        return ":".join(groups)
    head = r.randrange(1, 5)
    tail = r.randrange(0, 7 - head)
    return ":".join(groups[:head]) + "::" + ":".join(groups[:tail])


def address6_value(r):
    one = address6(r)
    if r.random() < 0.6:
        one += f"/{r.choice((0, 7, 8, 32, 48, 64, 127, r.randrange(128)))}"
    return one if r.random() < 0.85 else f"{one},{address6_value(r)}"


def character_class(r):
    form = r.randrange(5)
    if form == 0:
        return "[" + "".join(r.sample("abcxyz019", r.randrange(1, 5))) + "]"
    if form == 1:
        low = r.randrange(97, 118)
        return f"[{chr(low)}-{chr(low + r.randrange(6))}]"
    if form == 2:
        return f"[^{r.choice('abc/')}{r.choice(('', 'q', '0-9'))}]"
    if form == 3:
        return r.choice((r"[\x41-\x44]", "[0-9]", r"[\.\-a]", "[a-z]", "[A-Za-z0-9]", "[.*(]"))
    return r.choice(("[ab-]", "[a-cx-z_]", r"[\[\]]", "[0-9a-f]"))


def escape(r):
    return r.choice((r"\.", r"\/", r"\n", r"\t", r"\x41\x", r"\x41 42 43\x", r"\xe2\x82", r"\x0d0a\x",
                     r"\0101", r"\07", r"\\", r"\?", r"\(", r"\-", r"\v", r"\f", r"\r", r"\x20\x"))


def open_part(r):
    """A part of an expression that has no spelling of its own."""
    return r.choice((".*", ".*", ".+", ".", r"\d+", r"\d", r"\w*", r"\s", r"\[" + word(r) + r"\]",
                     "[^/]*", "[a-z0-9]+", "x+", "(ab)*"))


def element(r, depth):
    form = r.randrange(10)
    if form < 4:
        return word(r)
    if form == 4:
        return escape(r)
    if form == 5:
        return character_class(r) + r.choice(("", "", "?", "+", "*"))
    if form == 6 and depth:
        branches = [expression(r, depth - 1) for _ in range(r.randrange(1, 4))]
        return "(" + "|".join(branches) + ")" + r.choice(("", "", "?", "*", "+"))
    if form == 7:
        return word(r) + r.choice("?*+")
    return open_part(r) if form == 8 else word(r)


def expression(r, depth=2):
    return "".join(element(r, depth) for _ in range(r.randrange(1, 5)))


def whole_expression(r):
    """Any expression, with anchors and alternatives at the top now and then."""
    text = expression(r)
    if r.random() < 0.1:
        text += "|" + expression(r)
    if r.random() < 0.05:
        text = "^" + text
    return text + "$" if r.random() < 0.05 else text


def host(r):
    return r.choice((r"(.*\.)?", r".*\.", "", r"(www|m)\.")) + word(r) + r"\." + r.choice(
        ("com", "net", "example", "co[mn]", "(org|de)"))


def text_value(r):
    form = r.randrange(8)
    if form < 2:
        return host(r)
    if form == 2:
        return f".*{word(r)}/{word(r)}.*"
    if form == 3:
        return f"{word(r)}/.*"
    return word(r) if form == 4 else whole_expression(r)


def beginning(r):
    """What the engines of byte streams take: the first bytes and no end."""
    first = r.choice((word(r) + " ", r"\x" + f"{r.randrange(1, 256):02x}" + r"\xk" + word(r),
                      f"(GET|POST) {word(r)}", word(r) + "[12]"))
    return first + r.choice((".*", ".*", "z.*", ""))


def offset_pattern(r):
    pieces = (word(r), rf"\x{r.randrange(256):02x}", r"\n", r"\x00", r"\b\f", r"\.", "a.*")
    return "".join(r.choice(pieces) for _ in range(r.randrange(1, 4)))


MAKERS = {
    "number8": lambda r: number_value(r, 256),
    "number16": lambda r: number_value(r, 65536),
    "address4": address4_value,
    "address6": address6_value,
    "text": text_value,
}


def value_of(r, attribute):
    """Returns a value for the attribute."""
    if attribute.offsets and r.random() < 0.97:
        return beginning(r)
    return MAKERS[attribute.kind](r)
