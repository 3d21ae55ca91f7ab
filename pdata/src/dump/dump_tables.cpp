#include "dump_state.h"

#include "format_types.h"

namespace
{

/// Says the numbers of the bits of a byte of a bitmap.
void say_bits(size_t byte, unsigned bits, dump_text_t &text)
{
    for (size_t bit = 0; bit < 8; ++bit)
        if ((bits >> bit & 1) != 0) {
            dump_say_comma(text);
            dump_say(text, "%zu", byte * 8 + bit);
        }
}

void put_bits(dump_walk_t &walk, const view_area_t &value, size_t at)
{
    dump_words_t words;
    const unsigned bits = value.data[at];
    dump_say(words.name, "bits %zu to %zu", (at - 4) * 8, (at - 4) * 8 + 7);
    dump_say(words.value, "0x%02x", bits);
    say_bits(at - 4, bits, words.meaning);
    dump_put(walk, value, at, 1, words);
}

/// Hands out bytes that are zero as one range; returns how many there are.
size_t put_no_bits(dump_walk_t &walk, const view_area_t &value, size_t at)
{
    const size_t size = dump_zero_run(value, at, value.size, 1);
    dump_words_t words;
    dump_say(words.name, "bits %zu to %zu", (at - 4) * 8, (at - 4 + size) * 8 - 1);
    dump_say(words.meaning, "none");
    if (size != 0)
        dump_put(walk, value, at, size, words);
    return size;
}

void put_last(dump_walk_t &walk, const view_area_t &value)
{
    dump_words_t words;
    const uint32_t last = view_word(value, 0);
    dump_say(words.name, "last");
    dump_say(words.value, "%u", last);
    if (last / 8 >= value.size - 4)
        dump_say(words.damage, "%zu bytes of bits follow", value.size - 4);
    dump_put(walk, value, 0, 4, words);
}

/// Says a byte of a table by byte, or two ends of a run.
void say_run(dump_text_t &name, size_t first, size_t last)
{
    dump_say(name, first == last ? "byte " : "bytes ");
    dump_say_byte(name, static_cast<unsigned>(first));
    if (first == last)
        return;
    dump_say(name, " to ");
    dump_say_byte(name, static_cast<unsigned>(last));
}

/// Hands out neighbours of a table by byte that hold the same.
void put_runs(dump_walk_t &walk, const view_area_t &value, const char *none, const char *some)
{
    const size_t size = value.size < 256 ? value.size : 256;
    for (size_t at = 0; at < size;) {
        size_t next = at + 1;
        while (next < size && value.data[next] == value.data[at])
            ++next;
        dump_words_t words;
        say_run(words.name, at, next - 1);
        dump_say(words.value, "%u", value.data[at]);
        dump_say(words.meaning, "%s", value.data[at] == 0 ? none : some);
        dump_put(walk, value, at, next - at, words);
        at = next;
    }
    if (size < 256)
        dump_put_damaged(walk, value, size, "a table by byte has 256 entries");
    else
        dump_put_padding(walk, value, size);
}

} // namespace

void dump_bitmap(dump_walk_t &walk, format_kind_t, const view_area_t &value)
{
    if (value.size < 4)
        return dump_put_damaged(walk, value, 0, "too short for a bitmap");
    put_last(walk, value);
    for (size_t at = 4; at < value.size;) {
        const size_t none = put_no_bits(walk, value, at);
        at += none;
        if (none == 0)
            put_bits(walk, value, at++);
    }
}

void dump_alphabet_map(dump_walk_t &walk, format_kind_t, const view_area_t &value)
{
    put_runs(walk, value, "not in the alphabet", "");
}

void dump_flags(dump_walk_t &walk, format_kind_t, const view_area_t &value)
{
    put_runs(walk, value, "no interval", "an interval begins with it");
}

void dump_alphabet_open(const view_area_t &value, dump_alphabet_t &alphabet)
{
    alphabet = {};
    view_record_t size;
    view_record_t map;
    if (!view_find(value, ALPHABET_TLV_SIZE, size, VIEW_BLOBS) ||
        !view_find(value, ALPHABET_TLV_MAP, map, VIEW_BLOBS) || size.value.size < 4 ||
        map.value.size < ALPHABET_MAP_COUNT)
        return;
    alphabet.size = view_word(size.value, 0);
    uint16_t place[256 + 1] = {};
    for (size_t byte = 0; byte < ALPHABET_MAP_COUNT; ++byte)
        ++place[map.value.data[byte] + 1];
    for (size_t code = 0; code < 256; ++code)
        place[code + 1] = static_cast<uint16_t>(place[code + 1] + place[code]);
    for (size_t code = 0; code <= 256; ++code)
        alphabet.first[code] = place[code];
    for (size_t byte = 0; byte < ALPHABET_MAP_COUNT; ++byte)
        alphabet.bytes[place[map.value.data[byte]]++] = static_cast<uint8_t>(byte);
}
