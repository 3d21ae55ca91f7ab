#include <gtest/gtest.h>

#include "failing_alloc.h"
#include "rexpand_expander.h"
#include "rexpand_show.h"

namespace
{

using shown = std::vector<std::string>;

/// An expression, the permutation limit, and the permutations that it expands to.
struct example {
    std::string_view expression;
    uint32_t limit;
    shown expected;
};

void expect_all(const std::vector<example> &examples)
{
    for (const example &one : examples)
        EXPECT_EQ(rexpand_show(one.expression, one.limit), one.expected)
            << one.expression << " with limit " << one.limit;
}

TEST(rexpand_process, literals_are_one_exact_piece)
{
    expect_all({
        {"abc", 32, {"abc:e"}},
        {"a-b", 32, {"a-b:e"}},
        {"a\\.b", 32, {"a.b:e"}},
        {"(ab)c", 32, {"abc:e"}},
        {"(a)(b)", 32, {"ab:e"}},
        {"\\x41", 32, {"A:e"}},
        {"a\\x41z", 32, {"aAz:e"}},
        {"()", 32, {""}},
        {"a()b", 32, {"ab:e"}},
    });
}

// A byte given by its number takes the type that the bytes in front of it left to the sequence,
// and no rule lifts it at the end: the piece counts as a prefix.
TEST(rexpand_process, a_number_behind_a_number_makes_a_prefix)
{
    expect_all({
        {"\\x41 42\\x", 32, {"AB:p"}},
        {"\\x41\\x42", 32, {"AB:p"}},
        {"\\x41\\x42z", 32, {"ABz:e"}},
    });
}

TEST(rexpand_process, anchors_stay_in_the_piece)
{
    expect_all({
        {"^abc", 32, {"^abc:e"}},
        {"abc$", 32, {"abc$:e"}},
        {"^abc$", 32, {"^abc$:p"}},
        {"^", 32, {"^:e"}},
        {"$", 32, {"$:e"}},
        {"^.*a", 32, {"^:p a:s"}},
    });
}

TEST(rexpand_process, a_wildcard_splits_and_marks)
{
    expect_all({
        {"ab.cd", 32, {"ab:p cd:s !"}},
        {"a.b.c", 32, {"a:p b:r c:s !"}},
        {".", 32, {"!"}},
        {".a", 32, {"a:s !"}},
        {"a.", 32, {"a:e !"}},
        {"a..b", 32, {"a:p b:s !"}},
    });
}

TEST(rexpand_process, character_classes_by_name_split_and_mark)
{
    expect_all({
        {"a\\db", 32, {"a:p b:s !"}},
        {"a\\sb", 32, {"a:p b:s !"}},
        {"a\\wb", 32, {"a:p b:s !"}},
        {"a\\d", 32, {"a:e !"}},
    });
}

TEST(rexpand_process, a_case_insensitive_group_is_not_expanded)
{
    expect_all({
        {"a\\[bc\\]d", 32, {"a:p d:s !"}},
        {"\\[a|b\\]", 1, {"!"}},
        {"\\[[c-a]\\]", 32, {"!"}},
    });
}

TEST(rexpand_process, a_repetition_is_a_piece_of_its_own)
{
    expect_all({
        {"ab*", 32, {"a:p b:r1 !"}},
        {"ab+", 32, {"a:p b:r1 !"}},
        {"ab+c", 32, {"a:p b:r1 c:s !"}},
        {"a*", 32, {"a:p1 !"}},
        {"(ab)*c", 32, {"ab:p1 c:s !"}},
        {"(a\\db)+", 32, {"a:p1 b:r1 !"}},
        {"()*", 32, {"!"}},
    });
}

TEST(rexpand_process, a_repeated_wildcard_splits_without_a_mark)
{
    expect_all({
        {".*", 32, {""}},
        {".*word.*", 32, {"word:r"}},
        {"word.*", 32, {"word:p"}},
        {".*word", 32, {"word:s"}},
        {"a.*b", 32, {"a:p b:s"}},
        {"a.+b.*c", 32, {"a:p b:r c:s"}},
        {"a(.)*b", 32, {"a:p b:s"}},
        {"(a.*)b", 32, {"a:p b:s"}},
    });
}

// A repetition that meets a wildcard's flag clears the marks of everything before it.
TEST(rexpand_process, a_wildcard_flag_lasts_until_a_repetition)
{
    expect_all({
        {"a.bc", 32, {"a:p bc:s !"}},
        {"a.bc*", 32, {"a:p b:r c:r1"}},
        {"(a.b)+", 32, {"a:p1 b:r1"}},
        {"\\da.*", 32, {"a:r"}},
        {"\\da.*b", 32, {"a:r b:s"}},
        {"a.*\\db", 32, {"a:p b:s !"}},
        {"(a.)b", 32, {"a:p b:s !"}},
        {"(a.)bc*", 32, {"a:p b:r c:r1"}},
    });
}

TEST(rexpand_process, marks_pass_from_a_group_to_what_follows)
{
    expect_all({
        {"(a\\d)b", 32, {"a:p b:s !"}},
        {"(a\\d)[bc]", 32, {"a:p b:r !", "a:p c:r !"}},
        {"((\\d))", 32, {"!"}},
    });
}

TEST(rexpand_process, an_optional_keeps_the_permutations_without_it_in_front)
{
    expect_all({
        {"ab?", 2, {"a:e", "ab:e"}},
        {"ab?c", 2, {"ac:e", "abc:e"}},
        {"a?b?", 4, {"", "a:e", "b:e", "ab:e"}},
        {"(ab)?", 2, {"", "ab:e"}},
        {"(a(b)?)?", 2, {"", "a:e", "ab:e"}},
    });
}

TEST(rexpand_process, an_optional_beyond_the_limit_is_left_out)
{
    expect_all({
        {"ab?", 1, {"a:e !"}},
        {"ab?c", 1, {"ac:e !"}},
        {"a?b?", 3, {"!", "a:e !"}},
        {"a?b?", 0, {"!"}},
    });
}

// The flag of what is optional does not leave it, only the marks that a sequence set within it.
TEST(rexpand_process, what_is_optional_marks_only_through_a_sequence)
{
    expect_all({
        {"(\\d)?a", 2, {"a:e", "a:e !"}},
        {"\\d?a", 2, {"a:e", "a:e"}},
        {"a.?b", 2, {"ab:e", "a:p b:s"}},
        {"(a|\\d)b", 2, {"ab:e", "b:s !"}},
        {"[\\da]b", 2, {"b:s", "ab:e"}},
    });
}

TEST(rexpand_process, alternatives_come_in_their_order)
{
    expect_all({
        {"(foo|bar)baz", 2, {"foobaz:e", "barbaz:e"}},
        {"a|b", 2, {"a:e", "b:e"}},
        {"|", 2, {"", ""}},
        {"(|a)b", 2, {"b:s", "ab:e"}},
        {"((a|b)|c)", 2, {"a:e", "b:e", "c:e"}},
        {"(a|(b|c))d", 3, {"ad:e", "bd:e", "cd:e"}},
        {"(a|b)(c|d)", 4, {"ac:e", "bc:e", "ad:e", "bd:e"}},
    });
}

TEST(rexpand_process, alternatives_beyond_the_limit_are_left_out)
{
    expect_all({
        {"(foo|bar)baz", 1, {"baz:s !"}},
        {"x(a|b|c)d", 2, {"xd:e !"}},
        {"x(a|b|c)d", 3, {"xad:e", "xbd:e", "xcd:e"}},
        {"(a|b)(c|d)", 3, {"a:e !", "b:e !"}},
        {"|", 1, {"!"}},
    });
}

TEST(rexpand_process, classes_spell_out_their_members)
{
    expect_all({
        {"[ab]", 2, {"a:e", "b:e"}},
        {"x[ab]y", 2, {"xay:e", "xby:e"}},
        {"[ab][cd]", 4, {"ac:p", "bc:p", "ad:p", "bd:p"}},
        {"[aa]", 2, {"a:e", "a:e"}},
        {"[]", 0, {""}},
        {"a[]b", 32, {"ab:e"}},
        {"[\\x41 42\\xc]", 2, {"AB:p", "c:e"}},
        {"[\\[a\\]b]", 2, {"", "b:e"}},
    });
}

TEST(rexpand_process, classes_beyond_the_limit_and_negated_ones_split)
{
    expect_all({
        {"x[abc]y", 2, {"x:p y:s !"}},
        {"x[abc]y", 3, {"xay:e", "xby:e", "xcy:e"}},
        {"x[^a]y", 32, {"x:p y:s !"}},
        {"x[^]y", 32, {"x:p y:s !"}},
        {"x[^c-a]y", 32, {"x:p y:s !"}},
    });
}

TEST(rexpand_process, ranges_spell_out_their_bytes)
{
    expect_all({
        {"[a-c]x", 3, {"ax:e", "bx:e", "cx:e"}},
        {"[a-a]", 1, {"a:e"}},
        {"[a-bx]", 2, {"a:e", "b:e", "x:e"}},
        {"[a-c-e]", 32, {"a:e", "b:e", "c:e", "-:e", "e:e"}},
        {"[a-]", 32, {"a:e", "-:e"}},
        {"[\\x41-\\0102]", 32, {"A:e", "B:e"}},
    });
}

TEST(rexpand_process, a_range_reaches_the_last_byte)
{
    rexpand_permutation_list list;
    uint32_t nb = 0;
    ASSERT_EQ(rexpand_process("[\\x00-\\xff]", 256, &nb, &list), 0);
    ASSERT_EQ(nb, 256U);
    for (size_t byte = 0; byte < 256; ++byte)
        EXPECT_EQ(list[byte].patterns[0].str, std::string(1, static_cast<char>(byte)));
    EXPECT_EQ(rexpand_show("[\\x00-\\xff]", 255), shown{"!"});
}

// The sum is tested, the product is made.
TEST(rexpand_process, a_range_may_exceed_the_limit)
{
    expect_all({
        {"[ab][c-d]", 3, {"ac:p", "bc:p", "ad:p", "bd:p"}},
        {"[ab][c-e]", 3, {"a:e !", "b:e !"}},
        {"x[a-c]y", 2, {"x:p y:s !"}},
    });
}

TEST(rexpand_process, refuses_ranges_that_are_none)
{
    expect_all({
        {"[c-a]", 32, {"error -13"}},
        {"[\\d-z]", 32, {"error -13"}},
        {"[a-\\w]", 32, {"error -13"}},
        {"[a-\\x41 42\\x]", 32, {"error -13"}},
        {"[\\[a\\]-z]", 32, {"error -13"}},
        {"[a-\\x20]", 32, {"error -13"}},
        {"[b-a]", 0, {"!"}}, // never looked at
    });
}

TEST(rexpand_process, refuses_syntax_errors)
{
    expect_all({
        {"", 32, {"error -1"}},
        {")", 32, {"error -1"}},
        {"a)", 32, {"error -1"}},
        {"*", 32, {"error -1"}},
        {"*a", 32, {"error -1"}},
        {"\\x4", 32, {"error -1"}},
    });
}

TEST(rexpand_process, needs_a_list_and_empties_it_on_failure)
{
    uint32_t nb = 9;
    EXPECT_EQ(rexpand_process("a", 32, &nb, nullptr), MODULE_ERR_INVALID);
    rexpand_permutation_list list(3);
    EXPECT_EQ(rexpand_process("(", 32, &nb, &list), MODULE_ERR_INVALID);
    EXPECT_EQ(nb, 0U);
    EXPECT_TRUE(list.empty());
    list.resize(3);
    EXPECT_EQ(rexpand_process("ab[c-a]", 32, &nb, &list), MODULE_ERR_RANGE);
    EXPECT_TRUE(list.empty());
    EXPECT_EQ(rexpand_process("a|b", 32, &nb, &list), 0);
    EXPECT_EQ(nb, 2U);
    EXPECT_EQ(list.size(), 2U);
    rexpand_permutation_list_destroy(&list);
    EXPECT_TRUE(list.empty());
}

TEST(rexpand_sequence, next_to_an_optional_end_an_element_is_a_suffix)
{
    expect_all({
        {".*ab?", 2, {"a:s", "ab:s"}},
        {".*ab?c", 2, {"ac:s", "abc:s"}},
    });
}

TEST(rexpand_sequence, a_leading_word_of_an_inner_sequence_is_a_prefix)
{
    expect_all({{".*(ab.c)?", 2, {"", "ab:p c:s !"}}});
}

TEST(rexpand_sequence, a_number_between_a_word_and_a_repetition_is_a_prefix)
{
    expect_all({
        {"a\\x41.*", 32, {"aA:p"}},
        {"a\\x41z*", 32, {"aA:p z:r1 !"}},
        {"a\\x41.+", 32, {"aA:p"}},
        {"(a)\\x41.*", 32, {"aA:p"}},
        {"\\x41.*", 32, {"A:e"}},     // no word in front
        {".*a\\x41.*", 32, {"aA:r"}}, // nor the beginning
    });
}

TEST(rexpand_sequence, a_final_word_or_optional_ends_the_text)
{
    expect_all({
        {"\\da", 32, {"a:s !"}},
        {"\\da?", 2, {"!", "a:s !"}},
        {"\\d(a)", 32, {"a:s !"}},
        {"\\d[ab]", 2, {"a:r !", "b:r !"}},
    });
}

TEST(rexpand_sequence, a_word_in_front_of_a_final_repetition_does_not_end_the_text)
{
    expect_all({
        {"a\\db.*", 32, {"a:p b:r"}},
        {"(ab).*", 32, {"ab:p"}},
        {"(ab|c).*", 2, {"ab:p", "c:p"}},
        {"a.*b*", 32, {"a:p b:r1 !"}},
    });
}

TEST(rexpand_expander, refuses_a_kind_outside_the_table)
{
    for (uint32_t kind : {17U, 255U, 0xFFFFFFFFU}) {
        rexpand_tree tree;
        tree.root = rexpand_ast_add(tree, kind);
        rexpand_permutation_list list(1);
        uint32_t nb = 1;
        EXPECT_EQ(rexpand_expander_visit(tree, 32, &nb, &list), MODULE_ERR_OVERFLOW);
        EXPECT_TRUE(list.empty());
        tree.root = rexpand_ast_wrap(tree, REXPAND_AST_REGEXP_NODE, tree.root);
        EXPECT_EQ(rexpand_expander_visit(tree, 32, &nb, &list), MODULE_ERR_OVERFLOW);
    }
}

TEST(rexpand_permutation, merges_types_by_the_table)
{
    const auto I = REXPAND_TYPE_INIT, P = REXPAND_TYPE_PREFIX, S = REXPAND_TYPE_SUFFIX,
               E = REXPAND_TYPE_EXACT, R = REXPAND_TYPE_REGULAR, O = REXPAND_TYPE_OFFSET;
    const rexpand_pattern_type_t all[] = {I, P, S, E, R, O};
    const rexpand_pattern_type_t expected[6][6] = {
        // I P  S  E  R  O   incoming
        {I, I, I, I, I, I}, // current: init
        {P, P, E, E, P, P}, // prefix
        {S, R, S, S, R, S}, // suffix
        {E, P, E, E, P, E}, // exact
        {R, R, S, S, R, R}, // regular
        {O, O, O, O, O, O}, // offset
    };
    for (size_t current = 0; current < 6; ++current)
        for (size_t incoming = 0; incoming < 6; ++incoming)
            EXPECT_EQ(rexpand_permutation_merge_type(all[current], all[incoming]),
                      expected[current][incoming])
                << current << " " << incoming;
}

/// A stack on which tests work piece by piece.
struct pieces {
    rexpand_permutation_stack stack;
    rexpand_budget budget;

    pieces() { rexpand_permutation_list_init(stack); }

    pieces &add(std::string_view text, rexpand_pattern_type_t type, uint32_t flag = 0)
    {
        EXPECT_EQ(rexpand_permutation_insert_pattern(stack, 0, text, flag, type, budget), 0);
        return *this;
    }

    pieces &split()
    {
        rexpand_permutation_break_pattern(stack, 0);
        return *this;
    }

    std::string finalized()
    {
        rexpand_permutation_list list;
        rexpand_permutation_list_finalize(stack, &list);
        EXPECT_EQ(list.size(), 1U);
        return rexpand_show(list.front());
    }
};

TEST(rexpand_permutation, the_last_append_gives_the_flag)
{
    EXPECT_EQ(pieces().add("a", REXPAND_TYPE_EXACT, 1).add("b", REXPAND_TYPE_EXACT).finalized(),
              "ab:e");
    EXPECT_EQ(pieces().add("a", REXPAND_TYPE_EXACT).add("b", REXPAND_TYPE_EXACT, 1).finalized(),
              "ab:e1");
}

TEST(rexpand_permutation, nothing_appended_changes_nothing)
{
    EXPECT_EQ(pieces().add("", REXPAND_TYPE_EXACT, 1).finalized(), "");
    EXPECT_EQ(pieces().add("a", REXPAND_TYPE_EXACT).add("", REXPAND_TYPE_REGULAR, 1).finalized(),
              "a:e");
    EXPECT_EQ(pieces().add("a", REXPAND_TYPE_EXACT).split().add("", REXPAND_TYPE_EXACT).finalized(),
              "a:e");
}

TEST(rexpand_permutation, an_empty_piece_is_broken_once)
{
    EXPECT_EQ(pieces().split().split().finalized(), "");
    EXPECT_EQ(pieces().split().add("a", REXPAND_TYPE_EXACT).split().split().finalized(), "a:e");
    EXPECT_EQ(pieces()
                  .add("a", REXPAND_TYPE_EXACT)
                  .split()
                  .split()
                  .add("b", REXPAND_TYPE_REGULAR)
                  .finalized(),
              "a:p b:r");
}

TEST(rexpand_permutation, finalize_settles_the_types_by_place)
{
    const rexpand_pattern_type_t types[] = {REXPAND_TYPE_PREFIX, REXPAND_TYPE_SUFFIX,
                                            REXPAND_TYPE_EXACT, REXPAND_TYPE_REGULAR};
    const char *const expected[] = {"a:p a:r a:r", "a:r a:r a:s", "a:p a:r a:s", "a:r a:r a:r"};
    const char *const alone[] = {"a:p", "a:s", "a:e", "a:r"};
    for (size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(pieces().add("a", types[i]).finalized(), alone[i]);
        EXPECT_EQ(pieces().add("a", types[i]).split().finalized(), alone[i]);
        EXPECT_EQ(pieces()
                      .add("a", types[i])
                      .split()
                      .add("a", types[i])
                      .split()
                      .add("a", types[i])
                      .split()
                      .finalized(),
                  expected[i]);
    }
}

TEST(rexpand_permutation, copies_keep_marks_and_breaks)
{
    pieces work;
    work.add("a", REXPAND_TYPE_EXACT).split();
    rexpand_permutation_mark(work.stack, 0, REXPAND_FLAG_L2_REQUIRED);
    ASSERT_EQ(rexpand_permutation_copy(work.stack, 0, 1, work.stack, work.budget), 0);
    ASSERT_EQ(
        rexpand_permutation_insert_pattern(work.stack, 1, "b", 0, REXPAND_TYPE_EXACT, work.budget),
        0);
    rexpand_permutation_list list;
    rexpand_permutation_list_finalize(work.stack, &list);
    ASSERT_EQ(list.size(), 2U);
    EXPECT_EQ(rexpand_show(list[0]), "a:e !");
    EXPECT_EQ(rexpand_show(list[1]), "a:p b:s !");
}

TEST(rexpand_permutation, refuses_to_go_beyond_its_budget)
{
    pieces work;
    work.budget.limit = 200;
    const std::string text(50, 'a');
    int code = 0;
    for (int i = 0; i < 10 && code == 0; ++i)
        code = rexpand_permutation_insert_pattern(work.stack, 0, text, 0, REXPAND_TYPE_EXACT,
                                                  work.budget);
    EXPECT_EQ(code, MODULE_ERR_NO_MEMORY);
    EXPECT_LE(work.stack.permutations[0].patterns[0].str.size(), 200U);
    EXPECT_EQ(rexpand_permutation_copy(work.stack, 0, 1, work.stack, work.budget),
              MODULE_ERR_NO_MEMORY);
}

TEST(rexpand_process, reports_missing_memory)
{
    const std::string text = "a(bbbbbbbbbbbbbbbbbbbbbbbbb|c[d-f])?x.*(yy|z)\\[q\\]";
    failing_alloc_sweep(
        [&] {
            rexpand_permutation_list list;
            return rexpand_process(text, 100, nullptr, &list);
        },
        [](int code) { EXPECT_EQ(code, MODULE_ERR_NO_MEMORY); });
}

// Whatever step of a choice or a range finds that there is no more room, the expansion is refused.
TEST(rexpand_process, is_whole_or_refused_within_any_bound)
{
    for (const char *expression :
         {"x(ab|cd|ef)y", "x[b-e]y", "[a-b][a-b]", "x(a|b(c|d))?y", "(a|(b|c)(d|e))(f|g)"}) {
        rexpand_permutation_list whole;
        ASSERT_EQ(rexpand_process(expression, 32, nullptr, &whole), 0);
        uint64_t bound = 0;
        for (int code = -1; code != 0; ++bound) {
            rexpand_permutation_list list;
            code = rexpand_process(expression, 32, nullptr, &list, bound);
            ASSERT_EQ(list.size(), code == 0 ? whole.size() : 0U) << expression << bound;
            ASSERT_TRUE(code == 0 || code == MODULE_ERR_NO_MEMORY) << expression << bound;
        }
        EXPECT_GT(bound, whole.size());
    }
}

} // namespace
