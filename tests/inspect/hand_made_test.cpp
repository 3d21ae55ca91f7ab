// Descriptions that no text becomes, put together by hand: what a decompiled text leaves out, and
// where reading or comparing them ends.
#include <gtest/gtest.h>

#include <functional>

#include "decompile.h"
#include "description_model.h"
#include "hand_made.h"
#include "pdb_difference.h"
#include "value_losses.h"
#include "words.h"

namespace
{

/// One group, as the root record holds it.
word_list group_of_one()
{
    string_pool tags;
    return description_writer::group_record(tags, {protocol_of({port_rule()})});
}

/// A pair of aliases whose names all stand at 0.
constexpr uint32_t ALIAS[] = {0x00000000, 0x00000000, 0x01000000, 0x00000000, 0x00020000};

/// What a text of these rules lacks, a line each; or why there is none.
std::string lost(const std::vector<uint8_t> &file)
{
    pdb_view_t view;
    view_error_t error;
    decompiled_t out;
    if (!pdb_view_open(file, view, error) || !decompile_pdb(view, out, error))
        return error.text;
    std::string lines;
    for (const std::string &line : out.lost.first)
        lines += line + "\n";
    return lines;
}

/// What the text lacks of a rule that `change` makes another one.
std::string lost_of(const std::function<void(rule_model &)> &change)
{
    rule_model rule = port_rule();
    change(rule);
    return lost(pdb_of({rule}));
}

TEST(hand_made, what_of_a_rule_no_text_says)
{
    const std::string rule = "protocol a: rule 1: ";
    EXPECT_EQ(lost_of([](rule_model &) {}), "");
    EXPECT_EQ(lost_of([](rule_model &one) {
                  one.meta_version = 6;
                  one.vid = 4;
              }),
              "");
    EXPECT_EQ(lost_of([](rule_model &one) { one.ruleorder = 1; }),
              rule + "a significant order has no key\n");
    EXPECT_EQ(lost_of([](rule_model &one) { one.params = 1; }),
              rule + "a reserved field that is not 0\n");
    EXPECT_EQ(lost_of([](rule_model &one) { one.sub_rules.clear(); }),
              rule + "a rule without sub-rules is not stored\n");
    EXPECT_EQ(lost_of([](rule_model &one) { one.sub_rules.resize(3, one.sub_rules[0]); }),
              rule + "more sub-rules than a text takes\n");
    EXPECT_NE(lost_of([](rule_model &one) {
                  one.meta_version = 4;
              }).find(rule + "an older form, which is stored anew in the newest"),
              std::string::npos);
}

// What a merge or a removal leaves of the order in which a compile stores strings.
TEST(hand_made, strings_in_another_order_than_their_records)
{
    const std::string line =
        "the order of its strings, which is not that of the records that refer to them\n";
    const word_list words = record(1, group_of_one());
    const size_t name = 6;
    size_t pool = words.size() - 1;
    while (words[pool] != (2U << 24 | (words.size() - pool - 1)))
        --pool;
    EXPECT_EQ(lost(stored(words)), "");
    word_list other = words;
    std::swap(other[name], other[name + 1]);
    EXPECT_EQ(lost(stored(other)).find(line), 0U) << "name and default port change places";
    other = words;
    other[name + 1] = other[name];
    EXPECT_EQ(lost(stored(other)).find(line), 0U) << "nothing refers to the second string";
    other = words;
    other[pool - 1] = other[name];
    EXPECT_EQ(lost(stored(other)), line) << "nothing refers to the last one";
}

TEST(hand_made, of_many_cases_fifty_are_kept)
{
    rule_model rule = port_rule();
    rule.ruleorder = 1;
    const std::vector<uint8_t> file = pdb_of(std::vector<rule_model>(51, rule));
    pdb_view_t view;
    view_error_t error;
    decompiled_t out;
    ASSERT_TRUE(pdb_view_open(file, view, error) && decompile_pdb(view, out, error)) << error.text;
    EXPECT_EQ(out.lost.first.size(), 50U);
    EXPECT_EQ(out.lost.count, 51U);
}

TEST(hand_made, a_direction_that_there_is_not_is_said)
{
    const word_list strings = record(3, {0x00017800});
    const word_list alias = record(10, {ALIAS[0], ALIAS[1], 0x09000000, ALIAS[3], ALIAS[4]});
    const std::vector<uint8_t> file = stored(join({record(1, group_of_one()), alias, strings}));
    pdb_view_t view;
    view_error_t error;
    decompiled_t out;
    ASSERT_TRUE(pdb_view_open(file, view, error) && decompile_pdb(view, out, error)) << error.text;
    EXPECT_NE(out.aliases.find("attr way error"), std::string::npos) << out.aliases;
}

TEST(hand_made, what_of_a_rule_without_attributes_no_text_says)
{
    const std::string lacks =
        "protocol a: rule 1: an order, path or tags, but no attributes in its first sub-rule\n";
    const auto without = [](const std::function<void(rule_model &)> &change) {
        return lost_of([&](rule_model &one) {
            one.scope = 0;
            one.sub_rules[0].attrs.clear();
            change(one);
        });
    };
    EXPECT_EQ(without([](rule_model &) {}).find("but no attributes"), std::string::npos);
    EXPECT_NE(without([](rule_model &one) { one.order = 5; }).find(lacks), std::string::npos);
    EXPECT_NE(without([](rule_model &one) {
                  one.path = {"ip", "a"};
              }).find(lacks),
              std::string::npos);
    EXPECT_NE(without([](rule_model &one) { one.tags = {"first"}; }).find(lacks),
              std::string::npos);
}

TEST(hand_made, more_values_than_a_sub_rule_of_a_text_takes)
{
    const std::string lacks = "more values in a sub-rule than a text takes";
    const auto with = [&](size_t nr, uint32_t last_offset, bool behind = false) {
        return lost_of([&](rule_model &one) {
                   attr_model stream = {
                       "stream", MATCHER_TYPE_STREAM, ATTR_WAY_CTS, ATTR_PROTO_UNKNOWN, {}};
                   for (size_t i = 1; i < nr; ++i)
                       stream.values.emplace_back("x", 0);
                   stream.values.emplace_back("x", last_offset);
                   one.sub_rules[0].cts_mindata = 9;
                   one.sub_rules[0].attrs = {stream};
                   if (behind)
                       one.sub_rules[0].attrs.push_back(port({}));
               }).find(lacks) != std::string::npos;
    };
    EXPECT_FALSE(with(16, 0));
    EXPECT_TRUE(with(17, 0));
    EXPECT_FALSE(with(15, 4));
    EXPECT_TRUE(with(16, 4)) << "an offset cannot be the last of them";
    EXPECT_FALSE(with(16, 4, true)) << "an attribute without a value stands behind it";
}

TEST(hand_made, several_groups_become_one_text)
{
    const word_list one = group_of_one();
    EXPECT_EQ(lost(stored(record(1, one))), "");
    const std::string text = lost(stored(record(1, join({one, one, one}))));
    EXPECT_NE(text.find("protocols of 3 groups in one text\n"), std::string::npos) << text;
}

TEST(hand_made, aliases_and_tags_need_the_main_strings)
{
    const word_list aliases = record(10, {ALIAS[0], ALIAS[1], ALIAS[2], ALIAS[3], ALIAS[4]});
    const word_list tags = record(9, {0, 5});
    const word_list descriptions = record(1, group_of_one());
    EXPECT_EQ(lost(stored(join({descriptions, aliases, tags}))),
              "aliases, which no main string names\nthe tag table, which no main string names\n");
    const word_list strings = record(3, {0x00017800});
    EXPECT_EQ(lost(stored(join({descriptions, aliases, tags, strings}))), "");
    EXPECT_EQ(lost(stored(join({descriptions, record(9, {8, 5}), strings}))).substr(0, 6),
              "tag 0:");
    for (const size_t word : {size_t{0}, size_t{1}}) {
        word_list bad = aliases;
        bad[1 + word] = 0x00000008; // an offset behind the strings
        EXPECT_EQ(lost(stored(join({descriptions, bad, strings}))).substr(0, 8), "alias 0:");
    }
    word_list bad = aliases;
    bad[3] = 0x01000001; // the direction, and three bytes of the reference's protocol
    EXPECT_EQ(lost(stored(join({descriptions, bad, strings}))).substr(0, 8), "alias 0:");
}

/// Where comparing two pdbs ends: "before: ...", "after: ...", or "" for the end of both.
std::string compared(const std::vector<uint8_t> &before, const std::vector<uint8_t> &after)
{
    pdb_view_t old_view;
    pdb_view_t new_view;
    view_error_t error;
    pdb_difference_t out;
    EXPECT_TRUE(pdb_view_open(before, old_view, error)) << error.text;
    EXPECT_TRUE(pdb_view_open(after, new_view, error)) << error.text;
    if (pdb_difference(old_view, new_view, out, error))
        return "";
    return std::string(out.fault_in_after ? "after: " : "before: ") + error.text;
}

/// Where reading the descriptions whole ends, "" for their end.
std::string modelled(const std::vector<uint8_t> &file)
{
    pdb_view_t view;
    view_error_t error;
    description_model_t model;
    EXPECT_TRUE(pdb_view_open(file, view, error)) << error.text;
    return description_model_read(view, model, error) ? "" : error.text;
}

TEST(hand_made, a_model_ends_at_the_first_damage)
{
    EXPECT_EQ(modelled(pdb_of({port_rule()})), "");
    rule_model rule = port_rule();
    rule.sub_rules[0].attrs[0].values[0].first = "";
    // The protocol stands behind the headers of the root, the group and its list.
    EXPECT_EQ(modelled(pdb_of({port_rule(), rule})),
              "protocol at offset 12: rule 1: sub-rule 0: attribute 0: value: no text begins here");
    string_pool tags;
    const auto with_versions = [&](const std::vector<std::string> &supported) {
        protocol_model protocol = protocol_of({});
        protocol.supported_versions = supported;
        return description_writer::descriptions(tags, {protocol});
    };
    EXPECT_EQ(modelled(with_versions({"1", "2"})), "");
    EXPECT_EQ(modelled(with_versions({"1", ""})).substr(0, 41),
              "protocol at offset 12: supported version:");
    EXPECT_NE(modelled(stored(record(1, record(1)))), "") << "a group without protocols";
    std::vector<uint8_t> bad_tags = pdb_of({});
    const std::vector<uint8_t> table = stored(record(9, {0x100, 5}));
    bad_tags.insert(bad_tags.end(), table.begin(), table.end());
    EXPECT_EQ(modelled(bad_tags).substr(0, 6), "tag 0:");
}

/// A text that no pool holds is stored as an offset that leads nowhere.
TEST(hand_made, a_comparison_ends_at_the_first_damage)
{
    const std::vector<uint8_t> whole = pdb_of({port_rule()});
    const std::vector<uint8_t> bare = pdb_of({});
    rule_model rule = port_rule();
    rule.sub_rules[0].attrs[0].values[0].first = "";
    const std::vector<uint8_t> bad_rule = pdb_of({rule});
    protocol_model nameless = protocol_of({});
    nameless.altnames = {""};
    protocol_model textless = protocol_of({});
    textless.descs = {{"en", ""}};
    protocol_model versionless = protocol_of({});
    versionless.supported_versions = {""};
    string_pool tags;
    const auto bad_protocol = [&](const protocol_model &protocol) {
        return description_writer::descriptions(tags, {protocol});
    };
    const std::vector<uint8_t> nothing = stored(record(1));
    EXPECT_EQ(compared(whole, whole), "");
    for (const std::vector<uint8_t> &bad :
         {bad_rule, bad_protocol(nameless), bad_protocol(textless), bad_protocol(versionless)}) {
        for (const std::vector<uint8_t> &good : {whole, bare, nothing}) {
            EXPECT_EQ(compared(bad, good).substr(0, 18), "before: protocol a");
            EXPECT_EQ(compared(good, bad).substr(0, 17), "after: protocol a");
        }
    }
    const std::vector<uint8_t> bad_group = stored(record(1, record(1)));
    EXPECT_EQ(compared(bad_group, whole).substr(0, 8), "before: ");
    EXPECT_EQ(compared(whole, bad_group).substr(0, 7), "after: ");
    std::vector<uint8_t> bad_tags = whole;
    const std::vector<uint8_t> table = stored(record(9, {0x100, 5}));
    bad_tags.insert(bad_tags.end(), table.begin(), table.end());
    EXPECT_EQ(compared(bad_tags, whole).substr(0, 14), "before: tag 0:");
    EXPECT_EQ(compared(whole, bad_tags).substr(0, 13), "after: tag 0:");
}

TEST(hand_made, tags_without_names_are_counted)
{
    string_pool tags;
    rule_model tagged = port_rule();
    tagged.tags = {"first"};
    const std::vector<uint8_t> one =
        description_writer::descriptions(tags, {protocol_of({tagged})});
    tagged.tags = {"first", "second"};
    const std::vector<uint8_t> two =
        description_writer::descriptions(tags, {protocol_of({tagged})});
    pdb_view_t old_view;
    pdb_view_t new_view;
    view_error_t error;
    pdb_difference_t out;
    ASSERT_TRUE(pdb_view_open(one, old_view, error) && pdb_view_open(two, new_view, error));
    ASSERT_TRUE(pdb_difference(old_view, new_view, out, error)) << error.text;
    ASSERT_EQ(out.protocols.size(), 1U);
    ASSERT_EQ(out.protocols[0].rules.size(), 1U);
    ASSERT_EQ(out.protocols[0].rules[0].fields.size(), 1U);
    EXPECT_EQ(out.protocols[0].rules[0].fields[0].before, "1 without names");
    EXPECT_EQ(out.protocols[0].rules[0].fields[0].after, "2 without names");
}

TEST(hand_made, a_long_value_is_shown_in_part)
{
    rule_model rule = port_rule();
    rule.sub_rules[0].attrs[0].values[0].first = std::string(1025, '8');
    pdb_view_t old_view;
    pdb_view_t new_view;
    view_error_t error;
    pdb_difference_t out;
    const std::vector<uint8_t> before = pdb_of({port_rule()});
    const std::vector<uint8_t> after = pdb_of({rule});
    ASSERT_TRUE(pdb_view_open(before, old_view, error) && pdb_view_open(after, new_view, error));
    ASSERT_TRUE(pdb_difference(old_view, new_view, out, error)) << error.text;
    ASSERT_EQ(out.protocols.at(0).rules.at(0).added.size(), 1U);
    const std::string &shown = out.protocols[0].rules[0].added[0];
    EXPECT_NE(shown.find(std::string(1024, '8') + "... (1025 bytes)"), std::string::npos);
    EXPECT_EQ(shown.find(std::string(1025, '8')), std::string::npos);
}

/// A rule on texts of an attribute from client to server, each with its offset.
rule_model stream_rule(const std::string &protocol, const std::string &attribute, bool preempt,
                       const std::vector<std::pair<std::string, uint32_t>> &values)
{
    rule_model rule = port_rule();
    rule.preempt = preempt ? 1 : 0;
    rule.sub_rules = {
        {protocol,
         protocol,
         0,
         16,
         {{attribute, MATCHER_TYPE_STREAM, ATTR_WAY_CTS, ATTR_PROTO_UNKNOWN, values}}}};
    return rule;
}

/// What the values of these rules lose in silence, "subject, name: count, first" a line.
std::string losses(const std::vector<rule_model> &rules)
{
    const std::vector<uint8_t> file = pdb_of(rules);
    pdb_view_t view;
    view_error_t error;
    EXPECT_TRUE(pdb_view_open(file, view, error)) << error.text;
    std::vector<view_limit_t> limits;
    range_losses(view, limits);
    preempt_losses(view, limits);
    std::string lines;
    for (const view_limit_t &limit : limits)
        lines += limit.subject + ", " + limit.name + ": " + std::to_string(limit.used) + ", " +
                 limit.first + "\n";
    return lines;
}

TEST(hand_made, long_lists_that_rules_share_lose_the_same)
{
    rule_model rule = port_rule();
    std::string list = "80-90,85-99";
    while (list.size() <= 1024)
        list += ",100";
    rule.sub_rules[0].attrs[0].values[0].first = list;
    const std::string each =
        "lists with overlapping ranges that lost a tail: 2, 91-98 in rule 1 of a";
    EXPECT_EQ(losses({rule, rule}), "tcp:port cts, " + each + "\ntcp:port stc, " + each + "\n");
    rule.sub_rules[0].attrs[0].name = "unknown"; // and without a matcher
    EXPECT_EQ(losses({rule}), "");
}

TEST(hand_made, preempts_and_texts_lose_what_they_share)
{
    const auto server = [](bool preempt, const std::string &text, uint32_t offset = 0) {
        return stream_rule("http", "server", preempt, {{text, offset}});
    };
    const std::string lost = "http:server cts, preempts that lost an overlap: 1, rule 1 of a\n";
    const rule_model abz = server(true, ".*aBz.*");
    EXPECT_EQ(losses({abz, server(false, ".*xAbq.*")}), lost) << "case does not matter";
    EXPECT_EQ(losses({abz, server(false, ".*xAbq1.*")}), lost);
    EXPECT_EQ(losses({abz, server(false, ".*xabq[^r]")}), lost) << "the longest piece counts";
    EXPECT_EQ(losses({abz, server(false, ".*xabq.*"), server(false, ".*xabq.*")}), lost);
    EXPECT_EQ(losses({abz, server(false, "xabq", 4)}), lost) << "at an offset as well";
    // None of these has a text in the automaton.
    for (const char *text : {"[^q]", ".*", ".*xabq.*(", "xabq"})
        EXPECT_EQ(losses({abz, server(false, text)}), "") << text;
    EXPECT_EQ(losses({abz, server(false, "\\xZZ", 4)}), "");
    EXPECT_EQ(losses({abz, server(false, ".*xabq" + std::string(1100, 'q') + ".*")}), "")
        << "too long to be looked at";
    EXPECT_EQ(losses({abz, stream_rule("ssl", "common_name", false, {{".*xabq.*", 0}})}), "");
    EXPECT_EQ(losses({abz, stream_rule("http", "unknown", false, {{".*xabq.*", 0}})}), "");
    rule_model port = port_rule();
    port.preempt = 1;
    EXPECT_EQ(losses({port, server(false, ".*xabq.*")}), "") << "a preempt without a text";
}

TEST(hand_made, of_too_many_texts_no_overlap_is_said)
{
    const rule_model abz = stream_rule("tcp", "stream", true, {{".*abz.*", 0}});
    const rule_model other = stream_rule("tcp", "stream", false, {{".*xabq.*", 0}});
    const auto with = [&](const std::vector<std::pair<std::string, uint32_t>> &values) {
        return losses({abz, other, stream_rule("tcp", "stream", false, values)});
    };
    EXPECT_EQ(losses({abz, other}),
              "tcp:stream cts, preempts that lost an overlap: 1, rule 1 of a\n");
    std::vector<std::pair<std::string, uint32_t>> values;
    for (int i = 0; i < 4200; ++i)
        values.emplace_back(std::to_string(10000 + i) + std::string(1000, 'y'), 7);
    EXPECT_TRUE(with(values).starts_with("tcp:stream cts, states of texts beside preempts: 4"));
    values.clear();
    for (uint32_t offset = 1; offset <= 20000; ++offset)
        values.emplace_back(std::string(200, 'y'), offset);
    EXPECT_EQ(with(values), "") << "few states, and more bytes than are looked at";
}

TEST(hand_made, rules_of_too_many_values_are_not_compared)
{
    rule_model rule = port_rule();
    const std::vector<uint8_t> whole = pdb_of({rule});
    rule.sub_rules[0].attrs[0].values.resize(65536, {"80", 0});
    EXPECT_EQ(compared(pdb_of({rule}), whole), "");
    rule.sub_rules[0].attrs[0].values.emplace_back("80", 0);
    const std::vector<uint8_t> large = pdb_of({rule});
    EXPECT_NE(compared(large, whole).find("rule 0: more than 65536 values"), std::string::npos);
    EXPECT_NE(compared(pdb_of({}), large).find("rule 0: more than 65536 values"),
              std::string::npos);
}

} // namespace
