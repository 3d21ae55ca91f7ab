#include <gtest/gtest.h>

#include "json_text.h"
#include "pragmar.h"
#include "visitor_semantic.h"

namespace
{

/// Reads a rule file into a machine, whose labels point into the tree.
int read_rules(json_text &json, semantic_t &semantic)
{
    EXPECT_EQ(json.parse(), 0);
    visitor_semantic_t visitor;
    visitor_semantic_init(&visitor, &semantic);
    const int code = json_visit(json.json, &visitor.visitor);
    visitor_semantic_cleanup(&visitor);
    return code;
}

/// A rule file read into a machine, with the tree that its labels point into.
struct rule_text {
    json_text json;
    semantic_t semantic;
    int ret;

    explicit rule_text(std::string_view text) : json(text) { ret = read_rules(json, semantic); }
};

TEST(semantic_reader, a_node_takes_what_its_keys_say)
{
    const rule_text rules(R"({"nodes": [
        {"key": 70, "category": "start", "reset": [1, 2], "check": [2], "range": {"min": 3}},
        {"key": 71, "category": "end", "range": {"max": 4}},
        {"key": 72, "category": "Start", "range": {"max": 6, "min": 5}},
        {}]})");
    ASSERT_EQ(rules.ret, 0);
    ASSERT_EQ(rules.semantic.nr_node, 4U);
    const semantic_node_t *nodes = rules.semantic.nodes.data();
    EXPECT_EQ(nodes[0].key, 70U);
    EXPECT_EQ(nodes[0].category, NODE_CATEGORY_START);
    ASSERT_EQ(nodes[0].reset.size(), 2U);
    EXPECT_EQ(nodes[0].reset[0], 1U);
    EXPECT_EQ(nodes[0].reset[1], 2U);
    ASSERT_EQ(nodes[0].check.size(), 1U);
    EXPECT_EQ(nodes[0].check[0], 2U);
    EXPECT_EQ(nodes[0].min, 3U);
    EXPECT_EQ(nodes[0].max, std::nullopt);
    EXPECT_EQ(nodes[1].category, NODE_CATEGORY_END);
    EXPECT_EQ(nodes[1].min, std::nullopt);
    EXPECT_EQ(nodes[1].max, 4U);
    EXPECT_EQ(nodes[2].category, NODE_CATEGORY_NORMAL) << "any other text";
    EXPECT_EQ(nodes[2].min, 5U);
    EXPECT_EQ(nodes[2].max, 6U);
    EXPECT_EQ(nodes[3].key, 0U);
    EXPECT_EQ(nodes[3].reset.size() + nodes[3].check.size() + nodes[3].nr_trans, 0U);
}

TEST(semantic_reader, a_machine_that_was_used_starts_empty)
{
    rule_text used(R"({"nodes": [{"key": 1, "reset": [2]}, {"key": 3, "check": 4}],
                       "transitions": [{"from": 0, "to": 1, "trans": "["}]})");
    semantic_t &semantic = used.semantic;
    ASSERT_EQ(semantic.nr_node, 2U);
    semantic.count.fill(7);
    semantic.nr_history = 2;
    semantic.rangeless.push_back(1);
    json_text next(R"({"nodes": [{"key": 5}]})");
    ASSERT_EQ(read_rules(next, semantic), 0);
    ASSERT_EQ(semantic.nr_node, 1U);
    EXPECT_EQ(semantic.nodes[0].key, 5U);
    EXPECT_EQ(semantic.nodes[0].reset.size() + semantic.nodes[0].nr_trans, 0U);
    EXPECT_EQ(semantic.count, semantic_t().count);
    EXPECT_EQ(semantic.nr_history, 0U);
    EXPECT_TRUE(semantic.rangeless.empty());
}

TEST(semantic_reader, a_list_may_be_one_number_or_come_twice)
{
    const rule_text rules(R"({"nodes": [{"reset": 5, "reset": [6, "x", 7], "check": []}]})");
    ASSERT_EQ(rules.semantic.nodes[0].reset.size(), 3U);
    EXPECT_EQ(rules.semantic.nodes[0].reset[2], 7U);
    EXPECT_EQ(rules.semantic.nodes[0].check.size(), 0U);
}

TEST(semantic_reader, labels_of_one_character_are_events)
{
    const struct {
        const char *label;
        trans_type_t type;
    } rows[] = {
        {"{", TRANS_OBJECT_START}, {"}", TRANS_OBJECT_END}, {"[", TRANS_ARRAY_START},
        {"]", TRANS_ARRAY_END},    {",", TRANS_COMMA},      {"*", TRANS_X},
        {":", TRANS_STRING},       {"x", TRANS_STRING},     {"", TRANS_STRING},
        {"**", TRANS_STRING},      {"5", TRANS_STRING},     {"{}", TRANS_STRING},
    };
    std::string text = R"({"nodes": [{}], "transitions": [)";
    for (const auto &row : rows)
        text.append(text.back() == '[' ? "" : ",")
            .append(R"({"from": 0, "to": 1, "trans": ")")
            .append(row.label)
            .append("\"}");
    const rule_text rules(text.append("]}"));
    ASSERT_EQ(rules.semantic.nodes[0].nr_trans, std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        EXPECT_EQ(rules.semantic.nodes[0].trans[i].type, rows[i].type) << rows[i].label;
        EXPECT_EQ(rules.semantic.nodes[0].trans[i].trans, rows[i].label);
        EXPECT_EQ(rules.semantic.nodes[0].trans[i].to, 1U);
    }
}

TEST(semantic_reader, transitions_stay_in_file_order_at_their_node)
{
    const rule_text rules(R"({"transitions": [{"from": 3, "to": 1, "trans": "a"},
        {"from": 2, "trans": "b", "to": 5}, {"from": 3, "to": 2, "trans": "c"}], "nodes": [{}]})");
    ASSERT_EQ(rules.semantic.nodes[3].nr_trans, 2U);
    EXPECT_EQ(rules.semantic.nodes[3].trans[0].trans, "a");
    EXPECT_EQ(rules.semantic.nodes[3].trans[1].trans, "c");
    ASSERT_EQ(rules.semantic.nodes[2].nr_trans, 1U);
    EXPECT_EQ(rules.semantic.nodes[2].trans[0].to, 5U);
}

TEST(semantic_reader, a_target_in_front_of_its_source_goes_to_the_node_before)
{
    const rule_text rules(R"({"transitions": [{"from": 0, "to": 1, "trans": "a"},
        {"to": 9, "from": 1, "trans": "b"}]})");
    EXPECT_EQ(rules.semantic.nodes[0].nr_trans, 1U);
    EXPECT_EQ(rules.semantic.nodes[0].trans[1].to, 9U) << "pending there";
    EXPECT_EQ(rules.semantic.nodes[1].trans[0].to, 0U);
}

TEST(semantic_reader, keys_out_of_place_open_the_unknown_state)
{
    const rule_text rules(R"({"key": 1, "min": 2, "nodes": [{"min": 3, "from": 4,
        "range": {"key": 5, "x": {"min": 6}}, "nodes": [{"key": 7}]}],
        "transitions": [{"key": 8, "nodes": [{}], "from": 0, "to": 1, "trans": "["}]})");
    ASSERT_EQ(rules.ret, 0);
    EXPECT_EQ(rules.semantic.nr_node, 1U);
    EXPECT_EQ(rules.semantic.nodes[0].key, 0U);
    EXPECT_EQ(rules.semantic.nodes[0].min, std::nullopt);
    EXPECT_EQ(rules.semantic.nodes[0].nr_trans, 1U);
}

TEST(semantic_reader, values_of_another_kind_are_ignored)
{
    const rule_text rules(R"({"nodes": [{"key": "1", "category": 2, "range": {"min": "3"},
        "check": ["4", true, null]}], "transitions": [{"from": "5", "trans": 6}]})");
    ASSERT_EQ(rules.ret, 0);
    EXPECT_EQ(rules.semantic.nodes[0].key, 0U);
    EXPECT_EQ(rules.semantic.nodes[0].check.size(), 0U);
    EXPECT_EQ(rules.semantic.nodes[0].min, std::nullopt);
    EXPECT_EQ(rules.semantic.nodes[0].nr_trans, 1U) << "a transition, although it says nothing";
}

/// Checks a document; the report, empty for none.
std::string check(std::string_view document, std::string_view rules)
{
    pragmar_err_clear();
    json_t json;
    if (pragmar_load(document, rules, &json, false) == 0)
        pragmar_destroy(&json);
    return pragmar_err_get();
}

// Node 2 counts and is checked by every other node: only those that a closing event enters look.
TEST(semantic_checker, only_closing_events_check)
{
    const char *rules = R"({"nodes": [{}, {"check": [2]}, {"range": {"min": 1}}, {"check": [2]},
        {"check": [2]}, {"check": [2]}],
        "transitions": [{"from": 0, "to": 1, "trans": "["}, {"from": 1, "to": 3, "trans": "x"},
        {"from": 3, "to": 4, "trans": ","}, {"from": 4, "to": 5, "trans": "{"},
        {"from": 4, "to": 2, "trans": "*"}, {"from": 2, "to": 5, "trans": "]"},
        {"from": 3, "to": 5, "trans": "]"}, {"from": 5, "to": 5, "trans": "}"}]})";
    EXPECT_EQ(check(R"(["x",5])", rules), "");
    EXPECT_EQ(check(R"(["x"])", rules), "Bad semantic.\nCardinality [1..N] is not respected.\n");
    EXPECT_EQ(check(R"(["x",{}])", rules), "Bad semantic.\nCardinality [1..N] is not respected.\n")
        << "the end of the object, not its start";
}

// An entry is counted, then checked, then reset: node 1 checks and resets itself.
TEST(semantic_checker, an_entry_counts_before_it_is_checked_and_is_checked_before_it_resets)
{
    const char *rules =
        R"({"nodes": [{}, {"range": {"min": 1, "max": 1}, "check": [1], "reset": [1]}, {}],
        "transitions": [{"from": 0, "to": 2, "trans": "["}, {"from": 2, "to": 2, "trans": "["},
        {"from": 2, "to": 1, "trans": "]"}, {"from": 1, "to": 1, "trans": "]"}]})";
    EXPECT_EQ(check("[[[[]]]]", rules), "") << "the check clears each count that it passes";
}

TEST(semantic_checker, counts_stay_until_they_are_reset)
{
    const char *rules = R"({"nodes": [{}, {}, {"range": {"max": 2}}, {}, {"check": [2]}],
        "transitions": [{"from": 0, "to": 1, "trans": "["}, {"from": 1, "to": 2, "trans": "x"},
        {"from": 1, "to": 3, "trans": "["}, {"from": 2, "to": 1, "trans": ","},
        {"from": 3, "to": 2, "trans": "x"}, {"from": 2, "to": 4, "trans": "]"}]})";
    EXPECT_EQ(check(R"(["x","x"])", rules), "");
    EXPECT_EQ(check(R"(["x","x","x"])", rules), "Bad semantic.\n"
                                                "Cardinality [0..2] is not respected.\n"
                                                "Key \"x\" appears 3 times.\n");
}

TEST(semantic_checker, every_literal_has_its_word)
{
    const char *rules =
        R"({"nodes": [{}, {}], "transitions": [{"from": 0, "to": 1, "trans": "["}]})";
    for (const auto &[literal, word] :
         {std::pair("true", "TRUE"), {"false", "FALSE"}, {"null", "NULL"}}) {
        const std::string document = std::string("[") + literal + "]";
        EXPECT_EQ(check(document, rules), std::string("Bad semantic.\nContext: [ \n"
                                                      "Unexpected type 'NUMBER': ") +
                                              word + ".\nExpected:\n");
    }
}

TEST(semantic_checker, every_event_has_its_name)
{
    const struct {
        const char *document;
        const char *name;
    } rows[] = {{"{}", "{"}, {"[]", "]"}, {"[1,2]", ","}, {"[[]]", "["}};
    const char *rules = R"({"nodes": [{}, {}, {}], "transitions": [
        {"from": 0, "to": 1, "trans": "["}, {"from": 1, "to": 2, "trans": "*"}]})";
    for (const auto &row : rows) {
        const std::string report = check(row.document, rules);
        const std::string line = std::string("Unexpected type '") + row.name + "'.\n";
        EXPECT_NE(report.find(line), std::string::npos) << row.document << report;
    }
}

// A value "name" announces the protocol's name as well as a key does.
TEST(semantic_checker, any_string_name_announces_the_name)
{
    const char *rules = R"({"nodes": [{}, {}], "transitions": [{"from": 0, "to": 1, "trans": "["},
        {"from": 1, "to": 1, "trans": "*"}, {"from": 1, "to": 1, "trans": ","}]})";
    EXPECT_EQ(check(R"(["name","a",[]])", rules).substr(0, 27), "Bad semantic.\nProtocol: a.\n");
    EXPECT_EQ(check(R"(["name","name","b",[]])", rules).substr(0, 27),
              "Bad semantic.\nProtocol: b.\n");
    EXPECT_EQ(check(R"(["Name","a",[]])", rules).find("Protocol"), std::string::npos);
    EXPECT_EQ(check(R"(["name",""  ,[]])", rules).find("Protocol"), std::string::npos)
        << "an empty name is no name";
}

TEST(semantic_checker, reporters_return_their_code)
{
    pragmar_err_clear();
    const semantic_t semantic;
    const semantic_node_t &node = semantic.nodes[0];
    const json_atom_t atom = {{JSON_NULL}, JSON_ATOM_NULL};
    EXPECT_EQ(json_err_semantic(semantic, node, TRANS_COMMA), JSON_ERR_SEMANTIC);
    EXPECT_EQ(json_err_semantic_atom(semantic, node, atom), JSON_ERR_SEMANTIC);
    EXPECT_EQ(json_err_semantic_number(semantic, node, 7), JSON_ERR_SEMANTIC);
    EXPECT_EQ(json_err_semantic_string(semantic, node, "x", 1), JSON_ERR_SEMANTIC);
    EXPECT_EQ(json_err_semantic_cardinality(node, semantic), JSON_ERR_SEMANTIC);
}

} // namespace
