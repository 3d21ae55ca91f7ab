#include "dump_state.h"

#include "format_types.h"

namespace
{

/// The word of a 64-bit value that comes first is the low one.
void say_64(const view_area_t &value, size_t at, dump_text_t &text)
{
    const auto high = static_cast<unsigned long long>(dump_number(value, at + 4, 4));
    dump_say(text, "%llu", high << 32 | dump_number(value, at, 4));
}

void say_ipv6(const view_area_t &value, size_t at, dump_text_t &text)
{
    for (size_t group = 0; group < 8; ++group)
        dump_say(text, group == 0 ? "%x" : ":%x", dump_number(value, at + group * 2, 2));
}

void say_endpoint(const dump_walk_t &walk, const view_area_t &value, size_t at, size_t size,
                  dump_text_t &text)
{
    const bool address = dump_found_word(walk, FORMAT_NUMBER_TYPE, 0) == MATCHER_TYPE_IP_4;
    if (size == 16)
        say_ipv6(value, at, text);
    else if (size == 8)
        say_64(value, at, text);
    else if (address)
        dump_say(text, "%u.%u.%u.%u", value.data[at], value.data[at + 1], value.data[at + 2],
                 value.data[at + 3]);
    else
        dump_say(text, "%u", dump_number(value, at, 4));
}

/// Hands out values without an item as one range; returns how many there are.
size_t put_no_values(dump_walk_t &walk, const view_area_t &value, size_t at)
{
    const size_t size = dump_zero_run(value, at, value.size, 2);
    dump_words_t words;
    dump_say(words.name, "values %zu to %zu", at / 2, (at + size) / 2 - 1);
    dump_say(words.meaning, "no items");
    if (size != 0)
        dump_put(walk, value, at, size, words);
    return size;
}

void put_value(dump_walk_t &walk, const view_area_t &value, size_t at)
{
    dump_words_t words;
    dump_say(words.name, "value %zu", at / 2);
    dump_say(words.value, "%u", dump_number(value, at, 2));
    dump_say_item_record(walk, FORMAT_MAPPER_ITEMS, dump_number(value, at, 2), words);
    dump_put(walk, value, at, 2, words);
}

} // namespace

void dump_mapper_values(dump_walk_t &walk, format_kind_t, const view_area_t &value)
{
    size_t at = 0;
    while (value.size - at >= 2) {
        const size_t none = put_no_values(walk, value, at);
        at += none;
        if (none == 0) {
            put_value(walk, value, at);
            at += 2;
        }
    }
    dump_put_padding(walk, value, at);
}

void dump_endpoints(dump_walk_t &walk, format_kind_t, const view_area_t &value)
{
    const size_t size = dump_found_word(walk, FORMAT_INTERVAL_META, 0);
    if (size != 4 && size != 8 && size != 16) {
        if (value.size != 0)
            dump_put_damaged(walk, value, 0, "endpoints of unknown size");
        return;
    }
    size_t at = 0;
    for (; value.size - at >= size; at += size) {
        dump_words_t words;
        dump_say(words.name, "endpoint %zu", at / size);
        say_endpoint(walk, value, at, size, words.value);
        dump_put(walk, value, at, size, words);
    }
    dump_put_padding(walk, value, at);
}

void dump_endpoint_records(dump_walk_t &walk, format_kind_t, const view_area_t &value)
{
    for (size_t i = 0; i < view_words(value); ++i) {
        dump_words_t words;
        dump_say(words.name, "endpoint %zu", i);
        dump_say(words.value, "%u", view_word(value, i));
        dump_say_item_record(walk, FORMAT_INTERVAL_ITEMS, view_word(value, i), words);
        dump_put(walk, value, i * 4, 4, words);
    }
    dump_put_padding(walk, value, view_words(value) * 4);
}
