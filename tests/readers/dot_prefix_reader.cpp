#include "dot_prefix_reader.h"
#include "file_format.h"

#include <algorithm>

namespace
{

constexpr uint32_t COLUMN_PROPAGATION = 1;
constexpr uint32_t COLUMN_ITEMS = 2;
constexpr uint32_t COLUMN_WILDCARD = 3;

constexpr uint16_t NO_PROPAGATION = 0xFFFF;

/// Adds `node`, its propagation, the propagation of that, and so on to `current`.
bool enter(const dot_prefix_reader_t &reader, uint32_t node, std::vector<uint32_t> &current,
           std::string &error)
{
    while (std::find(current.begin(), current.end(), node) == current.end()) {
        if (node >= reader.rows.nr_row)
            return blob_fail(error, "link to node " + std::to_string(node) + " of " +
                                        std::to_string(reader.rows.nr_row));
        current.push_back(node);
        const uint16_t propagation = row_table_word(reader.rows, node, COLUMN_PROPAGATION);
        if (propagation == NO_PROPAGATION)
            break;
        node = propagation;
    }
    return true;
}

/// Returns the node behind `node` on `byte`, or 0.
uint16_t follow(const dot_prefix_reader_t &reader, uint32_t node, uint8_t byte)
{
    const uint8_t code = reader.alphabet.code[byte];
    const uint16_t target = code < file_format::DOT_PREFIX_NR_META
                                ? uint16_t{0}
                                : row_table_word(reader.rows, node, code);
    return target != 0 ? target : row_table_word(reader.rows, node, COLUMN_WILDCARD);
}

} // namespace

bool dot_prefix_reader_open(blob_span_t blob, dot_prefix_reader_t &reader, std::string &error)
{
    reader = {};
    blob_span_t transitions;
    if (!alphabet_read(blob, file_format::DOT_PREFIX_TLV_ALPHABET, file_format::DOT_PREFIX_NR_META,
                       reader.alphabet, error) ||
        !blob_read(blob, file_format::DOT_PREFIX_TLV_TRANSITIONS, transitions, error) ||
        !blob_read(blob, file_format::DOT_PREFIX_TLV_ITEMS, reader.items, error) ||
        !blob_end(blob, error) ||
        !row_table_open(transitions, reader.alphabet.size, reader.rows, error))
        return false;
    return reader.rows.nr_row != 0 || blob_fail(error, "no start node");
}

bool dot_prefix_reader_items(const dot_prefix_reader_t &reader, uint32_t node,
                             std::vector<pattern_end_t> &ends, std::string &error)
{
    const uint16_t word = row_table_word(reader.rows, node, COLUMN_ITEMS);
    return word == file_format::PATTERN_NO_ITEM_WORD ||
           item_record_read(reader.items, word, ITEM_LAYOUT_WIDE_MINDATA, ends, error);
}

bool dot_prefix_reader_match(const dot_prefix_reader_t &reader, blob_span_t data,
                             std::vector<pattern_hit_t> &hits, std::string &error)
{
    std::vector<uint32_t> current{0};
    std::vector<uint32_t> next;
    std::vector<pattern_end_t> ends;
    std::vector<pattern_hit_t> found;
    for (size_t i = 0; i < data.size() && !current.empty(); ++i) {
        next.clear();
        for (const uint32_t node : current) {
            const uint16_t target = follow(reader, node, data[i]);
            if (target != 0 && !enter(reader, target, next, error))
                return false;
        }
        found.clear();
        for (const uint32_t node : next) {
            ends.clear();
            if (!dot_prefix_reader_items(reader, node, ends, error))
                return false;
            for (const pattern_end_t &end : ends)
                found.push_back({end.item_id, static_cast<uint32_t>(i + 1), end.mindata});
        }
        pattern_hits_normalize(found);
        hits.insert(hits.end(), found.begin(), found.end());
        current.swap(next);
    }
    return true;
}
