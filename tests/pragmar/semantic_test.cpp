#include <gtest/gtest.h>

#include "captured.h"
#include "json_text.h"
#include "pragmar.h"

namespace
{

using std::string;

/// Loads a document under rules; returns the report, empty when the document is accepted.
string check(std::string_view document, std::string_view rules, bool ignore_sem = false)
{
    pragmar_err_clear();
    json_t json;
    const int ret = pragmar_load(document, rules, &json, ignore_sem);
    EXPECT_EQ(ret == 0, *pragmar_err_get() == '\0');
    EXPECT_EQ(ret == 0, json.ast != nullptr);
    pragmar_destroy(&json);
    return pragmar_err_get();
}

string node(const string &members = "")
{
    return "{" + members + "}";
}

string trans(int from, int to, const string &label)
{
    return "{\"from\":" + std::to_string(from) + ",\"to\":" + std::to_string(to) + ",\"trans\":\"" +
           label + "\"}";
}

string rule_file(const std::vector<string> &nodes, const std::vector<string> &transitions)
{
    const auto join = [](const std::vector<string> &items) {
        string text;
        for (const string &item : items)
            text += (text.empty() ? "" : ",") + item;
        return text;
    };
    return "{\"nodes\":[" + join(nodes) + "],\"transitions\":[" + join(transitions) + "]}";
}

/// An object with any number of "a" and "b" keys; "a" counts between the bounds of `range`.
string counting_rules(const string &range)
{
    return rule_file(
        {node(), node("\"reset\":[2]"), node(range), node(), node(), node("\"check\":[2]")},
        {trans(0, 1, "{"), trans(1, 2, "a"), trans(2, 3, "*"), trans(3, 4, ","), trans(4, 2, "a"),
         trans(4, 2, "b"), trans(1, 5, "}"), trans(3, 5, "}")});
}

TEST(semantic, a_document_is_taken_through_the_machine)
{
    const string rules = counting_rules(R"("range":{"min":1,"max":2})");
    EXPECT_EQ(check(R"({"a":1})", rules), "");
    EXPECT_EQ(check(R"({"a":1,"b":true})", rules), "");
}

TEST(semantic, a_string_without_a_transition_is_reported_with_its_way)
{
    EXPECT_EQ(check(R"({"a":1,"c":2})", counting_rules(R"("range":{"min":1})")),
              "Bad semantic.\n"
              "Context: { \"a\" : \"*\" , \n"
              "Unexpected type 'STRING': \"c\".\n"
              "Expected:\n"
              "\t+ type 'STRING', \"a\".\n"
              "\t+ type 'STRING', \"b\".\n");
}

TEST(semantic, an_event_without_a_transition_is_reported)
{
    EXPECT_EQ(check(R"({"a":[]})", counting_rules(R"("range":{"min":1})")), "Bad semantic.\n"
                                                                            "Context: { \"a\" \n"
                                                                            "Unexpected type '['.\n"
                                                                            "Expected:\n"
                                                                            "\t+ type '*'.\n");
    EXPECT_EQ(check("[1]", counting_rules(R"("range":{"min":1})")), "Bad semantic.\n"
                                                                    "Context: \n"
                                                                    "Unexpected type '['.\n"
                                                                    "Expected:\n"
                                                                    "\t+ type '{'.\n");
}

TEST(semantic, commas_are_not_listed_as_expected)
{
    EXPECT_EQ(check(R"({"a":1]})", counting_rules("")), "parse failure on line: 1\n"
                                                        "{\"a\":1]\n"
                                                        "------^\n"
                                                        "Expecting '}', ',', got ']'.\n");
    const string rules = rule_file({node(), node(), node()}, {trans(0, 1, "["), trans(1, 2, "x"),
                                                              trans(2, 1, ","), trans(2, 1, "]")});
    EXPECT_EQ(check(R"(["x"],)", rules), "");
    EXPECT_EQ(check(R"([7])", rules), "Bad semantic.\n"
                                      "Context: [ \n"
                                      "Unexpected type 'NUMBER': 7.\n"
                                      "Expected:\n"
                                      "\t+ type 'STRING', \"x\".\n");
}

TEST(semantic, a_literal_is_reported_as_a_number)
{
    const string rules = rule_file({node(), node(), node()}, {trans(0, 1, "["), trans(1, 2, "x")});
    EXPECT_EQ(check("[false]", rules), "Bad semantic.\n"
                                       "Context: [ \n"
                                       "Unexpected type 'NUMBER': FALSE.\n"
                                       "Expected:\n"
                                       "\t+ type 'STRING', \"x\".\n");
}

TEST(semantic, numbers_and_literals_need_a_wildcard)
{
    const string labelled =
        rule_file({node(), node(), node()}, {trans(0, 1, "["), trans(1, 2, "5")});
    EXPECT_NE(check("[5]", labelled), "");
    const string wild = rule_file({node(), node(), node(), node()},
                                  {trans(0, 1, "["), trans(1, 2, "*"), trans(2, 3, "]")});
    EXPECT_EQ(check("[5]", wild), "");
    EXPECT_EQ(check("[true]", wild), "");
    EXPECT_EQ(check("[\"s\"]", wild), "");
    EXPECT_NE(check("[[]]", wild), "");
}

TEST(semantic, a_wildcard_wins_over_labels_behind_it)
{
    const string rules =
        rule_file({node(), node(), node(), node(), node()},
                  {trans(0, 1, "["), trans(1, 2, "*"), trans(1, 3, "x"), trans(2, 4, "]")});
    EXPECT_EQ(check("[\"x\"]", rules), "");
    const string behind =
        rule_file({node(), node(), node(), node(), node()},
                  {trans(0, 1, "["), trans(1, 3, "x"), trans(1, 2, "*"), trans(2, 4, "]")});
    EXPECT_NE(check("[\"x\"]", behind), "");
}

TEST(semantic, a_target_of_node_0_is_refused_and_stands_in_the_context)
{
    const string rules = rule_file({node(), node()}, {trans(0, 1, "["), trans(1, 0, "*")});
    EXPECT_EQ(check("[1]", rules), "Bad semantic.\n"
                                   "Context: [ : \"*\" \n"
                                   "Unexpected type 'NUMBER': 1.\n"
                                   "Expected:\n"
                                   "\t+ type '*'.\n");
}

TEST(semantic, a_target_outside_the_machine_is_refused)
{
    for (int target : {128, 100000}) {
        const string rules = rule_file({node(), node()}, {trans(0, 1, "["), trans(1, target, "*")});
        EXPECT_NE(check("[1]", rules), "");
    }
}

TEST(semantic, a_count_below_its_minimum)
{
    EXPECT_EQ(check("{}", counting_rules(R"("range":{"min":1})")),
              "Bad semantic.\n"
              "Cardinality [1..N] is not respected.\n"
              "Key \"a\" appears 0 times.\n");
}

TEST(semantic, a_count_above_its_maximum)
{
    EXPECT_EQ(check(R"({"a":1,"a":1,"a":1})", counting_rules(R"("range":{"min":1,"max":2})")),
              "Bad semantic.\n"
              "Cardinality [1..2] is not respected.\n"
              "Key \"a\" appears 3 times.\n");
    EXPECT_EQ(check(R"({"a":1,"a":1,"a":1})", counting_rules(R"("range":{"max":2})")),
              "Bad semantic.\n"
              "Cardinality [0..2] is not respected.\n"
              "Key \"a\" appears 3 times.\n");
}

TEST(semantic, a_counted_node_that_no_key_leads_to_is_not_named)
{
    const string rules =
        rule_file({node(), node(), node(R"("range":{"min":1})"), node("\"check\":[2]")},
                  {trans(0, 1, "["), trans(1, 2, "*"), trans(1, 3, "]")});
    EXPECT_EQ(check("[]", rules), "Bad semantic.\n"
                                  "Cardinality [1..N] is not respected.\n");
}

TEST(semantic, a_checked_node_without_a_range_ends_the_check)
{
    const string rules = rule_file({node("\"key\":0"), node(), node("\"key\":22"),
                                    node(R"("range":{"min":1})"), node("\"check\":[2,3]")},
                                   {trans(0, 1, "["), trans(1, 4, "]")});
    testing::internal::CaptureStderr();
    EXPECT_EQ(check("[]", rules), "");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "Error min or max has to be defined in the .sem node 22\n");
}

TEST(semantic, a_check_clears_the_counts_it_passes)
{
    // Two arrays, each with one element, under a bound of one element.
    const string rules = rule_file({node(), node(), node(), node(R"("range":{"max":1})"),
                                    node("\"check\":[3]"), node(), node()},
                                   {trans(0, 1, "["), trans(1, 2, "["), trans(2, 3, "*"),
                                    trans(3, 4, "]"), trans(4, 1, ","), trans(4, 5, "]")});
    EXPECT_EQ(check("[[1],[2]]", rules), "");
}

TEST(semantic, the_name_of_the_protocol_is_reported)
{
    const string rules =
        rule_file({node(), node(), node(), node(), node()},
                  {trans(0, 1, "{"), trans(1, 2, "name"), trans(2, 3, "*"), trans(3, 4, "}")});
    EXPECT_EQ(check(R"({"name":"acme","x":1})", rules), "Bad semantic.\n"
                                                        "Protocol: acme.\n"
                                                        "Context: { \"name\" : \"*\" \n"
                                                        "Unexpected type ','.\n"
                                                        "Expected:\n"
                                                        "\t+ type '}'.\n");
}

TEST(semantic, a_refused_name_is_set_before_it_is_refused)
{
    const string rules =
        rule_file({node(), node(), node()}, {trans(0, 1, "{"), trans(1, 2, "name")});
    EXPECT_EQ(check(R"({"name":"acme"})", rules), "Bad semantic.\n"
                                                  "Protocol: acme.\n"
                                                  "Context: { \"name\" \n"
                                                  "Unexpected type 'STRING': \"acme\".\n"
                                                  "Expected:\n");
}

TEST(semantic, the_history_keeps_sixteen_transitions)
{
    const string rules =
        rule_file({node(), node(), node()}, {trans(0, 1, "["), trans(1, 2, "x"), trans(2, 1, ",")});
    string document = "[";
    for (int i = 0; i < 12; ++i)
        document += "\"x\",";
    document += "\"y\"]";
    string context = "Context: ";
    for (int i = 0; i < 8; ++i)
        context += "\"x\" , ";
    EXPECT_EQ(check(document, rules), "Bad semantic.\n" + context +
                                          "\nUnexpected type 'STRING': \"y\".\n"
                                          "Expected:\n\t+ type 'STRING', \"x\".\n");
}

TEST(semantic, nodes_are_addressed_by_position)
{
    const string rules = rule_file({node(), node(), node()}, {trans(0, 1, "["), trans(1, 2, "]")});
    EXPECT_EQ(check("[]", rules), "");
}

TEST(semantic, a_target_before_the_source_goes_to_the_node_before)
{
    // "to" comes first: it is the pending transition of node 0 that gets the target 2, before
    // "from" makes node 1 current. The transition of node 1 keeps target 0 and is refused.
    const string rules =
        rule_file({node(), node(), node()}, {trans(0, 1, "["), R"({"to":2,"from":1,"trans":"]"})"});
    EXPECT_EQ(check("[]", rules), "Bad semantic.\nContext: [ ] \nUnexpected type ']'.\n"
                                  "Expected:\n\t+ type ']'.\n");
    // The next transition of node 0 finds the target there.
    const string next = rule_file({node(), node(), node(), node()},
                                  {trans(0, 1, "["), R"({"to":2,"from":1,"trans":"]"})",
                                   R"({"from":0,"trans":"{"})", trans(2, 3, "}")});
    EXPECT_EQ(check("{}", next), "");
}

TEST(semantic, unknown_keys_of_a_rule_file_are_ignored)
{
    const string rules = R"({"about":{"key":9,"nodes":[{"key":1}]},"nodes":[
        {"key":0,"category":"start","note":"x"},{"key":1},{"key":2,"category":"end"}],
        "transitions":[{"from":0,"to":1,"trans":"["},{"from":1,"why":[1,2],"to":2,"trans":"]"}]})";
    EXPECT_EQ(check("[]", rules), "");
}

TEST(semantic, ignoring_the_rules_only_parses)
{
    const string rules = counting_rules(R"("range":{"min":1})");
    EXPECT_NE(check("{}", rules), "");
    EXPECT_EQ(check("{}", rules, true), "");
    EXPECT_EQ(check("{}", "not even rules", true), "");
    EXPECT_EQ(check("{}", {}), "") << "no rule text";
}

TEST(semantic, broken_rules_fail_before_the_document)
{
    EXPECT_EQ(check("[", "{"), "parse failure on line: 1\n"
                               "{\n"
                               "^\n"
                               "Expecting 'STRING', got 'EOF'.\n");
    EXPECT_NE(check("{}", ""), "") << "an empty rule text is present";
}

TEST(semantic, an_absent_document_fails_without_a_report)
{
    pragmar_err_clear();
    json_t json;
    EXPECT_EQ(pragmar_load({}, {}, &json, false), -1);
    EXPECT_EQ(pragmar_load({}, "{}", &json, false), -1);
    EXPECT_STREQ(pragmar_err_get(), "");
}

string rule_file_of(size_t nodes, size_t trans_of_node_1, size_t resets, size_t checks)
{
    const auto list = [](size_t count) {
        string text;
        for (size_t i = 0; i < count; ++i)
            text += i == 0 ? "2" : ",2";
        return "[" + text + "]";
    };
    std::vector<string> node_texts(nodes, node());
    node_texts[0] = node("\"reset\":" + list(resets) + ",\"check\":" + list(checks));
    std::vector<string> transitions = {trans(0, 1, "[")};
    for (size_t i = 0; i + 1 < trans_of_node_1; ++i)
        transitions.push_back(trans(1, 2, "label" + std::to_string(i)));
    transitions.push_back(trans(1, 2, "]"));
    return rule_file(node_texts, transitions);
}

TEST(semantic, the_limits_of_a_machine_are_reached)
{
    EXPECT_EQ(check("[]", rule_file_of(128, 64, 32, 32)), "");
}

TEST(semantic, each_limit_has_its_message)
{
    const struct {
        string rules;
        const char *message;
    } rows[] = {
        {rule_file_of(129, 1, 0, 0), "Error: SEMANTIC_NODE_DIM.\n"},
        {rule_file_of(3, 65, 0, 0), "Error: SEMANTIC_NODE_TRANS_DIM.\n"},
        {rule_file_of(3, 1, 33, 0), "Error: SEMANTIC_NODE_RESET_DIM.\n"},
        {rule_file_of(3, 1, 0, 33), "Error: SEMANTIC_NODE_CHECK_DIM.\n"},
        {rule_file({node()}, {R"({"from":128})"}), "Error: SEMANTIC_NODE_DIM.\n"},
    };
    for (const auto &row : rows) {
        pragmar_err_clear();
        json_t json;
        testing::internal::CaptureStderr();
        EXPECT_EQ(pragmar_load("[]", row.rules, &json, false), -1);
        EXPECT_EQ(testing::internal::GetCapturedStderr(), row.message);
    }
}

TEST(semantic, rules_nested_beyond_the_state_stack_are_refused)
{
    string rules = "{\"nodes\":[{}],\"x\":";
    for (int i = 0; i < 20; ++i)
        rules += "{\"y\":";
    rules += "1" + string(20, '}') + "}";
    pragmar_err_clear();
    json_t json;
    EXPECT_EQ(pragmar_load("[]", rules, &json, false), -1);
}

TEST(semantic, numbers_outside_the_machine_in_lists_are_ignored)
{
    const string rules =
        rule_file({node(), node(), node("\"reset\":[128,4000000000],\"check\":[128]")},
                  {trans(0, 1, "["), trans(1, 2, "]")});
    EXPECT_EQ(check("[]", rules), "");
}

TEST(semantic, a_full_machine_takes_nothing_more)
{
    semantic_t semantic;
    semantic_init(&semantic);
    for (uint32_t i = 0; i < SEMANTIC_NODE_DIM; ++i)
        ASSERT_EQ(semantic_node_next(&semantic), 0);
    const std::function<int()> on_nodes[] = {
        [&] { return semantic_node_key_set(&semantic, 1); },
        [&] { return semantic_node_category_set(&semantic, "start"); },
        [&] { return semantic_node_reset_add(&semantic, 1); },
        [&] { return semantic_node_check_add(&semantic, 1); },
        [&] { return semantic_node_min_set(&semantic, 1); },
        [&] { return semantic_node_max_set(&semantic, 1); },
        [&] { return semantic_node_next(&semantic); },
    };
    for (const auto &operation : on_nodes)
        EXPECT_EQ(stderr_of([&] { EXPECT_EQ(operation(), -1); }), "Error: SEMANTIC_NODE_DIM.\n");
    for (uint32_t i = 0; i < SEMANTIC_NODE_TRANS_DIM; ++i)
        ASSERT_EQ(semantic_trans_next(&semantic), 0);
    const std::function<int()> on_transitions[] = {
        [&] { return semantic_trans_to_set(&semantic, 1); },
        [&] { return semantic_trans_trans_set(&semantic, "a"); },
        [&] { return semantic_trans_next(&semantic); },
    };
    for (const auto &operation : on_transitions)
        EXPECT_EQ(stderr_of([&] { EXPECT_EQ(operation(), -1); }),
                  "Error: SEMANTIC_NODE_TRANS_DIM.\n");
}

} // namespace
