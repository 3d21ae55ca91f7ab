/// Expressions against whole data.
#include <gtest/gtest.h>

#include "bytes.h"
#include "expression_match.h"

namespace
{

using namespace std::string_view_literals;

/// "yes", "no", or the error.
std::string match(std::string_view text, std::string_view data, bool icase = false)
{
    expression_t expression;
    std::string error;
    if (!expression_open(text, icase, expression, error))
        return error;
    return expression_match(expression, text_bytes(data)) ? "yes" : "no";
}

TEST(expression_match, a_word_is_the_whole_data)
{
    EXPECT_EQ(match("word", "word"), "yes");
    EXPECT_EQ(match("word", "words"), "no");
    EXPECT_EQ(match("word", "sword"), "no");
    EXPECT_EQ(match("word", "Word"), "no");
    EXPECT_EQ(match("word", "wOrD", true), "yes");
    EXPECT_EQ(match("word", ""), "no");
}

TEST(expression_match, wildcards_and_repetitions)
{
    EXPECT_EQ(match("a.c", "abc"), "yes");
    EXPECT_EQ(match("a.c", "a\nc"), "yes");
    EXPECT_EQ(match("a.c", "a\0c"sv), "yes");
    EXPECT_EQ(match("a.c", "ac"), "no");
    EXPECT_EQ(match("a.*c", "ac"), "yes");
    EXPECT_EQ(match("a.+c", "ac"), "no");
    EXPECT_EQ(match("a.+c", "abbc"), "yes");
    EXPECT_EQ(match(".*word.*", "a word of"), "yes");
    EXPECT_EQ(match("ab*c", "abbbc"), "yes");
    EXPECT_EQ(match("(ab)+", "ababab"), "yes");
    EXPECT_EQ(match("(ab)+", "ababa"), "no");
    EXPECT_EQ(match("ab?c", "ac"), "yes");
    EXPECT_EQ(match("ab?c", "abbc"), "no");
}

TEST(expression_match, alternatives_and_classes)
{
    EXPECT_EQ(match("foo|bar", "bar"), "yes");
    EXPECT_EQ(match("(foo|bar|)baz", "baz"), "yes");
    EXPECT_EQ(match("(foo|bar)baz", "foobar"), "no");
    EXPECT_EQ(match("[a-cx]1", "b1"), "yes");
    EXPECT_EQ(match("[a-cx]1", "x1"), "yes");
    EXPECT_EQ(match("[a-cx]1", "d1"), "no");
    EXPECT_EQ(match("[a-c]", "B", true), "yes");
    EXPECT_EQ(match("[^a-c]1", "d1"), "yes");
    EXPECT_EQ(match("[^a-c]1", "a1"), "no");
    EXPECT_EQ(match("[^a-c]1", "A1", true), "no");
    EXPECT_EQ(match("[.*]", "*"), "yes");
    EXPECT_EQ(match("[.*]", "x"), "no");
    EXPECT_EQ(match("[\\d_]", "7"), "yes");
}

TEST(expression_match, escapes)
{
    EXPECT_EQ(match("\\d\\w\\s", "1_ "), "yes");
    EXPECT_EQ(match("\\d", "x"), "no");
    EXPECT_EQ(match("\\w", "-"), "no");
    EXPECT_EQ(match("\\s", "\v"), "yes");
    EXPECT_EQ(match("a\\.b", "a.b"), "yes");
    EXPECT_EQ(match("a\\.b", "axb"), "no");
    EXPECT_EQ(match("\\x41 42\\x", "AB"), "yes");
    EXPECT_EQ(match("\\0101", "A"), "yes");
    EXPECT_EQ(match("\\xff", "\xFF"), "yes");
}

TEST(expression_match, a_part_may_be_matched_without_case)
{
    EXPECT_EQ(match("a\\[bc\\]d", "aBCd"), "yes");
    EXPECT_EQ(match("a\\[bc\\]d", "ABCd"), "no");
}

TEST(expression_match, anchors_stand_for_themselves)
{
    EXPECT_EQ(match("^word$", "^word$"), "yes");
    EXPECT_EQ(match("^word$", "word"), "no");
}

TEST(expression_match, nested_repetitions_take_no_time)
{
    EXPECT_EQ(match("((((a*)*)*)*)*b", std::string(2000, 'a')), "no");
    EXPECT_EQ(match("(a|aa|a*)*b", std::string(500, 'a') + "b"), "yes");
}

TEST(expression_match, what_cannot_be_followed_is_refused)
{
    EXPECT_EQ(match("(ab", "ab"), "not an expression: (ab");
    EXPECT_EQ(match(std::string(2000, '(') + "a" + std::string(2000, ')'), "a"),
              "expression nested too deeply");
}

} // namespace
