#include <gtest/gtest.h>

#include <cstring>
#include <deque>

#include "captured.h"
#include "container_protocol.h"

namespace
{

/// Nodes that belong to no tree.
struct node_pool {
    std::deque<json_string_t> strings;
    std::deque<json_number_t> numbers;
    std::deque<json_atom_t> atoms;

    json_string_t *string(const char *text)
    {
        strings.push_back({{JSON_STRING}, text, static_cast<uint32_t>(std::strlen(text))});
        return &strings.back();
    }
    json_number_t *number(uint32_t value)
    {
        numbers.push_back({{JSON_NUMBER}, value});
        return &numbers.back();
    }
    json_atom_t *atom(json_atom_type_t type)
    {
        atoms.push_back({{JSON_TRUE}, type});
        return &atoms.back();
    }
};

class container_protocol : public testing::Test
{
protected:
    node_pool nodes;
    protocol_t protocol;
};

/// Calls `add` until it refuses; gives how often it did not, and what it printed then.
template <typename Add>
std::string fill(Add &&add)
{
    int accepted = 0;
    const std::string printed = stderr_of([&] {
        while (add() == 0 && accepted < 5000)
            ++accepted;
    });
    return std::to_string(accepted) + " then " + printed;
}

TEST_F(container_protocol, setters_overwrite)
{
    json_string_t *first = nodes.string("first");
    json_string_t *second = nodes.string("second");
    EXPECT_EQ(protocol_name_set(&protocol, first), 0);
    EXPECT_EQ(protocol_name_set(&protocol, second), 0);
    EXPECT_EQ(protocol.name, second);
    EXPECT_EQ(protocol_tags_family_set(&protocol, first), 0);
    EXPECT_EQ(protocol_tags_family_set(&protocol, second), 0);
    EXPECT_EQ(protocol.tags.family, second);
    EXPECT_EQ(protocol_rules_rule_order_set(&protocol, first), 0);
    EXPECT_EQ(protocol_rules_rule_order_set(&protocol, second), 0);
    EXPECT_EQ(protocol.rules.rules[0].order, second);
}

TEST_F(container_protocol, adders_append)
{
    json_string_t *a = nodes.string("a");
    json_string_t *b = nodes.string("b");
    EXPECT_EQ(protocol_tags_category_add(&protocol, a), 0);
    EXPECT_EQ(protocol_tags_category_add(&protocol, b), 0);
    EXPECT_EQ(protocol.tags.nr_category, 2U);
    EXPECT_EQ(protocol.tags.categories[0], a);
    EXPECT_EQ(protocol.tags.categories[1], b);
}

TEST_F(container_protocol, full_lists_print_what_to_increase)
{
    json_string_t *node = nodes.string("x");
    EXPECT_EQ(fill([&] { return protocol_tags_category_add(&protocol, node); }),
              "10 then Error: increase tags category dimension.\n");
    EXPECT_EQ(fill([&] { return protocol_altname_add(&protocol, node); }),
              "10 then Error: increase altname dimension.\n");
    EXPECT_EQ(fill([&] { return protocol_rules_rule_scope_add(&protocol, node); }),
              "8 then Error: increase scope dimension.\n");
    EXPECT_EQ(fill([&] { return protocol_rules_rule_path_add(&protocol, node); }),
              "4 then Error: increase path dimension.\n");
    EXPECT_EQ(fill([&] { return protocol_rules_rule_tag_add(&protocol, node); }),
              "4 then Error: increase rules tags number.\n");
    EXPECT_EQ(fill([&] { return protocol_rules_rule_protocol_set(&protocol, node); }),
              "6 then Error: increase protocol dimension.\n");
    EXPECT_EQ(protocol.tags.nr_category, 10U) << "what was stored stays";
    EXPECT_EQ(protocol.altnames.nr_altname, 10U);
    EXPECT_EQ(protocol.rules.rules[0].nr_scope, 8U);
    EXPECT_EQ(protocol.rules.rules[0].nr_path, 4U);
    EXPECT_EQ(protocol.rules.rules[0].nr_tag, 4U);
    EXPECT_EQ(protocol.rules.rules[0].sub_rules[0].nr_protocol, 6U);
}

TEST_F(container_protocol, sixteen_plain_attributes_fit_a_sub_rule)
{
    json_string_t *node = nodes.string("x");
    const auto add = [&] {
        EXPECT_EQ(protocol_rules_rule_attr_name_add(&protocol, node), 0);
        return protocol_rules_rule_attr_value_add(&protocol, node);
    };
    EXPECT_EQ(fill(add), "16 then Error: increase attribut dimension.\n");
    EXPECT_EQ(protocol.rules.rules[0].sub_rules[0].nr_attr, 16U);
    EXPECT_EQ(fill(add), "0 then Error: increase attribut dimension.\n");
}

TEST_F(container_protocol, the_sixteenth_attribute_with_an_offset_fails_and_stays_counted)
{
    json_string_t *pattern = nodes.string("p");
    json_number_t *offset = nodes.number(4);
    const auto add = [&] {
        EXPECT_EQ(
            protocol_rules_rule_stream_offset_name_add(&protocol, nodes.string("stream_offset")),
            0);
        EXPECT_EQ(protocol_rules_rule_stream_offset_offset_set(&protocol, offset), 0);
        return protocol_rules_rule_stream_offset_pattern_set(&protocol, pattern);
    };
    EXPECT_EQ(fill(add), "15 then Error: increase attribut dimension.\n");
    EXPECT_EQ(protocol.rules.rules[0].sub_rules[0].nr_attr, 16U);
}

TEST_F(container_protocol, an_attribute_with_an_offset_behind_sixteen_others_fails)
{
    for (int i = 0; i < 16; ++i) {
        EXPECT_EQ(protocol_rules_rule_attr_name_add(&protocol, nodes.string("a")), 0);
        EXPECT_EQ(protocol_rules_rule_attr_value_add(&protocol, nodes.string("v")), 0);
    }
    EXPECT_EQ(
        stderr_of([&] {
            EXPECT_EQ(protocol_rules_rule_stream_offset_pattern_set(&protocol, nodes.string("p")),
                      0);
            EXPECT_EQ(protocol_rules_rule_stream_offset_offset_set(&protocol, nodes.number(1)), -1);
        }),
        "Error: increase attribut dimension.\n");
    EXPECT_EQ(protocol.rules.rules[0].sub_rules[0].nr_attr, 16U);
}

TEST_F(container_protocol, the_key_of_an_attribute_with_an_offset_loses_its_suffix)
{
    const std::pair<const char *, const char *> names[] = {
        {"stream_offset", "stream"},
        {"cts-stream_offset", "cts-stream"},
        {"stc-stream_offset", "stc-stream"},
        {"12345678", "1"},
        {"1234567", "1234567"},
    };
    for (const auto &[written, kept] : names) {
        json_string_t *node = nodes.string(written);
        EXPECT_EQ(protocol_rules_rule_stream_offset_name_add(&protocol, node), 0);
        EXPECT_EQ(json_string_view(*node), kept) << "in the node itself";
        EXPECT_EQ(protocol.rules.rules[0].sub_rules[0].attrs[0].name, node);
    }
    EXPECT_EQ(protocol.rules.rules[0].sub_rules[0].nr_attr, 0U) << "not yet counted";
}

TEST_F(container_protocol, offset_and_pattern_come_in_either_order)
{
    for (const bool pattern_first : {true, false}) {
        protocol_init(&protocol);
        json_string_t *name = nodes.string("cts-stream_offset");
        json_string_t *pattern = nodes.string("p");
        json_number_t *offset = nodes.number(4);
        EXPECT_EQ(protocol_rules_rule_stream_offset_name_add(&protocol, name), 0);
        if (pattern_first) {
            EXPECT_EQ(protocol_rules_rule_stream_offset_pattern_set(&protocol, pattern), 0);
            EXPECT_EQ(protocol.rules.rules[0].sub_rules[0].nr_attr, 0U);
        }
        EXPECT_EQ(protocol_rules_rule_stream_offset_offset_set(&protocol, offset), 0);
        if (!pattern_first) {
            EXPECT_EQ(protocol.rules.rules[0].sub_rules[0].nr_attr, 0U);
            EXPECT_EQ(protocol_rules_rule_stream_offset_pattern_set(&protocol, pattern), 0);
        }
        const protocol_sub_rule_t &sub_rule = protocol.rules.rules[0].sub_rules[0];
        EXPECT_EQ(sub_rule.nr_attr, 1U);
        EXPECT_EQ(json_string_view(*sub_rule.attrs[0].name), "cts-stream");
        EXPECT_EQ(sub_rule.attrs[0].value, pattern);
        EXPECT_EQ(sub_rule.attrs[0].pattern_offset, offset);
    }
}

TEST_F(container_protocol, the_third_sub_rule_of_a_rule_fails_at_its_end)
{
    EXPECT_EQ(fill([&] { return protocol_rules_sub_rule_next(&protocol); }),
              "2 then Error: increase sub rules dimension.\n");
    EXPECT_EQ(protocol_rules_rule_mindata_set(&protocol, nodes.number(7)), 0)
        << "until then it takes what comes";
    EXPECT_EQ(protocol.rules.rules[0].sub_rules[0].mindata, nullptr);
    EXPECT_EQ(protocol.rules.rules[0].sub_rules[1].mindata, nullptr);
}

TEST_F(container_protocol, the_1200th_rule_fails_at_its_end)
{
    EXPECT_EQ(fill([&] { return protocol_rules_rule_next(&protocol); }),
              "1199 then Error: increase rule dimension.\n");
    EXPECT_EQ(protocol.rules.nr_rule, 1199U);
    EXPECT_EQ(protocol_rules_rule_order_set(&protocol, nodes.string("1:1")), 0);
    EXPECT_EQ(protocol_rules_sub_rule_next(&protocol), 0);
}

TEST_F(container_protocol, an_emptied_container_has_no_traces)
{
    EXPECT_EQ(protocol_name_set(&protocol, nodes.string("n")), 0);
    EXPECT_EQ(protocol_rules_rule_order_set(&protocol, nodes.string("1:1")), 0);
    EXPECT_EQ(protocol_rules_rule_path_add(&protocol, nodes.string("p")), 0);
    EXPECT_EQ(protocol_rules_rule_next(&protocol), 0);
    protocol_init(&protocol);
    EXPECT_EQ(protocol.name, nullptr);
    EXPECT_EQ(protocol.rules.nr_rule, 0U);
    EXPECT_EQ(protocol_rules_rule(&protocol).order, nullptr);
    EXPECT_EQ(protocol_rules_rule(&protocol).nr_path, 0U);
    protocol_cleanup(&protocol);
    EXPECT_TRUE(protocol.rules.rules.empty());
}

TEST_F(container_protocol, a_dump_of_nothing_is_nothing)
{
    EXPECT_EQ(stdout_of([&] { protocol_dump(protocol); }), "");
}

TEST_F(container_protocol, a_dump_has_one_line_for_every_field)
{
    protocol_name_set(&protocol, nodes.string("web"));
    protocol_id_set(&protocol, nodes.number(67));
    protocol_vid_set(&protocol, nodes.number(8));
    protocol_version_major_set(&protocol, nodes.number(1));
    protocol_version_minor_set(&protocol, nodes.number(2));
    protocol_version_revision_set(&protocol, nodes.number(3));
    EXPECT_EQ(protocol_tags_category_add(&protocol, nodes.string("Web")), 0);
    EXPECT_EQ(protocol_tags_category_add(&protocol, nodes.string("CDN")), 0);
    protocol_tags_family_set(&protocol, nodes.string("Appli"));
    protocol_tags_deprecated_set(&protocol, nodes.atom(JSON_ATOM_TRUE));
    protocol_http_reclassify_set(&protocol, nodes.atom(JSON_ATOM_FALSE));
    protocol_cacheable_set(&protocol, nodes.atom(JSON_ATOM_NULL));
    protocol_implicit_bottom_layer_set(&protocol, nodes.number(9));
    EXPECT_EQ(protocol_altname_add(&protocol, nodes.string("www")), 0);
    protocol_description_fr_set(&protocol, nodes.string("toile"));
    protocol_description_en_set(&protocol, nodes.string("the web"));
    EXPECT_EQ(stdout_of([&] { protocol_dump(protocol); }), "name: web\n"
                                                           "id: 67\n"
                                                           "virtual_id: 8\n"
                                                           "version/major: 1\n"
                                                           "version/minor: 2\n"
                                                           "version/revision: 3\n"
                                                           "tags/category: Web\n"
                                                           "tags/category: CDN\n"
                                                           "family: Appli\n"
                                                           "deprecated: TRUE"
                                                           "http_reclassify: FALSE"
                                                           "cacheable: NULL"
                                                           "altnames/altnames: www\n"
                                                           "description/fr: toile\n"
                                                           "description/en: the web\n")
        << "literals have no line end, the implicit bottom layer has no line";
    protocol_cacheable_set(&protocol, nodes.atom(static_cast<json_atom_type_t>(7)));
    EXPECT_NE(stdout_of([&] { protocol_dump(protocol); }).find("cacheable: unknown value: 7\n"),
              std::string::npos);
}

TEST_F(container_protocol, a_dump_goes_through_rules_and_sub_rules)
{
    protocol_rules_rule_order_set(&protocol, nodes.string("5:3"));
    EXPECT_EQ(protocol_rules_rule_path_add(&protocol, nodes.string("ip")), 0);
    EXPECT_EQ(protocol_rules_rule_path_add(&protocol, nodes.string("web")), 0);
    EXPECT_EQ(protocol_rules_rule_protocol_set(&protocol, nodes.string("tcp")), 0);
    protocol_rules_rule_mindata_set(&protocol, nodes.number(4));
    EXPECT_EQ(protocol_rules_rule_attr_name_add(&protocol, nodes.string("port")), 0);
    EXPECT_EQ(protocol_rules_rule_attr_value_add(&protocol, nodes.string("80")), 0);
    EXPECT_EQ(protocol_rules_sub_rule_next(&protocol), 0);
    EXPECT_EQ(protocol_rules_rule_protocol_set(&protocol, nodes.string("ip")), 0);
    EXPECT_EQ(protocol_rules_sub_rule_next(&protocol), 0);
    EXPECT_EQ(protocol_rules_rule_next(&protocol), 0);
    EXPECT_EQ(protocol_rules_rule_next(&protocol), 0);
    EXPECT_EQ(stdout_of([&] { protocol_dump(protocol); }), "rule: 0\n"
                                                           "| order: 5:3\n"
                                                           "| path: ip\n"
                                                           "| path: web\n"
                                                           "| sub: 0\n"
                                                           "| | protocol: tcp\n"
                                                           "| | mindata: 4\n"
                                                           "| | port 80\n"
                                                           "| sub: 1\n"
                                                           "| | protocol: ip\n"
                                                           "rule: 1\n");
}

TEST_F(container_protocol, an_attribute_in_front_of_all_names_has_none)
{
    EXPECT_EQ(protocol_rules_rule_attr_value_add(&protocol, nodes.string("80")), 0);
    const protocol_sub_rule_t &sub_rule = protocol_rules_rule(&protocol).sub_rules[0];
    ASSERT_EQ(sub_rule.nr_attr, 1U);
    EXPECT_EQ(sub_rule.attrs[0].name, nullptr);
    EXPECT_EQ(protocol_rules_rule_attr_name_add(&protocol, nodes.string("port")), 0);
    EXPECT_EQ(protocol_rules_rule_attr_value_add(&protocol, nodes.string("81")), 0);
    EXPECT_EQ(protocol_rules_rule_attr_value_add(&protocol, nullptr), 0);
    ASSERT_EQ(sub_rule.nr_attr, 3U);
    EXPECT_EQ(json_string_view(*sub_rule.attrs[1].name), "port");
    EXPECT_EQ(sub_rule.attrs[2].name, sub_rule.attrs[1].name) << "after the one before it";
    EXPECT_EQ(sub_rule.attrs[2].value, nullptr);
    EXPECT_EQ(protocol_rules_sub_rule_next(&protocol), 0);
    EXPECT_EQ(protocol_rules_rule_next(&protocol), 0);
    EXPECT_EQ(stdout_of([&] { protocol_dump(protocol); }), "rule: 0\n"
                                                           "| sub: 0\n"
                                                           "| | port 81\n");
}

} // namespace
