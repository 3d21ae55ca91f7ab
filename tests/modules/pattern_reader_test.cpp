/// The readers of serialized patterns: whole builds, and what damaged blobs do to them.
#include "bytes.h"
#include "pattern_fixtures.h"
#include "pattern_reader.h"

namespace
{

std::vector<uint8_t>
build_blob(uint32_t algo, uint32_t alpha_config, const std::vector<given_pattern> &patterns,
           const std::vector<std::pair<given_pattern, uint32_t>> &preempts = {})
{
    pattern_build build;
    EXPECT_EQ(pattern_init(&build, algo, alpha_config), 0);
    for (const given_pattern &p : patterns) {
        pattern_info info = make_info(p.bytes, p.id, p.exact ? PATTERN_EXACT : p.type, p.offset);
        const auto em_dispatch = p.type == PATTERN_SUFFIX ? EXACT_MATCH_SUFFIX : EXACT_MATCH_PREFIX;
        EXPECT_EQ(pattern_register(build, info, MINDATA_NOT_MANDATORY, em_dispatch), 0) << p.bytes;
    }
    for (const auto &[p, mindata] : preempts) {
        pattern_info info = make_preempt(p.bytes, p.id, mindata, p.type, p.offset);
        EXPECT_EQ(pattern_register(build, info, MINDATA_NOT_MANDATORY, EXACT_MATCH_PREFIX), 0);
    }
    EXPECT_EQ(pattern_finalize(build), 0);
    return blob_of(build);
}

std::vector<pattern_hit_t> match(const std::vector<uint8_t> &blob, std::string_view text)
{
    pattern_reader_t reader;
    std::string error;
    std::vector<pattern_hit_t> hits;
    EXPECT_TRUE(pattern_reader_open(blob, reader, error)) << error;
    EXPECT_TRUE(pattern_reader_match(reader, span_of(text), hits, error)) << error;
    pattern_hits_normalize(hits);
    return hits;
}

/// Patterns of all the kinds that a combination takes, over a few letters.
std::vector<given_pattern> mixed_patterns(std::mt19937 &random, uint32_t algo, bool icase)
{
    std::vector<given_pattern> patterns(1 + random_below(random, 40));
    for (size_t i = 0; i < patterns.size(); ++i) {
        given_pattern &p = patterns[i];
        p.bytes = random_string(random, "abcAB", 2, 6);
        p.id = static_cast<uint32_t>(i + 1);
        switch (random_below(random, 4)) {
        case 0:
            p.type = PATTERN_PREFIX;
            p.exact = (algo & PATTERN_ALGO_PT) != 0 && random() % 2 == 0;
            break;
        case 1:
            p.type = algo == PATTERN_ALGO_CLASSIC ? PATTERN_SUFFIX : PATTERN_OFFSET;
            p.exact = algo == PATTERN_ALGO_CLASSIC && random() % 2 == 0;
            p.offset = static_cast<type_offset>(
                algo == PATTERN_ALGO_CLASSIC ? 0 : 8 + random_below(random, 6));
            break;
        default:
            break;
        }
        // The dot-prefix matcher never folds: keep to small letters where case is folded.
        if (icase && (algo & PATTERN_ALGO_DP) != 0)
            for (char &c : p.bytes)
                c = static_cast<char>(folded(c, true));
    }
    return patterns;
}

TEST(pattern_reader, every_combination_matches_like_naive_matching)
{
    std::mt19937 random(31);
    for (const uint32_t algo : {PATTERN_ALGO_CLASSIC, PATTERN_ALGO_OFFSET_V1,
                                PATTERN_ALGO_OFFSET_V2, PATTERN_ALGO_OFFSET_V3}) {
        for (uint32_t round = 0; round < 150; ++round) {
            const uint32_t alpha_config = round % 4 * 2;
            const bool icase = (alpha_config & ALPHA_CONFIG_ICASE_ENABLE) != 0;
            const auto patterns = mixed_patterns(random, algo, icase);
            const std::vector<uint8_t> blob = build_blob(algo, alpha_config, patterns);
            const std::string_view letters =
                icase && (algo & PATTERN_ALGO_DP) != 0 ? "abc" : "abcAB";
            for (int t = 0; t < 30; ++t) {
                const std::string text = random_string(random, letters, 0, 20);
                ASSERT_EQ(match(blob, text), naive_match_all(patterns, text, icase))
                    << "engines " << algo << " round " << round << " in " << text;
            }
        }
    }
}

/// Opens and runs a blob that may be damaged: whatever the bytes, it ends with a result or an
/// error text.
void survive(const std::vector<uint8_t> &blob)
{
    pattern_reader_t reader;
    std::string error;
    std::vector<pattern_hit_t> hits;
    if (!pattern_reader_open(blob, reader, error)) {
        EXPECT_FALSE(error.empty());
        return;
    }
    for (const std::string_view text : {"abcab", "xbabab", "bbbbbbbbbbbbbbab", "cba", ""}) {
        hits.clear();
        error.clear();
        const bool matched = pattern_reader_match(reader, span_of(text), hits, error);
        EXPECT_EQ(matched, error.empty());
    }
}

/// A small blob of each combination with everything in it.
std::vector<std::vector<uint8_t>> sample_blobs()
{
    const std::vector<given_pattern> classic = {{"abc", 1},
                                                {"bc", 0x80000002},
                                                {"c", 20000},
                                                {"abcab", 3, PATTERN_PREFIX},
                                                {"cab", 4, PATTERN_SUFFIX},
                                                {"abbba", 5, PATTERN_SUFFIX, 0, true}};
    const std::vector<given_pattern> offsets = {{"ab", 1},
                                                {"bab", 2, PATTERN_OFFSET, 1},
                                                {"b", 3, PATTERN_OFFSET, 12},
                                                {"xb", 4, PATTERN_PREFIX}};
    const std::vector<std::pair<given_pattern, uint32_t>> preempts = {
        {{"ab", 8, PATTERN_OFFSET, 2}, 30}, {{"xba", 9, PATTERN_PREFIX}, 40}};
    return {build_blob(PATTERN_ALGO_CLASSIC, 0, classic, {preempts[1]}),
            build_blob(PATTERN_ALGO_OFFSET_V1, 0, offsets, preempts),
            build_blob(PATTERN_ALGO_OFFSET_V2, 0, offsets, preempts),
            build_blob(PATTERN_ALGO_OFFSET_V3, 0, offsets, preempts)};
}

TEST(pattern_reader, a_blob_cut_at_any_length_is_an_error)
{
    for (const std::vector<uint8_t> &blob : sample_blobs()) {
        for (size_t size = 0; size < blob.size(); ++size) {
            // A copy of its own, so that a read past its end is seen.
            const std::vector<uint8_t> cut(blob.begin(), blob.begin() + static_cast<long>(size));
            pattern_reader_t reader;
            std::string error;
            EXPECT_FALSE(pattern_reader_open(cut, reader, error)) << size;
            EXPECT_FALSE(error.empty());
        }
    }
}

TEST(pattern_reader, bytes_behind_the_last_record_are_an_error)
{
    std::vector<uint8_t> blob = sample_blobs()[0];
    blob.resize(blob.size() + 4);
    pattern_reader_t reader;
    std::string error;
    EXPECT_FALSE(pattern_reader_open(blob, reader, error));
    EXPECT_EQ(error, "4 bytes follow the last record");
}

TEST(pattern_reader, any_single_byte_may_be_wrong)
{
    for (const std::vector<uint8_t> &blob : sample_blobs()) {
        std::vector<uint8_t> broken = blob;
        for (size_t at = 0; at < blob.size(); ++at) {
            for (const uint8_t value : bytes("00 01 7F 80 FF")) {
                broken[at] = value;
                survive(broken);
            }
            broken[at] = static_cast<uint8_t>(blob[at] + 1);
            survive(broken);
            broken[at] = blob[at];
        }
    }
}

TEST(pattern_reader, many_bytes_may_be_wrong)
{
    std::mt19937 random(32);
    for (const std::vector<uint8_t> &blob : sample_blobs()) {
        for (uint32_t round = 0; round < 3000; ++round) {
            std::vector<uint8_t> broken = blob;
            for (uint32_t n = 1 + random_below(random, 6); n != 0; --n)
                broken[random_below(random, broken.size())] = static_cast<uint8_t>(random());
            survive(broken);
        }
    }
}

TEST(pattern_reader, errors_name_the_record)
{
    std::vector<uint8_t> blob = build_blob(PATTERN_ALGO_OFFSET_V2, 0, {{"ab", 1}});
    pattern_reader_t reader;
    std::string error;
    ASSERT_TRUE(pattern_reader_open(blob, reader, error)) << error;
    blob[12 + 8 + 3] = 35; // the transition record of the automaton
    EXPECT_FALSE(pattern_reader_open(blob, reader, error));
    EXPECT_EQ(error, "record 19: record 34: type 35 stands there");
    blob[3] = 17;
    EXPECT_FALSE(pattern_reader_open(blob, reader, error));
    EXPECT_EQ(error, "record 18: type 17 stands there");
}

TEST(pattern_reader, item_records_are_checked)
{
    const std::vector<uint8_t> items = bytes("FFFE0014 00000002 00000007 00000008 FFFE0000");
    std::vector<pattern_end_t> ends;
    std::string error;
    const auto read = [&](uint32_t index, item_layout_t layout) {
        ends.clear();
        return item_record_read(items, index, layout, ends, error);
    };
    EXPECT_TRUE(read(0, ITEM_LAYOUT_IDS));
    ASSERT_EQ(ends.size(), 2U);
    EXPECT_EQ(ends[1].item_id, 8U);
    EXPECT_EQ(ends[1].mindata, 20U);
    EXPECT_FALSE(read(0, ITEM_LAYOUT_OFFSETS));
    EXPECT_EQ(error, "item record of 2 items runs past the table");
    EXPECT_FALSE(read(2, ITEM_LAYOUT_IDS));
    EXPECT_EQ(error, "item record of 7 items runs past the table");
    EXPECT_FALSE(read(4, ITEM_LAYOUT_IDS));
    EXPECT_FALSE(read(4, ITEM_LAYOUT_WIDE_MINDATA));
    EXPECT_FALSE(read(5, ITEM_LAYOUT_IDS));
    EXPECT_FALSE(read(0xFFFFFFFF, ITEM_LAYOUT_IDS));
    EXPECT_EQ(error, "item record runs past word 5");
}

TEST(pattern_reader, alphabets_are_checked)
{
    const std::vector<uint8_t> good = build_blob(PATTERN_ALGO_DP, 0, {});
    const size_t alphabet = 12 + 8 + 8;
    pattern_reader_t reader;
    std::string error;
    ASSERT_TRUE(pattern_reader_open(good, reader, error)) << error;

    std::vector<uint8_t> blob = good;
    blob[alphabet + 8 + 3] = 3;
    EXPECT_FALSE(pattern_reader_open(blob, reader, error));
    EXPECT_EQ(error, "record 23: alphabet of 3 codes");
    blob = good;
    blob[alphabet + 12 + 8 + 'a'] = 4;
    EXPECT_FALSE(pattern_reader_open(blob, reader, error));
    EXPECT_EQ(error, "record 23: alphabet map holds a code beyond the alphabet");

    const std::vector<uint8_t> short_map =
        record(37, joined({record(25, be32(2)), record(26, bytes("00000000"))}));
    blob_span_t rest(short_map);
    alphabet_view_t view;
    EXPECT_FALSE(alphabet_read(rest, 37, 2, view, error));
    EXPECT_EQ(error, "alphabet map of another size than 256");
}

} // namespace
