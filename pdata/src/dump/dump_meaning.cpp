#include "dump_state.h"

#include "format_fields.h"
#include "format_types.h"
#include "view_pool.h"

namespace
{

/// How the numbers of a unit are written, and whether they must be one of its values.
bool is_hexadecimal(format_unit_t unit)
{
    return unit == FORMAT_UNIT_LOAD_STATE || unit == FORMAT_UNIT_SCOPE ||
           unit == FORMAT_UNIT_PRIORITY || unit == FORMAT_UNIT_PIECE || unit == FORMAT_UNIT_RULE ||
           unit == FORMAT_UNIT_BITSET || unit == FORMAT_UNIT_ENGINES;
}

bool is_choice(format_unit_t unit)
{
    return unit == FORMAT_UNIT_LOAD_STATE || unit == FORMAT_UNIT_WAY ||
           unit == FORMAT_UNIT_MATCHER_TYPE;
}

void say_values(format_unit_t unit, uint32_t number, dump_text_t &text)
{
    for (const format_value_t &value : format_values)
        if (value.unit == unit && (number & value.mask) == value.number) {
            dump_say_comma(text);
            dump_say(text, "%s", value.what);
        }
}

void say_bits(format_unit_t unit, uint32_t number, dump_text_t &text)
{
    for (const format_bits_t &bits : format_bits)
        if (bits.unit == unit) {
            dump_say_comma(text);
            dump_say(text, "%s %u", bits.name, number >> bits.lowest & ((1U << bits.width) - 1));
        }
}

/// Says the name of the protocol that the walk is in.
void say_protocol(const dump_walk_t &walk, dump_text_t &text)
{
    std::string_view name;
    if (view_pool_get(
            {walk.found[FORMAT_PROTOGROUP_STRING]},
            dump_found_word(walk, FORMAT_PROTO_META, format_word_of(FIELD_PROTO_META_name)), name))
        dump_say_bytes(text, name);
}

void say_private(const dump_walk_t &walk, uint32_t index, dump_words_t &words)
{
    const view_area_t &entries = walk.found[FORMAT_MATCHER_L2];
    dump_say(words.meaning, "entry %u of the second level", index);
    if (index >= entries.size / (MATCHER_MAP_WORDS * 4)) {
        dump_say(words.damage, "the second level has no such entry");
        return;
    }
    const uint32_t item = view_word(entries, size_t{index} * MATCHER_MAP_WORDS);
    dump_say(words.meaning, ", item %u, ", item);
    dump_say_rule(walk, walk.has_rules ? view_rules_slot(walk.rules, item).rule_id : 0,
                  words.meaning);
}

} // namespace

void dump_say_rule(const dump_walk_t &walk, uint32_t rule_id, dump_text_t &text)
{
    if (!walk.has_rules || rule_id == 0 || rule_id > walk.rules.nr_rule) {
        dump_say(text, "no rule");
        return;
    }
    std::string_view last;
    for (uint32_t cell = 0; cell < PDB_PROTOCOL_MAP_PATH; ++cell) {
        const std::string_view name = view_rules_path(walk.rules, rule_id, cell);
        last = name.empty() ? last : name;
    }
    dump_say(text, "rule %u of ", rule_id);
    dump_say_bytes(text, last);
}

void dump_say_item(const dump_walk_t &walk, uint32_t id, dump_words_t &words)
{
    if (id >= MATCHER_PRIVATE_ID)
        return say_private(walk, id & ~MATCHER_PRIVATE_ID, words);
    dump_say(words.meaning, "item %u, ", id);
    dump_say_rule(walk, walk.has_rules ? view_rules_slot(walk.rules, id).rule_id : 0,
                  words.meaning);
}

void dump_say_item_record(const dump_walk_t &walk, format_kind_t items, uint32_t index,
                          dump_words_t &words)
{
    dump_say(words.meaning, "items at word %u", index);
    if (index >= view_words(walk.found[items]))
        dump_say(words.damage, "the item table has %zu words", view_words(walk.found[items]));
}

void dump_say_number(const dump_walk_t &walk, format_unit_t unit, uint32_t number,
                     dump_words_t &words)
{
    dump_say(words.value, is_hexadecimal(unit) ? "0x%08x" : "%u", number);
    if (unit == FORMAT_UNIT_ITEM)
        return dump_say_item(walk, number, words);
    say_values(unit, number, words.meaning);
    if (is_choice(unit) && words.meaning.size == 0)
        dump_say(words.damage, "no such %s", format_unit_names[unit]);
    say_bits(unit, number, words.meaning);
    if (unit == FORMAT_UNIT_PROTOCOL)
        say_protocol(walk, words.meaning);
    if (unit == FORMAT_UNIT_RULE) {
        dump_say(words.meaning, ", ");
        dump_say_rule(walk, number & RULE_SEQUENCE_MASK, words.meaning);
    }
    if (unit == FORMAT_UNIT_NONE && number == 0xFFFFFFFF)
        dump_say(words.meaning, "none");
}

void dump_say_string(const dump_walk_t &walk, format_kind_t pool, uint32_t offset,
                     dump_words_t &words)
{
    dump_say(words.value, "%u", offset);
    const view_area_t &area = walk.found[pool];
    if (area.data == nullptr)
        return dump_say(words.meaning, "without a pool of strings");
    std::string_view text;
    words.has_text = view_pool_get({area}, offset, text);
    words.text = text.substr(0, DUMP_REFERRED_MAX);
    words.text_cut = text.size() > DUMP_REFERRED_MAX;
    if (!words.has_text)
        dump_say(words.damage, "no string is there");
}
