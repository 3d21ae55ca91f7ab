#include "row_table.h"

#include <algorithm>
#include <tuple>

#include "csa_endian.h"
#include "file_format.h"

bool alphabet_read(blob_span_t &rest, uint32_t type, uint32_t nr_reserved,
                   alphabet_view_t &alphabet, std::string &error)
{
    blob_span_t inner;
    if (!blob_read(rest, type, inner, error) ||
        !blob_read_words(inner, file_format::ALPHABET_TLV_SIZE, {&alphabet.size, 1}, error) ||
        !blob_read(inner, file_format::ALPHABET_TLV_MAP, alphabet.code, error) ||
        !blob_end(inner, error))
        return false;
    if (alphabet.size < nr_reserved || alphabet.size > nr_reserved + 256)
        return blob_fail(error, "alphabet of " + std::to_string(alphabet.size) + " codes");
    if (alphabet.code.size() != 256)
        return blob_fail(error, "alphabet map of another size than 256");
    const auto too_large = [&](uint8_t code) { return code >= alphabet.size; };
    if (std::any_of(alphabet.code.begin(), alphabet.code.end(), too_large))
        return blob_fail(error, "alphabet map holds a code beyond the alphabet");
    return true;
}

bool row_table_open(blob_span_t bytes, uint32_t width, row_table_t &table, std::string &error)
{
    const size_t row_size = size_t{width} * 2;
    const size_t left = row_size == 0 ? bytes.size() : bytes.size() % row_size;
    if (left != 0 && left != 2)
        return blob_fail(error, "transition table of " + std::to_string(bytes.size()) +
                                    " bytes does not hold rows of " + std::to_string(row_size));
    table = {bytes, width, row_size == 0 ? 0 : static_cast<uint32_t>(bytes.size() / row_size)};
    return true;
}

uint16_t row_table_word(const row_table_t &table, uint32_t row, uint32_t column)
{
    return csa_get_be16(table.bytes.data() + (size_t{row} * table.width + column) * 2);
}

bool item_record_read(blob_span_t items, uint32_t index, item_layout_t layout,
                      std::vector<pattern_end_t> &ends, std::string &error)
{
    const size_t nr_word = items.size() / 4;
    size_t at = index;
    const auto next = [&](uint32_t &word) {
        if (at >= nr_word)
            return blob_fail(error, "item record runs past word " + std::to_string(nr_word));
        word = csa_get_be32(items.data() + 4 * at++);
        return true;
    };
    pattern_end_t end;
    uint32_t count;
    if (!next(count))
        return false;
    if ((count & file_format::PATTERN_MINDATA_MARK) == file_format::PATTERN_MINDATA_MARK) {
        end.mindata = count & ~file_format::PATTERN_MINDATA_MARK;
        if (layout == ITEM_LAYOUT_WIDE_MINDATA && !next(end.mindata))
            return false;
        if (!next(count))
            return false;
    }
    const size_t item_words = layout == ITEM_LAYOUT_OFFSETS ? 2 : 1;
    if (count > (nr_word - at) / item_words)
        return blob_fail(error,
                         "item record of " + std::to_string(count) + " items runs past the table");
    for (; count != 0; --count, at += item_words) {
        end.item_id = csa_get_be32(items.data() + 4 * at);
        if (item_words == 2)
            end.offset = csa_get_be32(items.data() + 4 * at + 4);
        ends.push_back(end);
    }
    return true;
}

void pattern_hits_normalize(std::vector<pattern_hit_t> &hits)
{
    const auto key = [](const pattern_hit_t &hit) {
        return std::tuple(hit.at, hit.item_id, hit.mindata);
    };
    std::sort(hits.begin(), hits.end(),
              [&](const pattern_hit_t &a, const pattern_hit_t &b) { return key(a) < key(b); });
    hits.erase(std::unique(hits.begin(), hits.end()), hits.end());
}
