/// A walk under way: what is known of the file around the place where it is, and how a range is
/// handed out. For the sources of this library alone.
#pragma once

#include "dump.h"
#include "dump_text.h"
#include "view_items.h"
#include "view_rules.h"

/// The alphabet of the engine that the walk is in.
struct dump_alphabet_t {
    uint32_t size = 0;            ///< codes; 0 where there is no alphabet
    uint8_t bytes[256] = {};      ///< by code, then by byte
    uint16_t first[256 + 1] = {}; ///< where the bytes of a code begin
};

/// A walk.
struct dump_walk_t {
    const dump_sink_t &sink;
    const dump_choice_t &choice;
    dump_totals_t totals;
    uint32_t depth = 0;
    uint32_t inside = 0;                 ///< records of the chosen kind around the place
    const char *record = "";             ///< kind of the record around the place
    view_area_t found[FORMAT_KIND_NONE]; ///< value of the first record of each kind on the
                                         ///< levels around the place; no data where none is
    bool has_rules = false;              ///< `rules` is open
    view_rules_t rules;
    bool tags_swapped = false; ///< the tag table is in the order of a loaded pdb
    bool ahoff = false;        ///< the automaton is an offset-aware one
    dump_alphabet_t alphabet;
};

/// What is said of a range.
struct dump_words_t {
    dump_text_t name;
    dump_text_t value;
    dump_text_t meaning;
    dump_text_t damage;
    std::string_view text;
    bool has_text = false;
    bool text_cut = false;
    bool header = false;
};

/// Hands out `size` bytes of `area` from `at`, which it has.
void dump_put(dump_walk_t &walk, const view_area_t &area, size_t at, size_t size,
              const dump_words_t &words);

/// Hands out bytes under a name that say nothing more; none for no bytes.
void dump_put_bytes(dump_walk_t &walk, const view_area_t &area, size_t at, size_t size,
                    const char *name);

/// Hands out what is left of `area` from `at` as damaged.
void dump_put_damaged(dump_walk_t &walk, const view_area_t &area, size_t at, const char *why);

/// Hands out what is left of `area` from `at` as padding, which is zero in a sound file.
void dump_put_padding(dump_walk_t &walk, const view_area_t &area, size_t at);

/// Returns how many bytes of `area` from `at` on, in steps of `step`, are zero, up to `end`.
size_t dump_zero_run(const view_area_t &area, size_t at, size_t end, size_t step);

/// Returns word `index` of the first record of a kind around the place; 0 where there is none.
uint32_t dump_found_word(const dump_walk_t &walk, format_kind_t kind, size_t index);

/// Says a number that has a unit: the value, what it means, and the damage where it means nothing.
void dump_say_number(const dump_walk_t &walk, format_unit_t unit, uint32_t number,
                     dump_words_t &words);

/// Says a reference to the pool of a kind, and its text.
void dump_say_string(const dump_walk_t &walk, format_kind_t pool, uint32_t offset,
                     dump_words_t &words);

/// Says which rule an item id stands for.
void dump_say_item(const dump_walk_t &walk, uint32_t id, dump_words_t &words);

/// Says a rule by its id, from 1.
void dump_say_rule(const dump_walk_t &walk, uint32_t rule_id, dump_text_t &text);

/// Says a reference to an item record at a word of the table in a record of `items`.
void dump_say_item_record(const dump_walk_t &walk, format_kind_t items, uint32_t index,
                          dump_words_t &words);

/// Hands out the value of a record of fields, or of a pool.
void dump_fields(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);
void dump_pool(dump_walk_t &walk, const view_area_t &value);

/// Hands out an item table.
void dump_items(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);

/// Hands out the transition table of an engine, and what belongs to it.
void dump_rows(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);
void dump_chains(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);
void dump_bitmap(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);
void dump_alphabet_map(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);

/// Reads the alphabet of the engine whose alphabet record has this value.
void dump_alphabet_open(const view_area_t &value, dump_alphabet_t &alphabet);

/// Hands out the tables of a number matcher.
void dump_mapper_values(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);
void dump_flags(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);
void dump_endpoints(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);
void dump_endpoint_records(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);

/// Hands out the maps of the rules section.
void dump_protocol_map(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);
void dump_tag_map(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);

/// A number of a value, most significant byte first.
inline uint32_t dump_number(const view_area_t &area, size_t at, size_t bytes)
{
    uint32_t number = 0;
    for (size_t i = 0; i < bytes; ++i)
        number = number << 8 | area.data[at + i];
    return number;
}
