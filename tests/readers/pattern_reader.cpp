#include "pattern_reader.h"
#include "file_format.h"

namespace
{

/// Opens the record of one engine, if the build has the engine.
template <typename Open>
bool open_engine(blob_span_t &blob, uint32_t algo, uint32_t bit, uint32_t type, std::string &error,
                 Open &&open)
{
    if ((algo & bit) == 0)
        return true;
    blob_span_t value;
    if (!blob_read(blob, type, value, error))
        return false;
    return open(value) || blob_fail(error, "record " + std::to_string(type) + ": " + error);
}

} // namespace

bool pattern_reader_open(blob_span_t blob, pattern_reader_t &reader, std::string &error)
{
    reader = {};
    if (!blob_read_words(blob, file_format::PATTERN_TLV_META, {&reader.algo, 1}, error))
        return false;
    const uint32_t algo = reader.algo;
    const bool icase = (algo & file_format::PATTERN_ALGO_ICASE) != 0;
    return open_engine(blob, algo, file_format::PATTERN_ALGO_AC,
                       file_format::PATTERN_TLV_AHO_CORASICK, error,
                       [&](blob_span_t value) {
                           return aho_corasick_reader_open(value, false, reader.aho_corasick,
                                                           error);
                       }) &&
           open_engine(blob, algo, file_format::PATTERN_ALGO_AO,
                       file_format::PATTERN_TLV_AHOFF_CORASICK, error,
                       [&](blob_span_t value) {
                           return aho_corasick_reader_open(value, true, reader.ahoff_corasick,
                                                           error);
                       }) &&
           open_engine(blob, algo, file_format::PATTERN_ALGO_PT,
                       file_format::PATTERN_TLV_PREFIX_TREE, error,
                       [&](blob_span_t value) {
                           return radix_tree_reader_open(value, icase, reader.prefix_tree, error);
                       }) &&
           open_engine(blob, algo, file_format::PATTERN_ALGO_ST,
                       file_format::PATTERN_TLV_SUFFIX_TREE, error,
                       [&](blob_span_t value) {
                           return radix_tree_reader_open(value, icase, reader.suffix_tree, error);
                       }) &&
           open_engine(blob, algo, file_format::PATTERN_ALGO_DP,
                       file_format::PATTERN_TLV_DOT_PREFIX, error,
                       [&](blob_span_t value) {
                           return dot_prefix_reader_open(value, reader.dot_prefix, error);
                       }) &&
           blob_end(blob, error);
}

bool pattern_reader_match(const pattern_reader_t &reader, blob_span_t data,
                          std::vector<pattern_hit_t> &hits, std::string &error)
{
    if (!aho_corasick_reader_match(reader.aho_corasick, data, hits, error) ||
        !aho_corasick_reader_match(reader.ahoff_corasick, data, hits, error) ||
        !radix_tree_reader_match(reader.prefix_tree, data, false, hits, error) ||
        !radix_tree_reader_match(reader.suffix_tree, data, true, hits, error))
        return false;
    return reader.dot_prefix.rows.nr_row == 0 ||
           dot_prefix_reader_match(reader.dot_prefix, data, hits, error);
}
