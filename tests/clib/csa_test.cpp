#include <gtest/gtest.h>

#include <cctype>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "csa_buf.h"
#include "csa_char.h"
#include "csa_dump.h"
#include "csa_endian.h"
#include "csa_str.h"
#include "csa_types.h"

namespace
{

// The C library's words for them, in the locale that a program begins with.
TEST(csa_char, bytes_are_what_the_c_library_says)
{
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const char text[] = {c, '\0'};
        EXPECT_EQ(char_is_digit(c), std::isdigit(byte) != 0) << byte;
        EXPECT_EQ(char_is_letter(c), std::isalpha(byte) != 0) << byte;
        EXPECT_EQ(char_is_label(c), std::isalnum(byte) != 0 || c == '-' || c == '_') << byte;
        EXPECT_EQ(char_small(c), static_cast<char>(std::tolower(byte))) << byte;
        EXPECT_EQ(char_hex_value(c), std::isxdigit(byte) != 0 ? std::strtol(text, nullptr, 16) : -1)
            << byte;
    }
}

TEST(csa_str, a_counted_string_points_at_its_bytes)
{
    const std::string text = "abc";
    const csa_str_t str = csa_str(text);
    EXPECT_EQ(str.str_buf, text.data());
    EXPECT_EQ(str.str_len, 3);
    EXPECT_EQ(csa_str_view(str), "abc");
    EXPECT_EQ(csa_str_view(csa_str(text.data(), 2)), "ab");
}

TEST(csa_str, a_length_is_kept_modulo_65536)
{
    const std::string text(65537, 'x');
    EXPECT_EQ(csa_str(text.data(), 65535).str_len, 65535);
    EXPECT_EQ(csa_str(text.data(), 65536).str_len, 0);
    EXPECT_EQ(csa_str(text).str_len, 1);
}

TEST(csa_str, an_absent_text_is_an_empty_view)
{
    const csa_str_t absent;
    EXPECT_EQ(absent.str_buf, nullptr);
    EXPECT_EQ(csa_str_view(absent), "");
    EXPECT_EQ(csa_str_view({5, nullptr}), "") << "whatever its length says";
}

TEST(csa_str, texts_are_equal_by_length_and_bytes)
{
    using namespace std::string_view_literals;
    EXPECT_TRUE(csa_str_equal(csa_str("abc"sv), csa_str(std::string("abc"))));
    EXPECT_FALSE(csa_str_equal(csa_str("abc"sv), csa_str("abcd"sv)));
    EXPECT_FALSE(csa_str_equal(csa_str("abc"sv), csa_str("abC"sv)));
    EXPECT_FALSE(csa_str_equal(csa_str("a\0b"sv), csa_str("a\0c"sv))) << "a 0 byte ends nothing";
    EXPECT_TRUE(csa_str_equal({}, csa_str(""sv)));
}

TEST(csa_endian, words_are_stored_most_significant_byte_first)
{
    uint8_t bytes[6] = {};
    csa_set_be32(bytes + 1, 0x12345678);
    const uint8_t expected[6] = {0, 0x12, 0x34, 0x56, 0x78, 0};
    for (size_t i = 0; i < 6; ++i)
        EXPECT_EQ(bytes[i], expected[i]);
    EXPECT_EQ(csa_get_be32(bytes + 1), 0x12345678U);
    EXPECT_EQ(csa_get_be16(bytes + 2), 0x3456);
    csa_set_be16(bytes + 3, 0xFEDC);
    EXPECT_EQ(csa_get_be32(bytes + 1), 0x1234FEDCU);
}

TEST(csa_endian, the_extremes_come_back)
{
    uint8_t bytes[4];
    for (const uint32_t value : {0U, 1U, 0x80000000U, 0xFFFFFFFFU}) {
        csa_set_be32(bytes, value);
        EXPECT_EQ(csa_get_be32(bytes), value);
        EXPECT_EQ(csa_swap32(csa_swap32(value)), value);
    }
    EXPECT_EQ(csa_swap32(0x01020304), 0x04030201U);
}

TEST(csa_endian, the_host_says_its_byte_order)
{
    const uint16_t one = 1;
    EXPECT_EQ(csa_is_big_endian(), *reinterpret_cast<const uint8_t *>(&one) == 1 ? 0 : 1);
}

TEST(csa_buf, a_buffer_is_zeroed)
{
    csa_buf_t buf = {1, 2, 3, 4};
    ASSERT_TRUE(csa_buf_alloc(buf, 3));
    EXPECT_EQ(buf, (csa_buf_t{0, 0, 0}));
    ASSERT_TRUE(csa_buf_alloc(buf, 0));
    EXPECT_TRUE(buf.empty());
}

TEST(csa_buf, what_cannot_be_had_leaves_it_empty)
{
    csa_buf_t buf = {1, 2, 3};
    EXPECT_FALSE(csa_buf_alloc(buf, SIZE_MAX)) << "more than a vector may hold";
    EXPECT_TRUE(buf.empty());
}

TEST(csa_types, directions_have_their_numbers)
{
    EXPECT_EQ(ATTR_WAY_UNKNOWN, 0U);
    EXPECT_EQ(ATTR_WAY_CTS, 1U);
    EXPECT_EQ(ATTR_WAY_STC, 2U);
    EXPECT_EQ(ATTR_WAY_BOTH, 3U);
    EXPECT_EQ(sizeof(csa_bool_t), 4U);
}

TEST(csa_dump, all_switches_are_off)
{
    const csa_dump_t dump;
    EXPECT_EQ(dump.limit + dump.tlv + dump.digraph + dump.graph_info, 0);
    EXPECT_TRUE(dump.proto_name.empty() && dump.attr_name.empty() && dump.way.empty());
}

TEST(csa_types, directions_have_their_words)
{
    std::string words;
    for (uint32_t way = 0; way < 5; ++way)
        words += std::string(attr_way2str(way)) + " ";
    EXPECT_EQ(words, "unknown cts stc both attr way error ");
}

} // namespace
