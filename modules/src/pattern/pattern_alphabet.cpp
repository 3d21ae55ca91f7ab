#include "pattern_alphabet.h"

#include <algorithm>

#include "module_error.h"
#include "pattern_tlv.h"

namespace
{

/// Tells whether `a` comes before `b`: equal counters compare equal.
bool pattern_alphabet_compare(const ps_alphabet_map_t &a, const ps_alphabet_map_t &b)
{
    return a.counter > b.counter;
}

} // namespace

void pattern_alphabet_init(ps_alphabet &alphabet, uint8_t nr_meta_data)
{
    alphabet = {};
    alphabet.nr_meta_data = nr_meta_data;
}

int pattern_alphabet_insert(ps_alphabet &alphabet, uint8_t c)
{
    uint16_t &place = alphabet.place[c];
    if (place == 0) {
        if (alphabet.nr == alphabet.map.size())
            return MODULE_ERR_INVALID;
        alphabet.map[alphabet.nr] = {c, 0};
        place = ++alphabet.nr;
    }
    ++alphabet.map[place - 1U].counter;
    return MODULE_SUCCESS;
}

void pattern_alphabet_finalize(ps_alphabet &alphabet)
{
    if ((alphabet.config & ALPHA_CONFIG_SORT_ENABLE) == 0)
        return;
    // A byte whose counter wrapped to 0 stays before the unused entries, as the sort is stable.
    // Oddity O155.
    std::stable_sort(alphabet.map.begin(), alphabet.map.end(), pattern_alphabet_compare);
    for (uint16_t i = 0; i < alphabet.nr; ++i)
        alphabet.place[alphabet.map[i].value] = static_cast<uint16_t>(i + 1);
}

void pattern_alphabet_emit(const ps_alphabet &alphabet, tlv_sink_t &sink)
{
    const size_t size = tlv_sink_open_blob(sink, ALPHABET_TLV_SIZE);
    tlv_sink_put(sink, pattern_alphabet_width(alphabet), 4);
    tlv_sink_close_blob(sink, size);

    const size_t codes = tlv_sink_open_blob(sink, ALPHABET_TLV_MAP);
    if (uint8_t *at = tlv_sink_take(sink, 256)) {
        for (unsigned c = 0; c < 256; ++c) {
            const uint8_t folded = conv_char(alphabet.config, static_cast<uint8_t>(c));
            at[c] = pattern_alphabet_find(alphabet, folded);
        }
    }
    tlv_sink_close_blob(sink, codes);
}

size_t pattern_alphabet_get_size()
{
    return tlv_sink_count([](tlv_sink_t &sink) { pattern_alphabet_emit({}, sink); });
}

uint8_t *pattern_alphabet_serialize(const ps_alphabet &alphabet, std::span<uint8_t> buf)
{
    return tlv_sink_write(buf, [&](tlv_sink_t &sink) { pattern_alphabet_emit(alphabet, sink); });
}
