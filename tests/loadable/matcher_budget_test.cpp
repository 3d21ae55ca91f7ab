/// The limit of a matcher: what its values may take, and how many bytes of them it reads.
#include "matcher_fixture.h"

namespace
{

matcher_desc_t with_limit(matcher_desc_t desc, uint64_t limit)
{
    desc.max_bytes = limit;
    return desc;
}

std::string refusal(uint64_t limit)
{
    return OUTCOME_OVERFLOW ": values expand to more than " + std::to_string(limit) + " bytes\n";
}

TEST(matcher_budget, every_registration_costs_64_bytes_and_those_of_its_value)
{
    const matcher_desc_t number_desc = [] {
        matcher_desc_t desc;
        desc.start_item_id = 1;
        return desc;
    }();
    matcher_run_t run(with_limit(number_desc, 128), MATCHER_TYPE_NUMBER_16);
    EXPECT_EQ(run.add_range(1, 60000), "0");
    EXPECT_EQ(run.add_range(5, 5), "0");
    EXPECT_EQ(run.add_range(6, 6), refusal(128));
}

TEST(matcher_budget, pieces_are_read_as_well)
{
    // 64 and the four bytes of the value, then the four of its one piece. In the end there are
    // seven states: the start states of three engines, and four in the tree of suffixes.
    matcher_run_t enough(with_limit(stream_desc(), 7 * 64));
    EXPECT_EQ(enough.add("word"), "0");
    matcher_run_t one_less(with_limit(stream_desc(), 7 * 64 - 1));
    EXPECT_EQ(one_less.add("word"), refusal(7 * 64 - 1));
    for (const uint64_t limit : {64 + 4, 64 + 4 + 3}) {
        matcher_run_t no_piece(with_limit(stream_desc(), limit));
        EXPECT_EQ(no_piece.add("word"), refusal(limit));
    }
    matcher_run_t not_read(with_limit(stream_desc(), 64 + 3));
    EXPECT_EQ(not_read.add("word"), refusal(64 + 3));
    EXPECT_EQ(not_read.entries(), "");
}

TEST(matcher_budget, states_that_patterns_share_count_once)
{
    constexpr uint64_t limit = 1000 * 64;
    const std::string text(900, 'x');
    matcher_run_t same(with_limit(stream_desc(), limit));
    for (char c = 'a'; c <= 'z'; ++c) // complete values are read from their end
        EXPECT_EQ(same.add(c + text), "0");
    matcher_run_t other(with_limit(stream_desc(), limit));
    EXPECT_EQ(other.add(text + 'a'), "0");
    EXPECT_EQ(other.add(text + 'b'), refusal(limit));
}

TEST(matcher_budget, is_a_gigabyte_where_nothing_else_is_said)
{
    EXPECT_EQ(matcher_desc_t{}.max_bytes, 1ULL << 30);
}

/// A pdb that uses one text of 30,000 letters in `times` rules.
pdb_model model_of_uses(uint32_t times)
{
    const std::string text(30000, 'x');
    std::vector<rule_model> rules;
    for (uint32_t i = 0; i < times; ++i)
        rules.push_back(simple_rule("http", {stream_attr("uri_decoded", {text})}));
    return {{protocol_of(1, "web", rules)}, {}};
}

TEST(matcher_budget, a_text_may_be_used_over_and_over)
{
    EXPECT_EQ(compile(model_of_uses(1000)).outcome, "0");
}

// Of the 32 permutations of a value, those of one value at a time are in memory.
TEST(matcher_budget, a_thousand_values_of_many_permutations_are_taken)
{
    const std::string value = "(a|b)(a|b)(a|b)(a|b)(a|b)" + std::string(900, 'x');
    const rule_model rule = simple_rule("http", {stream_attr("uri_decoded", {value})});
    const pdb_model model = {{protocol_of(1, "web", std::vector<rule_model>(1000, rule))}, {}};
    EXPECT_EQ(compile(model).outcome, "0");
}

TEST(matcher_budget, a_value_of_many_nested_groups_is_taken)
{
    const std::string value = std::string(26000, '(') + "a" + std::string(26000, ')');
    const rule_model rule = simple_rule("http", {stream_attr("uri_decoded", {value})});
    EXPECT_EQ(compile({{protocol_of(1, "web", {rule})}, {}}).outcome, "0");
}

// A value is a word of the file, and all values are filed under the long name.
TEST(matcher_budget, long_names_are_refused_before_they_are_filed)
{
    const std::string name(60000, 'x');
    attr_model attr = number_attr(name, std::vector<std::string>(18000, "80"));
    const compiled_t compiled = compile(pdb_model{
        {protocol_of(1, "web", {simple_rule("tcp", {attr})}), protocol_of(2, "next", {})}, {}});
    EXPECT_EQ(compiled.outcome, refusal(1ULL << 30));
    EXPECT_EQ(compiled.diagnostics,
              "[ERROR  ][#][pdb_builder_serialize] pdb_builder: matcher register.\n");
}

// A value of nothing but commas has no parts, and still has to be looked through.
TEST(matcher_budget, values_without_parts_are_read)
{
    const std::string commas(60000, ',');
    const attr_model attr = number_attr("port", std::vector<std::string>(100, commas));
    EXPECT_EQ(compile(pdb_model{{protocol_of(1, "web", {simple_rule("tcp", {attr})})}, {}}).outcome,
              "0");
}

} // namespace
