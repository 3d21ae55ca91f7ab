#include <gtest/gtest.h>

#include "bytes.h"
#include "failing_alloc.h"
#include "hstring.h"

namespace
{

uint32_t put(string_htable &table, std::string_view text)
{
    uint32_t offset = 0;
    EXPECT_EQ(hstring_get_offset(&table, csa_str(text), &offset), 0) << text;
    return offset;
}

std::vector<uint8_t> blob_of(const string_htable &table)
{
    std::vector<uint8_t> blob(hstring_get_size(table), 0xEE);
    EXPECT_EQ(hstring_serialize(table, blob), 0);
    return blob;
}

string_htable make_table()
{
    string_htable table;
    EXPECT_EQ(hstring_init(&table, 0), 0);
    return table;
}

TEST(hstring_build, hands_out_even_offsets_in_order)
{
    string_htable table = make_table();
    EXPECT_EQ(put(table, "abc"), 0U);
    EXPECT_EQ(put(table, "de"), 6U);
    EXPECT_EQ(table.hb_offset, 10U);
    EXPECT_EQ(blob_of(table), bytes("0003 'a'b'c 00 0002 'd'e 0000"));
}

TEST(hstring_build, stores_a_string_once)
{
    string_htable table = make_table();
    EXPECT_EQ(put(table, "abc"), 0U);
    EXPECT_EQ(put(table, "abc"), 0U);
    EXPECT_EQ(table.hb_offset, 6U);
    ASSERT_NE(hstring_find_elt(table, csa_str("abc")), nullptr);
    EXPECT_EQ(hstring_find_elt(table, csa_str("abd")), nullptr);
}

TEST(hstring_build, finds_nothing_without_a_text_or_a_table)
{
    hstring_build_t table;
    EXPECT_EQ(hstring_find_elt(table, csa_str("abc")), nullptr) << "not initialised";
    ASSERT_EQ(hstring_init(&table, 0), 0);
    EXPECT_EQ(hstring_find_elt(table, csa_str("")), nullptr);
    EXPECT_EQ(hstring_find_elt(table, csa_str_t{}), nullptr);
}

// How many lines a table has decides on speed alone.
TEST(hstring_build, hands_out_the_same_offsets_in_any_number_of_lines)
{
    for (const uint32_t nr_line : {0U, 1U, 16U}) {
        hstring_build_t table;
        ASSERT_EQ(hstring_init(&table, nr_line), 0);
        uint32_t due = 0;
        for (int round = 0; round < 2; ++round)
            for (int number = 10; number < 99; ++number) {
                const std::string text = std::to_string(number);
                uint32_t offset = 0;
                ASSERT_EQ(hstring_get_offset(&table, csa_str(text), &offset), 0);
                EXPECT_EQ(offset, static_cast<uint32_t>(number - 10) * 4) << text;
                due = offset + 4;
            }
        EXPECT_EQ(hstring_get_size(table), due);
    }
}

TEST(hstring_build, refuses_empty_and_absent_strings)
{
    string_htable table = make_table();
    uint32_t offset = 7;
    EXPECT_EQ(hstring_get_offset(&table, csa_str(""), &offset), MODULE_ERR_INVALID);
    EXPECT_EQ(hstring_get_offset(&table, csa_str_t{3, nullptr}, &offset), MODULE_ERR_INVALID);
    EXPECT_EQ(hstring_get_offset(nullptr, csa_str("a"), &offset), MODULE_ERR_INVALID);
    string_htable fresh;
    EXPECT_EQ(hstring_get_offset(&fresh, csa_str("a"), &offset), MODULE_ERR_INVALID);
    EXPECT_EQ(table.hb_offset, 0U);
    EXPECT_EQ(hstring_init(nullptr, 0), MODULE_ERR_INVALID);
}

TEST(hstring_build, a_text_of_65536_bytes_counts_as_empty)
{
    string_htable table = make_table();
    const std::string text(65536, 'x');
    uint32_t offset;
    EXPECT_EQ(hstring_get_offset(&table, csa_str(text), &offset), MODULE_ERR_INVALID);
    const std::string longer = text + "yz";
    EXPECT_EQ(put(table, longer), 0U);
    EXPECT_EQ(blob_of(table), bytes("0002 'x'x"));
}

TEST(hstring_build, an_empty_pool_has_size_zero)
{
    string_htable table = make_table();
    EXPECT_EQ(hstring_get_size(table), 0U);
    EXPECT_EQ(hstring_serialize(table, {}), 0);
}

TEST(hstring_build, many_strings_keep_their_offsets)
{
    string_htable table = make_table();
    std::vector<std::string> texts;
    for (int i = 0; i < 5000; ++i)
        texts.push_back("host-" + std::to_string(i));
    std::vector<uint32_t> offsets;
    for (const auto &text : texts)
        offsets.push_back(put(table, text));
    for (size_t i = 0; i < texts.size(); ++i)
        EXPECT_EQ(put(table, texts[i]), offsets[i]);
    const auto blob = blob_of(table);
    hstring_t view;
    ASSERT_EQ(hstring_deserialize(&view, blob.data(), static_cast<uint32_t>(blob.size())), 0);
    for (size_t i = 0; i < texts.size(); ++i) {
        csa_str_t str;
        ASSERT_EQ(hstring_get_str(view, offsets[i], &str), 0);
        EXPECT_EQ(csa_str_view(str), texts[i]);
    }
}

// Two strings that agree up to a 0 byte are one string if they share a line of the table, and two
// if they do not.
TEST(hstring_build, strings_equal_up_to_a_zero_byte_share_an_offset_within_a_line)
{
    const std::string first("ab\0x", 4);
    const std::string base = first + "y"; // the table borrows its strings
    std::string same_line;
    std::string other_line;
    for (int c = 1; c < 256 && (same_line.empty() || other_line.empty()); ++c) {
        for (int d = 1; d < 256; ++d) {
            const std::string text = {'a', 'b', 0, static_cast<char>(c), static_cast<char>(d)};
            if (text == base)
                continue;
            const bool same =
                (djb2_hashk(text.data(), 5) & 1023) == (djb2_hashk(base.data(), 5) & 1023);
            (same ? same_line : other_line) = text;
        }
    }
    ASSERT_FALSE(same_line.empty());
    string_htable table = make_table();
    EXPECT_EQ(put(table, base), 0U);
    EXPECT_EQ(put(table, same_line), 0U);
    EXPECT_EQ(put(table, other_line), 8U);
    EXPECT_EQ(put(table, first), 16U) << "another length is another string";
}

TEST(hstring_build, a_cleaned_pool_holds_nothing_and_wants_to_be_initialised)
{
    string_htable table = make_table();
    put(table, "abc");
    hstring_clean(&table);
    EXPECT_EQ(hstring_get_size(table), 0U);
    EXPECT_EQ(hstring_find_elt(table, csa_str("abc")), nullptr);
    uint32_t offset;
    EXPECT_EQ(hstring_get_offset(&table, csa_str("abc"), &offset), MODULE_ERR_INVALID);
    ASSERT_EQ(hstring_init(&table, 0), 0);
    EXPECT_EQ(put(table, "de"), 0U);
    EXPECT_EQ(blob_of(table), bytes("0002 'd'e"));
    hstring_clean(nullptr);
}

TEST(hstring_build, missing_memory_is_no_empty_string)
{
    failing_alloc_sweep(
        [] {
            string_htable table;
            uint32_t offset = 0;
            if (const int code = hstring_init(&table, 0); code != 0)
                return code;
            const int code = hstring_get_offset(&table, csa_str("abc"), &offset);
            EXPECT_EQ(offset, code == 0 ? 0U : HSTRING_NO_OFFSET);
            EXPECT_EQ(hstring_get_size(table), code == 0 ? 8U : 0U);
            return code;
        },
        [](int code) { EXPECT_EQ(code, MODULE_ERR_NO_MEMORY); });
}

TEST(hstring_build, hash_takes_bytes_as_signed)
{
    EXPECT_EQ(djb2_hashk("\xFF", 1), 177572U);
    EXPECT_EQ(djb2_hashk("", 0), 5381U);
    EXPECT_EQ(djb2_hashk("a", 1), 5381U * 33 + 'a');
}

TEST(hstring_serialize, refuses_another_size_and_writes_nothing)
{
    string_htable table = make_table();
    put(table, "abc");
    for (const size_t size : {0U, 6U, 7U, 12U}) {
        std::vector<uint8_t> buf(size, 0xEE);
        EXPECT_EQ(hstring_serialize(table, buf), MODULE_ERR_INVALID);
        EXPECT_EQ(buf, std::vector<uint8_t>(size, 0xEE));
    }
}

TEST(hstring_serialize, refuses_a_length_beyond_16_bits)
{
    string_htable table = make_table();
    put(table, "abc");
    table.hb_tab[0].hse_len = 65536;
    std::vector<uint8_t> buf(8, 0xEE);
    EXPECT_EQ(hstring_serialize(table, buf), MODULE_ERR_INVALID);
    EXPECT_EQ(buf, std::vector<uint8_t>(8, 0xEE));
}

TEST(hstring_get_str, needs_three_bytes_at_the_offset)
{
    const auto blob = bytes("0003 'a'b'c 00 0002 'd'e 0000");
    const hstring_t view{blob.data(), static_cast<uint32_t>(blob.size())};
    csa_str_t str;
    EXPECT_EQ(hstring_get_str(view, 0, &str), 0);
    EXPECT_EQ(csa_str_view(str), "abc");
    EXPECT_EQ(hstring_get_str(view, 6, &str), 0);
    EXPECT_EQ(csa_str_view(str), "de");
    EXPECT_EQ(hstring_get_str(view, 10, &str), MODULE_ERR_INVALID);
    EXPECT_EQ(hstring_get_str(view, 9, &str), 0);
    EXPECT_EQ(hstring_get_str(view, 0xFFFFFFFFU, &str), MODULE_ERR_INVALID);
}

TEST(hstring_get_str, cuts_a_string_at_the_end_of_the_pool)
{
    const auto blob = bytes("0009 'a'b");
    csa_str_t str;
    ASSERT_EQ(hstring_get_str({blob.data(), 4}, 0, &str), 0);
    EXPECT_EQ(csa_str_view(str), "ab");
}

TEST(hstring_get_str, refuses_pools_too_short_for_a_string)
{
    const auto blob = bytes("0001");
    csa_str_t str;
    EXPECT_EQ(hstring_get_str({blob.data(), 2}, 0, &str), MODULE_ERR_INVALID);
    EXPECT_EQ(hstring_get_str({blob.data(), 1}, 0, &str), MODULE_ERR_INVALID);
    EXPECT_EQ(hstring_get_str({nullptr, 0}, 0, &str), MODULE_ERR_INVALID);
}

TEST(hstring_deserialize, refuses_an_absent_view)
{
    EXPECT_EQ(hstring_deserialize(nullptr, nullptr, 0), MODULE_ERR_INVALID);
}

TEST(hstring_build_deserialize, reproduces_the_offsets)
{
    string_htable table = make_table();
    put(table, "abc");
    put(table, "de");
    put(table, "tail");
    put(table, "x");
    const auto blob = blob_of(table);
    const hstring_t view{blob.data(), static_cast<uint32_t>(blob.size())};
    string_htable copy = make_table();
    ASSERT_EQ(hstring_build_deserialize(&view, &copy), 0);
    // The blob of 20 bytes ends with the entry of "x", which is not inserted again.
    EXPECT_EQ(copy.hb_tab.size(), 3U);
    EXPECT_EQ(put(copy, "abc"), 0U);
    EXPECT_EQ(put(copy, "de"), 6U);
    EXPECT_EQ(put(copy, "tail"), 10U);
}

TEST(hstring_build_deserialize, a_padded_blob_is_taken_whole)
{
    const auto blob = bytes("0003 'a'b'c 00 0002 'd'e 0000");
    const hstring_t view{blob.data(), static_cast<uint32_t>(blob.size())};
    string_htable table = make_table();
    ASSERT_EQ(hstring_build_deserialize(&view, &table), 0);
    EXPECT_EQ(table.hb_tab.size(), 2U);
    EXPECT_EQ(table.hb_offset, 10U);
}

// An entry whose padded length is that of the whole pool ends the walk, and one that is shorter by
// two has its bytes read as lengths.
TEST(hstring_build_deserialize, an_entry_as_long_as_its_pool_ends_the_walk)
{
    for (const auto &[text, held] : {std::pair("000A 0001 'z 00 00 00 00 00", 0U),
                                     std::pair("0009 0001 'z 00 00 00 00 00", 0U),
                                     std::pair("0008 0001 'z 00 00 00 00 00", 1U),
                                     std::pair("0006 0001 'z 00 00 00 00 00", 1U)}) {
        const auto blob = bytes(text);
        const hstring_t view{blob.data(), static_cast<uint32_t>(blob.size())};
        string_htable table = make_table();
        EXPECT_EQ(hstring_build_deserialize(&view, &table), 0) << text;
        EXPECT_EQ(table.hb_tab.size(), held) << text;
    }
}

// The last entry ends with the blob: its bytes are read as the lengths of further entries.
TEST(hstring_build_deserialize, a_final_entry_is_read_as_lengths)
{
    const auto blob = bytes("0008 0001 'z 00 00 00 00 00");
    const hstring_t view{blob.data(), static_cast<uint32_t>(blob.size())};
    string_htable table = make_table();
    ASSERT_EQ(hstring_build_deserialize(&view, &table), 0);
    ASSERT_EQ(table.hb_tab.size(), 1U);
    EXPECT_EQ(std::string_view(table.hb_tab[0].hse_str, table.hb_tab[0].hse_len), "z");
}

TEST(hstring_build_deserialize, refuses_nothing_and_survives_every_cut)
{
    string_htable table = make_table();
    const hstring_t empty;
    EXPECT_EQ(hstring_build_deserialize(&empty, &table), MODULE_ERR_INVALID);
    EXPECT_EQ(hstring_build_deserialize(nullptr, &table), MODULE_ERR_INVALID);
    const auto blob = bytes("0003 'a'b'c 00 0002 'd'e FFFF 0001 'q 00");
    for (uint32_t len = 1; len <= blob.size(); ++len) {
        const std::vector<uint8_t> cut(blob.begin(), blob.begin() + len);
        const hstring_t view{cut.data(), len};
        string_htable copy = make_table();
        EXPECT_EQ(hstring_build_deserialize(&view, &copy), 0);
        EXPECT_EQ(hstring_build_deserialize(&view, nullptr), MODULE_ERR_INVALID);
        std::string held;
        for (const hs_elt &elt : copy.hb_tab)
            held += std::string(elt.hse_str, elt.hse_len) + " ";
        // A string is taken once a byte stands behind it; the length FFFF is never reached.
        EXPECT_EQ(held, len < 7 ? "" : len < 11 ? "abc " : "abc de ") << len;
    }
}

TEST(hstring_get_offset, strings_of_one_key_and_other_lengths_differ)
{
    string_htable table;
    ASSERT_EQ(hstring_init(&table, 1), 0); // every string lies on one line
    uint32_t offsets[3];
    const char *texts[] = {"a\0b", "a\0bc", "a\0d"};
    const uint32_t lens[] = {3, 4, 3};
    for (int i = 0; i < 3; ++i)
        ASSERT_EQ(hstring_get_offset(&table, csa_str(texts[i], lens[i]), &offsets[i]), 0);
    EXPECT_EQ(offsets[0], 0U);
    EXPECT_EQ(offsets[1], 6U) << "another length";
    EXPECT_EQ(offsets[2], 0U) << "the same up to the 0 byte";
}

} // namespace
