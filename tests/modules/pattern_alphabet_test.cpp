#include "bytes.h"
#include "pattern_fixtures.h"

namespace
{

ps_alphabet make_alphabet(uint8_t nr_meta_data, uint8_t config, std::string_view inserted)
{
    ps_alphabet alphabet;
    pattern_alphabet_init(alphabet, nr_meta_data);
    alphabet.config = config;
    for (const char c : inserted)
        EXPECT_EQ(pattern_alphabet_insert(alphabet, static_cast<uint8_t>(c)), 0);
    pattern_alphabet_finalize(alphabet);
    return alphabet;
}

std::vector<uint8_t> blob_of_alphabet(const ps_alphabet &alphabet)
{
    return written(pattern_alphabet_get_size(),
                   [&](tlv_sink_t &sink) { pattern_alphabet_emit(alphabet, sink); });
}

TEST(pattern_alphabet, a_used_one_is_emptied)
{
    ps_alphabet alphabet = make_alphabet(2, 0, "abc");
    pattern_alphabet_init(alphabet, 2);
    EXPECT_EQ(blob_of_alphabet(alphabet), blob_of_alphabet(make_alphabet(2, 0, "")));
}

TEST(pattern_alphabet, an_empty_alphabet_has_the_reserved_codes_alone)
{
    EXPECT_EQ(pattern_alphabet_get_size(), 276U);
    const std::vector<uint8_t> blob = blob_of_alphabet(make_alphabet(2, 0, ""));
    std::vector<uint8_t> expected = bytes("00000019 00000004 00000002 0000001A 00000100");
    expected.resize(276, 0);
    EXPECT_EQ(blob, expected);
}

TEST(pattern_alphabet, numbers_bytes_by_first_insertion_behind_the_reserved_codes)
{
    const ps_alphabet alphabet = make_alphabet(2, 0, "abcab");
    EXPECT_EQ(alphabet.nr, 3);
    EXPECT_EQ(alphabet.map[0].counter, 2);
    EXPECT_EQ(alphabet.map[2].counter, 1);
    EXPECT_EQ(blob_of_alphabet(alphabet), alphabet_bytes(5, {{'a', 2}, {'b', 3}, {'c', 4}}));
    EXPECT_EQ(pattern_alphabet_find(alphabet, 'z'), 0);
}

TEST(pattern_alphabet, sorting_gives_the_most_frequent_byte_the_first_code)
{
    const ps_alphabet alphabet = make_alphabet(1, ALPHA_CONFIG_SORT_ENABLE, "abbccc");
    EXPECT_EQ(blob_of_alphabet(alphabet), alphabet_bytes(4, {{'c', 1}, {'b', 2}, {'a', 3}}));
}

TEST(pattern_alphabet, sorting_keeps_equally_frequent_bytes_in_order_of_insertion)
{
    const ps_alphabet alphabet = make_alphabet(1, ALPHA_CONFIG_SORT_ENABLE, "zaymmya");
    EXPECT_EQ(blob_of_alphabet(alphabet),
              alphabet_bytes(5, {{'a', 1}, {'y', 2}, {'m', 3}, {'z', 4}}));
}

TEST(pattern_alphabet, the_counter_wraps_at_16_bits_and_a_wrapped_byte_sorts_last)
{
    ps_alphabet alphabet =
        make_alphabet(1, ALPHA_CONFIG_SORT_ENABLE, std::string(65536, 'w') + "r");
    EXPECT_EQ(alphabet.map[1].counter, 0);
    EXPECT_EQ(alphabet.nr, 2);
    EXPECT_EQ(blob_of_alphabet(alphabet), alphabet_bytes(3, {{'r', 1}, {'w', 2}}));
}

TEST(pattern_alphabet, codes_beyond_255_are_truncated_and_fall_on_the_reserved_ones)
{
    std::string all(256, ' ');
    for (unsigned c = 0; c < 256; ++c)
        all[c] = static_cast<char>(c);
    const ps_alphabet alphabet = make_alphabet(2, 0, all);
    EXPECT_EQ(alphabet.nr, 256);
    EXPECT_EQ(pattern_alphabet_width(alphabet), 258U);
    EXPECT_EQ(pattern_alphabet_find(alphabet, 0), 2);
    EXPECT_EQ(pattern_alphabet_find(alphabet, 253), 255);
    EXPECT_EQ(pattern_alphabet_find(alphabet, 254), 0);
    EXPECT_EQ(pattern_alphabet_find(alphabet, 255), 1);
    EXPECT_EQ(pattern_alphabet_column(alphabet, 255), 257U);
    const std::vector<uint8_t> blob = blob_of_alphabet(alphabet);
    EXPECT_EQ(std::vector<uint8_t>(blob.begin() + 8, blob.begin() + 12), bytes("00000102"));
    EXPECT_EQ(std::vector<uint8_t>(blob.end() - 2, blob.end()), bytes("00 01"));
}

TEST(pattern_alphabet, refuses_a_new_byte_when_256_are_in)
{
    ps_alphabet alphabet;
    pattern_alphabet_init(alphabet, 1);
    alphabet.nr = 256;
    EXPECT_EQ(pattern_alphabet_insert(alphabet, 'a'), MODULE_ERR_INVALID);
    ps_oe_pool_t pool;
    ps_oe list;
    pattern_oe_add(pool, list, 1, 'a');
    pattern_oe_add(pool, list, 2, 'b');
    EXPECT_EQ(pattern_oe_count_bytes(pool, list, alphabet), MODULE_ERR_INVALID);
}

TEST(pattern_alphabet, folding_gives_capitals_the_code_of_their_small_letter)
{
    const ps_alphabet alphabet = make_alphabet(2, ALPHA_CONFIG_ICASE_ENABLE, "az[");
    EXPECT_EQ(blob_of_alphabet(alphabet),
              alphabet_bytes(5, {{'a', 2}, {'A', 2}, {'z', 3}, {'Z', 3}, {'[', 4}}));
}

TEST(pattern_alphabet, folds_the_26_ascii_capitals_and_nothing_else)
{
    for (unsigned c = 0; c < 256; ++c) {
        const auto byte = static_cast<uint8_t>(c);
        EXPECT_EQ(conv_char(0, byte), byte);
        EXPECT_EQ(conv_char(ALPHA_CONFIG_SORT_ENABLE, byte), byte);
        EXPECT_EQ(conv_char(ALPHA_CONFIG_ICASE_ENABLE, byte), c >= 65 && c <= 90 ? c + 32 : c);
    }
}

} // namespace
