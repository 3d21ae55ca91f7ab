#include <gtest/gtest.h>

#include "escape.h"
#include "json_document.h"

using namespace std::string_view_literals;

TEST(escape, plain_text_stays)
{
    EXPECT_EQ(escape_terminal("www.example.com"), "www.example.com");
    EXPECT_EQ(escape_terminal("\xc3\xbc \xe2\x82\xac \xf0\x9f\x98\x80"),
              "\xc3\xbc \xe2\x82\xac \xf0\x9f\x98\x80");
}

TEST(escape, what_moves_a_terminal_is_spelled)
{
    EXPECT_EQ(escape_terminal("a\x1b[31mb\n\x7f"), "a\\x1b[31mb\\x0a\\x7f");
    EXPECT_EQ(escape_terminal("\0"sv), "\\x00");
    EXPECT_EQ(escape_terminal("\xc2\x9b"), "\\xc2\\x9b")
        << "C1: a control sequence in one character";
    EXPECT_EQ(escape_terminal("\xe2\x80\xae"), "\\xe2\\x80\\xae") << "U+202E: right to left";
    EXPECT_EQ(escape_terminal("\xe2\x81\xa6"), "\\xe2\\x81\\xa6") << "U+2066: isolate";
    EXPECT_EQ(escape_terminal("\xe2\x80\xa8"), "\\xe2\\x80\\xa8") << "U+2028: end of line";
}

/// The bytes of a code point (RFC 3629).
std::string utf8(uint32_t code)
{
    const auto rest = [code](int shift) {
        return static_cast<char>(0x80 | ((code >> shift) & 63));
    };
    if (code < 0x80)
        return {static_cast<char>(code)};
    if (code < 0x800)
        return {static_cast<char>(0xC0 | code >> 6), rest(0)};
    if (code < 0x10000)
        return {static_cast<char>(0xE0 | code >> 12), rest(6), rest(0)};
    return {static_cast<char>(0xF0 | code >> 18), rest(12), rest(6), rest(0)};
}

TEST(escape, every_range_of_what_is_no_sign_has_its_bounds)
{
    for (const uint32_t code : {0x00, 0x1F, 0x7F, 0x9F, 0xAD, 0x61C, 0x200E, 0x200F, 0x2028, 0x202E,
                                0x2066, 0x2069, 0xFEFF, 0xFFF9, 0xFFFB, 0xE0000, 0x10FFFF})
        EXPECT_TRUE(escape_line(utf8(code)).starts_with("\\x")) << code;
    for (const uint32_t code : {0x20, 0x7E, 0xA0, 0xAC, 0xAE, 0x61B, 0x61D, 0x200D, 0x2010, 0x2027,
                                0x202F, 0x2065, 0x206A, 0xFEFE, 0xFF00, 0xFFF8, 0xFFFC, 0xDFFFF})
        EXPECT_EQ(escape_line(utf8(code)), utf8(code)) << code;
}

TEST(escape, a_backslash_is_doubled_so_that_the_text_can_be_read_back)
{
    EXPECT_EQ(escape_terminal("\\x41"), "\\\\x41");
}

TEST(escape, a_backslash_of_a_line_stays)
{
    EXPECT_EQ(escape_line("\\x41\x1b"), "\\x41\\x1b");
}

TEST(escape, bytes_that_are_no_text_are_spelled_one_by_one)
{
    EXPECT_EQ(escape_terminal("a\xff"
                              "b"),
              "a\\xffb");
    EXPECT_EQ(escape_terminal("\xe2\x82"), "\\xe2\\x82") << "cut short";
}

TEST(escape, utf8_has_one_form_for_each_character)
{
    EXPECT_TRUE(utf8_valid(""));
    EXPECT_EQ(utf8_length(""), 0U);
    EXPECT_TRUE(utf8_valid("\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xef\xbf\xbf\xf0\x90\x80\x80"));
    EXPECT_TRUE(utf8_valid("\xf4\x8f\xbf\xbf")) << "U+10FFFF";
    EXPECT_FALSE(utf8_valid("\xc0\x80")) << "overlong";
    EXPECT_FALSE(utf8_valid("\xe0\x9f\xbf")) << "overlong";
    EXPECT_FALSE(utf8_valid("\xf0\x8f\xbf\xbf")) << "overlong";
    EXPECT_FALSE(utf8_valid("\xed\xa0\x80")) << "surrogate";
    EXPECT_FALSE(utf8_valid("\xf4\x90\x80\x80")) << "beyond U+10FFFF";
    EXPECT_FALSE(utf8_valid("\x80"));
    EXPECT_FALSE(utf8_valid("\xc3")) << "cut short";
}

TEST(json_document, bytes_that_are_no_text_come_as_hex)
{
    EXPECT_EQ(json_text("caf\xc3\xa9").dump(), "\"caf\xc3\xa9\"");
    EXPECT_EQ(json_text("\xff\x00"sv).dump(), "{\"hex\":\"ff00\"}");
    EXPECT_EQ(json_bytes("\x01z").dump(), "{\"hex\":\"017a\",\"text\":\"\\u0001z\"}");
    EXPECT_EQ(json_bytes("\xff").dump(), "{\"hex\":\"ff\"}");
}

TEST(escape, json_says_the_same_without_what_moves_a_terminal)
{
    EXPECT_EQ(escape_json("[\"a\\u001b\"]\n"), "[\"a\\u001b\"]\n");
    EXPECT_EQ(escape_json("\"\xc3\xbc\x7f\xc2\x9b\xe2\x80\xae\n\""),
              "\"\xc3\xbc\\u007f\\u009b\\u202e\n\"");
    EXPECT_EQ(escape_json("\xf0\x9f\x98\x80\xf3\xa0\x81\x81"), "\xf0\x9f\x98\x80\\udb40\\udc41")
        << "U+E0041: a tag, which is not seen";
    EXPECT_EQ(escape_json("\xff\x7f"), "\xff\\u007f") << "bytes that are no text stay";
    EXPECT_EQ(json_line({{"a", "\xc2\x9b"}}), "{\"a\":\"\\u009b\"}");
    EXPECT_EQ(json_indented({{"a", "\x7f"}}), "{\n  \"a\": \"\\u007f\"\n}");
}

TEST(json_document, begins_with_its_schema)
{
    EXPECT_EQ(json_document("list").dump(), "{\"schema\":\"pdata.list/1\"}");
}
