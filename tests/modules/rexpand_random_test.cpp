/// Expansions of random and of hostile expressions.
#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "rexpand_parser.h"
#include "rexpand_reference.h"
#include "rexpand_show.h"
#include "rounds.h"

namespace
{

using texts = std::vector<std::string>;

texts reference(std::string_view expression, uint32_t limit)
{
    rexpand_tree tree;
    const int code = rexpand_parse(expression, &tree);
    if (code != 0)
        return {rexpand_show_error(code)};
    rexpand_reference::expander expander(tree, limit);
    if (const int error = expander.run(); error != 0)
        return {rexpand_show_error(error)};
    texts out;
    for (const auto &permutation : expander.list)
        out.push_back(rexpand_show(permutation));
    return out;
}

// Random bytes of the grammar, most of which parse: pieces, types, flags, marks and order.
TEST(rexpand_random, agrees_with_the_reference_expander)
{
    const std::vector<std::string> parts = {
        "a",     "b",    "gh",          ".",     ".*",    "\\d",   "(",    ")",    "(",
        ")",     "|",    "*",           "+",     "?",     "?",     "[ab]", "[^a]", "[a-c]",
        "[x-z-", "]",    "[]",          "\\[",   "\\]",   "\\x41", "-",    "\\.",  "\\0101",
        "[b-a]", "[\\d", "\\x41 42\\x", "(g|h)", "(gh)?", "[ab]?", "(a.)", "g?",   "(.*a)"};
    std::mt19937 random(17);
    uint32_t parsed = 0;
    for (uint32_t round = 0; round < rounds(150000); ++round) {
        std::string text = random() % 8 == 0 ? "^" : "";
        for (size_t i = 1 + random() % 9; i > 0; --i)
            text += parts[random() % parts.size()];
        text += random() % 8 == 0 ? "$" : "";
        const uint32_t limit = random() % 3 == 0 ? 32 : static_cast<uint32_t>(random() % 10);
        const texts expected = reference(text, limit);
        parsed += expected.front() != "error -1";
        ASSERT_EQ(rexpand_show(text, limit), expected) << text << " with limit " << limit;
    }
    EXPECT_GT(parsed, rounds(30000));
}

TEST(rexpand_random, survives_any_bytes)
{
    const std::string_view alphabet("$()*+-.?[\\]^|x0a4 d\0", 20);
    std::mt19937 random(23);
    for (uint32_t round = 0; round < rounds(200000); ++round) {
        std::string text(random() % 24, ' ');
        for (char &c : text)
            c = random() % 50 == 0 ? static_cast<char>(random())
                                   : alphabet[random() % alphabet.size()];
        const auto limit = round % 40;
        ASSERT_EQ(rexpand_show(text, limit), reference(text, limit)) << text;
    }
}

/// An expression without wildcards, and its language spelled out naively.
struct spelled {
    std::string expression;
    texts language;
};

texts product(const texts &heads, const texts &tails)
{
    texts all;
    for (const std::string &head : heads)
        for (const std::string &tail : tails)
            all.push_back(head + tail);
    return all;
}

class speller
{
public:
    explicit speller(uint32_t seed) : random(seed) {}

    /// Languages stay below about a thousand members: what would grow larger is left out.
    spelled alternatives(int depth)
    {
        spelled whole = sequence(depth);
        while (whole.language.size() < 200 && chance(3)) {
            const spelled branch = sequence(depth);
            whole.expression.append("|").append(branch.expression);
            whole.language.insert(whole.language.end(), branch.language.begin(),
                                  branch.language.end());
        }
        return whole;
    }

private:
    std::mt19937 random;

    bool chance(uint32_t one_in) { return random() % one_in == 0; }

    spelled sequence(int depth)
    {
        spelled whole{"", {""}};
        for (size_t i = random() % 4; i > 0; --i) {
            const spelled next = element(depth);
            if (whole.language.size() * next.language.size() > 400)
                continue;
            whole.expression += next.expression;
            whole.language = product(whole.language, next.language);
        }
        return whole;
    }

    spelled element(int depth)
    {
        static const spelled literals[] = {
            {"g", {"g"}},
            {"\\.", {"."}},
            {"\\n", {"\n"}},
            {"\\x41\\x", {"A"}},
            {"\\0102", {"B"}},
            {"\\x4344\\x", {"CD"}},
            {"[gh]", {"g", "h"}},
            {"[i-k]", {"i", "j", "k"}},
            {"[g-hz]", {"g", "h", "z"}},
            {"[l-m-]", {"l", "m", "-"}},
            {"\\*", {"*"}},
            {"-", {"-"}},
        };
        if (depth == 0 || chance(3)) {
            if (chance(4))
                return {"ghost", {"ghost"}};
            return optional(literals[random() % std::size(literals)]);
        }
        const spelled inner = alternatives(depth - 1);
        return optional({std::string("(").append(inner.expression).append(")"), inner.language});
    }

    spelled optional(spelled one)
    {
        if (!chance(4))
            return one;
        one.expression += "?";
        one.language.insert(one.language.begin(), "");
        return one;
    }
};

TEST(rexpand_random, spells_out_the_language_of_an_expression)
{
    speller expressions(29);
    uint32_t compared = 0;
    for (uint32_t round = 0; round < dear_rounds(20000); ++round) {
        spelled one = expressions.alternatives(3);
        if (one.expression.empty())
            continue;
        rexpand_permutation_list list;
        ASSERT_EQ(rexpand_process(one.expression, 1000000, nullptr, &list), 0) << one.expression;
        texts spelled_out;
        for (const rexpand_permutation &permutation : list) {
            ASSERT_EQ(permutation.flag, REXPAND_FLAG_NONE) << one.expression;
            ASSERT_LE(permutation.patterns.size(), 1U) << one.expression;
            spelled_out.push_back(permutation.patterns.empty() ? "" : permutation.patterns[0].str);
        }
        std::sort(spelled_out.begin(), spelled_out.end());
        std::sort(one.language.begin(), one.language.end());
        ASSERT_EQ(spelled_out, one.language) << one.expression;
        ++compared;
    }
    EXPECT_GT(compared, dear_rounds(10000));
}

// With a small limit parts are left out, but what stays unmarked in one piece still spells a
// member of the language.
TEST(rexpand_random, unmarked_permutations_spell_the_language_at_any_limit)
{
    speller expressions(31);
    for (uint32_t round = 0; round < dear_rounds(20000); ++round) {
        spelled one = expressions.alternatives(3);
        if (one.expression.empty())
            continue;
        rexpand_permutation_list list;
        ASSERT_EQ(rexpand_process(one.expression, round % 40, nullptr, &list), 0);
        std::sort(one.language.begin(), one.language.end());
        for (const rexpand_permutation &permutation : list) {
            if (permutation.flag != REXPAND_FLAG_NONE || permutation.patterns.size() > 1)
                continue;
            const std::string text =
                permutation.patterns.empty() ? "" : permutation.patterns[0].str;
            ASSERT_TRUE(std::binary_search(one.language.begin(), one.language.end(), text))
                << one.expression << " gives " << text;
        }
    }
}

std::string repeat(std::string_view text, size_t times)
{
    std::string out;
    out.reserve(text.size() * times);
    while (times-- > 0)
        out += text;
    return out;
}

/// Expands a hostile expression with the usual limit and returns the number of permutations. One
/// that took other than linear time would run into the time limit of the test.
uint32_t expand(const std::string &expression, int expected = 0,
                rexpand_permutation_list *out = nullptr)
{
    EXPECT_LE(expression.size(), 65535U);
    rexpand_permutation_list list;
    uint32_t nb = 0;
    EXPECT_EQ(rexpand_process(expression, 32, &nb, &list), expected);
    EXPECT_EQ(nb, list.size());
    if (out != nullptr)
        *out = std::move(list);
    return nb;
}

TEST(rexpand_hostile, groups_as_deep_as_a_value_allows)
{
    rexpand_permutation_list list;
    EXPECT_EQ(expand(repeat("(", 32767) + "a" + repeat(")", 32767), 0, &list), 1U);
    EXPECT_EQ(rexpand_show(list[0]), "a:e");
    expand(repeat("(", 65535), MODULE_ERR_INVALID);
    expand(repeat(")", 65535), MODULE_ERR_INVALID);
    expand(std::string("a") + repeat(")", 65534), MODULE_ERR_INVALID);
    EXPECT_EQ(expand(repeat("(", 21845) + repeat(")*", 21845)), 1U);
    EXPECT_EQ(expand(repeat("(a", 16383) + repeat(")+", 16383)), 1U);
}

TEST(rexpand_hostile, case_insensitive_groups_and_classes_as_deep_as_a_value_allows)
{
    EXPECT_EQ(expand(repeat("\\[", 16383) + "a" + repeat("\\]", 16383)), 1U);
    expand(repeat("\\[", 32767), MODULE_ERR_INVALID);
    EXPECT_EQ(expand(repeat("[\\[", 10922) + repeat("\\]]", 10922)), 1U);
    expand(repeat("[\\[", 21845), MODULE_ERR_INVALID);
    EXPECT_EQ(expand(repeat("([\\[", 8000) + repeat("\\]])", 8000)), 1U);
}

TEST(rexpand_hostile, optional_groups_as_deep_as_a_value_allows)
{
    EXPECT_EQ(expand(repeat("(", 21844) + "a" + repeat(")?", 21844)), 21845U);
    rexpand_permutation_list list;
    EXPECT_EQ(expand(repeat("(a", 16383) + repeat(")?", 16383), 0, &list), 16384U);
    EXPECT_EQ(list.back().patterns[0].str, std::string(16383, 'a'));
    EXPECT_EQ(expand(repeat("(.", 16383) + repeat(")?", 16383)), 16384U);
}

TEST(rexpand_hostile, nested_alternatives)
{
    EXPECT_EQ(expand(repeat("(a|", 16383) + repeat(")", 16383)), 16384U);
    EXPECT_EQ(expand(repeat("(", 16383) + repeat("|a)", 16383)), 16384U);
    EXPECT_EQ(expand(repeat("(|.", 13106) + repeat(").", 13106)), 13107U);
    EXPECT_EQ(expand(repeat("|", 65535)), 1U);
    EXPECT_EQ(expand(std::string("(") + repeat("|", 65533) + ")"), 1U);
}

TEST(rexpand_hostile, long_sequences)
{
    EXPECT_EQ(expand(std::string(65535, 'a')), 1U);
    EXPECT_EQ(expand(repeat(".", 65535)), 1U);
    EXPECT_EQ(expand(repeat("a*", 32767)), 1U);
    EXPECT_EQ(expand(repeat("a?", 32767)), 32U);
    EXPECT_EQ(expand(repeat("[ab]", 16383)), 32U);
    EXPECT_EQ(expand(repeat("[ab].", 13107)), 32U);
    EXPECT_EQ(expand(repeat("(a|b)c", 10922)), 32U);
    EXPECT_EQ(expand(repeat("a.", 32767)), 1U);
    EXPECT_EQ(expand(std::string("[0-?][0-?]") + repeat("a.", 20000)), 256U);
}

TEST(rexpand_hostile, large_classes)
{
    EXPECT_EQ(expand(std::string("[") + std::string(65533, 'a') + "]"), 1U);
    EXPECT_EQ(expand(std::string("[^") + repeat("a-z", 21844) + "]"), 1U);
    EXPECT_EQ(expand(repeat("[0-O]", 13107)), 32U);
    EXPECT_EQ(expand(std::string("x\\x") + repeat("41", 32765) + "\\x"), 1U);
}

// Each step keeps to the limit, but steps within steps would make gigabytes of output.
TEST(rexpand_hostile, choices_that_multiply_end_for_want_of_memory)
{
    const std::string level = "([0-?][0-?]|aaaaaaaaaaaaaa";
    expand(repeat(level, 2400) + repeat(")", 2400), MODULE_ERR_NO_MEMORY);
    EXPECT_EQ(expand(std::string("[0-?][0-?]") + repeat("(a|[0-?]", 5000) + repeat(")", 5000) +
                     std::string(10000, 'a')),
              256U);
}

TEST(rexpand_hostile, a_caller_may_allow_many_permutations)
{
    const size_t letters = ROUNDS_STEP == 1 ? 4 : 3;
    rexpand_permutation_list list;
    uint32_t nb = 0;
    ASSERT_EQ(rexpand_process(repeat("[a-z]", letters), 1000000, &nb, &list), 0);
    EXPECT_EQ(nb, letters == 4 ? 26U * 26 * 26 * 26 : 26U * 26 * 26);
    ASSERT_EQ(rexpand_process(repeat("a?", 16), 0xFFFFFFFF, &nb, &list), 0);
    EXPECT_EQ(nb, 65536U);
    if (ROUNDS_STEP == 1) { // choices_that_multiply ends so, sooner
        EXPECT_EQ(rexpand_process(repeat("a?", 40), 0xFFFFFFFF, &nb, &list), MODULE_ERR_NO_MEMORY);
    }
}

} // namespace
