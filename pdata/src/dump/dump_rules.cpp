#include "dump_state.h"

#include <algorithm>

#include "view_parts.h"
#include "view_pool.h"

namespace
{

/// One table of the protocol map: cells by rule.
struct map_table_t {
    const char *what;
    size_t width; ///< cells of a rule
    bool names;
};

constexpr map_table_t map_tables[] = {
    {"path", PDB_PROTOCOL_MAP_PATH, true},
    {"bottom", PDB_PROTOCOL_MAP_BOTTOMS, true},
    {"real bottom", PDB_PROTOCOL_MAP_BOTTOMS, true},
    {"version identifier", 1, false},
};

void put_cell(dump_walk_t &walk, const view_area_t &value, size_t word, const map_table_t &table,
              size_t index)
{
    dump_words_t words;
    const uint32_t cell = view_word(value, word);
    dump_say(words.name, "rule %zu %s", index / table.width + 1, table.what);
    if (cell == PDB_PROTOCOL_MAP_EMPTY)
        dump_say(words.meaning, "none");
    else if (table.names)
        dump_say_string(walk, FORMAT_PDB_RULE_STRING, cell, words);
    else
        dump_say(words.value, "%u", cell);
    dump_put(walk, value, word * 4, 4, words);
}

/// Tags whose names are looked up: more than a compile writes there are not.
void say_tag(const dump_walk_t &walk, uint32_t number, dump_words_t &words)
{
    const view_area_t &tags = walk.found[FORMAT_TAGS];
    const uint32_t count = std::min(view_tag_count(tags), TAG_TABLE_DIM);
    dump_say(words.value, "%u", number);
    for (uint32_t i = 0; i < count; ++i) {
        const view_tag_t tag = view_tag_at(tags, i, walk.tags_swapped);
        std::string_view name;
        if (tag.number != number || !view_pool_get({walk.found[FORMAT_STRING]}, tag.name, name))
            continue;
        words.text = name.substr(0, DUMP_REFERRED_MAX);
        words.text_cut = name.size() > DUMP_REFERRED_MAX;
        words.has_text = true;
        return;
    }
}

/// A walk over the lists of a tag map.
struct tag_walk_t {
    dump_walk_t &walk;
    const view_area_t &value;
    size_t first; ///< word at which the lists begin
    size_t at;    ///< words passed

    size_t left() const { return view_words(value) - at; }
};

void put_list_word(tag_walk_t &tags, size_t list, const char *name, dump_words_t &words)
{
    dump_say(words.name, "list %zu %s", list, name);
    dump_put(tags.walk, tags.value, tags.at * 4, 4, words);
    ++tags.at;
}

/// Hands out a list of tags; of one that runs past the map, what is there.
void put_list(tag_walk_t &tags)
{
    const size_t list = tags.at - tags.first;
    const uint32_t count = view_word(tags.value, tags.at);
    const size_t there = std::min(size_t{count}, tags.left() - 1);
    dump_words_t words;
    dump_say(words.value, "%u", count);
    if (there != count)
        dump_say(words.damage, "%zu words are left", there);
    put_list_word(tags, list, "count", words);
    for (size_t i = 0; i < there; ++i) {
        dump_words_t tag;
        say_tag(tags.walk, view_word(tags.value, tags.at), tag);
        put_list_word(tags, list, "tag", tag);
    }
}

void put_start(tag_walk_t &tags)
{
    dump_words_t words;
    const uint32_t start = view_word(tags.value, tags.at);
    dump_say(words.name, "rule %zu", tags.at);
    dump_say(words.value, "%u", start);
    dump_say(words.meaning, "list %u", start);
    if (start >= view_words(tags.value) - tags.first)
        dump_say(words.damage, "no list is there");
    dump_put(tags.walk, tags.value, tags.at * 4, 4, words);
    ++tags.at;
}

} // namespace

void dump_protocol_map(dump_walk_t &walk, format_kind_t, const view_area_t &value)
{
    const size_t nr_rule = dump_found_word(walk, FORMAT_PDB_RULE_META, 0);
    size_t word = 0;
    for (const map_table_t &table : map_tables) {
        const size_t count = std::min(nr_rule * table.width, view_words(value) - word);
        for (size_t i = 0; i < count; ++i)
            put_cell(walk, value, word + i, table, i);
        word += count;
    }
    dump_put_padding(walk, value, word * 4);
}

void dump_tag_map(dump_walk_t &walk, format_kind_t, const view_area_t &value)
{
    if (value.size < 4)
        return dump_put_damaged(walk, value, 0, "too short for a number of rules");
    const size_t nr_rule = std::min(size_t{view_word(value, 0)}, view_words(value) - 1);
    tag_walk_t tags = {walk, value, nr_rule + 1, 1};
    dump_words_t words;
    dump_say(words.name, "nr_rule");
    dump_say(words.value, "%u", view_word(value, 0));
    if (nr_rule != view_word(value, 0))
        dump_say(words.damage, "%zu words are left", nr_rule);
    dump_put(walk, value, 0, 4, words);
    while (tags.at < tags.first)
        put_start(tags);
    while (tags.left() != 0)
        put_list(tags);
    dump_put_padding(walk, value, tags.at * 4);
}
