#include <gtest/gtest.h>

#include "captured.h"
#include "container_fixture.h"

namespace
{

using visitor_protocol = container_fixture;

TEST_F(visitor_protocol, every_state_has_its_number)
{
    const std::pair<protocol_state_t, uint32_t> states[] = {
        {PROTOCOL_STATE_ROOT, 0x80000000},
        {PROTOCOL_STATE_VERSION, 0x80000001},
        {PROTOCOL_STATE_TAGS, 0x80000002},
        {PROTOCOL_STATE_DESCRIPTION, 0x80000003},
        {PROTOCOL_STATE_RULES, 0x80000004},
        {PROTOCOL_STATE_RULES_RULE, 0x80000005},
        {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET, 0x80000006},
        {PROTOCOL_STATE_UNKNOWN, 0x80000007},
        {PROTOCOL_STATE_TAGS_DEPRECATED, 0x40000000},
        {PROTOCOL_STATE_HTTP_RECLASSIFY, 0x40000001},
        {PROTOCOL_STATE_CACHEABLE, 0x40000002},
        {PROTOCOL_STATE_RULES_RULE_FASTPASS, 0x40000003},
        {PROTOCOL_STATE_RULES_RULE_PREEMPT, 0x40000004},
        {PROTOCOL_STATE_NAME, 0x20000000},
        {PROTOCOL_STATE_TAGS_CATEGORY, 0x20000001},
        {PROTOCOL_STATE_TAGS_FAMILY, 0x20000002},
        {PROTOCOL_STATE_ALTNAME, 0x20000003},
        {PROTOCOL_STATE_DESCRIPTION_FR, 0x20000004},
        {PROTOCOL_STATE_DESCRIPTION_EN, 0x20000005},
        {PROTOCOL_STATE_RULES_RULE_ORDER, 0x20000006},
        {PROTOCOL_STATE_RULES_RULE_SCOPE, 0x20000007},
        {PROTOCOL_STATE_RULES_RULE_PATH, 0x20000008},
        {PROTOCOL_STATE_RULES_RULE_TAG, 0x20000009},
        {PROTOCOL_STATE_RULES_RULE_PROTOCOL, 0x2000000A},
        {PROTOCOL_STATE_RULES_RULE_ATTR, 0x2000000B},
        {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_PATTERN, 0x2000000C},
        {PROTOCOL_STATE_ID, 0x10000000},
        {PROTOCOL_STATE_VIRTUAL_ID, 0x10000001},
        {PROTOCOL_STATE_VERSION_MAJOR, 0x10000002},
        {PROTOCOL_STATE_VERSION_MINOR, 0x10000003},
        {PROTOCOL_STATE_VERSION_REVISION, 0x10000004},
        {PROTOCOL_STATE_RULES_RULE_MINDATA, 0x10000005},
        {PROTOCOL_STATE_RULES_RULE_CTS_MINDATA, 0x10000006},
        {PROTOCOL_STATE_RULES_RULE_STC_MINDATA, 0x10000007},
        {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_OFFSET, 0x10000008},
        {PROTOCOL_STATE_IMPLICIT_BOTTOM_LAYER, 0x10000009},
    };
    for (const auto &[state, number] : states)
        EXPECT_EQ(uint32_t{state}, number);
}

TEST_F(visitor_protocol, the_keys_of_a_protocol)
{
    EXPECT_EQ(walk(R"({"name": "web", "id": 7, "virtual_id": 8, "http_reclassify": true,
                       "cacheable": false, "implicit_bottom_layer": 3,
                       "version": {"major": 1, "minor": 2, "revision": 4},
                       "tags": {"category": ["A", "B"], "family": "F", "deprecated": null},
                       "altname": "www", "description": {"fr": "f", "en": "e"}})"),
              0);
    EXPECT_EQ(text(protocol.name), "web");
    EXPECT_EQ(protocol.id->number, 7U);
    EXPECT_EQ(protocol.vid->number, 8U);
    EXPECT_EQ(protocol.http_reclassify->type, JSON_ATOM_TRUE);
    EXPECT_EQ(protocol.cacheable->type, JSON_ATOM_FALSE);
    EXPECT_EQ(protocol.implicit_bottom_layer->number, 3U);
    EXPECT_EQ(protocol.version.major->number, 1U);
    EXPECT_EQ(protocol.version.minor->number, 2U);
    EXPECT_EQ(protocol.version.revision->number, 4U);
    EXPECT_EQ(protocol.tags.nr_category, 2U);
    EXPECT_EQ(text(protocol.tags.categories[0]), "A");
    EXPECT_EQ(text(protocol.tags.categories[1]), "B");
    EXPECT_EQ(text(protocol.tags.family), "F");
    EXPECT_EQ(protocol.tags.deprecated->type, JSON_ATOM_NULL);
    EXPECT_EQ(protocol.altnames.nr_altname, 1U);
    EXPECT_EQ(text(protocol.altnames.altnames[0]), "www");
    EXPECT_EQ(text(protocol.description.fr), "f");
    EXPECT_EQ(text(protocol.description.en), "e");
}

TEST_F(visitor_protocol, the_keys_of_a_rule)
{
    EXPECT_EQ(walk(R"({"rules": [{"order": "5:3", "fastpass": true, "preempt": false,
                        "scope": ["http", "ssl"], "path": ["ip", "web"], "rule-tags": "t",
                        "rule": [{"protocol": ["tcp", "udp"], "mindata": 1, "cts-mindata": 2,
                                  "stc-mindata": 3},
                                 {"protocol": "ip", "port": ["80", "81"], "cts-host": "x",
                                  "stream_offset": {"offset": 4, "pattern": "p"}}]}]})"),
              0);
    EXPECT_EQ(protocol.rules.nr_rule, 1U);
    const protocol_rule_t &rule = protocol.rules.rules[0];
    EXPECT_EQ(text(rule.order), "5:3");
    EXPECT_EQ(rule.fastpass->type, JSON_ATOM_TRUE);
    EXPECT_EQ(rule.preempt->type, JSON_ATOM_FALSE);
    EXPECT_EQ(rule.nr_scope, 2U);
    EXPECT_EQ(text(rule.scope[1]), "ssl");
    EXPECT_EQ(rule.nr_path, 2U);
    EXPECT_EQ(text(rule.path[0]), "ip");
    EXPECT_EQ(rule.nr_tag, 1U);
    EXPECT_EQ(text(rule.tag[0]), "t");
    EXPECT_EQ(rule.nr_sub_rule, 2U);
    EXPECT_EQ(sub_rule(0, 0).nr_protocol, 2U);
    EXPECT_EQ(text(sub_rule(0, 0).protocol[1]), "udp");
    EXPECT_EQ(sub_rule(0, 0).mindata->number, 1U);
    EXPECT_EQ(sub_rule(0, 0).cts_mindata->number, 2U);
    EXPECT_EQ(sub_rule(0, 0).stc_mindata->number, 3U);
    EXPECT_EQ(attrs(sub_rule(0, 0)), "");
    EXPECT_EQ(text(sub_rule(0, 1).protocol[0]), "ip");
    EXPECT_EQ(attrs(sub_rule(0, 1)), "port=80 port=81 cts-host=x stream=p@4");
}

TEST_F(visitor_protocol, keys_of_a_rule_behind_its_sub_rules_land_in_the_next_rule)
{
    EXPECT_EQ(walk(R"({"rules": [{"rule": [{"port": "1"}], "order": "1:1", "fastpass": true},
                                 {"rule": [{"port": "2"}], "order": "2:2"}]})"),
              0);
    EXPECT_EQ(protocol.rules.nr_rule, 2U);
    EXPECT_EQ(protocol.rules.rules[0].order, nullptr);
    EXPECT_EQ(text(protocol.rules.rules[1].order), "1:1");
    EXPECT_NE(protocol.rules.rules[1].fastpass, nullptr);
}

TEST_F(visitor_protocol, keys_are_compared_by_length_and_bytes_where_they_may_stand)
{
    EXPECT_EQ(walk(R"({"Name": "a", "names": "a", "nam": "a", "na\me": "a", "major": 1,
                       "category": "c", "order": "1:1", "port": "80"})"),
              0);
    EXPECT_EQ(protocol.name, nullptr);
    EXPECT_EQ(protocol.version.major, nullptr);
    EXPECT_EQ(protocol.tags.nr_category, 0U);
    EXPECT_TRUE(protocol.rules.rules.empty());
}

TEST_F(visitor_protocol, an_unknown_key_is_ignored_with_all_that_it_holds)
{
    EXPECT_EQ(walk(R"({"unknown": {"name": "a", "id": 1, "list": ["x", 1, true, {"id": 2}]},
                       "more": [1, "x", null], "name": "web", "version": {"patch": {"major": 1}},
                       "rules": [{"comment": [{"order": "1:1"}], "rule": []}]})"),
              0);
    EXPECT_EQ(text(protocol.name), "web");
    EXPECT_EQ(protocol.id, nullptr);
    EXPECT_EQ(protocol.version.major, nullptr);
    EXPECT_EQ(protocol.rules.rules[0].order, nullptr);
    EXPECT_EQ(protocol.rules.nr_rule, 1U) << "a rule without sub-rules";
}

TEST_F(visitor_protocol, directly_inside_a_sub_rule_any_other_key_is_an_attribute)
{
    EXPECT_EQ(walk_sub_rule(R"("name": "a", "order": "b", "host": ["c", "d"], "rule": "e",
                               "Protocol": "f", "\"q": "g")"),
              0);
    EXPECT_EQ(attrs(sub_rule()), "name=a order=b host=c host=d rule=e Protocol=f \\\"q=g")
        << "keys stay raw";
}

TEST_F(visitor_protocol, a_value_of_the_wrong_kind_stops_the_walk)
{
    const char *texts[] = {
        R"({"name": 1})",
        R"({"name": true})",
        R"({"id": "1"})",
        R"({"id": null})",
        R"({"virtual_id": "1"})",
        R"({"implicit_bottom_layer": true})",
        R"({"cacheable": 1})",
        R"({"cacheable": "true"})",
        R"({"http_reclassify": 1})",
        R"({"version": {"major": "1"}})",
        R"({"tags": {"category": [1]}})",
        R"({"tags": {"family": 1}})",
        R"({"tags": {"deprecated": "true"}})",
        R"({"altname": ["a", 1]})",
        R"({"description": {"fr": 1}})",
        R"({"rules": [{"order": 5}]})",
        R"({"rules": [{"fastpass": 1}]})",
        R"({"rules": [{"preempt": "true"}]})",
        R"({"rules": [{"scope": 1}]})",
        R"({"rules": [{"path": [true]}]})",
        R"({"rules": [{"rule-tags": 1}]})",
        R"({"rules": [{"rule": [{"protocol": 1}]}]})",
        R"({"rules": [{"rule": [{"mindata": "1"}]}]})",
        R"({"rules": [{"rule": [{"port": 80}]}]})",
        R"({"rules": [{"rule": [{"port": true}]}]})",
        R"({"rules": [{"rule": [{"stream_offset": {"offset": "1"}}]}]})",
        R"({"rules": [{"rule": [{"stream_offset": {"pattern": 1}}]}]})",
    };
    for (const char *text : texts)
        EXPECT_EQ(walk(text), -1) << text;
}

TEST_F(visitor_protocol, container_keys_accept_anything_and_store_nothing)
{
    EXPECT_EQ(walk(R"({"version": 1, "tags": "x", "description": null, "rules": [1, "x", true]})"),
              0);
    EXPECT_EQ(protocol.rules.nr_rule, 0U);
    EXPECT_EQ(walk_sub_rule(R"("stream_offset": "x", "cts-stream_offset": 4)"), 0);
    EXPECT_EQ(attrs(sub_rule()), "");
    EXPECT_EQ(walk(R"({"rules": [{"rule": 5}]})"), 0);
    EXPECT_EQ(protocol.rules.nr_rule, 0U) << "no array ended";
}

TEST_F(visitor_protocol, what_is_no_protocol_object_leaves_the_container_empty)
{
    for (const char *text : {"[]", "{}", "\"name\"", "7 ", "[\"name\", 1, true]"}) {
        EXPECT_EQ(walk(text), 0) << text;
        EXPECT_EQ(protocol.name, nullptr);
        EXPECT_EQ(protocol.rules.nr_rule, 0U);
    }
}

TEST_F(visitor_protocol, an_attribute_without_a_value_is_not_counted)
{
    EXPECT_EQ(walk_sub_rule(R"("host": [], "port": ["1", "2"], "uri": [])"), 0);
    EXPECT_EQ(attrs(sub_rule()), "port=1 port=2");
    EXPECT_EQ(walk_sub_rule(R"("stream_offset": {"pattern": "p"}, "port": "1")"), 0);
    EXPECT_EQ(attrs(sub_rule()), "port=1") << "a pattern without its offset is overwritten";
    EXPECT_EQ(walk_sub_rule(R"("stream_offset": {"offset": 4}, "port": "1")"), 0);
    EXPECT_EQ(attrs(sub_rule()), "port=1@4") << "an offset without its pattern stays";
}

TEST_F(visitor_protocol, an_attribute_with_an_offset_takes_its_direction_from_its_key)
{
    EXPECT_EQ(walk_sub_rule(R"("cts-stream_offset": {"pattern": "a", "offset": 1},
                               "stc-stream_offset": {"offset": 2, "pattern": "b", "more": "x"},
                               "stream_offset": {"pattern": "c", "offset": 0})"),
              0);
    EXPECT_EQ(attrs(sub_rule()), "cts-stream=a@1 stc-stream=b@2 stream=c@0");
}

TEST_F(visitor_protocol, attributes_with_an_offset_may_stand_in_an_array_under_one_key)
{
    EXPECT_EQ(walk_sub_rule(R"("cts-stream_offset": [{"pattern": "a", "offset": 1},
                                                     {"offset": 2, "pattern": "b"}], "port": "1")"),
              0);
    EXPECT_EQ(attrs(sub_rule()), "cts-stream=a@1 cts-stream=b@2 port=1");
}

TEST_F(visitor_protocol, the_halves_of_an_attribute_may_stand_under_two_keys)
{
    EXPECT_EQ(walk_sub_rule(R"("cts-stream_offset": {"pattern": "a"},
                               "stc-stream_offset": {"offset": 2}, "port": "1")"),
              0);
    EXPECT_EQ(attrs(sub_rule()), "stc-stream=a@2 port=1") << "the last key is its name";
    EXPECT_EQ(walk_sub_rule(R"("stream_offset": {"offset": 1, "pattern": "a", "offset": 9},
                               "port": "1")"),
              0);
    EXPECT_EQ(attrs(sub_rule()), "stream=a@1 port=1@9") << "what repeats begins the next one";
}

TEST_F(visitor_protocol, the_end_of_every_inner_array_moves_to_the_next_rule)
{
    EXPECT_EQ(
        walk(R"({"rules": [{"rule": [{"a": "1"}]}, {"rule": []}, {"rule": [[{"b": "2"}]]}]})"), 0);
    EXPECT_EQ(protocol.rules.nr_rule, 4U) << "the third rule has an array within its array";
    EXPECT_EQ(attrs(sub_rule(0)), "a=1");
    EXPECT_EQ(protocol.rules.rules[1].nr_sub_rule, 0U);
    EXPECT_EQ(attrs(sub_rule(2)), "b=2");
    EXPECT_EQ(protocol.rules.rules[3].nr_sub_rule, 0U);
}

TEST_F(visitor_protocol, an_exhausted_dimension_stops_the_walk)
{
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(walk(R"({"rules": [{"rule": [{}, {}, {}]}]})"), -1); }),
              "Error: increase sub rules dimension.\n");
    EXPECT_EQ(stderr_of([&] {
                  EXPECT_EQ(walk(R"({"altname": ["1","2","3","4","5","6","7","8","9","10","11"],
                                     "name": "web"})"),
                            -1);
              }),
              "Error: increase altname dimension.\n");
    EXPECT_EQ(protocol.altnames.nr_altname, 10U);
    EXPECT_EQ(protocol.name, nullptr) << "nothing behind it is looked at";
}

TEST_F(visitor_protocol, sixteen_levels_of_keys_fit)
{
    std::string text = "1 ";
    for (int depth = 1; depth <= 16; ++depth) {
        text = "{\"x\":" + text + "}";
        EXPECT_EQ(walk(text), depth <= 15 ? 0 : -1) << depth;
    }
}

TEST_F(visitor_protocol, arrays_may_nest_without_an_end)
{
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    EXPECT_EQ(walk("{\"x\":" + deep + ",\"name\":\"web\"}"), 0);
    EXPECT_EQ(text(protocol.name), "web");
}

} // namespace
