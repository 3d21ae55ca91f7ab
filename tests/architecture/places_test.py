#!/usr/bin/env python3
"""Knowledge that stands in one place of the sources, held to it.

Each row names a thing, how it looks in code, and every file that may hold it with how often it does.
A file too many, one more occurrence, and a place that is gone are all wrong: who moves one of these
things says so here. Comments and literals do not count.
"""

import collections
import os
import re
import sys

ROOT = os.path.normpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", ".."))
CODE = ("clib_symbol_abstraction", "modules", "pragmar", "pdata")
SOURCES = (".cpp", ".h", ".inc")
NO_CODE = re.compile(r'//[^\n]*|/\*.*?\*/|R"\((?:.*?)\)"|"(?:\\.|[^"\\\n])*"|\'(?:\\.|[^\'\\\n])\'',
                     re.DOTALL)

Row = collections.namedtuple("Row", "what pattern places")

# A 32-bit value is shifted by 24 where bytes, priorities, ids and flags are taken apart, and where
# a record's header is: a second reader or writer of headers cannot do without it.
SHIFTS = {
    "clib_symbol_abstraction/csa_endian.h": 4,                # the bytes of a word
    "modules/src/tlv/tlv.cpp": 1,                             # the bound of a field of 3 bytes
    "pdata/applications/pdata/flow_input.cpp": 1,             # 16 MiB
    "pdata/src/builder/ipbt/visitor_ipbt.cpp": 1,             # an IPv4 address
    "pdata/src/builder/matcher/matcher_stream.cpp": 1,        # the pieces in a flag
    "pdata/src/builder/pdb/pdb_rule_priority.cpp": 1,         # a priority that is made
    "pdata/src/common/protocol/protodesc_deserializer.cpp": 1,  # the namespace of an id
    "pdata/src/common/tlv/tlv_description.h": 1,              # the header that is written
    "pdata/src/format/format_values.h": 1,                    # a priority's range
    "pdata/src/view/view_cursor.h": 1,                        # the header that is read
    "pdata/src/view/view_matcher.h": 1,                       # the pieces in a flag
}

# One guard for each side and each library; otherwise where a state is rolled back, or where what
# comes of a lack of memory is the operation's own.
CATCHES = {
    "clib_symbol_abstraction/csa_buf.h": 1,                   # a buffer that is not to be had
    "modules/src/module_error/module_error.h": 2,             # the guard of the engines
    "modules/src/pattern/bitmap_build.cpp": 1,                # rolls back
    "modules/src/tlv/tlv_sink.cpp": 1,                        # the sink has failed
    "pragmar/src/json/json_parser.cpp": 3,                    # the pools name themselves
    "pdata/applications/pdata/main.cpp": 2,                   # the companion's last resort
    "pdata/applications/pdata/pdata_app.cpp": 3,              # the companion's guard
    "pdata/applications/pdata_manual/main.cpp": 1,            # the guard of a tool of the build
    "pdata/src/builder/ipbt/ipbt_container.cpp": 1,           # a message of its own
    "pdata/src/builder/protocol/protodesc.cpp": 2,            # refuses a record
    "pdata/src/builder/protocol/protodesc_builder.cpp": 1,    # a name that is not looked up
    "pdata/src/builder/sig_export/pcap_generation.cpp": 1,    # rolls back
    "pdata/src/builder/sig_export/pdata_sig_export.cpp": 1,   # a status of its own
    "pdata/src/capture/capture_inputs.cpp": 1,                # a thread that may not end so
    "pdata/src/common/error_handling/pdata_error.h": 2,       # the compiler's guard
    "pdata/src/common/json/json_tools.cpp": 1,                # a text that is not to be had
    "pdata/src/common/plu/plu_action.cpp": 1,                 # rolls back
    "pdata/src/common/tlv/pdb_header.cpp": 1,                 # a part that is not to be had
    "pdata/src/inspect/decompile.cpp": 1,                     # entry of the library
    "pdata/src/inspect/description_model.cpp": 1,             # entry of the library
    "pdata/src/match/match_guard.h": 2,                       # the guard of libpdata
    "pdata/src/view/sound_engines.cpp": 3,                    # the error says what lacks memory
    "pdata/src/view/sound_rules.cpp": 1,                      # the error says what lacks memory
    "pdata/src/view/verify_sound.cpp": 1,                     # entry of the library
    "pdata/src/view/view_items.cpp": 1,                       # the error says what lacks memory
    "pdata/src/view/view_origins.cpp": 1,                     # entry of the library
    "pdata/src/view/view_pool.cpp": 1,                        # the error says what lacks memory
    "pdata/src/view/view_values.cpp": 1,                      # entry of the library
}

ROWS = (
    Row("takes the header of a record apart", r"\bview_record_(?:type|length)\(", {
        "pdata/src/view/view_cursor.h": 4,      # the two halves, and the walk
        "pdata/src/view/view_cursor.cpp": 1,    # the record in front of a listed one
        "pdata/src/common/tlv/tlv_description.cpp": 2,  # tlv_pop_type_len, one header
    }),
    Row("shifts by the bits of a record's length", r"(?:<<|>>)\s*24\b", SHIFTS),
    Row("masks a record's length", r"&\s*(?:0x0*FFFFFFU?L?\b|TLV_LEN_FIELD_MAX\b)", {
        "pdata/src/format/format_values.h": 1,  # a priority's order
        "pdata/src/view/view_cursor.h": 1,      # the header that is read
    }),
    Row("writes a string table", r"(?<!int )\bhstring_serialize\(", {
        "pdata/src/common/tlv/hstring_record.cpp": 1,
    }),
    Row("catches an exception", r"\bcatch\s*\(", CATCHES),
    Row("has a virtual function", r"\bvirtual\b", {}),
    Row("allocates without an owner", r"\b(?:malloc|calloc|realloc|free)\(", {}),
)


def code_of(path):
    with open(os.path.join(ROOT, path), encoding="utf-8") as file:
        return NO_CODE.sub(" ", file.read())


def sources():
    """Yields the path and the code of every source."""
    for top in CODE:
        for folder, _, names in os.walk(os.path.join(ROOT, top)):
            for name in sorted(names):
                if name.endswith(SOURCES):
                    path = os.path.relpath(os.path.join(folder, name), ROOT)
                    yield path, code_of(path)


def faults():
    """Yields everything that is wrong."""
    code = dict(sources())
    for row in ROWS:
        pattern = re.compile(row.pattern)
        found = {path: len(pattern.findall(text)) for path, text in code.items()}
        for path in sorted(found.keys() | row.places.keys()):
            times, expected = found.get(path, 0), row.places.get(path, 0)
            if times != expected:
                yield f"{path} {row.what} {times} times, not {expected}"


def main():
    wrong = list(faults())
    print(*wrong, sep="\n", end="\n" if wrong else "")
    return 1 if wrong else 0


if __name__ == "__main__":
    sys.exit(main())
