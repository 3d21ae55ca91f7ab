#include <gtest/gtest.h>

#include "json_text.h"

namespace
{

constexpr const char *ANY_VALUE =
    "Expecting 'STRING', 'NUMBER', 'NULL', 'TRUE', 'FALSE', '{', '[', got ";

TEST(json_error, a_lexer_error_at_the_start_has_no_excerpt)
{
    EXPECT_EQ(parse_report("-12 34\n5"), "lex failure on line: 1\n"
                                         "Unknown token '-12 34'\n");
}

TEST(json_error, a_lexer_error_shows_the_text_before_the_token)
{
    EXPECT_EQ(parse_report("[1, x2]\n"), "lex failure on line: 1\n"
                                         "[1, \n"
                                         "---^\n"
                                         "Unknown token 'x2]'\n");
}

TEST(json_error, an_unclosed_string_is_shown_whole)
{
    EXPECT_EQ(parse_report("[\"ab\ncd"), "lex failure on line: 1\n"
                                         "[\"ab cd\n"
                                         "------^\n"
                                         "Unknown token '\"ab'\n");
}

TEST(json_error, a_missing_colon_is_expected)
{
    EXPECT_EQ(parse_report("{\"a\" 1}"), "parse failure on line: 1\n"
                                         "{\"a\" 1\n"
                                         "-----^\n"
                                         "Expecting ':', got '1'.\n");
}

TEST(json_error, the_end_of_the_text_is_named)
{
    EXPECT_EQ(parse_report("{\"a\":1\n"), "parse failure on line: 2\n"
                                          "{\"a\":1 \n"
                                          "------^\n"
                                          "Expecting '}', ',', got 'EOF'.\n");
    EXPECT_EQ(parse_report("[1"), "parse failure on line: 1\n"
                                  "[1\n"
                                  "-^\n"
                                  "Expecting ']', ',', got 'EOF'.\n");
}

TEST(json_error, the_third_line_of_five_shows_from_the_first)
{
    EXPECT_EQ(parse_report("[1,\n2,\n],\n4,\n5]"), std::string("parse failure on line: 3\n"
                                                               "[1, 2, ]\n"
                                                               "-------^\n") +
                                                       ANY_VALUE + "']'.\n");
}

// From the token on line 5 the walk goes back over three line feeds and one character more.
TEST(json_error, an_excerpt_begins_before_the_third_line_feed)
{
    EXPECT_EQ(parse_report("[1,\n2,\n3,\n4,\n]"), std::string("parse failure on line: 5\n"
                                                              ", 3, 4, ]\n"
                                                              "--------^\n") +
                                                      ANY_VALUE + "']'.\n");
}

// The walk looks at the character behind the token first: here a line feed, the first of three.
TEST(json_error, the_character_behind_the_token_counts)
{
    EXPECT_EQ(parse_report("[1,\n2,\n3,\n]\n]"), std::string("parse failure on line: 4\n"
                                                             ", 3, ]\n"
                                                             "-----^\n") +
                                                     ANY_VALUE + "']'.\n");
}

TEST(json_error, a_line_feed_inside_a_string_is_no_line)
{
    EXPECT_EQ(parse_report("[\"a\nb\",\n]"), std::string("parse failure on line: 2\n"
                                                         "[\"a b\", ]\n"
                                                         "--------^\n") +
                                                 ANY_VALUE + "']'.\n");
}

TEST(json_error, a_report_is_cut_at_1023_characters)
{
    const std::string report = parse_report("[" + std::string(3000, ' ') + "]x]");
    EXPECT_EQ(report.size(), 1023U);
    EXPECT_EQ(report.substr(0, 26), "lex failure on line: 1\n[  ");
}

TEST(json_error, a_full_text_takes_no_more)
{
    pragmar_err_clear();
    for (int i = 0; i < 100; ++i)
        EXPECT_EQ(json_err_pool("pairs"), JSON_ERR_POOL);
    EXPECT_EQ(std::string(pragmar_err_get()).size(), 1023U);
}

TEST(json_error, an_empty_pool_is_named)
{
    pragmar_err_clear();
    EXPECT_EQ(json_err_pool("atoms"), -2);
    EXPECT_STREQ(pragmar_err_get(),
                 "pool failure.\n"
                 "Pool 'atoms' is empty. Increase value in configuration (json_config.h).\n");
}

TEST(json_error, directives_in_a_text_are_shown_as_they_are)
{
    EXPECT_EQ(parse_report("[\"%s%n\", ]"), std::string("parse failure on line: 1\n"
                                                        "[\"%s%n\", ]\n"
                                                        "---------^\n") +
                                                ANY_VALUE + "']'.\n");
}

TEST(json_error, kinds_have_display_names)
{
    EXPECT_STREQ(json_type2str(JSON_TOKEN_OPENING_BRACE), "{");
    EXPECT_STREQ(json_type2str(JSON_TOKEN_COMMA), ",");
    EXPECT_STREQ(json_type2str(JSON_TOKEN_NULL), "NULL");
    EXPECT_STREQ(json_type2str(JSON_TOKEN_EOF), "EOF");
    EXPECT_STREQ(json_type2str(JSON_TOKEN_END), "X");
    EXPECT_STREQ(trans_type2str(TRANS_OBJECT_START), "{");
    EXPECT_STREQ(trans_type2str(TRANS_X), "*");
    EXPECT_STREQ(trans_type2str(TRANS_ATOM), "ATOM");
    EXPECT_STREQ(trans_type2str(static_cast<trans_type_t>(9)), "_");
}

json_t json_of(std::string_view text)
{
    json_t json = {};
    json.str = text.data();
    json.len = static_cast<uint32_t>(text.size());
    return json;
}

TEST(json_error, a_token_in_front_of_the_text_has_no_excerpt)
{
    pragmar_err_clear();
    json_err_concat_last_lines(json_of("[1]"), {});
    EXPECT_STREQ(pragmar_err_get(), "");
}

TEST(json_error, a_lexer_error_at_the_end_shows_nothing_of_the_token)
{
    pragmar_err_clear();
    json_token_t token = {};
    token.line = 7;
    token.offset_start = token.offset_end = 3;
    (void)json_err_lexer(json_of("[1]"), token);
    EXPECT_STREQ(pragmar_err_get(), "lex failure on line: 7\n[1]\n--^\nUnknown token ''\n");
}

} // namespace
