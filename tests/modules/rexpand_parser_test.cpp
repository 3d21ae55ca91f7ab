#include <gtest/gtest.h>

#include "failing_alloc.h"
#include "rexpand_parser.h"
#include "rexpand_show.h"

namespace
{

/// The tree of an expression without its root, which is the sequence of anchors and expression.
std::string parse(std::string_view expression)
{
    rexpand_tree tree;
    const int code = rexpand_parse(expression, &tree);
    if (code != 0) {
        EXPECT_TRUE(tree.nodes.empty());
        return rexpand_show_error(code);
    }
    const std::string root = rexpand_show(tree, tree.root);
    EXPECT_EQ(root.substr(0, 4), "seq(");
    return root.substr(4, root.size() - 5);
}

void expect_invalid(std::string_view expression)
{
    EXPECT_EQ(parse(expression), "error -1") << expression;
}

TEST(rexpand_lexer, classifies_special_bytes_as_themselves)
{
    const std::string_view special = "$()*+-.?[\\]^|";
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const rexpand_token_list_t lexer{{&c, 1}};
        const bool is_special = special.find(c) != std::string_view::npos;
        EXPECT_EQ(rexpand_lexer_classify(lexer, 0),
                  is_special ? static_cast<uint32_t>(byte) : 255U);
        EXPECT_EQ(rexpand_lexer_byte(lexer, 0), byte);
    }
}

TEST(rexpand_lexer, looks_ahead_and_yields_0_past_the_end)
{
    rexpand_token_list_t lexer{"a(b"};
    EXPECT_EQ(rexpand_lexer_classify(lexer, 1), static_cast<uint32_t>('('));
    EXPECT_EQ(rexpand_lexer_classify(lexer, 2), 255U);
    EXPECT_EQ(rexpand_lexer_classify(lexer, 3), 0U);
    rexpand_lexer_eat(lexer, 2);
    EXPECT_EQ(rexpand_lexer_classify(lexer, 0), 255U);
    EXPECT_EQ(rexpand_lexer_classify(lexer, 1), 0U);
    EXPECT_EQ(rexpand_lexer_classify(lexer, SIZE_MAX), 0U);
    rexpand_lexer_eat(lexer, 9);
    EXPECT_EQ(lexer.offset, 3U);
    EXPECT_EQ(rexpand_lexer_byte(lexer, 0), -1);
}

TEST(rexpand_parse, words)
{
    EXPECT_EQ(parse("abc"), "seq(word(abc))");
    EXPECT_EQ(parse("a-b"), "seq(word(a-b))");
    EXPECT_EQ(parse("-"), "seq(word(-))");
    EXPECT_EQ(parse(std::string_view("a\0b", 3)), std::string("seq(word(a\0b))", 14));
    EXPECT_EQ(parse("\xFF\xFE"), "seq(word(\xFF\xFE))");
}

TEST(rexpand_parse, a_postfix_binds_one_byte)
{
    EXPECT_EQ(parse("ab*"), "seq(word(a) star(word(b)))");
    EXPECT_EQ(parse("a*"), "seq(star(word(a)))");
    EXPECT_EQ(parse("abc+d"), "seq(word(ab) plus(word(c)) word(d))");
    EXPECT_EQ(parse("a-?"), "seq(word(a) opt(word(-)))");
    EXPECT_EQ(parse("(ab)*"), "seq(star(group(seq(word(ab)))))");
    EXPECT_EQ(parse("[ab]+"), "seq(plus(class(word(a) word(b))))");
    EXPECT_EQ(parse(".?"), "seq(opt(any))");
    EXPECT_EQ(parse("\\d*"), "seq(star(d))");
    EXPECT_EQ(parse("\\[a\\]?"), "seq(opt(nocase(seq(word(a)))))");
}

TEST(rexpand_parse, anchors_stand_at_both_ends_only)
{
    EXPECT_EQ(parse("^a$"), "bol seq(word(a)) eol");
    EXPECT_EQ(parse("^"), "bol seq");
    EXPECT_EQ(parse("$"), "seq eol");
    EXPECT_EQ(parse("^$"), "bol seq eol");
    EXPECT_EQ(parse("^a|b$"), "bol alt(seq(word(a)) seq(word(b))) eol");
    for (const char *text :
         {"a^b", "^^a", "a$b", "a$$", "(^a)", "(a$)", "a|^b", "a$|b", "\\[a$\\]"})
        expect_invalid(text);
}

TEST(rexpand_parse, alternatives_and_groups)
{
    EXPECT_EQ(parse("a|b|c"), "alt(seq(word(a)) seq(word(b)) seq(word(c)))");
    EXPECT_EQ(parse("|"), "alt(seq seq)");
    EXPECT_EQ(parse("a||"), "alt(seq(word(a)) seq seq)");
    EXPECT_EQ(parse("()"), "seq(group(seq))");
    EXPECT_EQ(parse("(|a)b"), "seq(group(alt(seq seq(word(a)))) word(b))");
    EXPECT_EQ(parse("((a)(b))"), "seq(group(seq(group(seq(word(a))) group(seq(word(b))))))");
    for (const char *text : {"(", ")", "a)", "(a", "(a))", "(a|", "(a\\]", "((a)"})
        expect_invalid(text);
}

TEST(rexpand_parse, an_element_starts_with_no_other_special_byte)
{
    for (const char *text : {"*", "+", "?", "]", "a]", "a**", "a*?", "a|*", "(*a)", "(?a)", ".*+"})
        expect_invalid(text);
}

TEST(rexpand_parse, an_empty_expression_is_none)
{
    expect_invalid("");
    expect_invalid({});
}

TEST(rexpand_parse, case_insensitive_groups)
{
    EXPECT_EQ(parse("a\\[b|c\\]d"), "seq(word(a) nocase(alt(seq(word(b)) seq(word(c)))) word(d))");
    EXPECT_EQ(parse("\\[\\]"), "seq(nocase(seq))");
    EXPECT_EQ(parse("\\[\\[a\\]\\]"), "seq(nocase(seq(nocase(seq(word(a))))))");
    EXPECT_EQ(parse("\\[(a)\\]"), "seq(nocase(seq(group(seq(word(a))))))");
    for (const char *text : {"\\[", "\\[a", "\\[a)", "\\[a]", "a\\]", "\\]", "(\\[a)\\]"})
        expect_invalid(text);
}

TEST(rexpand_parse, classes)
{
    EXPECT_EQ(parse("[ab]"), "seq(class(word(a) word(b)))");
    EXPECT_EQ(parse("[^ab]"), "seq(not-class(word(a) word(b)))");
    EXPECT_EQ(parse("[]"), "seq(class)");
    EXPECT_EQ(parse("[^]"), "seq(not-class)");
    EXPECT_EQ(parse("[a^]"), "seq(class(word(a) word(^)))");
    EXPECT_EQ(parse("[.*(|)$?+[]"), "seq(class(word(.) word(*) word(() word(|) word()) word($) "
                                    "word(?) word(+) word([)))");
    EXPECT_EQ(parse("[\\]\\\\]"), "seq(class(word(]) word(\\)))");
    EXPECT_EQ(parse("[\\d\\s\\w]"), "seq(class(d s w))");
    EXPECT_EQ(parse("[\\[a\\]b]"), "seq(class(nocase(seq(word(a))) word(b)))");
    for (const char *text :
         {"[", "[^", "[a", "[a-", "[a-z", "[\\", "[\\]", "[\\[a]", "[]]", "[\\08]"})
        expect_invalid(text);
}

TEST(rexpand_parse, ranges)
{
    EXPECT_EQ(parse("[a-c]"), "seq(class(range(word(a) word(c))))");
    EXPECT_EQ(parse("[a-c-e]"), "seq(class(range(word(a) word(c)) word(-) word(e)))");
    EXPECT_EQ(parse("[a-]"), "seq(class(word(a) word(-)))");
    EXPECT_EQ(parse("[-a]"), "seq(class(word(-) word(a)))");
    EXPECT_EQ(parse("[--a]"), "seq(class(range(word(-) word(a))))");
    EXPECT_EQ(parse("[a--]"), "seq(class(range(word(a) word(-))))");
    EXPECT_EQ(parse("[-]"), "seq(class(word(-)))");
    EXPECT_EQ(parse("[\\x41-\\x43]"), "seq(class(range(number(A) number(C))))");
    EXPECT_EQ(parse("[a-\\]]"), "seq(class(range(word(a) word(]))))");
    EXPECT_EQ(parse("[\\d-z]"), "seq(class(range(d word(z))))");
    EXPECT_EQ(parse("[a-\\[b\\]]"), "seq(class(range(word(a) nocase(seq(word(b))))))");
}

TEST(rexpand_parse, escapes_of_kinds_and_bytes)
{
    EXPECT_EQ(parse("\\d\\s\\w"), "seq(d s w)");
    EXPECT_EQ(parse("\\f\\n\\r\\t\\v"), "seq(word(\f) word(\n) word(\r) word(\t) word(\v))");
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        if (std::string_view("0[]dfnrstvwx").find(c) != std::string_view::npos)
            continue;
        const std::string text = {'\\', c};
        EXPECT_EQ(parse(text), std::string("seq(word(") + c + "))") << byte;
    }
    EXPECT_EQ(parse("a\\.b"), "seq(word(a) word(.) word(b))");
    EXPECT_EQ(parse("a\\.*"), "seq(word(a) star(word(.)))");
    expect_invalid("\\");
    expect_invalid("a\\");
}

TEST(rexpand_parse, octal_bytes)
{
    EXPECT_EQ(parse("\\0101"), "seq(number(A))");
    EXPECT_EQ(parse("\\01012"), "seq(number(A) word(2))");
    EXPECT_EQ(parse("\\07"), "seq(number(\a))");
    EXPECT_EQ(parse("\\0418"), "seq(number(!) word(8))");
    EXPECT_EQ(parse("\\0777"), "seq(number(\xFF))");
    EXPECT_EQ(parse("\\0000"), std::string("seq(number(\0))", 14));
    expect_invalid("\\0");
    expect_invalid("\\08");
    expect_invalid("\\0a");
}

TEST(rexpand_parse, hexadecimal_bytes)
{
    EXPECT_EQ(parse("\\x41"), "seq(number(A))");
    EXPECT_EQ(parse("\\x4a\\x4B"), "seq(number(J) number(K))");
    EXPECT_EQ(parse("\\x41 42\\x"), "seq(seq(number(A) number(B)))");
    EXPECT_EQ(parse("\\x4142\\x"), "seq(seq(number(A) number(B)))");
    EXPECT_EQ(parse("\\x 41\t4243\f44\\x"), "seq(seq(number(A) number(B) number(C) number(D)))");
    EXPECT_EQ(parse("\\x\r41\v"), "seq(number(A))");
    EXPECT_EQ(parse("\\x41 z"), "seq(number(A) word(z))") << "the blank belongs to the pair";
    EXPECT_EQ(parse("\\x41  z"), "seq(number(A) word( z))") << "one blank only";
    EXPECT_EQ(parse("\\x41\nz"), "seq(number(A) word(\nz))") << "a line feed is no blank";
    EXPECT_EQ(parse("\\x41*"), "seq(star(number(A)))");
    EXPECT_EQ(parse("\\x41\\x*"), "seq(star(number(A)))");
    EXPECT_EQ(parse("\\x4142\\x*"), "seq(star(seq(number(A) number(B))))");
    EXPECT_EQ(parse("\\x41\\d"), "seq(number(A) d)");
}

TEST(rexpand_parse, hexadecimal_failures)
{
    for (const char *text :
         {"\\x", "\\xg", "\\x4", "\\x4g", "\\x41c", "\\x41 4", "\\x4142", "\\x41 42", "\\x41 42z",
          "\\x41 42\\d", "\\x  41", "\\x\n41", "\\x\\x", "\\x*", "\\x41 42\\"})
        expect_invalid(text);
}

TEST(rexpand_parse, a_following_hexadecimal_escape_ends_the_run_or_starts_the_next)
{
    EXPECT_EQ(parse("\\x41\\x"), "seq(number(A))");
    EXPECT_EQ(parse("\\x41\\xz"), "seq(number(A) word(z))");
    EXPECT_EQ(parse("\\x41\\x4"), "seq(number(A) word(4))");
    EXPECT_EQ(parse("\\x41\\x4z"), "seq(number(A) word(4z))");
    EXPECT_EQ(parse("\\x41\\x 42"), "seq(number(A) word( 42))");
    EXPECT_EQ(parse("\\x41\\x42"), "seq(number(A) number(B))");
    EXPECT_EQ(parse("\\x4142\\x43"), "seq(seq(number(A) number(B)) number(C))");
    EXPECT_EQ(parse("\\x4142\\x4344\\x"), "seq(seq(number(A) number(B)) seq(number(C) number(D)))");
    EXPECT_EQ(parse("[\\x41\\x-\\x43]"), "seq(class(range(number(A) number(C))))");
}

// The first and the last of the digits, of the small and of the capital letters, in either place,
// and the bytes beside them.
TEST(rexpand_parse, hexadecimal_digits_end_where_they_end)
{
    const std::string digits = "0123456789abcdefABCDEF";
    const std::vector<int> values = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10,
                                     11, 12, 13, 14, 15, 10, 11, 12, 13, 14, 15};
    for (int byte = 1; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const size_t at = digits.find(c);
        const std::string high = parse(std::string("\\x") + c + "0");
        const std::string low = parse(std::string("\\x4") + c);
        if (at == std::string::npos) {
            EXPECT_NE(high.substr(0, 11), "seq(number(") << byte;
            EXPECT_NE(low.substr(0, 11), "seq(number(") << byte;
            continue;
        }
        EXPECT_EQ(high, "seq(number(" + std::string(1, static_cast<char>(values[at] * 16)) + "))");
        EXPECT_EQ(low, "seq(number(" + std::string(1, static_cast<char>(64 + values[at])) + "))");
    }
}

TEST(rexpand_parse, forgets_what_a_used_tree_holds)
{
    rexpand_tree tree;
    ASSERT_EQ(rexpand_parse("^a(b|c)[d-e]*\\x41$", &tree), 0);
    ASSERT_EQ(rexpand_parse("xy", &tree), 0);
    EXPECT_EQ(rexpand_show(tree, tree.root), "seq(seq(word(xy)))");
    EXPECT_EQ(tree.nodes.size(), 3U);
    EXPECT_EQ(tree.text, "xy");
    EXPECT_EQ(rexpand_parse("(", &tree), MODULE_ERR_INVALID);
    EXPECT_TRUE(tree.nodes.empty());
    EXPECT_EQ(tree.root, REXPAND_NO_NODE);
}

TEST(rexpand_parse, reports_missing_memory)
{
    const std::string text = "^a(b|c\\[d\\])[e-f\\x41]*$";
    failing_alloc_sweep(
        [&] {
            rexpand_tree tree;
            return rexpand_parse(text, &tree);
        },
        [](int code) { EXPECT_EQ(code, MODULE_ERR_NO_MEMORY); });
}

TEST(rexpand_parse, refuses_more_than_its_indexes_can_name)
{
    rexpand_tree tree;
    const std::string_view endless("a", size_t{1} << 31); // of which nothing is read
    EXPECT_EQ(rexpand_parse(endless, &tree), MODULE_ERR_NO_MEMORY);
    EXPECT_TRUE(tree.nodes.empty());
}

} // namespace
