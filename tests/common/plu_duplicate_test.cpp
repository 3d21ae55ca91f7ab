#include <gtest/gtest.h>

#include "plu_record.h"
#include "plu_shape.h"

namespace
{

/// A rule in which every part that is compared is set.
rule_model full_rule()
{
    rule_model rule = make_rule(
        {make_sub_rule("tcp", {make_attr("port", {"80", "81"}), make_attr("payload_len", {"7"})})});
    rule.meta_version = 6;
    rule.vid = 5;
    rule.ruleorder = 1;
    rule.path = {"ip", "tcp", "acme"};
    rule.sub_rules[0].bottom_protocol = "ip";
    rule.sub_rules[0].stc_mindata = 3;
    rule.sub_rules[0].cts_mindata = 4;
    return rule;
}

/// Searches a rule in a protocol of these rules.
std::string searched(const std::vector<rule_model> &rules, const rule_model &rule)
{
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", rules)), "0");
    return run.has(rule);
}

/// Searches a changed copy of the full rule in a protocol that has the full rule.
template <typename Change>
std::string changed(Change &&change)
{
    rule_model rule = full_rule();
    change(rule);
    return searched({full_rule()}, rule);
}

TEST(plu_strstrncmp, tells_equal_texts_other_lengths_and_other_bytes)
{
    EXPECT_EQ(pdata_strstrncmp(csa_str("abc"), csa_str("abc")), 0);
    EXPECT_EQ(pdata_strstrncmp(csa_str("abc"), csa_str("abcd")), 1);
    EXPECT_EQ(pdata_strstrncmp(csa_str("zz"), csa_str("a")), 1);
    EXPECT_LT(pdata_strstrncmp(csa_str("abc"), csa_str("abd")), 0);
    EXPECT_GT(pdata_strstrncmp(csa_str("abd"), csa_str("abc")), 0);
    EXPECT_NE(pdata_strstrncmp(csa_str("a\0b", 3), csa_str("a\0c", 3)), 0);
    EXPECT_EQ(pdata_strstrncmp({}, csa_str("")), 0);
}

TEST(plu_duplicate, an_equal_rule_is_found)
{
    EXPECT_EQ(changed([](rule_model &) {}), "yes");
    EXPECT_EQ(searched({port_rule({"1"}), port_rule({"2"}), full_rule()}, full_rule()), "yes");
    EXPECT_EQ(searched({port_rule({"1"}), port_rule({"2"})}, full_rule()), "no");
}

TEST(plu_duplicate, everything_general_must_be_equal)
{
    EXPECT_EQ(changed([](rule_model &rule) { rule.scope = 0x801; }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { rule.vid = 6; }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { rule.sub_rules[0].bottom_protocol = "xp"; }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { rule.sub_rules[0].bottom_protocol = "ipx"; }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { rule.sub_rules[0].protocol = "udp"; }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { ++rule.order; }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { rule.ruleorder = 0; }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { rule.path.pop_back(); }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { rule.path = {"tcp", "ip", "acme"}; }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { ++rule.sub_rules[0].stc_mindata; }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { ++rule.sub_rules[0].cts_mindata; }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { rule.sub_rules[0].attrs.pop_back(); }), "no");
    EXPECT_EQ(changed([](rule_model &rule) { rule.sub_rules.push_back(rule.sub_rules[0]); }), "no");
}

TEST(plu_duplicate, flags_tags_ways_and_transports_are_not_compared)
{
    EXPECT_EQ(changed([](rule_model &rule) {
                  rule.fastpass = 1;
                  rule.preempt = 1;
                  rule.tags = {"video"};
                  rule.params = 9;
                  rule.sub_rules[0].attrs[0].way = ATTR_WAY_CTS;
                  rule.sub_rules[0].attrs[0].proto = ATTR_PROTO_UDP;
                  rule.sub_rules[0].attrs[0].type = MATCHER_TYPE_STREAM;
                  rule.sub_rules[0].attrs[0].values[0].second = 12;
              }),
              "yes");
}

TEST(plu_duplicate, an_attribute_of_another_name_is_passed_over)
{
    EXPECT_EQ(changed([](rule_model &rule) { rule.sub_rules[0].attrs[0].name = "other"; }), "yes");
    EXPECT_EQ(changed([](rule_model &rule) {
                  rule.sub_rules[0].attrs[0].name = "other";
                  rule.sub_rules[0].attrs[1].values[0].first = "88";
              }),
              "no");
    EXPECT_EQ(changed([](rule_model &rule) {
                  rule.sub_rules[0].attrs[0].name = "one";
                  rule.sub_rules[0].attrs[1].name = "two";
              }),
              "yes");
    // The places are compared, not the names.
    EXPECT_EQ(changed([](rule_model &rule) {
                  std::swap(rule.sub_rules[0].attrs[0], rule.sub_rules[0].attrs[1]);
              }),
              "yes");
}

TEST(plu_duplicate, each_incoming_value_must_stand_at_its_place)
{
    const auto with_ports = [](const std::vector<std::string> &ports) {
        return changed(
            [&](rule_model &rule) { rule.sub_rules[0].attrs[0] = make_attr("port", ports); });
    };
    EXPECT_EQ(with_ports({"80", "81"}), "yes");
    EXPECT_EQ(with_ports({"80"}), "yes"); // the record's further values are not looked at
    EXPECT_EQ(with_ports({}), "yes");
    EXPECT_EQ(with_ports({"81"}), "no");
    EXPECT_EQ(with_ports({"80", "82"}), "no");
    EXPECT_EQ(with_ports({"80", "81", "82"}), "no");
    EXPECT_EQ(with_ports({"80", "81", "2", "3", "4", "5", "6", "7", "8"}), "no");
}

TEST(plu_duplicate, values_that_no_slot_can_hold_equal_nothing)
{
    const std::vector<std::string> eight = {"1", "2", "3", "4", "5", "6", "7", "8"};
    std::vector<std::string> nine = eight;
    nine.push_back("9");
    EXPECT_EQ(searched({port_rule(eight)}, port_rule(eight)), "yes");
    EXPECT_EQ(searched({port_rule(eight)}, port_rule(nine)), "no");
    rule_model other = port_rule(nine);
    other.sub_rules[0].attrs[0].name = "other";
    EXPECT_EQ(searched({port_rule(eight)}, other), "yes");
}

TEST(plu_duplicate, several_attributes_stand_against_one_of_as_many_values)
{
    const rule_model one = port_rule({"80", "81"});
    const auto split = [&](const std::vector<attr_model> &attrs) {
        return searched({one}, make_rule({make_sub_rule("tcp", attrs)}));
    };
    EXPECT_EQ(split({make_attr("port", {"80"}), make_attr("port", {"81"})}), "yes");
    EXPECT_EQ(split({make_attr("port", {"81"}), make_attr("port", {"80"})}), "no");
    EXPECT_EQ(split({make_attr("port", {"80"}), make_attr("other", {"9"})}), "yes");
    EXPECT_EQ(split({make_attr("a", {"1"}), make_attr("b", {"2"})}), "yes");
    EXPECT_EQ(split({make_attr("port", {"80", "9"}), make_attr("port", {"81", "9"})}), "yes");
    EXPECT_EQ(split({make_attr("port", {}), make_attr("port", {"81"})}), "no");
    EXPECT_EQ(split({make_attr("port", {""}), make_attr("port", {"81"})}), "107")
        << "a value that cannot be read";
    // Only the first attribute of a slot is looked at.
    const rule_model two = make_rule(
        {make_sub_rule("tcp", {make_attr("port", {"1", "2", "3"}), make_attr("host", {"x"})})});
    EXPECT_EQ(searched({two}, make_rule({make_sub_rule("tcp", {make_attr("port", {"1"}),
                                                               make_attr("host", {"y"}),
                                                               make_attr("port", {"3"})})})),
              "yes");
    EXPECT_EQ(split({make_attr("port", {"80"}), make_attr("a", {"1"}), make_attr("b", {"2"})}),
              "no");
}

TEST(plu_duplicate, one_attribute_does_not_stand_against_several)
{
    const rule_model two =
        make_rule({make_sub_rule("tcp", {make_attr("port", {"80"}), make_attr("a", {"81"})})});
    EXPECT_EQ(searched({two}, port_rule({"80"})), "yes"); // its first attribute has one value
    EXPECT_EQ(searched({two}, port_rule({"81"})), "no");
    EXPECT_EQ(searched({two}, make_rule({make_sub_rule("tcp", {})})), "no");
}

TEST(plu_duplicate, two_sub_rules_are_never_split)
{
    const sub_rule_model one = port_rule({"80", "81"}).sub_rules[0];
    const sub_rule_model two =
        make_sub_rule("tcp", {make_attr("port", {"80"}), make_attr("port", {"81"})});
    EXPECT_EQ(searched({make_rule({one, one})}, make_rule({one, one})), "yes");
    EXPECT_EQ(searched({make_rule({one, one})}, make_rule({one, two})), "no");
    EXPECT_EQ(searched({make_rule({one, one})}, make_rule({one})), "no");
    EXPECT_EQ(searched({make_rule({one})}, make_rule({one, one})), "no");
}

TEST(plu_duplicate, a_rule_without_sub_rules_equals_nothing)
{
    EXPECT_EQ(searched({make_rule({})}, make_rule({})), "no");
    EXPECT_EQ(searched({}, port_rule({"1"})), "no");
}

TEST(plu_duplicate, rules_without_attributes_are_equal)
{
    const rule_model bare = make_rule({make_sub_rule("udp", {})});
    EXPECT_EQ(searched({bare}, bare), "yes");
    EXPECT_EQ(searched({bare}, make_rule({make_sub_rule("tcp", {})})), "no");
}

TEST(plu_duplicate, three_sub_rules_look_like_a_rule_of_two_and_one_of_one)
{
    const sub_rule_model a = port_rule({"1"}).sub_rules[0];
    const sub_rule_model b = port_rule({"2"}).sub_rules[0];
    const sub_rule_model c = port_rule({"3"}).sub_rules[0];
    const rule_model three = make_rule({a, b, c});
    EXPECT_EQ(searched({three}, three), "no");
    EXPECT_EQ(searched({three}, make_rule({a, b})), "yes");
    EXPECT_EQ(searched({three}, make_rule({c})), "yes");
    EXPECT_EQ(searched({three}, make_rule({b, c})), "no");
    EXPECT_EQ(searched({three}, make_rule({a})), "no");
}

TEST(plu_duplicate, the_value_count_that_a_reset_leaves_is_seen)
{
    const rule_model bare = make_rule({make_sub_rule("tcp", {})});
    const rule_model two =
        make_rule({make_sub_rule("tcp", {make_attr("port", {"5"}), make_attr("a", {"6"})})});
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {bare})), "0");
    EXPECT_EQ(run.has(two), "no");
    run.reset();
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {port_rule({"80", "81"})})), "0");
    run.reset();
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {bare})), "0");
    EXPECT_EQ(run.has(two), "yes");
    EXPECT_EQ(run.has(port_rule({"80"})), "no");
}

/// Which rules of one shape the run of the record's only rule equals: '1' for each that it does.
std::string held_by(const rule_model &only, const std::vector<rule_model> &rules)
{
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {only})), "0");
    std::deque<plu_rule_t> read;
    plu_shape_t shape;
    std::vector<const plu_rule_t *> filed;
    for (const rule_model &rule : rules) {
        const stored_protocol &from = run.keep(make_protocol(1, "incoming", {rule}));
        ruledesc_t view;
        EXPECT_EQ(protodesc_get_ruledesc(from.view, 0, &view), PDATA_SUCCESS);
        EXPECT_EQ(plu_rule_read(run.pb, view, from.strings, &read.emplace_back()), PDATA_SUCCESS);
        filed.push_back(&read.back());
        shape.contents.push_back(static_cast<uint32_t>(shape.contents.size()));
    }
    plu_shape_file(shape, filed);
    const plu_held_t *held = plu_shape_hold(shape, run.pb, 0, read.front(), nullptr);
    std::string bits;
    for (size_t i = 0; i < rules.size(); ++i) {
        bits += (held->bits[0] >> i & 1) != 0 ? '1' : '0';
        EXPECT_EQ(run.has(rules[i]), bits.back() == '1' ? "yes" : "no") << i;
    }
    return bits;
}

TEST(plu_shape, a_run_holds_all_the_rules_that_it_equals)
{
    rule_model other = port_rule({"9"});
    other.sub_rules[0].attrs[0].name = "other";
    EXPECT_EQ(held_by(port_rule({"80", "81"}),
                      {port_rule({"80", "81"}), port_rule({"80"}), port_rule({"81"}), port_rule({}),
                       port_rule({"80", "82"}), other}),
              "110101");
    const auto two = [](const attr_model &first, const attr_model &second) {
        return make_rule({make_sub_rule("tcp", {first, second})});
    };
    EXPECT_EQ(held_by(port_rule({"80", "81"}),
                      {two(make_attr("port", {"80"}), make_attr("port", {"81"})),
                       two(make_attr("port", {"81"}), make_attr("port", {"80"})),
                       two(make_attr("port", {"80", "9"}), make_attr("port", {"81", "9"})),
                       two(make_attr("port", {}), make_attr("port", {"81"})),
                       two(make_attr("a", {"1"}), make_attr("port", {"81"}))}),
              "10101");
}

TEST(plu_shape, a_rule_with_more_values_than_a_slot_equals_no_run)
{
    const rule_model eight = port_rule({"1", "2", "3", "4", "5", "6", "7", "8"});
    const rule_model nine = port_rule({"1", "2", "3", "4", "5", "6", "7", "8", "9"});
    EXPECT_EQ(held_by(eight, {eight, nine}), "10");
}

TEST(plu_shape, sets_are_kept_within_bounds)
{
    plu_shape_t shape;
    for (int i = 0; i < 1024; ++i)
        shape.steps[std::to_string(i)];
    plu_shape_begin(shape);
    EXPECT_EQ(shape.steps.size(), 1024U);
    shape.steps["one more"];
    plu_shape_begin(shape);
    EXPECT_TRUE(shape.steps.empty());
}

TEST(plu_duplicate, rules_that_came_since_are_found)
{
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {port_rule({"1"})})), "0");
    EXPECT_EQ(run.has(port_rule({"2"})), "no");
    EXPECT_EQ(run.update(make_protocol(1, "acme", {port_rule({"1"}), port_rule({"2"})})), "0");
    EXPECT_EQ(run.has(port_rule({"2"})), "yes");
    EXPECT_EQ(run.has(port_rule({"1"})), "yes");
    run.reset();
    EXPECT_EQ(run.has(port_rule({"1"})), "no");
}

TEST(plu_duplicate, a_rule_that_the_next_one_is_joined_to_is_no_longer_found)
{
    // The second update's rule gets id 3, like the rule before it: ids leave gaps.
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {port_rule({"1"})})), "0");
    EXPECT_EQ(run.update(make_protocol(1, "acme", {port_rule({"1"}), port_rule({"2"})})), "0");
    EXPECT_EQ(run.ids(), "1.1 3.1");
    EXPECT_EQ(run.has(port_rule({"2"})), "yes");
    EXPECT_EQ(run.update(make_protocol(1, "acme", {port_rule({"3"})})), "0");
    EXPECT_EQ(run.ids(), "1.1 3.1 3.1");
    EXPECT_EQ(run.has(port_rule({"1"})), "yes");
    EXPECT_EQ(run.has(port_rule({"2"})), "no");
    EXPECT_EQ(run.has(port_rule({"3"})), "no");
    EXPECT_EQ(run.has(make_rule({port_rule({"2"}).sub_rules[0], port_rule({"3"}).sub_rules[0]})),
              "yes");
}

TEST(plu_duplicate, a_value_that_cannot_be_read_fails_where_it_is_met)
{
    // An empty text has no place in a pool: its offset lies behind every table.
    const rule_model damaged = port_rule({"80", ""});
    EXPECT_EQ(searched({port_rule({"80", "81"})}, damaged), "107");
    EXPECT_EQ(searched({port_rule({"7", "81"})}, damaged), "no");
    rule_model other = port_rule({"1"});
    other.sub_rules[0].attrs[0].name = "other";
    EXPECT_EQ(searched({other}, damaged), "yes");
    EXPECT_EQ(searched({port_rule({"7"}), other, port_rule({"80"})}, damaged), "yes");
    EXPECT_EQ(searched({port_rule({"80", "81"}), other}, damaged), "107");
}

TEST(plu_duplicate, a_rule_that_cannot_be_read_fails)
{
    EXPECT_EQ(changed([](rule_model &rule) { rule.sub_rules[0].protocol = ""; }), OUTCOME_ENGINE);
    EXPECT_EQ(changed([](rule_model &rule) { rule.sub_rules[0].bottom_protocol = ""; }),
              OUTCOME_ENGINE);
    EXPECT_EQ(changed([](rule_model &rule) { rule.path[1] = ""; }), OUTCOME_ENGINE);
    EXPECT_EQ(changed([](rule_model &rule) { rule.sub_rules[0].attrs[1].name = ""; }),
              OUTCOME_ENGINE);
    EXPECT_EQ(changed([](rule_model &rule) { rule.tags = {""}; }), "yes");
}

TEST(plu_duplicate, a_rule_larger_than_a_slot_is_not_found)
{
    EXPECT_EQ(changed([](rule_model &rule) { rule.path.resize(5, "ip"); }), "no");
    EXPECT_EQ(changed([](rule_model &rule) {
                  rule.sub_rules[0].attrs.resize(17, make_attr("port", {"80"}));
              }),
              "no");
    const sub_rule_model one = port_rule({"80"}).sub_rules[0];
    sub_rule_model large = one;
    large.attrs.resize(17, make_attr("port", {"80"}));
    EXPECT_EQ(searched({make_rule({one, one})}, make_rule({large, one})), "no")
        << "what stands behind it is not read";
}

/// The hash of the class that a rule makes in an index of its own.
uint64_t class_hash_of(const rule_model &rule)
{
    record_run run;
    EXPECT_EQ(run.copy(make_protocol(1, "acme", {rule})), "0");
    EXPECT_EQ(run.has(rule), "yes");
    return run.known.by_generic.begin()->first;
}

TEST(plu_duplicate, classes_of_one_hash_are_told_apart)
{
    const rule_model first = port_rule({"1"});
    const sub_rule_model one = first.sub_rules[0];
    rule_model order = first;
    ++order.order;
    rule_model name = first;
    name.sub_rules[0].attrs[0].name = "payload_len";
    const sub_rule_model two_attrs =
        make_sub_rule("tcp", {make_attr("port", {"1"}), make_attr("payload_len", {"1"})});
    for (const rule_model &other :
         {make_rule({one, one}), order, name, port_rule({"1", "2"}), make_rule({two_attrs})}) {
        record_run run;
        EXPECT_EQ(run.copy(make_protocol(1, "acme", {first})), "0");
        EXPECT_EQ(run.has(first), "yes");
        run.known.by_generic.emplace(class_hash_of(other), 0); // the class of the first rule
        EXPECT_EQ(run.update(make_protocol(1, "acme", {other})), "0");
        EXPECT_EQ(run.has(first), "yes");
        EXPECT_EQ(run.has(other), "yes");
        EXPECT_EQ(run.has(port_rule({"3"})), "no");
    }
}

TEST(plu_rule, is_another_one_when_any_of_its_parts_is)
{
    record_run run;
    const stored_protocol &from = run.keep(make_protocol(1, "acme", {full_rule()}));
    ruledesc_t view;
    plu_rule_t rule;
    ASSERT_EQ(outcome(protodesc_get_ruledesc(from.view, 0, &view)), "0");
    ASSERT_EQ(outcome(plu_rule_read(run.pb, view, from.strings, &rule)), "0");
    EXPECT_TRUE(plu_rule_equal(rule, rule));
    using change_t = void (*)(plu_rule_t &);
    const change_t shapes[] = {
        [](plu_rule_t &other) { ++other.sub_rules[0].nr_attr; },
        [](plu_rule_t &other) { ++other.sub_rules[0].generic.scope; },
        [](plu_rule_t &other) { other.sub_rules.push_back(other.sub_rules[0]); },
    };
    const change_t contents[] = {
        [](plu_rule_t &other) { ++other.attrs[0].nr_values; },
        [](plu_rule_t &other) { other.attrs[0].name = csa_str("post"); },
        [](plu_rule_t &other) { other.attrs.pop_back(); },
        [](plu_rule_t &other) { other.values[0] = csa_str("88"); },
        [](plu_rule_t &other) { other.values[0] = {}; },
        [](plu_rule_t &other) { other.values.pop_back(); },
    };
    for (const change_t change : shapes) {
        plu_rule_t other = rule;
        change(other);
        EXPECT_FALSE(plu_rule_alike(rule, other));
        EXPECT_FALSE(plu_rule_equal(rule, other));
    }
    for (const change_t change : contents) {
        plu_rule_t other = rule;
        change(other);
        EXPECT_TRUE(plu_rule_alike(rule, other));
        EXPECT_FALSE(plu_rule_equal(rule, other));
    }
}

} // namespace
