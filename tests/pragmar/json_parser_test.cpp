#include <gtest/gtest.h>

#include "json_lexer.h"
#include "json_text.h"

namespace
{

int code_of(std::string_view text)
{
    json_text json(text);
    return json.parse();
}

TEST(json_parser, empty_containers_have_no_child)
{
    json_text object("{}");
    ASSERT_EQ(object.parse(), 0);
    EXPECT_EQ(object.value()->type, JSON_OBJECT);
    EXPECT_EQ(object.value()->child, nullptr);
    json_text array("[]");
    ASSERT_EQ(array.parse(), 0);
    EXPECT_EQ(array.value()->type, JSON_ARRAY);
    EXPECT_EQ(array.value()->child, nullptr);
}

TEST(json_parser, builds_the_tree_in_text_order)
{
    json_text json(R"({"a": [1, "x", true], "b": {"c": null}, "a": false})");
    ASSERT_EQ(json.parse(), 0);
    json_pair_t *a = json_as_pair(json.value()->child);
    EXPECT_EQ(a->node.type, JSON_PAIR);
    EXPECT_EQ(json_string_view(*a->string), "a");
    json_node_t *one = a->value->child;
    EXPECT_EQ(one->type, JSON_NUMBER);
    EXPECT_EQ(json_as_number(one)->number, 1U);
    EXPECT_EQ(one->next->type, JSON_STRING);
    EXPECT_EQ(json_string_view(*json_as_string(one->next)), "x");
    EXPECT_EQ(one->next->next->type, JSON_TRUE);
    EXPECT_EQ(json_as_atom(one->next->next)->type, JSON_ATOM_TRUE);
    EXPECT_EQ(one->next->next->next, nullptr);
    json_pair_t *b = json_as_pair(a->node.next);
    EXPECT_EQ(b->value->type, JSON_OBJECT);
    json_pair_t *c = json_as_pair(b->value->child);
    EXPECT_EQ(c->value->type, JSON_NULL);
    EXPECT_EQ(json_as_atom(c->value)->type, JSON_ATOM_NULL);
    json_pair_t *again = json_as_pair(b->node.next);
    EXPECT_EQ(json_string_view(*again->string), "a") << "duplicate keys are kept";
    EXPECT_EQ(json_as_atom(again->value)->type, JSON_ATOM_FALSE);
    EXPECT_EQ(again->node.next, nullptr);
}

TEST(json_parser, a_literal_needs_a_character_behind_it)
{
    EXPECT_EQ(code_of("true"), JSON_ERR_LEXER);
    EXPECT_EQ(code_of("false"), JSON_ERR_LEXER);
    EXPECT_EQ(code_of("null"), JSON_ERR_LEXER);
    EXPECT_EQ(code_of("true "), 0);
    EXPECT_EQ(code_of("truex"), 0) << "the one character behind a document may be anything";
    EXPECT_EQ(code_of("[truex]"), JSON_ERR_LEXER);
    EXPECT_EQ(code_of("tru"), JSON_ERR_LEXER);
}

TEST(json_parser, has_no_trailing_commas)
{
    EXPECT_EQ(parse_report("[1,2,]"), "parse failure on line: 1\n"
                                      "[1,2,]\n"
                                      "-----^\n"
                                      "Expecting 'STRING', 'NUMBER', 'NULL', 'TRUE', 'FALSE', '{', "
                                      "'[', got ']'.\n");
    EXPECT_EQ(parse_report("{\"a\":1,}"), "parse failure on line: 1\n"
                                          "{\"a\":1,}\n"
                                          "-------^\n"
                                          "Expecting 'STRING', got '}'.\n");
}

TEST(json_parser, numbers_are_unsigned_integers)
{
    EXPECT_EQ(code_of("-1"), JSON_ERR_LEXER);
    EXPECT_EQ(code_of("1.5"), JSON_ERR_LEXER) << "the number 1, then a point";
    EXPECT_EQ(code_of("1e5"), JSON_ERR_LEXER);
    EXPECT_EQ(code_of("[+1]"), JSON_ERR_LEXER);
    json_text wrapped("4294967296");
    ASSERT_EQ(wrapped.parse(), 0);
    EXPECT_EQ(json_as_number(wrapped.value())->number, 0U);
    json_text zeros("[0042,4294967295]");
    ASSERT_EQ(zeros.parse(), 0);
    EXPECT_EQ(json_as_number(zeros.value()->child)->number, 42U);
    EXPECT_EQ(json_as_number(zeros.value()->child->next)->number, 4294967295U);
}

TEST(json_parser, a_number_may_end_the_text)
{
    json_text json("12");
    ASSERT_EQ(json.parse(), 0);
    EXPECT_EQ(json_as_number(json.value())->number, 12U);
}

TEST(json_parser, strings_are_kept_raw)
{
    json_text json("\"a\\\"b\"");
    ASSERT_EQ(json.parse(), 0);
    EXPECT_EQ(json_string_view(*json_as_string(json.value())), "a\\\"b");
    json_text control(std::string_view("\"\0\n\x01\"", 5));
    ASSERT_EQ(control.parse(), 0);
    EXPECT_EQ(json_as_string(control.value())->len, 3U);
}

TEST(json_parser, an_unclosed_string_is_a_lexer_error)
{
    EXPECT_EQ(code_of("\"abc"), JSON_ERR_LEXER);
    EXPECT_EQ(code_of("\""), JSON_ERR_LEXER);
    EXPECT_EQ(code_of("\"abc\\"), JSON_ERR_LEXER);
    EXPECT_EQ(code_of("\"abc\\\""), JSON_ERR_LEXER);
}

TEST(json_parser, tolerates_one_character_behind_the_document)
{
    EXPECT_EQ(code_of("{}x"), 0);
    EXPECT_EQ(code_of("{} \n x"), 0);
    EXPECT_EQ(code_of("{}}"), 0);
    EXPECT_EQ(code_of("{}xy"), JSON_ERR_LEXER);
    EXPECT_EQ(code_of("{} xy"), JSON_ERR_LEXER);
    EXPECT_EQ(parse_report("{} {}"), "parse failure on line: 1\n"
                                     "{} {\n"
                                     "---^\n"
                                     "Expecting 'EOF', got '{'.\n");
    EXPECT_EQ(code_of("{}  \n\t "), 0);
}

TEST(json_parser, carriage_returns_are_not_whitespace)
{
    EXPECT_EQ(code_of("{\r\n}"), JSON_ERR_LEXER);
    EXPECT_EQ(code_of("{\t\n }"), 0);
}

TEST(json_parser, an_empty_text_is_refused)
{
    EXPECT_EQ(parse_report(""), "parse failure on line: 1\n"
                                "Expecting 'STRING', 'NUMBER', 'NULL', 'TRUE', 'FALSE', '{', '[', "
                                "got 'EOF'.\n");
}

TEST(json_parser, reads_one_value_and_leaves_the_rest)
{
    json_text json("  {\"a\":1} \n , [2]");
    uint32_t consumed = 0;
    ASSERT_EQ(json_parse_sub(&json.json, &consumed), 0);
    EXPECT_EQ(consumed, 12U);
    EXPECT_EQ(json.copy[consumed], ',');
}

TEST(json_parser, every_cut_of_a_document_is_refused_or_whole)
{
    const std::string text = R"({"a": [1, "x\"y", true, {}], "b": {"c": null}} )";
    for (size_t len = 0; len < text.size() - 1; ++len)
        EXPECT_NE(code_of(text.substr(0, len)), 0) << len;
    EXPECT_EQ(code_of(text), 0);
}

TEST(json_parser, a_million_brackets_do_not_overflow_the_stack)
{
    constexpr size_t depth = 1000000;
    EXPECT_EQ(code_of(std::string(depth, '[')), JSON_ERR_PARSER);
    EXPECT_EQ(code_of(std::string(depth, '[') + std::string(depth, ']')), 0);
    std::string objects;
    for (size_t i = 0; i < depth; ++i)
        objects += "{\"a\":";
    EXPECT_EQ(code_of(objects), JSON_ERR_PARSER);
    EXPECT_EQ(code_of(objects + "1" + std::string(depth, '}')), 0);
}

TEST(json_lexer, filling_again_gives_the_same_token)
{
    const std::string text = " \n 12";
    json_token_t token;
    ASSERT_EQ(json_lexer_token_fill(text.data(), 5, &token), 0);
    ASSERT_EQ(json_lexer_token_fill(text.data(), 5, &token), 0);
    EXPECT_EQ(token.type, JSON_TOKEN_NUMBER);
    EXPECT_EQ(token.offset_start, 3U);
    EXPECT_EQ(token.offset_end, 5U);
    EXPECT_EQ(token.line, 2U);
    json_lexer_token_eat(&token);
    ASSERT_EQ(json_lexer_token_fill(text.data(), 5, &token), 0);
    EXPECT_EQ(token.type, JSON_TOKEN_END);
}

TEST(json_lexer, knows_every_kind)
{
    const struct {
        const char *text;
        json_token_type_t type;
        uint32_t len;
    } rows[] = {
        {"{", JSON_TOKEN_OPENING_BRACE, 1},   {"}", JSON_TOKEN_CLOSING_BRACE, 1},
        {"[", JSON_TOKEN_OPENING_BRACKET, 1}, {"]", JSON_TOKEN_CLOSING_BRACKET, 1},
        {":", JSON_TOKEN_COLON, 1},           {",", JSON_TOKEN_COMMA, 1},
        {"\"ab\"", JSON_TOKEN_STRING, 4},     {"007", JSON_TOKEN_NUMBER, 3},
        {"true ", JSON_TOKEN_TRUE, 4},        {"false ", JSON_TOKEN_FALSE, 5},
        {"null ", JSON_TOKEN_NULL, 4},        {"", JSON_TOKEN_END, 0},
    };
    for (const auto &row : rows) {
        json_token_t token;
        const std::string text = row.text;
        EXPECT_EQ(json_lexer_token_fill(text.data(), static_cast<uint32_t>(text.size()), &token),
                  0);
        EXPECT_EQ(token.type, row.type) << text;
        EXPECT_EQ(token.offset_end, row.len) << text;
    }
    for (const char *text : {"-", "+", ".", "a", "\r", "\\", "'"}) {
        json_token_t token;
        EXPECT_EQ(json_lexer_token_fill(text, 1, &token), -1) << text;
    }
}

} // namespace
