#include <algorithm>

#include "file_format.h"
#include "loadable_parts.h"

namespace
{

/// Gives the text of a table at `offset`, or an error that names `what`.
bool get_text(const loadable_strings_t &strings, uint32_t offset, const char *what,
              std::string_view &text, std::string &error)
{
    return loadable_strings_get(strings, offset, text) ||
           blob_fail(error, std::string(what) + ": no string begins at " + std::to_string(offset));
}

bool read_entry(blob_span_t words, const loadable_strings_t &strings, loadable_entry_t &entry,
                std::string &error)
{
    const uint32_t offset = loadable_word(words, 1);
    const uint32_t flag = loadable_word(words, 2);
    entry.pub_id = loadable_word(words, 0);
    entry.kind = flag & 0xFF;
    entry.permutation = flag >> 8 & 0xFF;
    entry.position = flag >> 16 & 0xFF;
    entry.nb_pieces = flag >> 24;
    constexpr uint32_t kinds[] = {file_format::MATCHER_MAP_REGULAR,
                                  file_format::MATCHER_MAP_CATCH_ALL,
                                  file_format::MATCHER_MAP_PREFIX, file_format::MATCHER_MAP_SUFFIX,
                                  file_format::MATCHER_MAP_EXACT};
    if (std::find(std::begin(kinds), std::end(kinds), entry.kind) == std::end(kinds))
        return blob_fail(error, "kind " + std::to_string(entry.kind));
    if (loadable_word(words, 3) != 0)
        return blob_fail(error, "re_id is not 0");
    // An entry that is neither anchored nor a piece of several refers to the complete value.
    entry.has_value =
        flag == file_format::MATCHER_MAP_CATCH_ALL || flag == file_format::MATCHER_MAP_REGULAR;
    if (!entry.has_value)
        return offset == 0 || blob_fail(error, "refers to a value");
    return get_text(strings, offset, "value", entry.value, error);
}

bool read_second_level(blob_span_t table, const loadable_strings_t &strings,
                       std::vector<loadable_entry_t> &entries, std::string &error)
{
    constexpr size_t entry_size = 16;
    if (table.size() % entry_size != 0)
        return blob_fail(error, "second level of " + std::to_string(table.size()) + " bytes");
    entries.resize(table.size() / entry_size);
    for (size_t i = 0; i < entries.size(); ++i)
        if (!read_entry(table.subspan(i * entry_size, entry_size), strings, entries[i], error))
            return loadable_within(error, "second-level entry " + std::to_string(i));
    return true;
}

bool read_stream(blob_span_t rest, loadable_matcher_t &matcher, std::string &error)
{
    blob_span_t engines;
    blob_span_t table;
    blob_span_t text;
    loadable_strings_t strings;
    if (!loadable_take_typed(rest, file_format::TLV_TYPE_MATCHER_AC, LOADABLE_ANY_LENGTH, engines,
                             error) ||
        !loadable_take_typed(rest, file_format::TLV_TYPE_MATCHER_L2, LOADABLE_ANY_LENGTH, table,
                             error) ||
        !loadable_take_typed(rest, file_format::TLV_TYPE_MATCHER_STRING, LOADABLE_ANY_LENGTH, text,
                             error) ||
        !blob_end(rest, error) || !pattern_reader_open(engines, matcher.pattern, error) ||
        !loadable_strings_open(text, strings, error))
        return false;
    switch (matcher.pattern.algo & ~uint32_t{file_format::PATTERN_ALGO_ICASE}) {
    case file_format::PATTERN_ALGO_CLASSIC:
    case file_format::PATTERN_ALGO_OFFSET_V1:
    case file_format::PATTERN_ALGO_OFFSET_V2:
    case file_format::PATTERN_ALGO_OFFSET_V3:
        return read_second_level(table, strings, matcher.second_level, error);
    default:
        return blob_fail(error, "engines " + std::to_string(matcher.pattern.algo));
    }
}

bool read_number(blob_span_t rest, loadable_matcher_t &matcher, std::string &error)
{
    blob_span_t blob;
    if (!loadable_take_typed(rest, file_format::TLV_TYPE_MATCHER_NUMBER, LOADABLE_ANY_LENGTH, blob,
                             error) ||
        !blob_end(rest, error))
        return false;
    if (number_reader_open(&matcher.number, blob) != 0)
        return blob_fail(error, "damaged numbers");
    return matcher.number.type == matcher.type ||
           blob_fail(error, "numbers of type " + std::to_string(matcher.number.type));
}

bool read_data(blob_span_t rest, loadable_matcher_t &matcher, std::string &error)
{
    blob_span_t meta;
    if (!loadable_take_typed(rest, file_format::TLV_TYPE_MATCHER_META, 2, meta, error))
        return false;
    matcher.type = loadable_word(meta, 0);
    matcher.min_data = loadable_word(meta, 1);
    switch (matcher.type) {
    case file_format::MATCHER_TYPE_STREAM:
        return read_stream(rest, matcher, error);
    case file_format::MATCHER_TYPE_NUMBER_8:
    case file_format::MATCHER_TYPE_NUMBER_16:
    case file_format::MATCHER_TYPE_IP_4:
    case file_format::MATCHER_TYPE_IP_6:
        return read_number(rest, matcher, error);
    default:
        return blob_fail(error, "matcher type " + std::to_string(matcher.type));
    }
}

bool read_matcher(blob_span_t rest, const loadable_strings_t &names, loadable_matcher_t &matcher,
                  std::string &error)
{
    blob_span_t meta;
    blob_span_t data;
    if (!loadable_take_typed(rest, file_format::TLV_TYPE_PDB_MATCHER_META, 3, meta, error) ||
        !loadable_take_typed(rest, file_format::TLV_TYPE_PDB_MATCHER_DATA, LOADABLE_ANY_LENGTH,
                             data, error) ||
        !blob_end(rest, error) ||
        !get_text(names, loadable_word(meta, 0), "protocol", matcher.protocol, error) ||
        !get_text(names, loadable_word(meta, 1), "attribute", matcher.attribute, error))
        return false;
    matcher.way = loadable_word(meta, 2);
    if (matcher.way != ATTR_WAY_CTS && matcher.way != ATTR_WAY_STC)
        return blob_fail(error, "direction " + std::to_string(matcher.way));
    return read_data(data, matcher, error);
}

/// Collects the items of the distinct records that the rows of an engine refer to.
struct record_collector_t {
    blob_span_t items;
    item_layout_t layout;
    std::vector<bool> seen = std::vector<bool>(0x10000); ///< by item word
    std::vector<pattern_end_t> ends = {};

    /// `word` is the item word of a row.
    bool add(uint16_t word, std::string &error)
    {
        if (word == file_format::PATTERN_NO_ITEM_WORD || seen[word])
            return true;
        seen[word] = true;
        if (!item_record_read(items, word, layout, ends, error))
            return false;
        return ends.size() <= items.size() / 4 || blob_fail(error, "item records overlap");
    }
};

bool collect(const row_table_t &rows, uint32_t column, record_collector_t &collector,
             std::vector<uint32_t> &ids, std::string &error)
{
    for (uint32_t row = 0; row < rows.nr_row; ++row)
        if (!collector.add(row_table_word(rows, row, column), error))
            return loadable_within(error, "row " + std::to_string(row));
    for (const pattern_end_t &end : collector.ends)
        ids.push_back(end.item_id);
    return true;
}

bool automaton_ids(const aho_corasick_reader_t &reader, std::vector<uint32_t> &ids,
                   std::string &error)
{
    record_collector_t collector{reader.items,
                                 reader.ahoff ? ITEM_LAYOUT_OFFSETS : ITEM_LAYOUT_IDS};
    std::vector<pattern_end_t> ends;
    for (uint32_t row = 0; row < reader.rows.nr_row && !reader.ahoff; ++row) {
        const uint16_t word = row_table_word(reader.rows, row, 1);
        // A word of this form holds the item itself: the collector has nothing to read.
        if (word == file_format::PATTERN_NO_ITEM_WORD ||
            (word & file_format::AHO_CORASICK_INLINE) == 0 || collector.seen[word])
            continue;
        if (!aho_corasick_reader_items(reader, row, ends, error))
            return false;
        collector.seen[word] = true;
    }
    for (const pattern_end_t &end : ends)
        ids.push_back(end.item_id);
    return collect(reader.rows, 1, collector, ids, error) || loadable_within(error, "automaton");
}

bool tree_ids(const radix_tree_reader_t &reader, std::vector<uint32_t> &ids, std::string &error)
{
    record_collector_t collector{reader.items, ITEM_LAYOUT_IDS};
    return collect(reader.rows, 0, collector, ids, error) || loadable_within(error, "radix tree");
}

bool dot_prefix_ids(const dot_prefix_reader_t &reader, std::vector<uint32_t> &ids,
                    std::string &error)
{
    record_collector_t collector{reader.items, ITEM_LAYOUT_WIDE_MINDATA};
    return collect(reader.rows, 2, collector, ids, error) || loadable_within(error, "dot prefix");
}

bool number_ids(const number_reader &number, std::vector<uint32_t> &ids, std::string &error)
{
    std::vector<uint32_t> records;
    for (size_t at = 0; at + 2 <= number.table.size(); at += 2)
        records.push_back(csa_get_be16(number.table.data() + at));
    for (size_t at = 0; at + 4 <= number.offsets.size(); at += 4)
        records.push_back(csa_get_be32(number.offsets.data() + at));
    std::sort(records.begin(), records.end());
    records.erase(std::unique(records.begin(), records.end()), records.end());
    for (const uint32_t record : records) {
        if (record == 0 && !number.table.empty())
            continue; // no items
        const std::vector<uint32_t> found = number_reader_record(number, record);
        ids.insert(ids.end(), found.begin(), found.end());
        if (ids.size() > number.items.size() / 4)
            return blob_fail(error, "item records overlap");
    }
    return true;
}

} // namespace

bool loadable_read_matchers(blob_span_t section, loadable_pdb_t &pdb, std::string &error)
{
    blob_span_t list;
    blob_span_t text;
    loadable_strings_t names;
    if (!loadable_take_typed(section, file_format::TLV_TYPE_PDB_MATCHER_LIST, LOADABLE_ANY_LENGTH,
                             list, error) ||
        !loadable_take_typed(section, file_format::TLV_TYPE_PDB_MATCHER_STRING, LOADABLE_ANY_LENGTH,
                             text, error) ||
        !blob_end(section, error) || !loadable_strings_open(text, names, error))
        return loadable_within(error, "matchers");
    while (!list.empty()) {
        const std::string where = "matcher " + std::to_string(pdb.matchers.size());
        blob_span_t entry;
        if (!loadable_take_typed(list, file_format::TLV_TYPE_PDB_MATCHER, LOADABLE_ANY_LENGTH,
                                 entry, error) ||
            !read_matcher(entry, names, pdb.matchers.emplace_back(), error))
            return loadable_within(error, where);
    }
    return true;
}

bool loadable_matcher_ids(const loadable_matcher_t &matcher, std::vector<uint32_t> &ids,
                          std::string &error)
{
    if (matcher.type != file_format::MATCHER_TYPE_STREAM)
        return number_ids(matcher.number, ids, error);
    const pattern_reader_t &pattern = matcher.pattern;
    return automaton_ids(pattern.aho_corasick, ids, error) &&
           automaton_ids(pattern.ahoff_corasick, ids, error) &&
           tree_ids(pattern.prefix_tree, ids, error) && tree_ids(pattern.suffix_tree, ids, error) &&
           dot_prefix_ids(pattern.dot_prefix, ids, error);
}
