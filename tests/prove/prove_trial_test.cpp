/// Values tried in the pdb that holds them with others.
#include "prove_trial.h"

#include <gtest/gtest.h>

#include "prove_compile.h"

namespace
{

constexpr std::string_view DESCRIPTION =
    R"({"protocols":[{"name":"one","id":1,"rules":[)"
    R"({"order":"50:1","rule":[{"protocol":"http","cts-uri_decoded":"plain"}]},)"
    R"({"order":"50:2","rule":[{"protocol":"http","cts-uri_decoded":"a[b-c].*"}]},)"
    R"({"order":"50:3","rule":[{"protocol":"tcp","port":"7-9"}]},)"
    R"({"order":"50:4","preempt":true,"rule":[{"protocol":"tcp","mindata":6,)"
    R"("cts-stream":"CHTR/1.*"}]}]}]})";

/// The description, open, and the places of its values by rule.
struct opened_t {
    std::vector<uint8_t> pdb = prove_compile(DESCRIPTION, prove_least_configuration()).bytes;
    prove_catalog_t catalog;

    opened_t() { EXPECT_TRUE(prove_catalog_open(pdb, catalog)); }

    prove_stored_t stored(uint32_t rule, std::string_view protocol, std::string_view attribute)
    {
        const uint32_t number = prove_catalog_rule(catalog, {"one", rule});
        EXPECT_NE(number, 0U) << rule;
        return {catalog.rules[number].first,
                prove_catalog_attribute(catalog, protocol, attribute, PDATA_CTS)};
    }
};

/// Tells whether a value without a literal is found beside others of its kind.
bool finds_beside(uint32_t nr)
{
    std::string rules;
    std::string digits;
    for (uint32_t i = 0; i < nr; ++i) {
        digits += "\\\\d";
        rules += (i == 0 ? "" : ",") + (R"({"order":"50:1","rule":[{"protocol":"http",)"
                                        R"("cts-uri_decoded":")" +
                                        digits + R"("}]})");
    }
    const prove_compiled_t compiled =
        prove_compile(R"({"protocols":[{"name":"one","id":1,"rules":[)" + rules + "]}]}",
                      prove_least_configuration());
    prove_catalog_t catalog;
    EXPECT_TRUE(prove_catalog_open(compiled.bytes, catalog));
    prove_trial_t trial = prove_trial_begin(catalog, 1000);
    const prove_value_t value = {"http", "uri_decoded", "\\d"};
    prove_case_t at = prove_case_make(value);
    return prove_trial_finds_all(
        trial,
        {catalog.rules[prove_catalog_rule(catalog, {"one", 0})].first,
         prove_catalog_attribute(catalog, "http", "uri_decoded", PDATA_CTS)},
        at);
}

constexpr prove_value_t PLAIN = {"http", "uri_decoded", "plain"};
constexpr prove_value_t LOSSY = {"http", "uri_decoded", "a[b-c].*"};
constexpr prove_value_t PORTS = {"tcp", "port", "7-9"};
constexpr prove_value_t PREEMPT = {"tcp", "stream", "CHTR/1.*"};

bool finds_all(opened_t &opened, const prove_value_t &value, const prove_stored_t &stored,
               uint64_t work = 1000)
{
    prove_trial_t trial = prove_trial_begin(opened.catalog, work);
    prove_case_t at = prove_case_make(value);
    return prove_trial_finds_all(trial, stored, at);
}

TEST(prove_trial, what_is_whole_is_found_beside_others)
{
    opened_t opened;
    EXPECT_TRUE(finds_all(opened, PLAIN, opened.stored(0, "http", "uri_decoded")));
    EXPECT_TRUE(finds_all(opened, PORTS, opened.stored(2, "tcp", "port")));
}

TEST(prove_trial, what_is_lossy_is_not)
{
    opened_t opened;
    EXPECT_FALSE(finds_all(opened, LOSSY, opened.stored(1, "http", "uri_decoded")));
}

TEST(prove_trial, where_nothing_is_known_nothing_is_found)
{
    opened_t opened;
    const prove_stored_t stored = opened.stored(0, "http", "uri_decoded");
    EXPECT_FALSE(finds_all(opened, PLAIN, {})) << "it stands nowhere";
    EXPECT_FALSE(finds_all(opened, PLAIN, {stored.value, 0})) << "nothing tests the attribute";
    EXPECT_FALSE(finds_all(opened, PLAIN, {VIEW_VALUE_NONE, stored.attribute})) << "none has it";
    EXPECT_FALSE(finds_all(opened, PLAIN, opened.stored(1, "http", "uri_decoded")))
        << "another value stands there";
    EXPECT_FALSE(finds_all(opened, PLAIN, stored, 0)) << "no work is left";
    EXPECT_FALSE(finds_all(opened, PREEMPT, opened.stored(3, "tcp", "stream")))
        << "it waits for minimum data";
}

// Each of them is tried on all data.
TEST(prove_trial, beside_many_values_without_a_literal_none_is_tried)
{
    EXPECT_TRUE(finds_beside(32));
    EXPECT_FALSE(finds_beside(33));
}

TEST(prove_trial, work_is_paid_for_data_and_items)
{
    opened_t opened;
    const prove_stored_t stored = opened.stored(0, "http", "uri_decoded");
    prove_trial_t trial = prove_trial_begin(opened.catalog, 1000);
    EXPECT_TRUE(prove_trial_finds(trial, stored, "plain", {}));
    EXPECT_EQ(trial.left, 998U) << "one for the data, one for its item";
    EXPECT_FALSE(prove_trial_finds(trial, stored, std::string(32, 'x'), {}));
    EXPECT_EQ(trial.left, 995U) << "one for the data, two for its size";
    prove_trial_pay(trial, 2000);
    EXPECT_EQ(trial.left, 0U);
}

// Where a value stands is a way to prove it sooner, and changes no verdict.
TEST(prove_trial, verdicts_are_those_of_values_alone)
{
    opened_t opened;
    const prove_value_t values[] = {PLAIN, LOSSY, PORTS, PLAIN};
    const prove_stored_t stored[] = {opened.stored(0, "http", "uri_decoded"),
                                     opened.stored(1, "http", "uri_decoded"),
                                     opened.stored(2, "tcp", "port"),
                                     {}};
    const std::vector<prove_verdict_t> together =
        prove_values(values, {}, {&opened.catalog, stored});
    for (size_t i = 0; i < std::size(values); ++i) {
        const prove_verdict_t alone = prove_value(values[i]);
        EXPECT_EQ(together[i].outcome, alone.outcome) << i;
        EXPECT_EQ(together[i].lost, alone.lost) << i;
        EXPECT_EQ(together[i].nr_sample, alone.nr_sample) << i;
        EXPECT_EQ(together[i].found.bytes, alone.found.bytes) << i;
    }
}

} // namespace
