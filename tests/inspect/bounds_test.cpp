// Where texts and differences end that a small file could make as long as it likes.
#include <gtest/gtest.h>

#include <algorithm>

#include "decompile.h"
#include "decompile_text.h"
#include "hand_made.h"
#include "pdb_difference.h"

namespace
{

pdb_view_t opened(const std::vector<uint8_t> &file)
{
    pdb_view_t view;
    view_error_t error;
    EXPECT_TRUE(pdb_view_open(file, view, error)) << error.text;
    return view;
}

/// What decompiling within a bound comes to: "" or why it is refused.
std::string decompiled(const std::vector<uint8_t> &file, size_t text_max, decompiled_t &out)
{
    view_error_t error;
    if (decompile_pdb(opened(file), out, error, text_max))
        return "";
    EXPECT_EQ(error.fault, VIEW_COUNT);
    decompiled_t looked_at;
    view_error_t again;
    EXPECT_FALSE(decompile_pdb_walk(opened(file), nullptr, looked_at, again, text_max));
    EXPECT_STREQ(again.text, error.text) << "a look at it ends where writing it does";
    return error.text;
}

size_t without_blanks(const std::string &text)
{
    return text.size() - static_cast<size_t>(std::ranges::count_if(
                             text, [](char c) { return c == ' ' || c == '\n'; }));
}

/// A text is made of the keys of each protocol, `{"protocols":[{KEYS,"rules":[]}]}`, and of each
/// rule in the same frame; commas between rules are of the layout.
TEST(bounds, a_text_has_fewer_bytes_than_its_bound)
{
    const std::vector<uint8_t> file = pdb_of({port_rule(), port_rule(), port_rule()});
    decompiled_t out;
    ASSERT_EQ(decompiled(file, DECOMPILE_TEXT_MAX, out), "");
    const std::string text = out.text;
    const size_t frame = std::string_view(R"({"protocols":[{"rules":[]}]})").size();
    const size_t size = without_blanks(text) - 2 + 3 * frame;
    for (size_t max = 1; max <= size; ++max)
        ASSERT_EQ(decompiled(file, max, out),
                  "protocol at offset 12: a text of more than " + std::to_string(max) + " bytes");
    EXPECT_EQ(decompiled(file, size + 1, out), "");
    EXPECT_EQ(out.text, text);
}

/// What is not in a text is said behind its rules.
TEST(bounds, what_is_said_of_a_text_counts)
{
    rule_model rule = port_rule();
    rule.ruleorder = 1;
    const std::vector<uint8_t> file = pdb_of({rule});
    decompiled_t out;
    ASSERT_EQ(decompiled(file, DECOMPILE_TEXT_MAX, out), "");
    const size_t said = out.text.find("\"description\"");
    ASSERT_NE(said, std::string::npos);
    size_t max = 1;
    while (!decompiled(file, max, out).empty())
        ++max;
    EXPECT_GT(max, without_blanks(out.text));
    EXPECT_NE(decompiled(file, max - 1, out), "");
    EXPECT_NE(out.text.find("\"order\""), std::string::npos) << "its rule was written";
    EXPECT_EQ(out.text.find("\"description\""), std::string::npos);
}

TEST(bounds, a_full_text_takes_no_string)
{
    bounded_text_t text = {5, "{"};
    put_string(text, "ab");
    EXPECT_FALSE(text_is_full({6, text.bytes}));
    EXPECT_TRUE(text_is_full(text));
    put_string(text, std::string(1000, 'c'));
    EXPECT_EQ(text.bytes, R"({"ab")");
}

TEST(bounds, aliases_and_tags_have_fewer_bytes_than_the_bound)
{
    const std::vector<uint8_t> descriptions = pdb_of({});
    const auto with = [&](const word_list &records) {
        std::vector<uint8_t> file = stored(records);
        file.insert(file.end(), descriptions.begin(), descriptions.end());
        return file;
    };
    // Pairs of aliases, and tags, whose names all are the first main string.
    const std::vector<uint8_t> aliases = with(record(10, {0, 0, 0x01000000, 0, 0x00020000}));
    const std::vector<uint8_t> tags = with(record(9, {0, 7, 0, 8}));
    decompiled_t out;
    ASSERT_EQ(decompiled(aliases, DECOMPILE_TEXT_MAX, out), "");
    const size_t size = out.aliases.size();
    EXPECT_EQ(decompiled(aliases, size, out),
              "aliases of more than " + std::to_string(size) + " bytes");
    EXPECT_EQ(decompiled(aliases, size + 1, out), "");
    ASSERT_EQ(decompiled(tags, DECOMPILE_TEXT_MAX, out), "");
    EXPECT_EQ(out.tags, "{\n  \"tag_table\": {\n    \"first\": 7,\n    \"first\": 8\n  }\n}\n");
    EXPECT_EQ(decompiled(tags, 40, out), "a tag table of more than 40 bytes");
    EXPECT_EQ(out.tags, "");
}

/// The differences of two pdbs within bounds.
pdb_difference_t compared(const std::vector<uint8_t> &before, const std::vector<uint8_t> &after,
                          const difference_bounds_t &bounds)
{
    pdb_difference_t out;
    view_error_t error;
    EXPECT_TRUE(pdb_difference(opened(before), opened(after), out, error, bounds)) << error.text;
    for (protocol_difference_t &protocol : out.protocols)
        protocol.name = {};
    return out;
}

/// A rule of as many ports of four digits: each is listed as "tcp:port both 1000".
rule_model ports_rule(int nr)
{
    rule_model rule = port_rule();
    rule.sub_rules[0].attrs[0].values.clear();
    for (int i = 0; i < nr; ++i)
        rule.sub_rules[0].attrs[0].values.emplace_back(std::to_string(1000 + i), 0);
    return rule;
}

TEST(bounds, values_of_a_rule_and_of_all_rules_are_listed_up_to_a_bound)
{
    constexpr size_t LINE = std::string_view("tcp:port both 1000").size();
    const auto listed = [&](const difference_bounds_t &bounds) {
        const pdb_difference_t out =
            compared(pdb_of({}), pdb_of({ports_rule(5), ports_rule(4)}), bounds);
        std::string counts;
        for (const rule_difference_t &rule : out.protocols.at(0).rules)
            counts += std::to_string(rule.added.size()) + " ";
        EXPECT_EQ(out.totals.values[DIFFERENCE_ADDED], 9U) << "all are counted";
        return counts + std::to_string(out.nr_unlisted);
    };
    EXPECT_EQ(listed({}), "5 4 0");
    EXPECT_EQ(listed({9 * LINE, 5 * LINE}), "5 4 0");
    EXPECT_EQ(listed({9 * LINE, 3 * LINE}), "4 4 1") << "one is listed beyond the bound";
    EXPECT_EQ(listed({9 * LINE, 3 * LINE - 1}), "3 3 3");
    EXPECT_EQ(listed({7 * LINE - 1, 5 * LINE}), "5 2 2");
    EXPECT_EQ(listed({2 * LINE - 1, 5 * LINE}), "2 0 7");
}

TEST(bounds, of_many_long_values_two_mebibytes_are_listed)
{
    rule_model rule = port_rule();
    rule.sub_rules[0].attrs[0].values.assign(3000, {std::string(1000, '8'), 0});
    const std::vector<uint8_t> before = pdb_of({port_rule()});
    const std::vector<uint8_t> after = pdb_of({rule});
    const pdb_difference_t out = compared(before, after, {});
    const size_t nr_shown = out.protocols.at(0).rules.at(0).added.size();
    EXPECT_GT(nr_shown, 2000U) << "2 MiB of them";
    EXPECT_LT(nr_shown, 2100U);
    EXPECT_EQ(out.nr_unlisted, 3000 - nr_shown);
}

} // namespace
