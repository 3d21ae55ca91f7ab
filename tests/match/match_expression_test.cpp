/// Compiled expressions against the model's tree walk.
#include "expression_match.h"
#include "match_expression.h"
#include "random_pdb.h"
#include "rounds.h"

#include <gtest/gtest.h>

namespace
{

std::span<const uint8_t> bytes_of(const std::string &text)
{
    return {reinterpret_cast<const uint8_t *>(text.data()), text.size()};
}

/// A compiled expression and room to run it.
struct runnable_t {
    match_expression_t expression;
    match_expression_room_t room;
    bool compiled;

    runnable_t(const std::string &text, bool icase)
        : compiled(match_expression_compile(text, icase, expression))
    {
        match_expression_reserve(expression, room);
    }
    bool matches(const std::string &data)
    {
        return match_expression_run(expression, bytes_of(data), room);
    }
};

bool matches(const std::string &text, const std::string &data, bool icase = false)
{
    runnable_t runnable(text, icase);
    EXPECT_TRUE(runnable.compiled) << text;
    return runnable.matches(data);
}

TEST(match_expression, whole_data_matches)
{
    EXPECT_TRUE(matches("abc", "abc"));
    EXPECT_FALSE(matches("abc", "abcd"));
    EXPECT_FALSE(matches("abc", "ab"));
    EXPECT_TRUE(matches("a.*", "a"));
    EXPECT_TRUE(matches("a(b|cd)*e", "abcdbe"));
    EXPECT_FALSE(matches("a(b|cd)*e", "abce"));
    EXPECT_TRUE(matches("^a$", "^a$"));
    EXPECT_TRUE(matches("[^a-c]", "d"));
    EXPECT_FALSE(matches("[^a-c]", "b"));
    EXPECT_TRUE(matches("\\d\\w\\s", "1_ "));
    EXPECT_TRUE(matches(".*", ""));
    EXPECT_FALSE(matches(".+", ""));
}

/// Flows allocate nothing while they look at data, whatever is in it.
TEST(match_expression, room_that_was_taken_suffices)
{
    std::string text = "(";
    for (int i = 0; i < 100; ++i)
        text += "a*|";
    runnable_t runnable(text + "b)*c", false);
    ASSERT_TRUE(runnable.compiled);
    ASSERT_FALSE(runnable.expression.is_short);
    const match_expression_room_t &room = runnable.room;
    const auto taken = [&] {
        return std::vector<size_t>{room.current.capacity(), room.next.capacity(),
                                   room.stack.capacity(), room.mark.capacity()};
    };
    const std::vector<size_t> before = taken();
    EXPECT_TRUE(runnable.matches("aaabaabc"));
    EXPECT_FALSE(runnable.matches(std::string(300, 'a')));
    EXPECT_EQ(taken(), before);
}

TEST(match_expression, case_folds_where_it_is_asked_for)
{
    EXPECT_TRUE(matches("a[b-c]", "AC", true));
    EXPECT_FALSE(matches("a[b-c]", "AC"));
    EXPECT_TRUE(matches("a\\[bc\\]", "aBC"));
    EXPECT_FALSE(matches("a\\[bc\\]", "ABC"));
    EXPECT_FALSE(matches("[^a]", "A", true));
}

TEST(match_expression, members_of_a_class_may_be_more_than_bytes)
{
    EXPECT_TRUE(matches("[a\\x62 63\\x]d", "bcd")) << "two bytes that stand for themselves";
    EXPECT_FALSE(matches("[a\\x62 63\\x]d", "bd"));
    EXPECT_TRUE(matches("[\\[bc\\]a]d", "ad")) << "a byte behind them";
    EXPECT_TRUE(matches("[\\[bc\\]a]d", "BCd"));
    EXPECT_TRUE(matches("[^\\[b|cd\\]]", "a"));
    EXPECT_FALSE(matches("[^\\[b|cd\\]]", "B"));
    EXPECT_TRUE(matches("[^\\[b|cd\\]]", "c")) << "no member alone";
    EXPECT_FALSE(matches("[\\d-z]", "5")) << "a range of no bytes";
    EXPECT_FALSE(matches("[a-\\d]", "b"));
    EXPECT_FALSE(matches("[]", "a"));
    EXPECT_TRUE(matches("[^]", "a"));
}

std::string repeated(const std::string &part, size_t times)
{
    std::string text;
    for (size_t i = 0; i < times; ++i)
        text += part;
    return text;
}

TEST(match_expression, what_is_none_is_refused)
{
    for (const char *text : {"(", "*", "a)", "", "[a"})
        EXPECT_FALSE(runnable_t(text, false).compiled) << text;
    const auto nested = [](const char *open, const char *close, size_t depth) {
        return repeated(open, depth) + "a" + repeated(close, depth);
    };
    const std::pair<const char *, const char *> kinds[] = {
        {"(", ")"}, {"(", ")*"}, {"(", ")?"}, {"(b|", ")"}, {"\\[", "\\]"}, {"[b\\[", "\\]]"}};
    for (const auto &[open, close] : kinds) {
        EXPECT_FALSE(runnable_t(nested(open, close, 2000), false).compiled) << open << close;
        EXPECT_TRUE(matches(nested(open, close, 200), "a")) << open << close;
    }
    EXPECT_FALSE(runnable_t(nested("[^\\[", "\\]]", 2000), false).compiled);
    EXPECT_FALSE(matches(nested("[^\\[", "\\]]", 201), "a"));
    EXPECT_TRUE(matches(nested("[^\\[", "\\]]", 200), "a"));
}

TEST(match_expression, long_ones_are_followed_step_by_step)
{
    const std::string many(100, 'a');
    EXPECT_TRUE(matches(many, many));
    EXPECT_FALSE(matches(many, many + "a"));
    EXPECT_TRUE(matches(many + ".*", many + "bc")) << "what follows no longer matters";
    EXPECT_FALSE(matches(many + ".+", many));
    EXPECT_TRUE(matches(many + "b+", many + "bbb"));
    const std::string optional = repeated("a?", 500);
    EXPECT_TRUE(matches(optional, many));
    EXPECT_FALSE(matches(optional, std::string(501, 'a')));
    EXPECT_FALSE(matches("(" + optional + ")*b", std::string(3000, 'a')));
}

// What a run marks as entered, it marks with its number: those of old runs must not come back.
TEST(match_expression, numbers_of_rounds_may_start_again)
{
    const std::string many(100, 'a');
    runnable_t runnable(many, false);
    EXPECT_TRUE(runnable.matches(many));
    for (uint32_t left = 0; left < 3; ++left) {
        runnable.room.round = UINT32_MAX - left;
        EXPECT_TRUE(runnable.matches(many)) << left;
    }
}

TEST(match_expression, the_end_of_an_expression_may_be_open)
{
    for (const char *text : {"a.*", ".+", "a(b.*)", "(a)(.+)"})
        EXPECT_TRUE(runnable_t(text, false).expression.open_ended) << text;
    for (const char *text : {"a", "a.", ".*a", "(a.*|b.*)", "(.*)?", "a.?", "a()"})
        EXPECT_FALSE(runnable_t(text, false).expression.open_ended) << text;
}

/// A random expression of some depth: sequences, choices, sets and repetitions.
std::string random_expression(random_match_t &random, uint32_t depth)
{
    static const char *const atoms[] = {"a",  "b",    "c",    ".",      "\\w", "\\d", "\\x61",
                                        "()", "[ab]", "[^b]", "[a-b1]", "[]",  "[^]", "\\[ab\\]"};
    static const char *const classes[] = {"[^\\w]",        "[a\\x62]",       "[\\d-b]",
                                          "[^a-\\d]",      "[a\\x62 63\\x]", "[^a\\x62 63\\x]",
                                          "[b\\[a|bc\\]]", "[^b\\[a|bc\\]]"};
    std::string text;
    for (uint32_t left = 1 + random.below(4); left != 0; --left) {
        if (depth != 0 && random.one_in(3)) {
            text += "(" + random_expression(random, depth - 1);
            if (random.one_in(2))
                text += "|" + random_expression(random, depth - 1);
            text += ")";
        } else {
            text += random.one_in(3) ? classes[random.below(std::size(classes))]
                                     : atoms[random.below(std::size(atoms))];
        }
        text += std::string_view(" *+?    ").substr(random.below(8), 1);
        if (text.back() == ' ')
            text.pop_back();
    }
    return text;
}

TEST(match_expression, agrees_with_the_model_on_random_expressions)
{
    random_match_t random{std::mt19937(5)};
    uint32_t matched = 0;
    uint32_t stepped = 0;
    for (uint32_t round = 0; round < rounds(4000); ++round) {
        const std::string text = random_expression(random, round % 5 == 0 ? 4 : 2);
        const bool icase = random.one_in(3);
        runnable_t runnable(text, icase);
        expression_t model;
        std::string error;
        ASSERT_EQ(expression_open(text, icase, model, error), runnable.compiled) << text;
        if (!runnable.compiled)
            continue;
        EXPECT_EQ(expression_is_open_ended(model), runnable.expression.open_ended) << text;
        stepped += runnable.expression.is_short ? 0 : 1;
        for (uint32_t i = 0; i < 10; ++i) {
            const std::string data = random.letters(random.below(8));
            const bool expected = expression_match(model, bytes_of(data));
            ASSERT_EQ(runnable.matches(data), expected) << text << " on " << data;
            matched += expected ? 1 : 0;
        }
    }
    EXPECT_GT(matched, rounds(2500));
    EXPECT_GT(stepped, rounds(10));
}

} // namespace
