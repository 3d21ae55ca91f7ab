// The priority word of a rule and the version record of a loadable pdb.
#include <gtest/gtest.h>

#include "bytes.h"
#include "failing_alloc.h"
#include "outcome.h"
#include "pdb_rule_priority.h"
#include "pdb_version.h"

namespace
{

/// The priority word of a range and an order, or what refuses it.
std::string priority(uint32_t range, uint32_t order)
{
    uint32_t word = 0xEEEEEEEE;
    const std::string text = outcome(pdb_rule_get_priority(range, order, &word));
    if (text != "0") {
        EXPECT_EQ(word, 0xEEEEEEEEU) << "nothing is stored";
        return text;
    }
    char hex[16];
    std::snprintf(hex, sizeof(hex), "%08X", word);
    return hex;
}

TEST(pdb_rule_priority, range_and_order_share_a_word)
{
    clear_status_slot();
    EXPECT_EQ(priority(0, 0), "00000000");
    EXPECT_EQ(priority(5, 3), "05000003");
    EXPECT_EQ(priority(255, 16777215), "FFFFFFFF");
    EXPECT_EQ(pdb_rule_get_range(0x05000003), 5U);
    EXPECT_EQ(pdb_rule_get_order(0x05000003), 3U);
    EXPECT_EQ(pdb_rule_get_range(0xFFFFFFFF), 255U);
    EXPECT_EQ(pdb_rule_get_order(0xFFFFFFFF), 16777215U);
}

TEST(pdb_rule_priority, a_range_beyond_255_is_refused)
{
    EXPECT_EQ(priority(256, 0), OUTCOME_INVALID_ARGUMENT ": Range 256 is out of bounds. Max: 255.");
    EXPECT_EQ(priority(0xFFFFFFFF, 0),
              OUTCOME_INVALID_ARGUMENT ": Range 4294967295 is out of bounds. Max: 255.");
}

TEST(pdb_rule_priority, an_order_beyond_24_bits_is_refused)
{
    EXPECT_EQ(priority(0, 16777216),
              OUTCOME_INVALID_ARGUMENT ": Order 16777216 is out of bounds. Max: 16777215.");
    EXPECT_EQ(priority(256, 16777216),
              OUTCOME_INVALID_ARGUMENT ": Range 256 is out of bounds. Max: 255.")
        << "the range is looked at first";
}

/// The version record of a text.
csa_buf_t version_record(std::string_view text, bool empty_pdb = false)
{
    csa_buf_t buf = bytes("EE EE"); // what stood there does not matter
    EXPECT_EQ(pdb_version_serialize(&buf, {1, 540, text}, empty_pdb), PDATA_SUCCESS);
    return buf;
}

TEST(pdb_version, the_record_of_the_programs_own_text)
{
    EXPECT_EQ(version_record("1.540.1-24"), bytes("06000008 00000001 0000021C 0000000A"
                                                  "'1'.'5'4 '0'.'1'- '2'4 0000 00000000 00000000"));
}

TEST(pdb_version, the_record_of_a_text_of_11_bytes)
{
    EXPECT_EQ(version_record("1.540.10-24"),
              bytes("06000008 00000001 0000021C 0000000B"
                    "'1'.'5'4 '0'.'1'0 '-'2'4 00 00000000 00000000"));
}

TEST(pdb_version, a_text_that_the_rounded_length_would_cut_gets_four_words_more)
{
    EXPECT_EQ(version_record("1.2.3"), bytes("06000008 00000001 0000021C 00000005"
                                             "'1'.'2'. '3 000000 00000000 00000000 00000000"));
}

TEST(pdb_version, every_text_fits_its_record)
{
    for (size_t n = 0; n <= 100; ++n) {
        const std::string text(n, 'v');
        const csa_buf_t record = version_record(text);
        const uint32_t words = record[1] * 65536U + record[2] * 256U + record[3];
        EXPECT_EQ(record.size(), (words + 1) * 4) << n;
        EXPECT_EQ(words % 4, 0U) << n;
        // The words in n + 12 bytes, rounded down, then rounded up to a multiple of 4; one step
        // more where that would cut the text.
        const size_t rounded = ((n + 12) / 4 + 3) / 4 * 4;
        EXPECT_EQ(words, rounded * 4 < n + 12 ? rounded + 4 : rounded) << n;
        EXPECT_EQ(std::string(record.begin() + 16, record.begin() + 16 + static_cast<long>(n)),
                  text);
        for (size_t at = 16 + n; at < record.size(); ++at)
            EXPECT_EQ(record[at], 0) << n;
    }
}

TEST(pdb_version, an_empty_pdb_gets_the_marker_record)
{
    EXPECT_EQ(version_record("1.540.1-24", true), bytes("07000000"));
}

TEST(pdb_version, the_engines_numbers_and_the_text_that_was_set)
{
    EXPECT_EQ(pdata_pdb_version_get().text, "") << "nothing was set yet";
    pdata_pdb_version_set("1.540.1-24");
    EXPECT_EQ(pdata_pdb_version_get().text, "1.540.1-24");
    EXPECT_EQ(pdata_pdb_version_get().major, 1U);
    EXPECT_EQ(pdata_pdb_version_get().minor, 540U);
    pdata_pdb_version_set("");
}

TEST(pdb_version, no_memory_is_status_1_without_a_message)
{
    clear_status_slot();
    csa_buf_t buf;
    failing_alloc_arm(1);
    const pdata_status_t status = pdb_version_serialize(&buf, {1, 540, "1.540.1-24"}, false);
    ASSERT_TRUE(failing_alloc_disarm());
    EXPECT_EQ(outcome(status), OUTCOME_NO_MEMORY);
}

} // namespace
