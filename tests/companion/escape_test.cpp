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

TEST(json_document, begins_with_its_schema)
{
    EXPECT_EQ(json_document("list").dump(), "{\"schema\":\"pdata.list/1\"}");
}
