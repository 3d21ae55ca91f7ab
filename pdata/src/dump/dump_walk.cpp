#include "dump_state.h"

#include <algorithm>

#include "format_fields.h"
#include "format_types.h"
#include "view_parts.h"
#include "view_pool.h"

namespace
{

constexpr view_framing_t framings[] = {VIEW_RECORDS, VIEW_BYTE_COUNT, VIEW_BLOBS};

void walk_level(dump_walk_t &walk, format_level_t level, const view_area_t &area);

/// Notes the first record of each kind of a level.
void find_kinds(dump_walk_t &walk, format_level_t level, const view_area_t &area)
{
    for (const format_record_t &kind : format_records_of(level))
        walk.found[kind.kind] = {};
    view_cursor_t cursor = view_walk(area, framings[format_levels()[level].headers]);
    bool more = true;
    while (more) {
        view_record_t record;
        more = view_next(cursor, record);
        if (!more && cursor.end != VIEW_WALK_OVERLONG)
            break;
        const format_record_t *kind = format_find(level, record.type);
        if (kind != nullptr && walk.found[kind->kind].data == nullptr)
            walk.found[kind->kind] = record.value;
    }
}

/// Tells whether the names of a tag table are strings of the pool in one of the two orders.
bool names_are_there(const dump_walk_t &walk, bool swapped)
{
    const view_area_t &tags = walk.found[FORMAT_TAGS];
    const uint32_t count = std::min(view_tag_count(tags), TAG_TABLE_DIM);
    std::string_view name;
    for (uint32_t i = 0; i < count; ++i)
        if (!view_pool_get({walk.found[FORMAT_STRING]}, view_tag_at(tags, i, swapped).name, name))
            return false;
    return true;
}

/// Tells whether the tag table is in the order of a little-endian host. The load state says so of
/// a loaded pdb; of others only the names tell.
bool is_swapped(const dump_walk_t &walk)
{
    return dump_found_word(walk, FORMAT_LOAD, 0) == TLV_TYPE_LOAD_LOADED_LE ||
           (!names_are_there(walk, false) && names_are_there(walk, true));
}

/// Reads what ranges of a level refer to.
void enter_level(dump_walk_t &walk, format_level_t level)
{
    view_error_t ignored;
    if (level == FORMAT_LEVEL_PDB) {
        const view_area_t &rules = walk.found[FORMAT_RULES];
        walk.has_rules = rules.data != nullptr && view_rules_open(rules, walk.rules, ignored);
        walk.tags_swapped = is_swapped(walk);
    }
    if (level == FORMAT_LEVEL_AHO_CORASICK)
        dump_alphabet_open(walk.found[FORMAT_AHO_CORASICK_ALPHABET], walk.alphabet);
    if (level == FORMAT_LEVEL_RADIX)
        dump_alphabet_open(walk.found[FORMAT_RADIX_ALPHABET], walk.alphabet);
    if (level == FORMAT_LEVEL_DOT_PREFIX)
        dump_alphabet_open(walk.found[FORMAT_DOT_PREFIX_ALPHABET], walk.alphabet);
}

/// Says the text that a field in a part of a record refers to.
void say_name(const view_record_t &record, format_field_id_t field, const view_area_t &pool,
              const char *before, dump_text_t &text)
{
    view_record_t meta;
    std::string_view name;
    const size_t word = format_word_of(field);
    const uint32_t type = format_records()[format_fields[field].record].type;
    if (!view_find(record.value, type, meta) || view_words(meta.value) <= word ||
        !view_pool_get({pool}, view_word(meta.value, word), name))
        return;
    dump_say(text, "%s", before);
    dump_say_bytes(text, name);
}

/// Says what a record is called, where it has a name.
void say_title(const dump_walk_t &walk, format_kind_t kind, const view_record_t &record,
               dump_text_t &text)
{
    if (kind == FORMAT_PROTO)
        say_name(record, FIELD_PROTO_META_name, walk.found[FORMAT_PROTOGROUP_STRING], " ", text);
    if (kind != FORMAT_PDB_MATCHER)
        return;
    const view_area_t &names = walk.found[FORMAT_PDB_MATCHER_STRING];
    say_name(record, FIELD_PDB_MATCHER_META_protocol, names, " ", text);
    say_name(record, FIELD_PDB_MATCHER_META_attribute, names, ":", text);
}

/// A compiled pdb without descriptions ends with two zero words behind its marker.
bool is_end_word(const dump_walk_t &walk, format_level_t level, const view_record_t &record)
{
    return level == FORMAT_LEVEL_PDB && record.type == 0 && record.length == 0 &&
           walk.found[FORMAT_DEFAULT_LOADED].data != nullptr;
}

void put_header(dump_walk_t &walk, format_level_t level, const view_record_t &record, bool whole)
{
    const format_record_t *kind = format_find(level, record.type);
    const format_headers_t headers = format_levels()[level].headers;
    const char *unit = headers == FORMAT_HEADERS_RECORDS ? "words" : "bytes";
    dump_words_t words;
    words.header = true;
    dump_say(words.name, "%s", kind != nullptr ? kind->name : "record");
    dump_say(words.value, "type %u, %u %s", record.type, record.length, unit);
    if (kind != nullptr) {
        dump_say(words.meaning, "%s", kind->what);
        say_title(walk, kind->kind, record, words.meaning);
    } else if (is_end_word(walk, level, record)) {
        dump_say(words.meaning, "end");
    } else {
        dump_say(words.damage, "no record of this type stands here");
    }
    if (!whole) {
        dump_say_comma(words.damage);
        dump_say(words.damage, "%zu bytes are left", record.value.size);
    }
    const size_t size = headers == FORMAT_HEADERS_BLOBS ? 8 : 4;
    dump_put(walk, {record.value.data - size, size, record.offset}, 0, size, words);
}

void walk_value(dump_walk_t &walk, const format_record_t &kind, const view_area_t &value)
{
    if (kind.kind == FORMAT_PATTERN_AHO_CORASICK || kind.kind == FORMAT_PATTERN_AHOFF_CORASICK)
        walk.ahoff = kind.kind == FORMAT_PATTERN_AHOFF_CORASICK;
    switch (kind.content) {
    case FORMAT_CONTENT_RECORDS:
        return walk_level(walk, kind.inner, value);
    case FORMAT_CONTENT_FIELDS:
        return dump_fields(walk, kind.kind, value);
    case FORMAT_CONTENT_POOL:
        return dump_pool(walk, value);
    case FORMAT_CONTENT_BYTES:
        return dump_put_bytes(walk, value, 0, value.size, "bytes");
    case FORMAT_CONTENT_MARKER:
        if (value.size != 0)
            dump_put_damaged(walk, value, 0, "a marker holds nothing");
    }
}

void walk_record(dump_walk_t &walk, format_level_t level, const view_record_t &record, bool whole)
{
    if (record.value.offset + record.value.size <= walk.choice.from)
        return;
    const format_record_t *kind = format_find(level, record.type);
    const char *around = walk.record;
    const bool chosen = kind != nullptr && kind->kind == walk.choice.section;
    walk.record = kind != nullptr ? kind->name : "";
    walk.inside += chosen ? 1 : 0;
    put_header(walk, level, record, whole);
    ++walk.depth;
    if (kind != nullptr)
        walk_value(walk, *kind, record.value);
    else
        dump_put_bytes(walk, record.value, 0, record.value.size, "bytes");
    --walk.depth;
    walk.inside -= chosen ? 1 : 0;
    walk.record = around;
}

void walk_level(dump_walk_t &walk, format_level_t level, const view_area_t &area)
{
    find_kinds(walk, level, area);
    enter_level(walk, level);
    view_cursor_t cursor = view_walk(area, framings[format_levels()[level].headers]);
    view_record_t record;
    while (view_next(cursor, record))
        walk_record(walk, level, record, true);
    if (cursor.end == VIEW_WALK_OVERLONG)
        walk_record(walk, level, record, false);
    else if (cursor.end == VIEW_WALK_CUT)
        dump_put_damaged(walk, area, cursor.at, "too short for a header");
}

} // namespace

void dump_put(dump_walk_t &walk, const view_area_t &area, size_t at, size_t size,
              const dump_words_t &words)
{
    if (area.offset + at + size <= walk.choice.from ||
        (walk.choice.section != FORMAT_KIND_NONE && walk.inside == 0))
        return;
    ++walk.totals.nr_range;
    walk.totals.nr_damaged += words.damage.size != 0 ? 1 : 0;
    dump_range_t range;
    range.offset = area.offset + at;
    range.bytes = view_bytes(area).subspan(at, size);
    range.depth = walk.depth;
    range.header = words.header;
    range.record = walk.record;
    range.name = words.name.view();
    range.value = words.value.view();
    range.meaning = words.meaning.view();
    range.text = words.text;
    range.has_text = words.has_text;
    range.text_cut = words.text_cut;
    range.damage = words.damage.view();
    walk.sink.put(walk.sink.context, range);
}

void dump_put_bytes(dump_walk_t &walk, const view_area_t &area, size_t at, size_t size,
                    const char *name)
{
    dump_words_t words;
    dump_say(words.name, "%s", name);
    if (size != 0)
        dump_put(walk, area, at, size, words);
}

void dump_put_damaged(dump_walk_t &walk, const view_area_t &area, size_t at, const char *why)
{
    dump_words_t words;
    dump_say(words.name, "rest");
    dump_say(words.damage, "%s", why);
    dump_put(walk, area, at, area.size - at, words);
}

void dump_put_padding(dump_walk_t &walk, const view_area_t &area, size_t at)
{
    if (at == area.size)
        return;
    if (dump_zero_run(area, at, area.size, 1) == area.size - at)
        dump_put_bytes(walk, area, at, area.size - at, "padding");
    else
        dump_put_damaged(walk, area, at, "padding that is not zero");
}

size_t dump_zero_run(const view_area_t &area, size_t at, size_t end, size_t step)
{
    const auto is_zero = [](uint8_t byte) { return byte == 0; };
    size_t next = at;
    while (end - next >= step && std::all_of(area.data + next, area.data + next + step, is_zero))
        next += step;
    return next - at;
}

uint32_t dump_found_word(const dump_walk_t &walk, format_kind_t kind, size_t index)
{
    const view_area_t &area = walk.found[kind];
    return index < view_words(area) ? view_word(area, index) : 0;
}

dump_totals_t dump_walk(std::span<const uint8_t> file, const dump_choice_t &choice,
                        const dump_sink_t &sink)
{
    dump_walk_t walk{
        .sink = sink, .choice = choice, .totals = {}, .found = {}, .rules = {}, .alphabet = {}};
    walk_level(walk, FORMAT_LEVEL_PDB, view_file(file));
    return walk.totals;
}
