// What is in a pdb that no verifier has passed, up to the first part that cannot be read; and how
// full the limits are of one that was passed.
#include "view_inventory.h"

#include <algorithm>
#include <string>

#include "view_described.h"
#include "view_limits.h"
#include "view_sections.h"

namespace
{

/// The names of what was found, and the fault that ended the search, the word of the file in front.
std::string inventory(const std::vector<uint8_t> &bytes)
{
    view_inventory_t found;
    view_error_t error;
    const bool sound = view_inventory_take(bytes, found, error);
    std::string text;
    for (const view_inventory_part_t &part : found.parts)
        text += std::string(part.name) + " ";
    for (const view_inventory_matcher_t &matcher : found.matchers)
        text += std::string(matcher.protocol) + ":" + std::string(matcher.attribute) + "=" +
                std::to_string(matcher.values) + " ";
    if (found.has_main_strings)
        text += std::to_string(found.main_strings) + " strings ";
    if (found.has_rules && sound)
        text += std::to_string(found.rules) + " rules of " + std::to_string(found.slots) + " ";
    return sound ? text : text + std::to_string(error.offset / 4) + ": " + error.text;
}

TEST(ViewInventory, NamesWhatIsThere)
{
    EXPECT_EQ(inventory(pdb_of({})),
              "load state protocol descriptions main strings version matchers rules "
              "tcp:host=0 0 strings 1 rules of 2 ");
    EXPECT_EQ(inventory(stored(record(77))), "unknown ");
    EXPECT_EQ(inventory(stored(root_of({}))), "protocol descriptions ") << "without main strings";
    EXPECT_EQ(inventory(stored({0x01000001})),
              "0: record of type 1 claims 1 words, 0 bytes are left");
}

// A matcher of the protocol and the attribute "7" finds the value of the description.
TEST(ViewInventory, CountsTheValuesOfAMatcher)
{
    const word_list matcher = record(1, join({record(1, {0, 0, 1}), record(2)}));
    const word_list matchers = record(4, join({record(1, matcher), record(2, {0x00013700})}));
    EXPECT_EQ(inventory(stored(join({root_of({}), matchers}))),
              "protocol descriptions matchers 7:7=1 ");
}

TEST(ViewInventory, EndsAtThePartThatCannotBeRead)
{
    const word_list meta = record(1, {0, 0, 1});
    const word_list names = record(2, {0x00013700});
    const auto matchers = [](const word_list &section) {
        return inventory(stored(record(4, section)));
    };
    const auto matcher = [&](const word_list &parts) {
        return matchers(join({record(1, record(1, parts)), names}));
    };
    EXPECT_EQ(matcher(join({meta, record(2)})), "matchers 7:7=0 ");
    EXPECT_EQ(matcher(record(2)), "matchers 3: matcher: no record of type 1");
    EXPECT_EQ(matcher(meta), "matchers 3: matcher: no record of type 2");
    EXPECT_EQ(matcher(join({record(1, {0, 0}), record(2)})),
              "matchers 3: matcher: a meta of 8 bytes");
    EXPECT_EQ(matcher(join({record(1, {4, 0, 1}), record(2)})), "matchers 3: matcher: no name");
    EXPECT_EQ(matcher(join({record(1, {0, 4, 1}), record(2)})), "matchers 3: matcher: no name");
    EXPECT_EQ(matchers(names), "matchers 1: matchers: no record of type 1");
    EXPECT_EQ(matchers(record(1)), "matchers 1: matchers: no record of type 2");
    EXPECT_EQ(matchers(join({record(1, {0x01000001}), names})),
              "matchers 2: record of type 1 claims 1 words, 0 bytes are left");
    const auto rules = [](const word_list &section) {
        return inventory(stored(record(5, section)));
    };
    const word_list engine = record(3, record(1, {0, 0, 0, 0}));
    EXPECT_EQ(rules(join({record(1, {9}), engine})), "rules 9 rules of 1 ");
    EXPECT_EQ(rules(engine), "rules 1: rules: no record of type 1");
    EXPECT_EQ(rules(record(1, {9})), "rules 1: rules: no record of type 3");
    EXPECT_EQ(rules(join({record(1, {9}), record(3)})),
              "rules 4: rule engine: no record of type 1");
    EXPECT_EQ(rules(join({record(1), engine})), "rules 1: rules: a meta without a word");
    described_t described;
    described.attribute = record(6, {0x10, 0, 0, 5});
    EXPECT_EQ(inventory(stored(root_of(described))),
              "protocol descriptions 36: protocol at byte 12: rule 0: sub-rule 0: attribute 0: "
              "direction 0");
}

/// How many limits are listed of the only matcher of the pdb.
long nr_limit_of_matcher(const std::vector<uint8_t> &bytes)
{
    pdb_view_t pdb;
    view_error_t error;
    EXPECT_TRUE(pdb_view_open(bytes, pdb, error)) << error.text;
    const std::vector<view_limit_t> limits = view_limits_take(pdb);
    return std::ranges::count_if(
        limits, [](const view_limit_t &limit) { return limit.subject.starts_with("tcp:host"); });
}

TEST(ViewLimits, AreListedOfMatchersThatCanBeOpened)
{
    EXPECT_GE(nr_limit_of_matcher(pdb_of({})), 2) << "its words, and its private id";
    EXPECT_EQ(nr_limit_of_matcher(stored(root_of({}))), 0) << "descriptions have none";
    parts_t parts;
    parts.meta = {0, 6, 3};
    EXPECT_EQ(nr_limit_of_matcher(pdb_of(parts)), 0) << "no direction";
}

} // namespace
