/// What a compile may expand to: the costs, and the values that go beyond.
#include "matcher_fixture.h"

namespace
{

/// A stream matcher with `limit` bytes to spend.
struct budget_run_t {
    matcher_budget_t budget;
    matcher_run_t run;

    explicit budget_run_t(uint64_t limit, const matcher_desc_t &desc = stream_desc())
        : budget{limit, 0}, run(with_budget(desc, &budget))
    {
    }

    static matcher_desc_t with_budget(matcher_desc_t desc, matcher_budget_t *budget)
    {
        desc.budget = budget;
        return desc;
    }
};

TEST(matcher_budget, a_value_costs_its_bytes_and_those_of_its_pieces)
{
    budget_run_t plain(1000);
    EXPECT_EQ(plain.run.add("word"), "0");
    EXPECT_EQ(plain.budget.used, (4 + 4U) + 4 + (4 + 4)); // value, permutation, piece
    budget_run_t two(1000);
    EXPECT_EQ(two.run.add(".*(ab|cde).*"), "0");
    EXPECT_EQ(two.budget.used, (4 + 12U) + 2 * 4 + (4 + 2) + (4 + 3));
    budget_run_t offset(1000, offset_desc());
    offset.run.info.mindata = 100;
    EXPECT_EQ(offset.run.add("a\\x41", 3), "0");
    EXPECT_EQ(offset.budget.used, 4 + 5U);
}

TEST(matcher_budget, a_number_costs_little)
{
    matcher_budget_t budget = {8, 0};
    matcher_desc_t desc;
    desc.start_item_id = 1;
    desc.budget = &budget;
    matcher_run_t run(desc, MATCHER_TYPE_NUMBER_16);
    EXPECT_EQ(run.add_range(1, 60000), "0");
    EXPECT_EQ(run.add_range(5, 5), "0");
    EXPECT_EQ(run.add_range(6, 6), "100: values expand to more than 8 bytes\n");
}

TEST(matcher_budget, is_spent_to_the_last_byte)
{
    budget_run_t enough(20);
    EXPECT_EQ(enough.run.add("word"), "0");
    EXPECT_EQ(enough.run.add("x"), "100: values expand to more than 20 bytes\n");
    budget_run_t one_less(19);
    EXPECT_EQ(one_less.run.add("word"), "100: values expand to more than 19 bytes\n");
    EXPECT_EQ(one_less.run.entries(), "");
}

TEST(matcher_budget, there_is_none_for_a_matcher_on_its_own)
{
    const std::string text(60000, 'x');
    matcher_run_t run(stream_desc());
    EXPECT_EQ(run.add(text), "0");
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

// 16 MiB, and 32 bytes for each of the descriptions. A use costs three times the text: the value is
// cut into parts, registered, and expanded into a piece.
TEST(matcher_budget, a_text_that_is_used_over_and_over_is_refused)
{
    EXPECT_EQ(compile(model_of_uses(150)).outcome, "0");
    const std::string refused = compile(model_of_uses(400)).outcome;
    EXPECT_EQ(refused.substr(0, 32), "100: values expand to more than ");
    const uint64_t limit = std::stoull(refused.substr(32));
    EXPECT_GT(limit, (16U << 20) + 32 * 30000);
    EXPECT_LT(limit, 400 * 90000U);
    EXPECT_EQ(refused, "100: values expand to more than " + std::to_string(limit) + " bytes\n");
}

// Nothing is registered under names like these; they would be compared for every value.
TEST(matcher_budget, long_names_are_refused_before_they_are_filed)
{
    const std::string name(60000, 'x');
    attr_model attr = number_attr(name, std::vector<std::string>(500, "80"));
    const compiled_t compiled = compile(pdb_model{
        {protocol_of(1, "web", {simple_rule("tcp", {attr})}), protocol_of(2, "next", {})}, {}});
    EXPECT_EQ(compiled.outcome.substr(0, 32), "100: values expand to more than ");
    EXPECT_EQ(compiled.diagnostics,
              "[ERROR  ][#][pdb_builder_serialize] pdb_builder: matcher register.\n");
}

// A value of nothing but commas has no parts, and still has to be looked through.
TEST(matcher_budget, values_without_parts_are_bounded)
{
    const std::string commas(60000, ',');
    const attr_model attr = number_attr("port", std::vector<std::string>(1000, commas));
    EXPECT_EQ(compile(pdb_model{{protocol_of(1, "web", {simple_rule("tcp", {attr})})}, {}})
                  .outcome.substr(0, 32),
              "100: values expand to more than ");
}

TEST(matcher_budget, grows_with_the_descriptions)
{
    // As many values, each with a text of its own: nothing is used twice.
    std::vector<rule_model> rules;
    for (uint32_t i = 0; i < 400; ++i)
        rules.push_back(simple_rule(
            "http", {stream_attr("uri_decoded", {std::string(1500, 'x') + std::to_string(i)})}));
    EXPECT_EQ(compile(pdb_model{{protocol_of(1, "web", rules)}, {}}).outcome, "0");
}

} // namespace
