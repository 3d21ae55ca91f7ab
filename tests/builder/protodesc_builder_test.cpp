#include <gtest/gtest.h>

#include "captured.h"
#include "failing_alloc.h"
#include "protodesc_json_fixture.h"

namespace
{

class protodesc_builder : public protodesc_json_fixture
{
protected:
    /// The tags of the record, as "category=A family=F".
    std::string tags()
    {
        std::string out;
        for (uint32_t i = 0; i < pb.pb_tags.nv_nr; ++i) {
            out += i == 0 ? "" : " ";
            out += csa_str_view(pb.pb_tags.nv_name[i]);
            out += '=';
            out += csa_str_view(pb.pb_tags.nv_val[i]);
        }
        return out;
    }

    /// Gives the configuration a rule file for protocols: an object of a "name" and nothing else.
    void configure_semantic(const char *rules)
    {
        cfg = *pdata_cfg_get(nullptr);
        const std::string_view text = rules;
        for (pdata_cfg_meta_t &meta : cfg.meta)
            if (meta.meta == PDATA_META_SEM && meta.type == PDATA_TYPE_PROTOCOL)
                meta.json.emplace(text.begin(), text.end());
        json.cfg = &cfg;
        json.proto_sem_type = PDATA_TYPE_PROTOCOL;
    }

    pdata_cfg_t cfg;
};

constexpr const char *NAME_ONLY = R"({
    "nodes": [{"key": 0}, {"key": 1}, {"key": 2}, {"key": 3}, {"key": 4}],
    "transitions": [{"from": 0, "to": 1, "trans": "{"}, {"from": 1, "to": 2, "trans": "name"},
                    {"from": 2, "to": 3, "trans": "*"}, {"from": 3, "to": 4, "trans": "}"}]})";

TEST_F(protodesc_builder, the_meta_of_a_protocol)
{
    EXPECT_EQ(build(R"({"name": "web", "id": 16777223, "http_reclassify": true,
                        "cacheable": false, "implicit_bottom_layer": 3,
                        "version": {"major": 1, "minor": 2, "revision": 4},
                        "altname": ["www", "http"]})"),
              "0");
    EXPECT_EQ(csa_str_view(pb.pb_name), "web");
    EXPECT_EQ(pb.pb_id, 16777223U);
    EXPECT_EQ(pb.pb_http_reclassify, 1U);
    EXPECT_EQ(pb.pb_cacheable, 0U);
    EXPECT_EQ(pb.pb_implicit_bottom_layer, 3U);
    EXPECT_EQ(pb.pb_version, (std::array<uint32_t, 3>{1, 2, 4}));
    EXPECT_EQ(pb.pb_altname.v_nr, 2U);
    EXPECT_EQ(csa_str_view(pb.pb_altname.v_val[0]), "www");
    EXPECT_EQ(csa_str_view(pb.pb_altname.v_val[1]), "http");
    EXPECT_EQ(pb.pb_nr_sub_rule, 0U);
}

TEST_F(protodesc_builder, what_is_absent_has_its_reset_value)
{
    EXPECT_EQ(build(R"({"name": "web", "id": 7, "http_reclassify": true, "cacheable": false,
                        "implicit_bottom_layer": 1, "version": {"major": 9, "minor": 9},
                        "altname": "a", "tags": {"family": "F"}})"),
              "0");
    EXPECT_EQ(build(R"({"name": "web2", "version": {"revision": 5}})"), "0");
    EXPECT_EQ(pb.pb_http_reclassify, 0U);
    EXPECT_EQ(pb.pb_cacheable, 1U);
    EXPECT_EQ(pb.pb_implicit_bottom_layer, 0U);
    EXPECT_EQ(pb.pb_version, (std::array<uint32_t, 3>{0, 0, 5}));
    EXPECT_EQ(pb.pb_altname.v_nr, 0U);
    EXPECT_EQ(pb.pb_id, 0U);
    EXPECT_EQ(tags(), "");
}

TEST_F(protodesc_builder, a_literal_that_is_not_true_is_false)
{
    EXPECT_EQ(build(R"({"name": "web", "http_reclassify": null, "cacheable": null})"), "0");
    EXPECT_EQ(pb.pb_http_reclassify, 0U);
    EXPECT_EQ(pb.pb_cacheable, 0U);
}

TEST_F(protodesc_builder, a_protocol_without_an_id_takes_that_of_the_built_in_one)
{
    EXPECT_EQ(build(R"({"name": "http"})"), "0");
    EXPECT_EQ(pb.pb_id, 67U);
    EXPECT_EQ(build(R"({"name": "http", "id": 0})"), "0");
    EXPECT_EQ(pb.pb_id, 0U) << "an id of 0 is an id";
    EXPECT_EQ(build(R"({"name": "HTTP"})"), "0");
    EXPECT_EQ(pb.pb_id, 0U);
    EXPECT_EQ(build(R"({"id": 5})"), "0");
    EXPECT_EQ(pb.pb_id, 5U);
    EXPECT_EQ(build(R"({"name": "ht\tp"})"), "0");
    EXPECT_EQ(pb.pb_id, 0U);
    EXPECT_EQ(build(R"({"name": "h\ttp"})"), "0");
    EXPECT_EQ(build(R"({"name": "\http"})"), "0");
    EXPECT_EQ(pb.pb_id, 67U) << "the name is unescaped first";
}

TEST_F(protodesc_builder, a_built_in_name_ends_at_its_first_0_byte)
{
    EXPECT_EQ(get_protocol_id_from_name("tcp", 3), 205U);
    EXPECT_EQ(get_protocol_id_from_name("tcpx", 3), 205U);
    EXPECT_EQ(get_protocol_id_from_name("tcp\0x", 5), 205U);
    EXPECT_EQ(get_protocol_id_from_name("", 0), 0U);
    EXPECT_EQ(get_protocol_id_from_name(nullptr, 0), 0U);
    EXPECT_EQ(get_protocol_id_from_name("bittorrent_application_x", 24), 0U);
    failing_alloc_arm(1);
    const uint32_t id = get_protocol_id_from_name("a_name_of_more_than_15_bytes", 28);
    EXPECT_TRUE(failing_alloc_disarm());
    EXPECT_EQ(id, 0U) << "no memory for the copy";
}

TEST_F(protodesc_builder, categories_family_and_deprecated_become_tags_in_this_order)
{
    EXPECT_EQ(build(R"({"name": "web", "tags": {"deprecated": true, "family": "F",
                        "category": ["A", "B\/C"]}})"),
              "0");
    EXPECT_EQ(tags(), "category=A category=B/C family=F deprecated=true");
    EXPECT_EQ(build(R"({"name": "web", "tags": {"deprecated": false, "category": "A"}})"), "0");
    EXPECT_EQ(tags(), "category=A");
    EXPECT_EQ(build(R"({"name": "web", "tags": {"deprecated": null, "family": "F"}})"), "0");
    EXPECT_EQ(tags(), "family=F");
}

TEST_F(protodesc_builder, nine_categories_are_the_most)
{
    EXPECT_EQ(build(R"({"name": "web", "tags": {"family": "F", "deprecated": true,
                        "category": ["1","2","3","4","5","6","7","8","9"]}})"),
              "0");
    EXPECT_EQ(pb.pb_tags.nv_nr, 11U);
    EXPECT_EQ(build(R"({"name": "web", "tags": {"category":
                        ["1","2","3","4","5","6","7","8","9","10"]}})"),
              OUTCOME_OVERFLOW ": Increase tag dimension");
}

TEST_F(protodesc_builder, a_smaller_tag_table_is_full_earlier)
{
    protodesc_bounds_t bounds = pb.pb_bounds;
    bounds.pi_max_tags = 2;
    ASSERT_TRUE(protodesc_init(&pb, bounds, &strings, &tag_strings));
    EXPECT_EQ(build(R"({"tags": {"category": ["1", "2"]}})"), "0");
    EXPECT_EQ(build(R"({"tags": {"category": ["1", "2", "3"]}})"),
              OUTCOME_OVERFLOW ": Increase tag dimension");
    EXPECT_EQ(build(R"({"tags": {"category": ["1", "2"], "family": "F"}})"),
              OUTCOME_OVERFLOW ": Increase tag dimension");
    EXPECT_EQ(build(R"({"tags": {"category": "1", "family": "F", "deprecated": true}})"),
              OUTCOME_OVERFLOW ": Increase tag dimension");
}

TEST_F(protodesc_builder, descriptions_never_reach_the_record)
{
    EXPECT_EQ(build(R"({"name": "web", "description": {"fr": "f", "en": "e"}})"), "0");
    EXPECT_EQ(pb.pb_desc.nv_nr, 0U);
    EXPECT_EQ(pb.pb_compat.v_nr, 0U);
    EXPECT_EQ(pb.pb_default_port.str_buf, nullptr);
    EXPECT_EQ(pb.pb_max_trans, 0U);
}

TEST_F(protodesc_builder, every_value_is_unescaped)
{
    EXPECT_EQ(build(R"({"name": "w\te\\b", "altname": "\u0041", "tags": {"family": "a\"b"},
                        "rules": [{"order": "5\:3", "path": ["\n", "w\te\\b"], "rule-tags": "t\t",
                                   "scope": "ht\tp",
                                   "rule": [{"protocol": "\htt\p", "content": "\\."}]}]})"),
              OUTCOME_JSON_BAD_SEMANTIC ": Scope array contains invalid protocol")
        << "a tab in a scope word";
    EXPECT_EQ(build(R"({"name": "w\te\\b", "altname": "\u0041", "tags": {"family": "a\"b"},
                        "rules": [{"order": "5\:3", "path": ["\n", "w\te\\b"], "rule-tags": "t\t",
                                   "scope": "\http",
                                   "rule": [{"protocol": "\htt\p", "content": "\\."}]}]})"),
              "0");
    EXPECT_EQ(csa_str_view(pb.pb_name), "w\te\\b");
    EXPECT_EQ(csa_str_view(pb.pb_altname.v_val[0]), "u0041");
    EXPECT_EQ(csa_str_view(pb.pb_tags.nv_val[0]), "a\"b");
    EXPECT_EQ(slot().rule_order, 0x05000003U);
    EXPECT_EQ(csa_str_view(slot().rule_path[0]), "\n");
    EXPECT_EQ(csa_str_view(slot().rule_tags[0]), "t\t");
    EXPECT_EQ(csa_str_view(slot().rule_protocol), "http");
    EXPECT_EQ(attr(0, 0), "content:\\.");
}

TEST_F(protodesc_builder, it_says_how_much_text_a_protocol_took)
{
    const std::string one = "{\"name\": \"web\"} \n\t ";
    EXPECT_EQ(build(one + ", {\"name\": \"other\"}"), "0");
    EXPECT_EQ(consumed, one.size()) << "with the whitespace behind it";
    EXPECT_EQ(csa_str_view(pb.pb_name), "web");
}

TEST_F(protodesc_builder, a_text_that_does_not_parse_is_status_56_with_the_report)
{
    EXPECT_EQ(build("{\"name\"; 1}"), OUTCOME_PRAGMAR ": lex failure on line: 1\n"
                                                      "{\"name\"\n"
                                                      "------^\n"
                                                      "Unknown token '; 1}'\n");
    EXPECT_EQ(build(""), OUTCOME_PRAGMAR
              ": parse failure on line: 1\n"
              "Expecting 'STRING', 'NUMBER', 'NULL', 'TRUE', 'FALSE', '{', '[', got "
              "'EOF'.\n");
    EXPECT_EQ(csa_str_view(pb.pb_name), "") << "the record was reset";
}

TEST_F(protodesc_builder, a_report_is_taken_verbatim)
{
    EXPECT_EQ(build("{\"%s%n%d\" 1}"), OUTCOME_PRAGMAR ": parse failure on line: 1\n"
                                                       "{\"%s%n%d\" 1\n"
                                                       "----------^\n"
                                                       "Expecting ':', got '1'.\n");
}

TEST_F(protodesc_builder, a_protocol_is_checked_against_the_semantic_rules)
{
    configure_semantic(NAME_ONLY);
    EXPECT_EQ(build(R"({"name": "web"})"), "0");
    EXPECT_EQ(build(R"({"name": "web", "id": 1})"),
              OUTCOME_JSON_BAD_SEMANTIC ": Bad semantic.\n"
                                        "Protocol: web.\n"
                                        "Context: { \"name\" : \"*\" \n"
                                        "Unexpected type ','.\n"
                                        "Expected:\n"
                                        "\t+ type '}'.\n");
    EXPECT_EQ(build(R"({"name": "another"})"), "0") << "every protocol starts anew";
    cfg.ignore_sem = 1;
    EXPECT_EQ(build(R"({"name": "web", "id": 1})"), "0");
    cfg.ignore_sem = 0;
    json.proto_sem_type = PDATA_TYPE_RULE_ENGINE;
    EXPECT_EQ(build(R"({"name": "web", "id": 1})"), "0") << "no rules of that kind";
}

// The context starts anew with every protocol, the name does not.
TEST_F(protodesc_builder, a_name_is_reported_until_the_next_one_is_met)
{
    configure_semantic(NAME_ONLY);
    EXPECT_EQ(build(R"({"name": "web"})"), "0");
    EXPECT_EQ(outcome(json_to_protodesc(&json, R"({"id": 1})", &consumed, &pb)),
              OUTCOME_JSON_BAD_SEMANTIC ": Bad semantic.\n"
                                        "Protocol: web.\n"
                                        "Context: { \n"
                                        "Unexpected type 'STRING': \"id\".\n"
                                        "Expected:\n"
                                        "\t+ type 'STRING', \"name\".\n");
}

TEST_F(protodesc_builder, semantic_rules_that_do_not_parse_refuse_every_protocol)
{
    configure_semantic("{");
    const std::string report = OUTCOME_JSON_BAD_SEMANTIC
        ": parse failure on line: 1\n{\n^\nExpecting 'STRING', got 'EOF'.\n";
    EXPECT_EQ(build(R"({"name": "web"})"), report);
    EXPECT_EQ(build(R"({"name": "web"})"), report);
    configure_semantic("");
    EXPECT_EQ(build(R"({"name": "web"})"), OUTCOME_JSON_BAD_SEMANTIC
              ": parse failure on line: 1\n"
              "Expecting 'STRING', 'NUMBER', 'NULL', 'TRUE', 'FALSE', '{', '[', got 'EOF'.\n")
        << "an empty rule file is a rule file";
}

TEST_F(protodesc_builder, without_a_configuration_nothing_is_checked)
{
    EXPECT_EQ(build(R"({"name": "web", "whatever": [1, true, {"x": "y"}]})"), "0");
}

TEST_F(protodesc_builder, a_walk_that_stops_is_status_52)
{
    EXPECT_EQ(build(R"({"name": 1})"), OUTCOME_JSON_BAD_SEMANTIC ": ")
        << "the front end has nothing to report";
    EXPECT_EQ(stderr_of([&] {
                  EXPECT_EQ(build(R"({"tags": {"category":
                                      ["1","2","3","4","5","6","7","8","9","10","11"]}})"),
                            OUTCOME_JSON_BAD_SEMANTIC ": ");
              }),
              "Error: increase tags category dimension.\n");
}

TEST_F(protodesc_builder, several_protocols_and_attributes_do_not_go_together)
{
    EXPECT_EQ(build_rule(R"("order": "1:1", )", R"("protocol": ["tcp", "udp"], "port": "80")"),
              OUTCOME_JSON_BAD_SEMANTIC
              ": A subrule cannot contains an array of protocol and attributes");
    EXPECT_EQ(build_rules(R"({"rule": [{"protocol": "ip"},
                                       {"protocol": ["tcp", "udp"], "port": "80"}]})"),
              OUTCOME_JSON_BAD_SEMANTIC
              ": A subrule cannot contains an array of protocol and attributes");
    EXPECT_EQ(build_rule(R"("order": "1:1", )", R"("protocol": ["tcp"], "port": "80")"), "0");
}

/// The bottom protocols of the slots, as "1.1 tcp, 1.2 ip".
std::string bottoms(const protodesc_build_t &pb)
{
    std::string out;
    for (uint32_t i = 0; i < pb.pb_nr_sub_rule; ++i) {
        const ruledesc_build_t &slot = pb.pb_rules[i];
        out += i == 0 ? "" : ", ";
        out += std::to_string(slot.rule_id);
        out += '.';
        out += std::to_string(slot.rule_sub_id);
        out += ' ';
        out += csa_str_view(slot.rule_protocol);
    }
    return out;
}

TEST_F(protodesc_builder, a_rule_with_several_protocols_is_split)
{
    EXPECT_EQ(
        build_rules(R"({"rule": [{"protocol": ["tcp", "udp"]}]}, {"rule": [{"protocol": "ip"}]})"),
        "0");
    EXPECT_EQ(bottoms(pb), "1.1 tcp, 2.1 ip, 3.1 udp") << "the copy stands behind all others";
    EXPECT_EQ(build_rules(R"({"rule": [{"protocol": ["a", "b", "c"]}]},
                             {"rule": [{"protocol": ["d", "e"]}]})"),
              "0");
    EXPECT_EQ(bottoms(pb), "1.1 a, 2.1 d, 3.1 b, 4.1 c, 5.1 e");
}

TEST_F(protodesc_builder, only_the_first_such_sub_rule_of_a_rule_is_split)
{
    EXPECT_EQ(build_rules(R"({"rule": [{"protocol": "x"}, {"protocol": ["a", "b"]}]})"), "0");
    EXPECT_EQ(bottoms(pb), "1.1 x, 1.2 a, 2.1 x, 2.2 b");
    EXPECT_EQ(build_rules(R"({"rule": [{"protocol": ["a", "b"]}, {"protocol": ["c", "d"]}]})"),
              "0");
    EXPECT_EQ(bottoms(pb), "1.1 a, 1.2 c, 2.1 b, 2.2 c") << "of the other only the first counts";
}

TEST_F(protodesc_builder, the_copies_of_a_split_have_what_the_rule_has)
{
    EXPECT_EQ(build_rules(R"({"order": "1:2", "fastpass": true, "path": ["ip", "web"],
                              "rule": [{"protocol": "tcp", "port": "80"},
                                       {"protocol": ["a", "b"], "mindata": 4}]})"),
              "0");
    EXPECT_EQ(bottoms(pb), "1.1 tcp, 1.2 a, 2.1 tcp, 2.2 b");
    EXPECT_EQ(slot(2).rule_order, 0x01000002U);
    EXPECT_EQ(slot(2).rule_fastpass, 1U);
    EXPECT_EQ(slot(2).rule_nr_path, 2U);
    EXPECT_EQ(attr(2, 0), "port:80");
    EXPECT_EQ(slot(3).rule_cts_mindata, 4U);
}

TEST_F(protodesc_builder, a_split_stops_at_1199_rules)
{
    std::string rules = R"({"rule": [{"protocol": ["a", "b"]}]})";
    for (int i = 1; i < 1198; ++i)
        rules += R"(,{"rule": [{"protocol": "c"}]})";
    EXPECT_EQ(build_rules(rules), "0");
    EXPECT_EQ(pb.pb_nr_sub_rule, 1199U);
    EXPECT_EQ(slot(1198).rule_id, 1199U);
    EXPECT_EQ(csa_str_view(slot(1198).rule_protocol), "b");
    EXPECT_EQ(build_rules(rules + R"(,{"rule": [{"protocol": "c"}]})"),
              OUTCOME_OVERFLOW ": Increase protocol rules dimension");
}

} // namespace
