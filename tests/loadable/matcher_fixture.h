/// Matchers as tests build them on their own, and the bytes of small engines.
#pragma once

#include "loadable_fixture.h"
#include "matcher_builder.h"
#include "pattern_types.h"

/// The set-up of a stream matcher like that of most attributes.
inline matcher_desc_t stream_desc()
{
    matcher_desc_t desc;
    desc.start_item_id = 1;
    desc.max_perm = 32;
    desc.max_prv_id = 100;
    desc.algo = PATTERN_ALGO_CLASSIC;
    desc.em_dispatch = EXACT_MATCH_SUFFIX;
    return desc;
}

/// The set-up of a stream matcher that takes offsets and wants minimum data.
inline matcher_desc_t offset_desc()
{
    matcher_desc_t desc = stream_desc();
    desc.algo = PATTERN_ALGO_OFFSET_V1;
    desc.mindata_status = MINDATA_MANDATORY;
    desc.em_dispatch = EXACT_MATCH_PREFIX;
    return desc;
}

/// A matcher under construction.
struct matcher_run_t {
    matcher_build matcher;
    pattern_info info; ///< what is known of the values to come
    uint32_t item_id = 0;

    explicit matcher_run_t(const matcher_desc_t &desc, uint32_t type = MATCHER_TYPE_STREAM)
    {
        clear_status_slot();
        EXPECT_EQ(outcome(matcher_init(&matcher, type, 0, desc)), "0");
    }
    ~matcher_run_t() { matcher_build_clean(&matcher); }
    matcher_run_t(const matcher_run_t &) = delete;
    matcher_run_t &operator=(const matcher_run_t &) = delete;

    /// Registers a text, which must live as long as the matcher.
    std::string add(std::string_view value, uint32_t offset = 0, bool forced = false)
    {
        matcher_data_t data;
        data.pattern = value;
        data.pattern_offset = offset;
        return outcome(matcher_register(&matcher, data, &item_id, forced, info, nullptr));
    }
    /// Registers a range of numbers.
    std::string add_range(uint64_t left, uint64_t right, bool forced = false)
    {
        matcher_data_t data;
        data.left.number = left;
        data.right.number = right;
        return outcome(matcher_register(&matcher, data, &item_id, forced, info, nullptr));
    }
    /// The second-level entries, "pub_id,off,flag in hexadecimal" each.
    std::string entries() const
    {
        std::string text;
        char one[64];
        for (const matcher_map_build_t &entry : matcher.map) {
            std::snprintf(one, sizeof(one), "%u,%u,%X ", entry.pub_id, entry.off, entry.flag);
            text += one;
        }
        return text;
    }
    std::string finalize() { return outcome(matcher_finalize(&matcher)); }
    std::vector<uint8_t> serialized()
    {
        size_t size = 0;
        EXPECT_EQ(finalize(), "0");
        EXPECT_EQ(outcome(matcher_get_size(matcher, &size)), "0");
        std::vector<uint8_t> out(size);
        EXPECT_EQ(outcome(matcher_serialize(matcher, out, {})), "0");
        return out;
    }
};

/// The ids that the engines of a serialized stream matcher report for data, ascending, private
/// ones as "p<index>".
inline std::string found_by(const std::vector<uint8_t> &matcher, std::string_view data)
{
    std::span<const uint8_t> blob;
    pattern_reader_t reader;
    std::string error;
    std::vector<pattern_hit_t> hits;
    EXPECT_EQ(tlv_value_search(TLV_TYPE_MATCHER_AC, matcher, &blob), PDATA_SUCCESS);
    const blob_span_t bytes(reinterpret_cast<const uint8_t *>(data.data()), data.size());
    EXPECT_TRUE(pattern_reader_open(blob, reader, error)) << error;
    EXPECT_TRUE(pattern_reader_match(reader, bytes, hits, error)) << error;
    std::vector<uint32_t> ids;
    for (const pattern_hit_t &hit : hits)
        ids.push_back(hit.item_id);
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    std::string text;
    for (const uint32_t id : ids) {
        text += id >= MATCHER_PRIVATE_ID ? "p" : "";
        text += std::to_string(id & ~MATCHER_PRIVATE_ID);
        text += ' ';
    }
    return text;
}

/// Several runs of bytes, one behind another.
inline std::vector<uint8_t> chain(std::initializer_list<std::vector<uint8_t>> runs)
{
    std::vector<uint8_t> out;
    for (const std::vector<uint8_t> &run : runs)
        out.insert(out.end(), run.begin(), run.end());
    return out;
}

/// The value of an alphabet record: its size, and the codes of a few bytes.
inline std::vector<uint8_t> alphabet_bytes(uint32_t size, std::string_view coded, uint8_t first)
{
    std::vector<uint8_t> codes(256);
    for (size_t i = 0; i < coded.size(); ++i)
        codes[static_cast<uint8_t>(coded[i])] = static_cast<uint8_t>(first + i);
    return chain({stored({25, 4, size, 26, 256}), codes});
}
