// Walks over stored descriptions that no verifier has passed: each ends at the first part that it
// cannot read, and names it.
#include <gtest/gtest.h>

#include <string>

#include "view_catalog.h"
#include "view_described.h"
#include "view_sections.h"
#include "view_totals.h"
#include "view_values.h"

namespace
{

/// The three walks over the descriptions.
std::string walk_catalog(const pdb_view_t &pdb)
{
    view_error_t error;
    const view_catalog_sink_t sink = {[](void *, const view_catalog_protocol_t &) {},
                                      [](void *, const view_catalog_rule_t &) {}, nullptr};
    const bool sound = view_catalog_walk(pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS), sink, error);
    return sound ? "" : std::to_string(error.offset / 4) + ": " + error.text;
}

std::string walk_totals(const pdb_view_t &pdb)
{
    view_error_t error;
    view_totals_t totals;
    const bool sound =
        view_totals_count(pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS), totals, error);
    return sound ? "" : std::to_string(error.offset / 4) + ": " + error.text;
}

std::string walk_values(const pdb_view_t &pdb)
{
    view_error_t error;
    std::vector<view_stored_value_t> values;
    return view_values_read(pdb, values, error)
               ? ""
               : std::to_string(error.offset / 4) + ": " + error.text;
}

/// A part of a description that is replaced, and the faults of the walks, the word of the file in
/// front.
struct walked_t {
    word_list described_t::*part;
    word_list words;
    std::string catalog;
    std::string totals;
    std::string values;
};

TEST(ViewWalks, EndAtThePartThatCannotBeRead)
{
    const std::string in_rule = "protocol at byte 12: rule 0: ";
    const std::string in_sub_rule = in_rule + "sub-rule 0: ";
    const std::string cut_attribute = "35: " + in_sub_rule + "attribute 0: wrong length";
    const std::string cut_sub_rule = "27: " + in_sub_rule + "wrong length";
    const std::string cut_rule = "14: " + in_rule + "wrong length";
    const std::string cut_protocol =
        "4: protocol at byte 12: record of type 1, 1 words: wrong length";
    const std::string no_name = "41: protocol at byte 12: name: no text begins here";
    const std::string no_strings = "2: strings of the group: no record of type 2";
    const std::string no_protocols = "43: protocols: no record of type 1";
    const std::string over_long = "record of type 1 claims 1 words, 0 bytes are left";
    const std::vector<walked_t> rows = {
        {&described_t::attribute, record(6, {0x12, 0, 0, 5}), "", "", ""},
        {&described_t::attribute, record(6, {0x12}), cut_attribute, cut_attribute, cut_attribute},
        {&described_t::attribute, record(6, {0x12, 2, 0, 5}), "",
         "41: " + in_sub_rule + "attribute 0: no string at 2",
         "41: " + in_sub_rule + "attribute 0: attribute name: no text begins here"},
        {&described_t::attribute, record(6, {0x12, 0, 2, 5}), "", "",
         "41: " + in_sub_rule + "attribute 0: value: no text begins here"},
        {&described_t::attribute, record(6, {0x10, 0, 0, 5}), "",
         "36: " + in_sub_rule + "attribute 0: direction 0", ""},
        {&described_t::attribute, record(6, {0x14, 0, 0, 5}), "",
         "36: " + in_sub_rule + "attribute 0: direction 4", ""},
        {&described_t::sub_rule_meta, record(4, {0}), cut_sub_rule, cut_sub_rule, cut_sub_rule},
        {&described_t::sub_rule_meta, record(4, {2, 2, 0, 0}), "",
         "41: " + in_sub_rule + "no string at 2",
         "41: " + in_sub_rule + "bottom protocol: no text begins here"},
        {&described_t::rule_meta, record(7, {0}), cut_rule, cut_rule, cut_rule},
        {&described_t::rule_meta, record(7, {0x05000006, 0, 0, 0, 0, 1, 2, 0}),
         "41: " + in_rule + "path: no text begins here", "", ""},
        {&described_t::protocol_meta, record(1, {0}), cut_protocol, cut_protocol, cut_protocol},
        {&described_t::protocol_meta, record(1, {7, 2, 0, 0, 1}), no_name, "", no_name},
        {&described_t::strings, {}, no_strings, no_strings, no_strings},
        {&described_t::behind_protocols, record(9), "", "", ""},
        {&described_t::behind_protocols,
         {0x01000001},
         "40: " + over_long,
         "40: " + over_long,
         "40: " + over_long},
        {&described_t::behind_groups, record(9), "", "", ""},
        {&described_t::behind_groups, record(1, record(2, {0x00013700})), no_protocols,
         no_protocols, no_protocols},
        {&described_t::behind_groups,
         {0x01000001},
         "42: " + over_long,
         "42: " + over_long,
         "42: " + over_long},
    };
    for (const walked_t &row : rows) {
        described_t described;
        described.*row.part = row.words;
        const std::vector<uint8_t> bytes = stored(root_of(described));
        pdb_view_t pdb;
        view_error_t error;
        EXPECT_TRUE(pdb_view_open(bytes, pdb, error)) << error.text;
        EXPECT_EQ(walk_catalog(pdb), row.catalog);
        EXPECT_EQ(walk_totals(pdb), row.totals);
        EXPECT_EQ(walk_values(pdb), row.values);
    }
}

// The pool may hold an empty text; no name and no value is one.
TEST(ViewWalks, TakeAnEmptyTextForNone)
{
    described_t described;
    described.strings = record(2, {0x00013700, 0});
    described.attribute = record(6, {0x12, 4, 0, 5});
    const std::vector<uint8_t> bytes = stored(root_of(described));
    pdb_view_t pdb;
    view_error_t error;
    EXPECT_TRUE(pdb_view_open(bytes, pdb, error)) << error.text;
    EXPECT_EQ(walk_values(pdb), "42: protocol at byte 12: rule 0: sub-rule 0: attribute 0: "
                                "attribute name: no text begins here");
}

/// What the values of a description became, by item, in the pdb of the parts.
std::string origins(const parts_t &parts, const std::vector<view_stored_value_t> &values)
{
    const std::vector<uint8_t> bytes = pdb_of(parts);
    pdb_view_t pdb;
    view_error_t error;
    EXPECT_TRUE(pdb_view_open(bytes, pdb, error)) << error.text;
    std::vector<uint32_t> found;
    if (!view_values_origins(pdb, values, found, error))
        return error.text;
    std::string text;
    for (size_t item = 1; item < found.size(); ++item)
        text += std::to_string(found[item]) + " ";
    return text;
}

view_stored_value_t stored_value(std::string_view attribute, uint32_t way, std::string_view text)
{
    return {"web", 0, 0, "tcp", attribute, way, text};
}

// The pdb has one matcher, for tcp:host from server to client.
TEST(ViewWalks, LeadFromItemsToValues)
{
    const view_stored_value_t value = stored_value("host", ATTR_WAY_STC, "a");
    EXPECT_EQ(origins({}, {value}), "0 ");
    EXPECT_EQ(origins({}, {value, stored_value("host", ATTR_WAY_STC, "b,c")}), "1 1 0 ");
    EXPECT_EQ(origins({}, {value, stored_value("host", ATTR_WAY_STC, ",")}), "0 ");
    EXPECT_EQ(origins({}, {}), "the matcher is not that of the descriptions");
    EXPECT_EQ(origins({}, {stored_value("agent", ATTR_WAY_STC, "a")}),
              "the matcher is not that of the descriptions");
    EXPECT_EQ(origins({}, {stored_value("agent", ATTR_WAY_STC, "a"), value}),
              "a matcher of the descriptions is missing");
    parts_t parts;
    parts.meta = {0, 6, 3};
    EXPECT_EQ(origins(parts, {value}), "meta: direction 3");
}

} // namespace
