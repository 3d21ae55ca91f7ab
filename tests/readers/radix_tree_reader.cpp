#include "radix_tree_reader.h"

#include <algorithm>

#include "csa_endian.h"
#include "file_format.h"

namespace
{

/// Checks that a bitmap value holds as many bits as its last index says.
bool check_bitmap(blob_span_t value, std::string &error)
{
    if (value.size() < 5 || csa_get_be32(value.data()) / 8 > value.size() - 5)
        return blob_fail(error,
                         "bitmap of " + std::to_string(value.size()) + " bytes is too short");
    return true;
}

bool test_bitmap(blob_span_t value, uint32_t idx)
{
    return idx <= csa_get_be32(value.data()) && (value[4 + idx / 8] >> (idx & 7) & 1) != 0;
}

/// Where a walk stands.
struct radix_walk {
    uint32_t row = 0;
    size_t read = 0; ///< bytes of data passed
};

/// The data in the order of the walk.
struct radix_input {
    blob_span_t data;
    bool backwards;

    uint8_t at(size_t i) const { return data[backwards ? data.size() - 1 - i : i]; }
};

enum step_t { STEP_DONE, STEP_STOP, STEP_ERROR };

uint8_t fold(uint8_t c, bool icase)
{
    return icase && c >= 'A' && c <= 'Z' ? static_cast<uint8_t>(c + 0x20) : c;
}

/// Passes the compressed edge at word `index`.
step_t pass_chain(const radix_tree_reader_t &reader, const radix_input &input, uint32_t index,
                  radix_walk &walk, std::string &error)
{
    const size_t at = size_t{index} * 4;
    if (at + 3 > reader.c_edges.size() || at + 3 + reader.c_edges[at + 2] > reader.c_edges.size()) {
        blob_fail(error, "compressed edge " + std::to_string(index) + " runs past the table");
        return STEP_ERROR;
    }
    const uint8_t length = reader.c_edges[at + 2];
    if (input.data.size() - walk.read < length)
        return STEP_STOP;
    for (uint8_t i = 0; i < length; ++i)
        if (fold(input.at(walk.read + i), reader.icase) != reader.c_edges[at + 3 + i])
            return STEP_STOP;
    walk.row = csa_get_be16(reader.c_edges.data() + at);
    walk.read += length;
    return STEP_DONE;
}

step_t step(const radix_tree_reader_t &reader, const radix_input &input, radix_walk &walk,
            std::string &error)
{
    if (walk.read == input.data.size())
        return STEP_STOP;
    const uint8_t code = reader.alphabet.code[input.at(walk.read)];
    const uint16_t target = code == 0 ? uint16_t{0} : row_table_word(reader.rows, walk.row, code);
    if (target == 0)
        return STEP_STOP;
    ++walk.read;
    walk.row = target;
    if (test_bitmap(reader.c_edges_bitmap, target)) {
        const step_t passed = pass_chain(reader, input, target, walk, error);
        if (passed != STEP_DONE)
            return passed;
    }
    if (walk.row < reader.rows.nr_row)
        return STEP_DONE;
    blob_fail(error, "edge to row " + std::to_string(walk.row) + " of " +
                         std::to_string(reader.rows.nr_row));
    return STEP_ERROR;
}

} // namespace

bool radix_tree_reader_open(blob_span_t blob, bool icase, radix_tree_reader_t &reader,
                            std::string &error)
{
    reader = {};
    reader.icase = icase;
    if (blob.empty())
        return true;
    blob_span_t transitions;
    if (!blob_read(blob, file_format::RADIX_TLV_TRANSITIONS, transitions, error) ||
        !blob_read(blob, file_format::RADIX_TLV_C_EDGES, reader.c_edges, error) ||
        !blob_read(blob, file_format::RADIX_TLV_ITEMS, reader.items, error) ||
        !blob_read(blob, file_format::RADIX_TLV_EXACT_BITMAP, reader.exact_bitmap, error) ||
        !blob_read(blob, file_format::RADIX_TLV_C_EDGES_BITMAP, reader.c_edges_bitmap, error) ||
        !alphabet_read(blob, file_format::RADIX_TLV_ALPHABET, file_format::RADIX_NR_META,
                       reader.alphabet, error) ||
        !blob_read_words(blob, file_format::RADIX_TLV_META, {&reader.nr_item_max, 1}, error) ||
        !blob_end(blob, error))
        return false;
    return check_bitmap(reader.exact_bitmap, error) && check_bitmap(reader.c_edges_bitmap, error) &&
           row_table_open(transitions, reader.alphabet.size, reader.rows, error);
}

bool radix_tree_reader_items(const radix_tree_reader_t &reader, uint32_t row,
                             std::vector<pattern_end_t> &ends, std::string &error)
{
    const uint16_t word = row_table_word(reader.rows, row, 0);
    return word == file_format::PATTERN_NO_ITEM_WORD ||
           item_record_read(reader.items, word, ITEM_LAYOUT_IDS, ends, error);
}

bool radix_tree_reader_is_exact(const radix_tree_reader_t &reader, uint32_t item_id)
{
    return test_bitmap(reader.exact_bitmap, item_id & 0x0FFFFFFF);
}

bool radix_tree_reader_match(const radix_tree_reader_t &reader, blob_span_t data, bool backwards,
                             std::vector<pattern_hit_t> &hits, std::string &error)
{
    if (reader.rows.nr_row == 0)
        return true;
    const radix_input input{data, backwards};
    radix_walk walk;
    std::vector<pattern_end_t> ends;
    step_t made = STEP_DONE;
    while (made == STEP_DONE) {
        ends.clear();
        if (!radix_tree_reader_items(reader, walk.row, ends, error))
            return false;
        for (const pattern_end_t &end : ends)
            if (walk.read == data.size() || !radix_tree_reader_is_exact(reader, end.item_id))
                hits.push_back({end.item_id, static_cast<uint32_t>(walk.read), end.mindata});
        made = step(reader, input, walk, error);
    }
    return made == STEP_STOP;
}
