#include "dump_state.h"

namespace
{

/// A walk over an item table.
struct item_walk_t {
    dump_walk_t &walk;
    const view_area_t &value;
    view_item_layout_t layout;
    size_t record = 0; ///< word at which the current record begins
    size_t at = 0;     ///< words passed

    size_t left() const { return view_words(value) - at; }
    uint32_t word() const { return view_word(value, at); }
};

view_item_layout_t layout_of(const dump_walk_t &walk, format_kind_t kind)
{
    switch (kind) {
    case FORMAT_AHO_CORASICK_ITEMS:
        return walk.ahoff ? VIEW_ITEMS_OFFSETS : VIEW_ITEMS_MINDATA;
    case FORMAT_RADIX_ITEMS:
        return VIEW_ITEMS_MINDATA;
    case FORMAT_DOT_PREFIX_ITEMS:
        return VIEW_ITEMS_WIDE_MINDATA;
    default:
        return VIEW_ITEMS_PLAIN;
    }
}

/// Hands out the next word of a record.
void put_word(item_walk_t &items, const char *name, dump_words_t &words)
{
    dump_say(words.name, "record %zu %s", items.record, name);
    dump_put(items.walk, items.value, items.at * 4, 4, words);
    ++items.at;
}

void put_mindata(item_walk_t &items)
{
    const bool wide = items.layout == VIEW_ITEMS_WIDE_MINDATA;
    if (items.layout == VIEW_ITEMS_PLAIN ||
        (items.word() & PATTERN_MINDATA_MARK) != PATTERN_MINDATA_MARK)
        return;
    dump_words_t mark;
    const uint32_t mindata = items.word() & ~PATTERN_MINDATA_MARK;
    dump_say(mark.value, "0x%08x", items.word());
    if (wide)
        dump_say(mark.meaning, "a minimum follows");
    else if (mindata == PATTERN_MINDATA_NONE)
        dump_say(mark.meaning, "no minimum");
    else
        dump_say(mark.meaning, "at least %u bytes", mindata);
    put_word(items, "minimum", mark);
    if (!wide || items.left() == 0)
        return;
    dump_words_t number;
    dump_say(number.value, "%u", items.word());
    put_word(items, "minimum", number);
}

/// Hands out the count of a record; returns whether its items are there.
bool put_count(item_walk_t &items, uint32_t &count)
{
    dump_words_t words;
    count = items.word();
    const bool there = count <= (items.left() - 1) / view_item_words(items.layout);
    dump_say(words.value, "%u", count);
    if (!there)
        dump_say(words.damage, "%zu words are left", items.left() - 1);
    put_word(items, "count", words);
    return there;
}

void put_item(item_walk_t &items)
{
    dump_words_t item;
    dump_say(item.value, "0x%08x", items.word());
    dump_say_item(items.walk, items.word(), item);
    put_word(items, "item", item);
    if (items.layout != VIEW_ITEMS_OFFSETS)
        return;
    dump_words_t end;
    if (items.word() == PATTERN_NO_OFFSET)
        dump_say(end.meaning, "anywhere");
    else
        dump_say(end.value, "%u", items.word());
    put_word(items, "match ends at", end);
}

/// Hands out a record. Returns false where it is damaged.
bool put_record(item_walk_t &items)
{
    uint32_t count = 0;
    items.record = items.at;
    put_mindata(items);
    if (items.left() == 0 || !put_count(items, count))
        return false;
    for (uint32_t i = 0; i < count; ++i)
        put_item(items);
    return true;
}

} // namespace

void dump_items(dump_walk_t &walk, format_kind_t kind, const view_area_t &value)
{
    item_walk_t items = {walk, value, layout_of(walk, kind)};
    if (kind == FORMAT_MAPPER_ITEMS && items.left() != 0) {
        dump_put_bytes(walk, value, 0, 4, "no record");
        items.at = 1;
    }
    while (items.left() != 0)
        if (!put_record(items)) {
            if (items.at * 4 < value.size)
                dump_put_damaged(walk, value, items.at * 4, "no record begins here");
            return;
        }
    dump_put_padding(walk, value, items.at * 4);
}
