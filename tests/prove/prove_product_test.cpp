/// Values against their forms, without any matcher.
#include "prove_product.h"

#include <gtest/gtest.h>

#include "prove_spell.h"
#include "random_expression.h"
#include "rounds.h"

namespace
{

/// A value with its automaton and its form.
struct compared_t {
    prove_automaton_t automaton;
    prove_form_t form;
    rexpand_tree tree;

    explicit compared_t(const std::string &text, bool icase = false)
    {
        EXPECT_TRUE(prove_parse(text, tree)) << text;
        EXPECT_EQ(prove_automaton_make(text, icase, automaton), PROVE_MADE) << text;
        EXPECT_EQ(prove_form_make(tree, text.size(), icase, form), PROVE_FORMED) << text;
    }

    bool is_spelled() const { return prove_spelled(tree, form); }

    /// Replaces the form by one way of pieces.
    void set_way(const std::vector<prove_piece_t> &pieces)
    {
        form.pieces = pieces;
        form.ways = {{0, static_cast<uint32_t>(pieces.size())}};
        form.checks_all = false;
    }

    std::string lost(uint32_t min_size = 0) const
    {
        const prove_comparison_t result = prove_compare(automaton, form, min_size, 1000000);
        EXPECT_TRUE(result.is_complete);
        return result.is_lost ? result.lost : "";
    }
};

TEST(prove_form, pieces_and_places)
{
    const compared_t word("word");
    ASSERT_EQ(word.form.pieces.size(), 1U);
    EXPECT_EQ(word.form.pieces[0].place, PROVE_WHOLE);
    const compared_t two("220.*FTP.*");
    ASSERT_EQ(two.form.ways.size(), 1U);
    ASSERT_EQ(two.form.ways[0].nr, 2U);
    EXPECT_EQ(two.form.pieces[0].place, PROVE_AT_BEGIN);
    EXPECT_EQ(two.form.pieces[1].place, PROVE_ANYWHERE);
    const compared_t host("(.*\\.)?Example", true);
    ASSERT_EQ(host.form.ways.size(), 2U);
    EXPECT_EQ(host.form.pieces[0].bytes, "example");
    EXPECT_EQ(host.form.pieces[1].bytes, ".example");
    EXPECT_EQ(host.form.pieces[1].place, PROVE_AT_END);
    EXPECT_TRUE(compared_t("[^a]").form.checks_all);
}

TEST(prove_product, the_shortest_text_that_is_lost)
{
    compared_t word(".*word.*");
    EXPECT_EQ(word.lost(), "");
    word.set_way({{"word", PROVE_AT_BEGIN}});
    EXPECT_EQ(word.lost(), "xword");
    word.set_way({{"word", PROVE_AT_END}});
    EXPECT_EQ(word.lost(), "wordx");
    word.set_way({{"word", PROVE_WHOLE}});
    EXPECT_EQ(word.lost().size(), 5U);
    word.set_way({{"wo", PROVE_ANYWHERE}, {"rd", PROVE_ANYWHERE}});
    EXPECT_EQ(word.lost(), "");
    word.set_way({{"or", PROVE_ANYWHERE}, {"wo", PROVE_ANYWHERE}});
    EXPECT_EQ(word.lost(), "word");
    word.set_way({{"words", PROVE_ANYWHERE}});
    EXPECT_EQ(word.lost(), "word");
}

TEST(prove_product, pieces_end_one_behind_the_other)
{
    compared_t word("abc");
    word.set_way({{"ab", PROVE_AT_BEGIN}, {"bc", PROVE_AT_END}});
    EXPECT_EQ(word.lost(), "");
    word.set_way({{"abc", PROVE_AT_BEGIN}, {"bc", PROVE_AT_END}});
    EXPECT_EQ(word.lost(), "abc");
    word.set_way({{"b", PROVE_ANYWHERE}, {"b", PROVE_ANYWHERE}});
    EXPECT_EQ(word.lost(), "abc");
    compared_t twice("aba");
    twice.set_way({{"a", PROVE_ANYWHERE}, {"a", PROVE_ANYWHERE}});
    EXPECT_EQ(twice.lost(), "");
}

TEST(prove_product, only_data_of_the_minimum_counts)
{
    compared_t word("ab.*");
    word.set_way({{"ab", PROVE_WHOLE}});
    EXPECT_EQ(word.lost(), "abx");
    EXPECT_EQ(word.lost(5), "abxxx");
    const prove_comparison_t none = prove_compare(word.automaton, word.form, 3, 1000000);
    EXPECT_FALSE(none.is_found);
}

TEST(prove_product, ends_within_its_budget)
{
    const compared_t word(".*word.*");
    EXPECT_FALSE(prove_compare(word.automaton, word.form, 0, 3).is_complete);
    // The position of "a" and its only class take one each, a new state its three cells.
    const compared_t byte("a");
    EXPECT_FALSE(prove_compare(byte.automaton, byte.form, 0, 4).is_complete);
    EXPECT_TRUE(prove_compare(byte.automaton, byte.form, 0, 5).is_complete);
}

TEST(prove_spell, says_nothing_that_the_comparison_does_not)
{
    random_expression_t random{std::mt19937(4)};
    uint32_t spelled = 0;
    for (uint32_t round = 0; round < rounds(4000); ++round) {
        const std::string text = make_expression(random);
        const bool icase = random.one_in(2);
        prove_automaton_t automaton;
        prove_form_t form;
        rexpand_tree tree;
        if (!prove_parse(text, tree) ||
            prove_automaton_make(tree, text.size(), icase, automaton) != PROVE_MADE ||
            prove_form_make(tree, text.size(), icase, form) != PROVE_FORMED ||
            !prove_spelled(tree, form))
            continue;
        ++spelled;
        const prove_comparison_t result = prove_compare(automaton, form, 0, 100000);
        ASSERT_FALSE(result.is_lost) << text << " loses " << result.lost;
    }
    EXPECT_GT(spelled, rounds(2000));
}

TEST(prove_spell, rows_are_told_apart)
{
    for (const char *text : {"word", ".*word.*", "(.*\\.)?a\\.b", "(GET|POST) .*", "[ab]c.*"})
        EXPECT_TRUE(compared_t(text).is_spelled()) << text;
    for (const char *text : {"a[b-c].*", "\\x05\\x.*"})
        EXPECT_FALSE(compared_t(text).is_spelled()) << text;
}

TEST(prove_spell, pieces_are_found_from_the_first_byte_on)
{
    compared_t word("word");
    word.set_way({{"wo", PROVE_ANYWHERE}, {"rd", PROVE_ANYWHERE}});
    EXPECT_TRUE(word.is_spelled());
    word.set_way({{"rd", PROVE_ANYWHERE}, {"wo", PROVE_ANYWHERE}});
    EXPECT_FALSE(word.is_spelled());
}

} // namespace
