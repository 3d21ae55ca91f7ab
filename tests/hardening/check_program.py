#!/usr/bin/env python3
"""Looks at how a program or a shared library was linked.

    check_program.py FILE...

Reads the program headers and dynamic entries of 64-bit little-endian ELF files (System V
Application Binary Interface, chapters 4 and 5), and names what a hardened one lacks: addresses that
are chosen at each start, tables of the linker that are read-only once it runs, all of them filled in
before it does, no memory that is writable and executable, guarded stacks and checked calls of the C
library. Exit code 0 if nothing lacks.
"""
import re
import struct
import sys

ET_DYN = 3
PT_LOAD, PT_DYNAMIC, PT_INTERP = 1, 2, 3
PT_GNU_STACK, PT_GNU_RELRO = 0x6474E551, 0x6474E552
PF_X, PF_W = 1, 2
DT_STRTAB, DT_STRSZ, DT_TEXTREL, DT_FLAGS, DT_FLAGS_1 = 5, 10, 22, 30, 0x6FFFFFFB
DF_BIND_NOW, DF_1_NOW, DF_1_PIE = 0x8, 0x1, 0x08000000


def program_headers(data):
    """Yields (type, flags, offset, address, size in the file)."""
    table, = struct.unpack_from("<Q", data, 0x20)
    size, count = struct.unpack_from("<HH", data, 0x36)
    for at in range(table, table + size * count, size):
        kind, flags, offset, address, _, in_file = struct.unpack_from("<IIQQQQ", data, at)
        yield kind, flags, offset, address, in_file


def dynamic_entries(data, offset, size):
    entries = {}
    for at in range(offset, offset + size, 16):
        tag, value = struct.unpack_from("<QQ", data, at)
        if tag == 0:
            break
        entries[tag] = value
    return entries


def dynamic_names(data, headers, dynamic):
    """The names that the linker resolves, as one text of bytes."""
    address, size = dynamic[DT_STRTAB], dynamic[DT_STRSZ]
    for kind, _, offset, start, in_file in headers:
        if kind == PT_LOAD and start <= address < start + in_file:
            return data[offset + address - start:][:size]
    return b""


def lacks(data):
    """Yields what a file lacks."""
    if data[:6] != b"\x7fELF\x02\x01":
        yield "it is no 64-bit little-endian ELF file"
        return
    headers = list(program_headers(data))
    kinds = {header[0]: header for header in headers}
    if PT_DYNAMIC not in kinds:
        yield "it is not linked dynamically"
        return
    dynamic = dynamic_entries(data, kinds[PT_DYNAMIC][2], kinds[PT_DYNAMIC][4])
    flags_1 = dynamic.get(DT_FLAGS_1, 0)
    if struct.unpack_from("<H", data, 0x10)[0] != ET_DYN or \
            (PT_INTERP in kinds and not flags_1 & DF_1_PIE):
        yield "its addresses are fixed"
    if PT_GNU_RELRO not in kinds:
        yield "the tables of the linker stay writable"
    if not (flags_1 & DF_1_NOW or dynamic.get(DT_FLAGS, 0) & DF_BIND_NOW):
        yield "symbols are bound while it runs"
    if DT_TEXTREL in dynamic:
        yield "its code is written to when it is loaded"
    if PT_GNU_STACK not in kinds or kinds[PT_GNU_STACK][1] & PF_X:
        yield "its stack is executable"
    if any(header[1] & PF_X and header[1] & PF_W for header in headers if header[0] == PT_LOAD):
        yield "a segment is writable and executable"
    names = dynamic_names(data, headers, dynamic).split(b"\0")
    if b"__stack_chk_fail" not in names:
        yield "its stacks are not guarded"
    if not any(re.fullmatch(rb"__\w+_chk", name) for name in names):
        yield "its calls of the C library are not checked"


def main():
    code = 0
    for name in sys.argv[1:]:
        with open(name, "rb") as file:
            for lack in lacks(file.read()):
                print(f"{name}: {lack}")
                code = 1
    return code


if __name__ == "__main__":
    sys.exit(main())
