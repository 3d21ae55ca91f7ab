/// Rules against the pdb that holds them.
#include "prove_rule.h"
#include "view_overfull.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "csa_types.h"
#include "prove_catalog.h"
#include "prove_compile.h"

namespace
{

/// A description of two protocols, whose rules are given without their values' names.
struct tried_rules_t {
    std::vector<uint8_t> pdb;
    std::vector<prove_rule_t> rules;

    explicit tried_rules_t(const std::string &protocols)
    {
        prove_compiled_t compiled =
            prove_compile("{\"protocols\":[" + protocols + "]}", prove_least_configuration());
        EXPECT_EQ(compiled.status, PDATA_SUCCESS) << compiled.message;
        pdb = std::move(compiled.bytes);
    }

    void add(std::string_view protocol, uint32_t index, const std::vector<prove_item_t> &items)
    {
        rules.push_back({protocol, index, items});
    }

    std::vector<prove_rule_verdict_t> verdicts() const
    {
        prove_catalog_t catalog;
        if (!prove_catalog_open(pdb, catalog))
            return std::vector<prove_rule_verdict_t>(rules.size());
        return prove_rules(catalog, rules);
    }

    /// What is said of each, as in "wins, shadowed by one/0".
    std::string told() const
    {
        static constexpr const char *NAMES[] = {"wins", "dead", "shadowed", "unknown"};
        std::string text;
        for (const prove_rule_verdict_t &verdict : verdicts()) {
            text += (text.empty() ? "" : ", ") + std::string(NAMES[verdict.outcome]);
            if (verdict.outcome == PROVE_RULE_SHADOWED)
                text += " by " + verdict.winner + "/" + std::to_string(verdict.winner_index);
        }
        return text;
    }
};

prove_item_t item(std::string_view protocol, std::string_view attribute, std::string_view text,
                  uint32_t way = ATTR_WAY_CTS)
{
    prove_item_t made;
    made.value = {protocol, attribute, text};
    made.protocol = protocol;
    made.attribute = attribute;
    made.way = way;
    made.known = prove_value(made.value).found;
    made.has_known = true;
    return made;
}

std::string protocol_text(const std::string &name, const std::string &rules)
{
    return R"({"name":")" + name + R"(","id":1,"rules":[)" + rules + "]}";
}

std::string uri_rule(const std::string &order, const std::string &value,
                     const std::string &more = "")
{
    return R"({"order":")" + order + "\"," + more +
           R"("rule":[{"protocol":"http","cts-uri_decoded":")" + value + "\"}]}";
}

TEST(prove_rule, the_smaller_order_wins)
{
    tried_rules_t tried(protocol_text("one", uri_rule("50:1", "/video/.*")) + "," +
                        protocol_text("two", uri_rule("50:2", "/video/live/.*")) + "," +
                        protocol_text("three", uri_rule("50:3", "/vid.*")));
    tried.add("one", 0, {item("http", "uri_decoded", "/video/.*")});
    tried.add("two", 0, {item("http", "uri_decoded", "/video/live/.*")});
    tried.add("three", 0, {item("http", "uri_decoded", "/vid.*")});
    EXPECT_EQ(tried.told(), "wins, shadowed by one/0, wins");
}

TEST(prove_rule, of_equal_orders_one_is_shadowed)
{
    tried_rules_t tried(protocol_text("one", uri_rule("50:1", "same")) + "," +
                        protocol_text("two", uri_rule("50:1", "same")));
    tried.add("one", 0, {item("http", "uri_decoded", "same")});
    tried.add("two", 0, {item("http", "uri_decoded", "same")});
    const std::string told = tried.told();
    EXPECT_TRUE(told == "wins, shadowed by one/0" || told == "shadowed by two/0, wins") << told;
}

TEST(prove_rule, rules_that_say_the_same_shadow_nothing)
{
    const std::string path = R"("path":["http","one"],)";
    tried_rules_t tried(
        protocol_text("one", uri_rule("50:1", "a.*", path) + "," + uri_rule("50:2", "ab.*", path)));
    tried.add("one", 1, {item("http", "uri_decoded", "ab.*")});
    EXPECT_EQ(tried.told(), "wins");
}

TEST(prove_rule, a_scope_as_wide_is_shadowed)
{
    const std::string scope = R"("scope":["http"],)";
    tried_rules_t tried(protocol_text("one", uri_rule("50:1", "a.*", scope)) + "," +
                        protocol_text("two", uri_rule("50:2", "ab.*", scope)));
    tried.add("two", 0, {item("http", "uri_decoded", "ab.*")});
    EXPECT_EQ(tried.told(), "shadowed by one/0");
}

TEST(prove_rule, protocols_of_one_name_are_not_told_apart)
{
    tried_rules_t tried(protocol_text("one", uri_rule("50:1", "a.*")) + "," +
                        protocol_text("one", uri_rule("50:2", "b.*")));
    tried.add("one", 0, {item("http", "uri_decoded", "a.*")});
    EXPECT_EQ(tried.told(), "unknown");
}

TEST(prove_rule, a_wider_scope_is_not_shadowed)
{
    tried_rules_t tried(protocol_text("one", uri_rule("50:1", "a.*")) + "," +
                        protocol_text("two", uri_rule("50:2", "ab.*", R"("scope":["quic"],)")));
    tried.add("two", 0, {item("http", "uri_decoded", "ab.*")});
    EXPECT_EQ(tried.told(), "wins");
}

TEST(prove_rule, protocols_that_a_rule_does_not_ask_for_are_not_there)
{
    const std::string rule =
        R"("rule":[{"protocol":"ip","address":"192.0.2.1"},{"protocol":"%"}]})";
    std::string first = R"({"order":"50:1",)" + rule;
    std::string second = R"({"order":"50:2",)" + rule;
    first.replace(first.find('%'), 1, "udp");
    second.replace(second.find('%'), 1, "tcp");
    tried_rules_t tried(protocol_text("one", first) + "," + protocol_text("two", second));
    tried.add("two", 0, {item("ip", "address", "192.0.2.1", ATTR_WAY_BOTH)});
    EXPECT_EQ(tried.told(), "wins");
}

TEST(prove_rule, every_item_must_be_found)
{
    const std::string rule =
        R"({"order":"50:1","rule":[{"protocol":"http","cts-uri_decoded":["a.*",",,"]}]})";
    tried_rules_t tried(protocol_text("one", rule));
    tried.add("one", 0, {item("http", "uri_decoded", "a.*"), item("http", "uri_decoded", ",,")});
    EXPECT_EQ(tried.told(), "unknown"); // the second value is no item
}

TEST(prove_rule, data_under_a_name_that_leads_nowhere_is_dead)
{
    tried_rules_t tried(protocol_text("one", uri_rule("50:1", "a.*")));
    tried.add("one", 0, {item("http", "uri_decoded", "a.*")});
    tried.add("one", 0, {item("http", "uri_decoded", "a.*")});
    tried.rules[1].items[0].attribute = "uri_path_decoded";
    EXPECT_EQ(tried.told(), "wins, dead");
}

TEST(prove_rule, rules_that_are_not_there_are_unknown)
{
    tried_rules_t tried(protocol_text("one", uri_rule("50:1", "a.*")));
    tried.add("one", 0, {item("http", "uri_decoded", "b.*")});
    tried.add("one", 1, {item("http", "uri_decoded", "a.*")});
    tried.add("two", 0, {item("http", "uri_decoded", "a.*")});
    EXPECT_EQ(tried.told(), "unknown, unknown, unknown");
    tried.pdb.resize(100);
    EXPECT_EQ(tried.told(), "unknown, unknown, unknown");
}

TEST(prove_rule, rules_that_all_samples_lead_to_end_the_work)
{
    std::string rules;
    std::vector<std::string> values;
    for (uint32_t i = 0; i < 1100; ++i)
        values.push_back(".*a.*b(" + std::to_string(i) + ")?.*");
    for (uint32_t i = 0; i < values.size(); ++i)
        rules += (i == 0 ? "" : ",") + uri_rule("50:" + std::to_string(i + 1), values[i]);
    tried_rules_t tried(protocol_text("one", rules));
    for (uint32_t i = 0; i < values.size(); ++i) {
        prove_item_t one = item("http", "uri_decoded", "");
        one.value.text = values[i];
        one.known.bytes = "ab";
        tried.add("one", i, {one});
    }
    const std::vector<prove_rule_verdict_t> verdicts = tried.verdicts();
    EXPECT_EQ(verdicts.front().outcome, PROVE_RULE_WINS);
    EXPECT_EQ(verdicts[1].outcome, PROVE_RULE_WINS) << "it says the same as what goes before";
    EXPECT_EQ(verdicts.back().outcome, PROVE_RULE_UNKNOWN);
}

TEST(prove_rule, a_rule_for_all_scopes_reaches_as_far_as_any)
{
    tried_rules_t tried(protocol_text("one", uri_rule("50:1", "a.*", R"("scope":["all"],)")) + "," +
                        protocol_text("two", uri_rule("50:2", "ab.*", R"("scope":["quic"],)")));
    tried.add("two", 0, {item("http", "uri_decoded", "ab.*")});
    EXPECT_EQ(tried.told(), "shadowed by one/0");
}

// A pdb whose descriptions somebody changed: its matchers are those of others.
TEST(prove_rule, of_another_description_nothing_is_known)
{
    tried_rules_t tried(protocol_text("one", uri_rule("50:1", "a.*")));
    tried.add("one", 0, {item("http", "uri_decoded", "a.*")});
    EXPECT_EQ(tried.told(), "wins");
    const std::string name = "uri_decoded";
    const auto at = std::search(tried.pdb.begin(), tried.pdb.end(), name.begin(), name.end());
    ASSERT_NE(at, tried.pdb.end());
    *at = 'U';
    EXPECT_EQ(tried.told(), "unknown");
}

TEST(prove_catalog, values_that_are_tried_on_all_data_cost)
{
    const std::string rules =
        uri_rule("50:1", "[^a]") + "," + uri_rule("50:2", "[^b]") + "," + uri_rule("50:3", "plain");
    const tried_rules_t tried(protocol_text("one", rules));
    prove_catalog_t catalog;
    ASSERT_TRUE(prove_catalog_open(tried.pdb, catalog));
    const pdata_attribute uri = prove_catalog_attribute(catalog, "http", "uri_decoded", PDATA_CTS);
    ASSERT_NE(uri, 0U);
    EXPECT_EQ(prove_catalog_cost(catalog, uri), 2U);
    EXPECT_EQ(prove_catalog_cost(catalog, 0), 0U) << "nothing tests it";
}

/// Names the overfull tables of a pdb.
std::string overfull_of(std::span<const uint8_t> bytes)
{
    pdb_view_t pdb;
    view_error_t error;
    std::string text;
    const auto put = [](void *context, const view_overfull_t &overfull) {
        EXPECT_GT(overfull.nr, overfull.limit);
        static_cast<std::string *>(context)
            ->append(overfull.matcher.attribute)
            .append(" ")
            .append(overfull.table);
    };
    EXPECT_TRUE(pdb_view_open(bytes, pdb, error));
    view_overfull(pdb, {put, &text});
    return text;
}

TEST(view_overfull, tables_beyond_16_bits_are_named)
{
    // Every suffix of a long text is a piece: items of all of them end at each place.
    std::string rules;
    for (uint32_t i = 0; i < 300; ++i)
        rules += (i == 0 ? "" : ",") + uri_rule("50:1", ".*" + std::string(i + 1, 'a') + ".*");
    const tried_rules_t overfull(protocol_text("one", rules));
    EXPECT_EQ(overfull_of(overfull.pdb), "uri_decoded items");
    EXPECT_EQ(overfull_of(tried_rules_t(protocol_text("one", uri_rule("1:1", "a"))).pdb), "");
}

} // namespace
