/// The radix tree against naive matching.
#include "pattern_fixtures.h"
#include "radix_tree_reader.h"
#include "rounds.h"

namespace
{

struct opened_tree {
    std::vector<uint8_t> blob;
    radix_tree_reader_t reader;
    bool backwards;

    opened_tree(const std::vector<given_pattern> &patterns, uint8_t alpha_config)
        : backwards(patterns[0].type == PATTERN_SUFFIX)
    {
        rt_build_t build;
        EXPECT_EQ(radix_tree_init(build, alpha_config), 0);
        for (const given_pattern &p : patterns) {
            const pattern_info info = make_info(p.bytes, p.id, p.type);
            EXPECT_EQ(p.exact ? radix_tree_register_exact(build, info)
                              : radix_tree_register(build, info),
                      0);
        }
        EXPECT_EQ(radix_tree_finalize(build), 0);
        blob = blob_of(build);
        std::string error;
        const bool icase = (alpha_config & ALPHA_CONFIG_ICASE_ENABLE) != 0;
        EXPECT_TRUE(radix_tree_reader_open(blob, icase, reader, error)) << error;
    }
    std::vector<pattern_hit_t> match(std::string_view text) const
    {
        std::string error;
        std::vector<pattern_hit_t> hits;
        EXPECT_TRUE(radix_tree_reader_match(reader, span_of(text), backwards, hits, error))
            << error;
        pattern_hits_normalize(hits);
        return hits;
    }
};

void expect_naive(const std::vector<given_pattern> &patterns, const std::vector<std::string> &texts,
                  uint8_t alpha_config = 0)
{
    const opened_tree tree(patterns, alpha_config);
    const bool icase = (alpha_config & ALPHA_CONFIG_ICASE_ENABLE) != 0;
    for (const std::string &text : texts)
        ASSERT_EQ(tree.match(text), naive_match_all(patterns, text, icase)) << text;
}

TEST(radix_tree_match, every_triple_of_prefixes_and_exact_patterns)
{
    std::vector<given_pattern> all;
    for (const std::string &bytes : all_strings("ab", 1, 3)) {
        all.push_back({bytes, static_cast<uint32_t>(all.size()), PATTERN_PREFIX});
        all.push_back({bytes, static_cast<uint32_t>(all.size()), PATTERN_PREFIX, 0, true});
    }
    const std::vector<std::string> texts = all_strings("ab", 0, 4);
    for (size_t i = 0; i < all.size(); ++i)
        for (size_t k = i; k < all.size(); ++k)
            for (size_t m = k; m < all.size(); m += ROUNDS_STEP)
                expect_naive({all[i], all[k], all[m]}, texts);
}

TEST(radix_tree_match, every_pair_of_longer_patterns_with_their_chains)
{
    // Up to 6 bytes: chains of up to 4 nodes, entered, left and broken everywhere.
    const std::vector<std::string> bytes = all_strings("ab", 1, 6);
    const std::vector<std::string> texts = all_strings("ab", 4, 7);
    for (const pattern_type_t type : {PATTERN_PREFIX, PATTERN_SUFFIX})
        for (size_t i = 0; i < bytes.size(); ++i)
            for (size_t k = i; k < bytes.size(); k += ROUNDS_STEP)
                expect_naive({{bytes[i], 1, type}, {bytes[k], 2, type}}, texts);
}

TEST(radix_tree_match, every_set_of_short_suffixes)
{
    std::vector<given_pattern> all;
    for (const std::string &bytes : all_strings("ab", 1, 3))
        all.push_back({bytes, static_cast<uint32_t>(all.size()), PATTERN_SUFFIX});
    const std::vector<std::string> texts = all_strings("ab", 3, 4);
    for (uint32_t chosen = 1; chosen < 1U << all.size(); chosen += ROUNDS_STEP) {
        std::vector<given_pattern> patterns;
        for (size_t i = 0; i < all.size(); ++i)
            if ((chosen >> i & 1) != 0)
                patterns.push_back(all[i]);
        expect_naive(patterns, texts);
    }
}

void match_random_sets(std::string_view letters, uint32_t seed, uint8_t alpha_config)
{
    std::mt19937 random(seed);
    for (uint32_t round = 0; round < 40; ++round) {
        const pattern_type_t type = round % 2 == 0 ? PATTERN_PREFIX : PATTERN_SUFFIX;
        std::vector<given_pattern> patterns(1 + random_below(random, 200));
        std::vector<std::string> texts;
        for (size_t i = 0; i < patterns.size(); ++i) {
            std::string bytes = random_string(random, letters, 1, 15);
            if (i > 0 && random() % 2 == 0)
                bytes = patterns[i - 1].bytes.substr(0, random_below(random, 10)) + bytes;
            patterns[i] = {bytes, static_cast<uint32_t>(i * 37), type, 0, random() % 4 == 0};
        }
        for (const given_pattern &pattern : patterns) {
            texts.push_back(pattern.bytes);
            texts.push_back(random_string(random, letters, 0, 3) + pattern.bytes);
            texts.push_back(pattern.bytes + random_string(random, letters, 0, 3));
            texts.push_back(pattern.bytes);
            std::string &near_miss = texts.back();
            near_miss[random_below(random, near_miss.size())] = letters[0];
        }
        expect_naive(patterns, texts, alpha_config);
    }
}

TEST(radix_tree_match, random_sets_over_small_and_large_alphabets)
{
    match_random_sets("ab", 11, 0);
    match_random_sets("abcdefghijklmnopqrstuvwxyz.-", 12, ALPHA_CONFIG_SORT_ENABLE);
    std::string letters;
    for (unsigned c = 1; c < 256; ++c)
        letters.push_back(static_cast<char>(c));
    match_random_sets(letters, 13, 0);
    match_random_sets(letters, 14, ALPHA_CONFIG_SORT_ENABLE);
}

TEST(radix_tree_match, random_sets_with_case_folding)
{
    match_random_sets("aAbBcC", 15, ALPHA_CONFIG_ICASE_ENABLE);
    match_random_sets("xXyYzZ@[`{19", 16, ALPHA_CONFIG_ICASE_ENABLE | ALPHA_CONFIG_SORT_ENABLE);
}

TEST(radix_tree_match, the_256th_distinct_byte_falls_on_code_0_and_stops_the_walk)
{
    std::vector<given_pattern> patterns;
    for (unsigned c = 0; c < 256; ++c)
        patterns.push_back({std::string(1, static_cast<char>(c)), c, PATTERN_PREFIX});
    const opened_tree tree(patterns, 0);
    for (unsigned c = 0; c < 255; ++c)
        EXPECT_EQ(tree.match(std::string(1, static_cast<char>(c))),
                  (std::vector<pattern_hit_t>{{c, 1}}));
    EXPECT_EQ(tree.match("\xFF"), std::vector<pattern_hit_t>{});
}

} // namespace
