#include "aho_corasick_reader.h"
#include "file_format.h"

bool aho_corasick_reader_open(blob_span_t blob, bool ahoff, aho_corasick_reader_t &reader,
                              std::string &error)
{
    reader = {};
    reader.ahoff = ahoff;
    if (blob.empty())
        return true;
    blob_span_t transitions;
    uint32_t meta[2];
    if (!blob_read(blob, file_format::AHO_CORASICK_TLV_TRANSITIONS, transitions, error) ||
        !blob_read(blob, file_format::AHO_CORASICK_TLV_ITEMS, reader.items, error) ||
        !alphabet_read(blob, file_format::AHO_CORASICK_TLV_ALPHABET,
                       file_format::AHO_CORASICK_NR_META, reader.alphabet, error) ||
        !blob_read_words(blob, file_format::AHO_CORASICK_TLV_META, meta, error) ||
        !blob_end(blob, error))
        return false;
    reader.nr_item_max = meta[0];
    reader.item_length = meta[1];
    return row_table_open(transitions, reader.alphabet.size, reader.rows, error);
}

bool aho_corasick_reader_items(const aho_corasick_reader_t &reader, uint32_t state,
                               std::vector<pattern_end_t> &ends, std::string &error)
{
    const uint16_t word = row_table_word(reader.rows, state, 1);
    if (word == file_format::PATTERN_NO_ITEM_WORD)
        return true;
    if (!reader.ahoff && (word & file_format::AHO_CORASICK_INLINE) != 0) {
        const uint32_t private_bit =
            (word & file_format::AHO_CORASICK_INLINE_PRIVATE) != 0 ? 0x80000000U : 0;
        ends.push_back({private_bit | (word & (file_format::AHO_CORASICK_INLINE_IDS - 1))});
        return true;
    }
    return item_record_read(reader.items, word,
                            reader.ahoff ? ITEM_LAYOUT_OFFSETS : ITEM_LAYOUT_IDS, ends, error);
}

bool aho_corasick_reader_match(const aho_corasick_reader_t &reader, blob_span_t data,
                               std::vector<pattern_hit_t> &hits, std::string &error)
{
    if (reader.rows.nr_row == 0)
        return true;
    std::vector<pattern_end_t> ends;
    const auto report = [&](uint32_t state, uint32_t at) {
        ends.clear();
        if (!aho_corasick_reader_items(reader, state, ends, error))
            return false;
        for (const pattern_end_t &end : ends)
            if (end.offset == file_format::PATTERN_NO_OFFSET || end.offset == at)
                hits.push_back({end.item_id, at, end.mindata});
        return true;
    };
    uint32_t state = 0;
    if (!report(state, 0))
        return false;
    for (size_t i = 0; i < data.size(); ++i) {
        const uint16_t word = row_table_word(reader.rows, state, reader.alphabet.code[data[i]]);
        state = word >> 1;
        if (state >= reader.rows.nr_row)
            return blob_fail(error, "transition to state " + std::to_string(state) + " of " +
                                        std::to_string(reader.rows.nr_row));
        if ((word & 1) != 0 && !report(state, static_cast<uint32_t>(i + 1)))
            return false;
    }
    return true;
}
