#include "dump_state.h"

#include <algorithm>

#include "format_types.h"
#include "view_fields.h"
#include "view_pool.h"

namespace
{

using paint_t = void (*)(dump_walk_t &walk, format_kind_t kind, const view_area_t &value);

/// Records whose fields are tables with a form of their own.
struct painter_t {
    format_kind_t kind;
    paint_t paint;
};

constexpr painter_t painters[] = {
    {FORMAT_PDB_RULE_PROTOCOL_MAP, dump_protocol_map},
    {FORMAT_PDB_RULE_TAG_MAP, dump_tag_map},
    {FORMAT_MAPPER_ENDPOINTS, dump_mapper_values},
    {FORMAT_MAPPER_ITEMS, dump_items},
    {FORMAT_INTERVAL_MSB, dump_flags},
    {FORMAT_INTERVAL_ENDPOINTS, dump_endpoints},
    {FORMAT_INTERVAL_OFFSETS, dump_endpoint_records},
    {FORMAT_INTERVAL_ITEMS, dump_items},
    {FORMAT_ALPHABET_MAP, dump_alphabet_map},
    {FORMAT_RADIX_TRANSITIONS, dump_rows},
    {FORMAT_RADIX_C_EDGES, dump_chains},
    {FORMAT_RADIX_ITEMS, dump_items},
    {FORMAT_RADIX_EXACT_BITMAP, dump_bitmap},
    {FORMAT_RADIX_C_EDGES_BITMAP, dump_bitmap},
    {FORMAT_AHO_CORASICK_TRANSITIONS, dump_rows},
    {FORMAT_AHO_CORASICK_ITEMS, dump_items},
    {FORMAT_DOT_PREFIX_TRANSITIONS, dump_rows},
    {FORMAT_DOT_PREFIX_ITEMS, dump_items},
};

/// A walk over the fields of a record.
struct field_walk_t {
    dump_walk_t &walk;
    const view_area_t &value;
    size_t row = 0;     ///< rows that began
    size_t covered = 0; ///< bytes that were handed out
};

void say_position(const dump_walk_t &walk, const format_field_t &field, uint32_t position,
                  dump_words_t &words)
{
    const view_area_t &target = walk.found[field.target];
    dump_say(words.value, "%u", position);
    if (position < view_words(target))
        dump_say(words.meaning, "record at byte 0x%zx", target.offset + size_t{position} * 4);
    else
        dump_say(words.damage, "no record is there");
}

/// An entry of the second level refers to its complete value only where its flag, the word behind,
/// says so.
bool is_not_stored(const format_field_t &field, const view_area_t &value, size_t at)
{
    if (field.id != FIELD_MATCHER_L2_off || dump_number(value, at, 4) != 0)
        return false;
    const uint32_t flag = dump_number(value, at + 4, 4);
    return flag != MATCHER_MAP_REGULAR && flag != MATCHER_MAP_CATCH_ALL;
}

void say_field(const field_walk_t &fields, const format_field_t &field, size_t at,
               dump_words_t &words)
{
    const bool swapped = field.record == FORMAT_TAGS && fields.walk.tags_swapped;
    const uint32_t stored = dump_number(fields.value, at, field.bytes);
    const uint32_t number = swapped ? csa_swap32(stored) : stored;
    if (is_not_stored(field, fields.value, at))
        dump_say(words.value, "0");
    else if (field.kind == FORMAT_FIELD_STRING)
        dump_say_string(fields.walk, field.target, number, words);
    else if (field.kind == FORMAT_FIELD_POSITION)
        say_position(fields.walk, field, number, words);
    else
        dump_say_number(fields.walk, field.unit, number, words);
    if (field.kind == FORMAT_FIELD_FLAG && number < 2)
        dump_say(words.meaning, number == 1 ? "yes" : "no");
}

void put_run(field_walk_t &fields, const format_field_t &field, size_t at, size_t size)
{
    dump_words_t words;
    dump_say(words.name, "%s", field.name);
    words.has_text = true;
    words.text = {reinterpret_cast<const char *>(fields.value.data + at), size};
    dump_put(fields.walk, fields.value, at, size, words);
}

void put_one(field_walk_t &fields, const format_field_t &field, size_t at, size_t index)
{
    dump_words_t words;
    dump_say(words.name, "%s", field.name);
    if (field.repeat == FORMAT_ROW)
        dump_say(words.name, "[%zu]", fields.row - 1);
    else if (field.repeat != FORMAT_ONCE && field.repeat != FORMAT_IF_ROOM)
        dump_say(words.name, "[%zu]", index);
    say_field(fields, field, at, words);
    dump_put(fields.walk, fields.value, at, field.bytes, words);
}

void put_field(field_walk_t &fields, const format_field_t &field, size_t at, size_t count)
{
    if (field.repeat == FORMAT_ROW && view_fields_of(field.record).front().id == field.id)
        ++fields.row;
    if (field.kind == FORMAT_FIELD_BYTES)
        put_run(fields, field, at, count * field.bytes);
    else
        for (size_t i = 0; i < count; ++i)
            put_one(fields, field, at + i * field.bytes, i);
    fields.covered = at + count * field.bytes;
}

paint_t painter_of(format_kind_t kind)
{
    for (const painter_t &painter : painters)
        if (painter.kind == kind)
            return painter.paint;
    return nullptr;
}

} // namespace

void dump_fields(dump_walk_t &walk, format_kind_t kind, const view_area_t &value)
{
    if (const paint_t paint = painter_of(kind); paint != nullptr)
        return paint(walk, kind, value);
    field_walk_t fields = {walk, value};
    const view_fields_end_t end =
        view_fields(kind, value, [&](const format_field_t &field, size_t at, size_t count) {
            put_field(fields, field, at, count);
            return true;
        });
    if (end.fault == VIEW_COUNT)
        dump_put_damaged(walk, value, fields.covered, "fewer fields than the count says");
    else if (end.fault != VIEW_SOUND)
        dump_put_damaged(walk, value, fields.covered, "too short for its fields");
    else
        dump_put_padding(walk, value, fields.covered);
}

void dump_pool(dump_walk_t &walk, const view_area_t &value)
{
    view_pool_cursor_t cursor = view_pool_walk({value});
    view_pool_entry_t entry;
    size_t covered = 0;
    bool more = true;
    while (more) {
        more = view_pool_next(cursor, entry);
        if (!more && cursor.end != VIEW_WALK_OVERLONG)
            break;
        dump_words_t words;
        const size_t end = more ? std::min(cursor.at, value.size) : value.size;
        dump_say(words.name, "string");
        dump_say(words.value, "%u", entry.offset);
        words.text = entry.text;
        words.has_text = true;
        if (!more)
            dump_say(words.damage, "it runs past the pool");
        dump_put(walk, value, covered, end - covered, words);
        covered = end;
    }
    dump_put_padding(walk, value, covered);
}
