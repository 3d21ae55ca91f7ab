/// What the tests of the pattern engines share: patterns, blobs, and naive matching.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <initializer_list>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "csa_buf.h"
#include "module_error.h"
#include "pattern_build.h"
#include "row_table.h"

/// A pattern as tests state it.
struct given_pattern {
    std::string bytes;
    uint32_t id = 0;
    pattern_type_t type = PATTERN_REGULAR;
    type_offset offset = 0;
    bool exact = false;
};

inline pattern_info make_info(std::string_view bytes, uint32_t id,
                              pattern_type_t type = PATTERN_REGULAR, type_offset offset = 0)
{
    pattern_info info;
    info.pattern = bytes.data();
    info.pattern_len = static_cast<uint32_t>(bytes.size());
    info.item_id = id;
    info.type = type;
    info.offset = offset;
    return info;
}

/// The same for a preempt pattern.
inline pattern_info make_preempt(std::string_view bytes, uint32_t id, uint32_t mindata,
                                 pattern_type_t type = PATTERN_REGULAR, type_offset offset = 0)
{
    pattern_info info = make_info(bytes, id, type, offset);
    info.mindata = mindata;
    info.preempt = 1;
    return info;
}

/// Runs an emit function on a buffer of the size that it counts, and checks that they agree.
template <typename Emit>
std::vector<uint8_t> written(size_t size, Emit &&emit)
{
    csa_buf_t blob;
    EXPECT_TRUE(csa_buf_alloc(blob, size));
    tlv_sink_t sink = tlv_sink_writing(blob);
    emit(sink);
    EXPECT_FALSE(sink.failed);
    EXPECT_EQ(sink.offset, size);
    EXPECT_EQ(size % 4, 0U);
    return blob;
}

inline std::vector<uint8_t> blob_of(const ac_build_t &build)
{
    const uint8_t ahoff = build.ac_ahoff_enable;
    return written(aho_corasick_get_size(build, ahoff),
                   [&](tlv_sink_t &sink) { aho_corasick_emit(build, sink, ahoff); });
}

inline std::vector<uint8_t> blob_of(const rt_build_t &build)
{
    return written(radix_tree_get_size(build),
                   [&](tlv_sink_t &sink) { radix_tree_emit(build, sink); });
}

inline std::vector<uint8_t> blob_of(const dp_build_t &build)
{
    return written(dot_prefix_get_size(build),
                   [&](tlv_sink_t &sink) { dot_prefix_emit(build, sink); });
}

inline std::vector<uint8_t> blob_of(const pattern_build &build)
{
    return written(pattern_get_size(build), [&](tlv_sink_t &sink) { pattern_emit(build, sink); });
}

inline void append(std::vector<uint8_t> &to, const std::vector<uint8_t> &from)
{
    to.insert(to.end(), from.begin(), from.end());
}

inline std::vector<uint8_t> be32(uint32_t word)
{
    return {static_cast<uint8_t>(word >> 24), static_cast<uint8_t>(word >> 16),
            static_cast<uint8_t>(word >> 8), static_cast<uint8_t>(word)};
}

/// A record: type, length, value.
inline std::vector<uint8_t> record(uint32_t type, const std::vector<uint8_t> &value)
{
    std::vector<uint8_t> out = be32(type);
    append(out, be32(static_cast<uint32_t>(value.size())));
    append(out, value);
    return out;
}

/// The records of an alphabet of `size` codes; bytes that are not named have code 0.
inline std::vector<uint8_t> alphabet_bytes(uint32_t size,
                                           std::initializer_list<std::pair<char, uint8_t>> codes)
{
    std::vector<uint8_t> map(256, 0);
    for (const auto &[c, code] : codes)
        map[static_cast<uint8_t>(c)] = code;
    std::vector<uint8_t> out = record(25, be32(size));
    append(out, record(26, map));
    return out;
}

/// Several records behind each other.
inline std::vector<uint8_t> joined(std::initializer_list<std::vector<uint8_t>> parts)
{
    std::vector<uint8_t> out;
    for (const auto &part : parts)
        append(out, part);
    return out;
}

inline blob_span_t span_of(std::string_view text)
{
    return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

inline uint8_t folded(char c, bool icase)
{
    const auto byte = static_cast<uint8_t>(c);
    return icase && byte >= 'A' && byte <= 'Z' ? static_cast<uint8_t>(byte + 32) : byte;
}

/// Tells whether `pattern` stands in `text` at `from`, byte by byte.
inline bool stands_at(std::string_view pattern, std::string_view text, size_t from, bool icase)
{
    if (from > text.size() || pattern.size() > text.size() - from)
        return false;
    for (size_t i = 0; i < pattern.size(); ++i)
        if (folded(pattern[i], icase) != folded(text[from + i], icase))
            return false;
    return true;
}

/// Every hit of one pattern in `text`, by comparing it at every place where its type allows it.
inline void naive_match(const given_pattern &pattern, std::string_view text, bool icase,
                        std::vector<pattern_hit_t> &hits)
{
    const size_t len = pattern.bytes.size();
    const auto hit = [&](size_t at) { hits.push_back({pattern.id, static_cast<uint32_t>(at)}); };
    if (pattern.exact && len != text.size())
        return;
    switch (pattern.type) {
    case PATTERN_REGULAR:
        for (size_t from = 0; from + len <= text.size(); ++from)
            if (stands_at(pattern.bytes, text, from, icase))
                hit(from + len);
        break;
    case PATTERN_SUFFIX:
        if (len <= text.size() && stands_at(pattern.bytes, text, text.size() - len, icase))
            hit(len);
        break;
    default:
        if (stands_at(pattern.bytes, text, pattern.offset, icase))
            hit(pattern.offset + len);
        break;
    }
}

inline std::vector<pattern_hit_t> naive_match_all(const std::vector<given_pattern> &patterns,
                                                  std::string_view text, bool icase = false)
{
    std::vector<pattern_hit_t> hits;
    for (const given_pattern &pattern : patterns)
        naive_match(pattern, text, icase, hits);
    pattern_hits_normalize(hits);
    return hits;
}

/// All strings over `letters` with a length from `min` to `max`, shorter ones first.
inline std::vector<std::string> all_strings(std::string_view letters, size_t min, size_t max)
{
    std::vector<std::string> all{""};
    size_t begin = 0;
    for (size_t len = 1; len <= max; ++len) {
        const size_t end = all.size();
        for (; begin < end; ++begin)
            for (const char letter : letters)
                all.push_back(all[begin] + letter);
    }
    const auto keep =
        std::find_if(all.begin(), all.end(), [&](const std::string &s) { return s.size() >= min; });
    return {keep, all.end()};
}

/// A random number from 0 to `limit` - 1.
inline uint32_t random_below(std::mt19937 &random, size_t limit)
{
    return static_cast<uint32_t>(random() % limit);
}

/// A random string over `letters`.
inline std::string random_string(std::mt19937 &random, std::string_view letters, size_t min,
                                 size_t max)
{
    std::string out(min + random() % (max - min + 1), ' ');
    for (char &c : out)
        c = letters[random() % letters.size()];
    return out;
}

/// Random text in which whole patterns and pieces of them turn up often.
inline std::string text_of_patterns(std::mt19937 &random,
                                    const std::vector<given_pattern> &patterns,
                                    std::string_view letters, size_t size)
{
    std::string text;
    while (text.size() < size) {
        const std::string &pattern = patterns[random() % patterns.size()].bytes;
        const size_t from = random() % (pattern.size() + 1);
        text += random() % 2 == 0 ? pattern : pattern.substr(from);
        if (random() % 3 == 0)
            text += random_string(random, letters, 1, 3);
    }
    return text;
}
