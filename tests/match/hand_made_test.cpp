// The library on pdbs that are put together by hand: what it tells of them, and engines that no
// compile of today chooses.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <climits>
#include <string>

#include "hand_made.h"

namespace
{

TEST(hand_made, is_described)
{
    const pdata::database db = opened(offset_parts());
    pdata_db_info info;
    pdata_db_describe(db.get(), &info);
    EXPECT_EQ(info.file_bytes, pdb_of(offset_parts()).size());
    EXPECT_EQ(info.nr_attribute, 1u);
    EXPECT_EQ(info.nr_protocol, 2u) << "tcp, and web of the paths";
    EXPECT_EQ(info.nr_rule, 2u);
    EXPECT_EQ(info.nr_item, 2u);
    EXPECT_EQ(info.nr_matcher, 1u);
    EXPECT_EQ(info.nr_check, 0u);
    EXPECT_EQ(info.version_major, 1u);
    EXPECT_EQ(info.version_minor, 540u);
    EXPECT_EQ(pdata::view(info.version_text), "1.5");
    EXPECT_GT(info.index_bytes, 0u);
    EXPECT_LT(info.index_bytes, 100'000u);
}

TEST(hand_made, matchers_are_described)
{
    const pdata::database db = opened(offset_parts());
    pdata_matcher_info info;
    ASSERT_EQ(pdata_db_matcher(db.get(), 1, &info), PDATA_R_OK);
    EXPECT_EQ(pdata::view(info.protocol), "tcp");
    EXPECT_EQ(pdata::view(info.name), "host");
    EXPECT_EQ(info.direction, PDATA_STC);
    EXPECT_EQ(info.kind, PDATA_BYTES);
    EXPECT_EQ(info.width, 0u);
    EXPECT_EQ(info.min_data, 40u);
    EXPECT_EQ(info.nr_entry, 0u);
    EXPECT_EQ(info.nr_check, 0u);
    EXPECT_EQ(info.ignores_case, 0u);
    parts_t parts = offset_parts();
    parts.engines[2] |= 64; // of either case
    parts.entries = {1, 0, 2, 0};
    const pdata::database other = opened(parts);
    ASSERT_EQ(pdata_db_matcher(other.get(), 1, &info), PDATA_R_OK);
    EXPECT_EQ(info.nr_entry, 1u);
    EXPECT_EQ(info.nr_check, 1u);
    EXPECT_EQ(info.ignores_case, 1u);
}

/// The rules that a value of tcp:host finds, as `step` more of its bytes come at a time.
std::vector<pdata_rule> rules_of_value(std::string_view value, size_t step)
{
    const pdata::database db = opened(offset_parts());
    const pdata_attribute host = db.attribute("tcp", "host", PDATA_STC);
    EXPECT_NE(host, 0u);
    pdata::flow flow(db);
    for (size_t size = step; size < value.size(); size += step)
        flow.add(host, value.substr(0, size), PDATA_MORE);
    flow.add(host, value);
    std::vector<pdata_rule> rules = flow.rules();
    std::ranges::sort(rules);
    return rules;
}

TEST(hand_made, patterns_at_offsets_are_found)
{
    using rules_t = std::vector<pdata_rule>;
    for (const size_t step : {1U, 2U, 99U}) {
        EXPECT_EQ(rules_of_value("xb", step), rules_t{1}) << step;
        EXPECT_EQ(rules_of_value("xbc", step), rules_t{1}) << step;
        EXPECT_EQ(rules_of_value("ab", step), rules_t{1}) << "b at offset 1, " << step;
        EXPECT_EQ(rules_of_value("bb", step), rules_t{1}) << step;
        EXPECT_EQ(rules_of_value("b", step), rules_t{}) << "b at offset 0, " << step;
        EXPECT_EQ(rules_of_value("xq", step), rules_t{}) << step;
        EXPECT_EQ(rules_of_value("aab", step), rules_t{}) << "b at offset 2, " << step;
        EXPECT_EQ(rules_of_value("aayyz", step), rules_t{2}) << step;
        EXPECT_EQ(rules_of_value("ab y yz", step), (rules_t{1, 2})) << step;
        EXPECT_EQ(rules_of_value("ay z", step), rules_t{}) << step;
    }
}

TEST(hand_made, pieces_begin_behind_the_bytes_that_may_be_any)
{
    EXPECT_EQ(pieces_of(offset_parts(), "xb"), "1 at 0-2; 1 at 1-2; ") << "by both patterns";
    EXPECT_EQ(pieces_of(offset_parts(), "ab"), "1 at 1-2; ");
    EXPECT_EQ(pieces_of(offset_parts(), "aayyz"), "2 at 3-5; ");
}

TEST(hand_made, a_piece_without_its_others_is_passed_over)
{
    const pdata::database db = opened(parts_with_a_lost_piece());
    pdata::flow flow(db);
    flow.add(db.attribute("tcp", "host", PDATA_STC), "xyz");
    EXPECT_EQ(flow.items(), std::vector<pdata_item>{2});
}

TEST(hand_made, nothing_is_asked_of_nothing)
{
    const pdata::database db = opened(offset_parts());
    pdata_attribute_info attribute;
    pdata_matcher_info matcher;
    pdata_rule_info rule;
    pdata_item_info item;
    pdata_precedence precedence;
    pdata_flow *flow = nullptr;
    pdata_source *source = nullptr;
    pdata_finding finding;
    pdata_db_info info;
    uint32_t number = 0;
    pdata_text name;
    EXPECT_EQ(pdata_db_hold(nullptr), nullptr);
    EXPECT_EQ(pdata_db_attribute(nullptr, "tcp", "host", PDATA_STC), 0u);
    EXPECT_EQ(pdata_db_attribute(db.get(), nullptr, "host", PDATA_STC), 0u);
    EXPECT_EQ(pdata_db_attribute(db.get(), "tcp", nullptr, PDATA_STC), 0u);
    EXPECT_EQ(pdata_db_attribute(db.get(), "tcp", "host", PDATA_CTS), 0u);
    EXPECT_EQ(pdata_db_protocol(nullptr, "web"), 0u);
    EXPECT_EQ(pdata_db_protocol(db.get(), nullptr), 0u);
    EXPECT_EQ(pdata_db_protocol(db.get(), "none"), 0u);
    EXPECT_EQ(pdata_db_protocol_name(nullptr, 1).bytes, nullptr);
    EXPECT_EQ(pdata_db_protocol_name(db.get(), 3).bytes, nullptr) << "one more than there are";
    EXPECT_EQ(pdata_db_attribute_info(nullptr, 1, &attribute), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_attribute_info(db.get(), 1, nullptr), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_attribute_info(db.get(), 2, &attribute), PDATA_R_UNKNOWN);
    EXPECT_EQ(pdata_db_matcher(nullptr, 1, &matcher), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_matcher(db.get(), 1, nullptr), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_matcher(db.get(), 2, &matcher), PDATA_R_UNKNOWN);
    EXPECT_EQ(pdata_db_rule(nullptr, 1, &rule), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_rule(db.get(), 1, nullptr), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_rule(db.get(), 3, &rule), PDATA_R_UNKNOWN);
    EXPECT_EQ(pdata_db_matcher(db.get(), 0, &matcher), PDATA_R_UNKNOWN);
    EXPECT_EQ(pdata_db_item(db.get(), 0, &item), PDATA_R_UNKNOWN);
    EXPECT_EQ(pdata_db_rule_tag(nullptr, 1, 0, &number, &name), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_rule_tag(db.get(), 1, 0, nullptr, &name), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_rule_tag(db.get(), 1, 0, &number, nullptr), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_rule_tag(db.get(), 3, 0, &number, &name), PDATA_R_UNKNOWN);
    pdata_db_describe(db.get(), nullptr);
    info.nr_rule = 7;
    pdata_db_describe(nullptr, &info);
    EXPECT_EQ(info.nr_rule, 0u);
    EXPECT_EQ(pdata_db_item(nullptr, 1, &item), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_item(db.get(), 1, nullptr), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_item(db.get(), 3, &item), PDATA_R_UNKNOWN);
    EXPECT_EQ(pdata_db_precedence(nullptr, 1, 2, &precedence), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_db_precedence(db.get(), 1, 2, nullptr), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_flow_new(nullptr, 0, &flow), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_flow_new(db.get(), 0, nullptr), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_flow_db(nullptr), nullptr);
    EXPECT_EQ(pdata_flow_best(nullptr), 0u);
    EXPECT_EQ(pdata_flow_rules(nullptr, nullptr, 0), 0u);
    EXPECT_EQ(pdata_flow_items(nullptr, nullptr, 0), 0u);
    EXPECT_EQ(pdata_flow_near(nullptr, nullptr, 0), 0u);
    EXPECT_EQ(pdata_flow_nr_finding(nullptr), 0u);
    EXPECT_EQ(pdata_flow_finding_at(nullptr, 0, &finding), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_flow_add_bytes(nullptr, 1, "x", 1, 0), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_flow_add_number(nullptr, 1, 1), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_flow_add_ipv4(nullptr, 1, nullptr), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_flow_add_ipv6(nullptr, 1, nullptr), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_flow_add_protocol(nullptr, 1), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_source_new(nullptr, &source), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_source_new(db.get(), nullptr), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_source_replace(nullptr, db.get()), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_source_db(nullptr), nullptr);
    EXPECT_EQ(pdata_flow_renew(nullptr, nullptr, nullptr), PDATA_R_ARGUMENT);
    pdata_db_release(nullptr);
    pdata_flow_free(nullptr);
    pdata_flow_reset(nullptr);
    pdata_source_free(nullptr);
}

TEST(hand_made, a_flow_takes_no_data_and_no_room_that_are_not_there)
{
    const pdata::database db = opened(offset_parts());
    const pdata_attribute host = db.attribute("tcp", "host", PDATA_STC);
    pdata::flow flow(db);
    EXPECT_EQ(pdata_flow_add_bytes(flow.get(), host, nullptr, 1, 0), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_flow_add_bytes(flow.get(), host, "x", UINT32_MAX, 0), PDATA_R_ARGUMENT);
    EXPECT_EQ(pdata_flow_add_bytes(flow.get(), host, nullptr, 0, 0), PDATA_R_OK);
    flow.add(host, "xb");
    EXPECT_EQ(pdata_flow_rules(flow.get(), nullptr, 8), 1u);
    EXPECT_EQ(pdata_flow_finding_at(flow.get(), 0, nullptr), PDATA_R_ARGUMENT);
    const pdata::database next = opened(offset_parts());
    pdata_source *source = nullptr;
    ASSERT_EQ(pdata_source_new(next.get(), &source), PDATA_R_OK);
    EXPECT_EQ(pdata_flow_renew(flow.get(), source, nullptr), PDATA_R_OK);
    EXPECT_EQ(pdata_flow_db(flow.get()), next.get());
    pdata_source_free(source);
}

TEST(hand_made, every_result_has_its_text)
{
    const char *const texts[] = {
        "fine",        "wrong argument",     "out of memory", "file error",
        "damaged pdb", "not a loadable pdb", "no such thing", "value of the wrong kind"};
    int result = PDATA_R_OK;
    for (const char *text : texts)
        EXPECT_STREQ(pdata_result_text(result++), text);
    for (const int other : {result, -1, INT_MAX})
        EXPECT_STREQ(pdata_result_text(other), "unknown result");
}

// Types: numbers of 8, 16, 32 and 64 bits, addresses. There are no values.
TEST(hand_made, matchers_of_numbers_have_their_width)
{
    const std::array<uint32_t, 3> rows[] = {{3, 8, 1},  {4, 16, 2}, {5, 32, 4},
                                            {6, 64, 8}, {7, 32, 4}, {8, 128, 16}};
    for (const auto &[type, width, bytes] : rows) {
        parts_t parts = offset_parts();
        const word_list empty =
            bytes < 4
                ? blob(16, join({blob(13, word_list(bytes == 1 ? 128 : 32768)), blob(14, {0})}))
                : blob(17, join({blob(42, {bytes, 0}), blob(43, word_list(64)), blob(44, {}),
                                 blob(45, {}), blob(46, {0})}));
        parts.numbers = join({record(1, {type, 0}), record(2, join({blob(15, {type}), empty}))});
        pdata_matcher_info info;
        ASSERT_EQ(pdata_db_matcher(opened(parts).get(), 1, &info), PDATA_R_OK) << type;
        EXPECT_EQ(info.width, width);
    }
}

/// The name of tag 17 of a rule, in a pdb whose table of tags has these words.
std::string tag_of(uint32_t load_state, const word_list &tags)
{
    parts_t parts;
    parts.load_state = {load_state};
    parts.main_strings = {0x00026162, 0x00026364}; // ab at 0, cd at 4
    parts.tags = {1, 0, 1, 17};
    parts.behind_pdb = record(9, tags);
    const pdata::database db = opened(parts, PDATA_OPEN_TRUSTED);
    uint32_t number = 0;
    pdata_text name;
    EXPECT_EQ(pdata_db_rule_tag(db.get(), 1, 0, &number, &name), PDATA_R_OK);
    EXPECT_EQ(number, 17u);
    EXPECT_EQ(pdata_db_rule_tag(db.get(), 1, 1, &number, &name), PDATA_R_UNKNOWN);
    return std::string(pdata::view(name));
}

// Once a pdb was loaded on a little-endian host, its table of tags has the order of that.
TEST(hand_made, tags_have_their_names_in_either_order)
{
    constexpr uint32_t loadable = 0x02000002;
    constexpr uint32_t loaded_le = 0x03000003;
    constexpr uint32_t loaded_be = 0x04000004;
    EXPECT_EQ(tag_of(loadable, {0, 5, 4, 17}), "cd");
    EXPECT_EQ(tag_of(loaded_be, {0, 5, 4, 17}), "cd");
    EXPECT_EQ(tag_of(loaded_le, {0, 0x05000000, 0x04000000, 0x11000000}), "cd");
    EXPECT_EQ(tag_of(loadable, {0, 5, 4, 6}), "");
    EXPECT_EQ(tag_of(loadable, {99, 17, 4, 17}), "cd") << "no text at 99";
}

// The rule lies on two protocols; a flow that says which it has must say both.
TEST(hand_made, a_rule_waits_for_all_the_protocols_below_it)
{
    parts_t parts = offset_parts();
    parts.nr_rule = 1;
    parts.map = {0, ~0U, ~0U, ~0U, 0, 6, 0, 6};
    parts.tags = {1, 0, 0};
    parts.slots = {0, 0, 0, 0, 1, 7, PDATA_SCOPE_ALL, 1, 0, 0, 0, 0};
    parts.rule_names = {0x00037765, 0x62000003, 0x75647000}; // web at 0, udp at 6
    const pdata::database db = opened(parts);
    const auto best = [&](std::initializer_list<const char *> protocols) {
        pdata::flow flow(db);
        for (const char *protocol : protocols)
            flow.add_protocol(db.protocol(protocol));
        flow.add(db.attribute("tcp", "host", PDATA_STC), "xb");
        return pdata_flow_best(flow.get());
    };
    EXPECT_EQ(best({}), 1u) << "nothing is said";
    EXPECT_EQ(best({"web", "udp"}), 1u);
    EXPECT_EQ(best({"web"}), 0u);
    EXPECT_EQ(best({"udp"}), 0u);
}

// Rule 1 is before rule 2 by its order, 7 before 9.
TEST(hand_made, what_goes_first_is_told)
{
    const pdata::database db = opened(offset_parts());
    pdata_precedence precedence;
    EXPECT_EQ(pdata_db_precedence(db.get(), 1, 2, &precedence), PDATA_R_OK);
    EXPECT_EQ(precedence, PDATA_BY_ORDER);
    EXPECT_EQ(pdata_db_precedence(db.get(), 2, 1, &precedence), PDATA_R_UNKNOWN);
    EXPECT_EQ(pdata_db_precedence(db.get(), 0, 2, &precedence), PDATA_R_UNKNOWN);
    EXPECT_EQ(pdata_db_precedence(db.get(), 1, 3, &precedence), PDATA_R_UNKNOWN);
    EXPECT_EQ(db.protocol_of(1), "web");
    EXPECT_EQ(db.rule(2).priority, 9u);
    EXPECT_EQ(db.rule(2).nr_item, 1u);
}

} // namespace
