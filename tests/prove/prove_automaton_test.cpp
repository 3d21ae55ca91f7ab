/// The positions of an expression, against the slow model of expressions.
#include "bytes.h"
#include "expression_match.h"
#include "prove_automaton.h"
#include "prove_sample.h"
#include "random_expression.h"
#include "rounds.h"

#include <gtest/gtest.h>

#include <set>

namespace
{

/// Follows all ways at once.
bool takes(const prove_automaton_t &automaton, const std::string &data)
{
    if (data.empty())
        return automaton.takes_nothing;
    std::set<uint32_t> next(automaton.first.begin(), automaton.first.end());
    bool ends = false;
    for (const char c : data) {
        std::set<uint32_t> here;
        here.swap(next);
        ends = false;
        for (const uint32_t at : here) {
            if (!prove_set_has(automaton.sets[at], static_cast<uint8_t>(c)))
                continue;
            ends = ends || automaton.is_last[at] != 0;
            const auto followers = prove_followers(automaton, at);
            next.insert(followers.begin(), followers.end());
        }
    }
    return ends;
}

std::string any_data(random_expression_t &random)
{
    std::string data;
    for (uint32_t i = random.below(8); i != 0; --i)
        data += "aabbcABd-.0_ \n"[random.below(14)];
    return data;
}

TEST(prove_automaton, takes_what_the_expression_describes)
{
    random_expression_t random{std::mt19937(1)};
    uint32_t taken = 0;
    for (uint32_t round = 0; round < rounds(2000); ++round) {
        const std::string text = make_expression(random);
        const bool icase = random.one_in(2);
        expression_t expression;
        prove_automaton_t automaton;
        std::string error;
        ASSERT_EQ(prove_automaton_make(text, icase, automaton) != PROVE_NO_EXPRESSION,
                  expression_open(text, icase, expression, error));
        if (!error.empty())
            continue;
        for (uint32_t i = 0; i < 20; ++i) {
            const std::string data =
                random.one_in(2) ? any_data(random) : make_described(random, text, icase);
            const bool described = expression_match(expression, text_bytes(data));
            ASSERT_FALSE(automaton.is_partial) << text;
            ASSERT_EQ(takes(automaton, data), described) << text << " and " << data;
            taken += described;
        }
    }
    EXPECT_GT(taken, rounds(12000));
}

/// Hands all data of up to three of some bytes to `take`.
template <typename Take>
void each_data(const Take &take)
{
    const std::string bytes = "AB C^$ab";
    take(std::string());
    for (const char one : bytes) {
        take(std::string(1, one));
        for (const char two : bytes) {
            take(std::string{one, two});
            for (const char three : bytes)
                take(std::string{one, two, three});
        }
    }
}

// Members of several bytes, parts without a byte, anchors: what random expressions seldom have.
TEST(prove_automaton, rare_forms_take_what_they_describe)
{
    for (const char *text : {"[\\x41 42\\x]", "[C\\x41 42\\x]", "[^\\x41 42\\x]",
                             "[^C\\x41 42\\x]b", "([\\x41 42\\xb]C)*", "^a$", "(a|b)*(A|B)?",
                             "[^\\x00\\x-\\xff\\x]", "a(b?C?)*", "(a?)(b?)", "(a*)*"}) {
        expression_t expression;
        prove_automaton_t automaton;
        std::string error;
        ASSERT_EQ(prove_automaton_make(text, false, automaton), PROVE_MADE) << text;
        ASSERT_TRUE(expression_open(text, false, expression, error)) << text << error;
        each_data([&](const std::string &data) {
            EXPECT_EQ(takes(automaton, data), expression_match(expression, text_bytes(data)))
                << text << " and " << data;
        });
    }
}

TEST(prove_automaton, a_class_of_single_bytes_is_one_position)
{
    const auto positions = [](const std::string &text) {
        prove_automaton_t automaton;
        EXPECT_EQ(prove_automaton_make(text, false, automaton), PROVE_MADE) << text;
        return automaton.sets.size();
    };
    for (const char *text : {".", "\\d", "[\\d]", "[\\d.]", "[\\w-]", "[\\s,]", "[a-c1]", "[^\\d]"})
        EXPECT_EQ(positions(text), 1U) << text;
    EXPECT_EQ(positions("[\\da][\\wb]"), 2U);
}

TEST(prove_automaton, refuses_what_is_none_and_leaves_out_what_is_too_much)
{
    prove_automaton_t automaton;
    EXPECT_EQ(prove_automaton_make("(a", false, automaton), PROVE_NO_EXPRESSION);
    EXPECT_EQ(prove_automaton_make("", false, automaton), PROVE_NO_EXPRESSION);
    const std::string open(PROVE_DEPTH_MAX, '(');
    const std::string closed(PROVE_DEPTH_MAX, ')');
    EXPECT_EQ(prove_automaton_make(open + "a" + closed, false, automaton), PROVE_TOO_DEEP);
    std::string choices = "a";
    std::string repeated = "a";
    for (uint32_t i = 0; i < PROVE_DEPTH_MAX; ++i) {
        choices = "(" + choices + "|b)";
        repeated = "(" + repeated + ")*";
    }
    EXPECT_EQ(prove_automaton_make(choices, false, automaton), PROVE_TOO_DEEP);
    EXPECT_EQ(prove_automaton_make(repeated, false, automaton), PROVE_TOO_DEEP);
    // The ends of a range must be single bytes; no byte is in one of others.
    for (const char *text : {"[\\x41 42\\x-\\x43\\x]", "[\\x41\\x-\\x42 43\\x]"})
        if (prove_automaton_make(text, false, automaton) == PROVE_MADE) {
            EXPECT_TRUE(prove_samples(automaton).empty()) << text;
        }
    // Nor does anything go on over such a class.
    EXPECT_EQ(prove_automaton_make("b[\\x41 42\\x-\\x43\\x]c", false, automaton), PROVE_MADE);
    EXPECT_FALSE(takes(automaton, "bc"));
    EXPECT_TRUE(prove_samples(automaton).empty());
    std::string optional;
    for (uint32_t i = 0; i < 20000; ++i)
        optional += "a?";
    EXPECT_EQ(prove_automaton_make(optional, false, automaton), PROVE_MADE);
    EXPECT_TRUE(automaton.is_partial);
    EXPECT_FALSE(prove_samples(automaton).empty());
}

TEST(prove_sample, of_a_plain_text_are_the_ends_of_its_sets)
{
    using samples_t = std::vector<std::string>;
    const auto samples = [](std::string_view text, bool icase) {
        prove_automaton_t automaton;
        EXPECT_EQ(prove_automaton_make(text, icase, automaton), PROVE_MADE);
        return prove_samples(automaton);
    };
    EXPECT_EQ(samples("a1", false), samples_t({"a1"}));
    EXPECT_EQ(samples("a1", true), samples_t({"A1", "a1"}));
    EXPECT_EQ(samples("a[b-d]", false), samples_t({"ab", "ad", "ab"}));
    EXPECT_EQ(samples("a.", false), samples_t({std::string("a\0", 2), "a\xff", "ax"}));
}

std::set<std::string> samples(const char *text, bool icase = false)
{
    prove_automaton_t automaton;
    EXPECT_EQ(prove_automaton_make(text, icase, automaton), PROVE_MADE);
    const std::vector<std::string> made = prove_samples(automaton);
    return {made.begin(), made.end()};
}

TEST(prove_sample, every_branch_and_every_repetition)
{
    EXPECT_EQ(samples("ab|cd"), (std::set<std::string>{"ab", "cd"}));
    EXPECT_EQ(samples("ab?c"), (std::set<std::string>{"abc", "ac"}));
    const std::set<std::string> repeated = samples("ab*c");
    EXPECT_TRUE(repeated.contains("ac"));
    EXPECT_TRUE(repeated.contains("abc"));
    EXPECT_TRUE(repeated.contains("abbc")) << testing::PrintToString(repeated);
    const std::set<std::string> open = samples("(.*\\.)?org");
    EXPECT_TRUE(open.contains("org"));
    EXPECT_TRUE(open.contains(".org"));
    EXPECT_GT(open.size(), 3U);
}

TEST(prove_sample, every_step_between_many_choices)
{
    const std::string letters = "abcdefghijklmnop";
    std::string choices;
    for (const char c : letters)
        choices += (choices.empty() ? "" : "|") + std::string(1, c);
    std::set<std::string> steps;
    for (const std::string &sample : samples(("(" + choices + ")*").c_str()))
        for (size_t i = 0; i + 1 < sample.size(); ++i)
            steps.insert(sample.substr(i, 2));
    EXPECT_EQ(steps.size(), letters.size() * letters.size());
    // What leads to no data is no part of any.
    EXPECT_EQ(samples("a([^\\x00\\x-\\xff\\x]b|c)?"), (std::set<std::string>{"a", "ac"}));
    for (const std::string &sample : samples("(a|[^\\x00\\x-\\xff\\x]b|c)*"))
        EXPECT_EQ(sample.find('b'), sample.npos) << sample;
}

TEST(prove_sample, ends_of_classes_and_both_cases)
{
    const std::set<std::string> made = samples("[b-y]");
    EXPECT_TRUE(made.contains("b"));
    EXPECT_TRUE(made.contains("y"));
    EXPECT_EQ(samples("k", true), (std::set<std::string>{"K", "k"}));
}

TEST(prove_sample, every_sample_is_described)
{
    random_expression_t random{std::mt19937(2)};
    for (uint32_t round = 0; round < rounds(2000); ++round) {
        const std::string text = make_expression(random);
        const bool icase = random.one_in(2);
        expression_t expression;
        prove_automaton_t automaton;
        std::string error;
        if (prove_automaton_make(text, icase, automaton) != PROVE_MADE)
            continue;
        ASSERT_TRUE(expression_open(text, icase, expression, error));
        for (const std::string &sample : prove_samples(automaton))
            ASSERT_TRUE(expression_match(expression, text_bytes(sample))) << text << ": " << sample;
    }
}

} // namespace
