/// Every byte of a pdb, with its place in the format and what it means.
///
/// The walk goes through a pdb of descriptions or a loadable one from the first byte to the last
/// and hands out ranges: the headers of records, their fields, the entries of pools, and of the
/// engines the states, transitions, items, bitmaps, alphabets and intervals. Neighbours that say
/// the same (values without an item, codes without a transition) are one range.
///
/// The ranges stand in the order of the file and cover it exactly once, whatever the bytes are.
/// Damage is said with the range at which it is, and the walk goes on behind it: the value of a
/// record that claims more than its parent has left is what is there. A range of no bytes says
/// what is missing at its place.
///
/// Time and the number of ranges are linear in the size of the file, and so is the text of all
/// ranges: what a range says is bounded, but for `text`, whose bytes are the range's own or cut.
/// Takes no memory but for the stack.
#pragma once

#include <span>
#include <string_view>

#include "format_tables.h"

/// Most bytes of a text that a range refers to; longer ones are cut.
constexpr size_t DUMP_REFERRED_MAX = 64;

/// A range of a file. The views live as long as the call that hands the range out.
struct dump_range_t {
    size_t offset = 0; ///< of its first byte, from the start of the file
    std::span<const uint8_t> bytes;
    uint32_t depth = 0;       ///< records around it
    bool header = false;      ///< the header of a record
    const char *record = "";  ///< kind of the record that it belongs to; empty for an unknown one
    std::string_view name;    ///< field, or part of a table
    std::string_view value;   ///< as a number; empty for texts and headers of tables
    std::string_view meaning; ///< for people; may hold bytes of the file
    std::string_view text;    ///< bytes of the file: the range's text, or the one it refers to
    bool has_text = false;    ///< there is one
    bool text_cut = false;    ///< it is longer than that
    std::string_view damage;  ///< what is wrong with it; empty for nothing
};

/// Who takes the ranges.
struct dump_sink_t {
    void (*put)(void *context, const dump_range_t &range);
    void *context;
};

/// What is handed out.
struct dump_choice_t {
    size_t from = 0;                          ///< ranges that end behind this byte
    format_kind_t section = FORMAT_KIND_NONE; ///< records of this kind with all that is in them
};

/// How much was handed out.
struct dump_totals_t {
    size_t nr_range = 0;
    size_t nr_damaged = 0;
};

/// Walks through the bytes of a file.
dump_totals_t dump_walk(std::span<const uint8_t> file, const dump_choice_t &choice,
                        const dump_sink_t &sink);

/// Most faults of a verification that are shown in place.
constexpr size_t DUMP_FAULTS_MAX = 4096;

/// The same with what a verification finds unsafe (pdb_verify.h), of each part the first fault: it
/// is the damage of the range that has its byte, unless there is some, or of a range of no bytes
/// behind the last one. Memory of a verification, and of DUMP_FAULTS_MAX faults. Throws
/// std::bad_alloc.
dump_totals_t dump_file(std::span<const uint8_t> file, const dump_choice_t &choice,
                        const dump_sink_t &sink);

/// Finds the kind of record of a name, as in "PROTO_META"; small letters will do. Returns false
/// when there is none.
[[nodiscard]] bool dump_section_find(std::string_view name, format_kind_t &kind);
