// What a stored sub-rule was written as, worked out by hand.
#include "alias_undo.h"

#include <gtest/gtest.h>

#include "csa_types.h"

namespace
{

using aliases_t = std::vector<model_alias_t>;
using attributes_t = std::vector<written_attribute_t>;

model_alias_t pair_of(model_alias_side_t alias, model_alias_side_t reference)
{
    return {alias, reference};
}

/// A sub-rule that was written for http, and is matched for `protocol`.
model_sub_rule_t sub_rule_of(std::string_view protocol, const attributes_t &attributes,
                             uint32_t cts_mindata = 0, uint32_t stc_mindata = 0)
{
    model_sub_rule_t sub_rule;
    sub_rule.protocol = protocol;
    sub_rule.bottom = "http";
    sub_rule.cts_mindata = cts_mindata;
    sub_rule.stc_mindata = stc_mindata;
    for (const written_attribute_t &attribute : attributes)
        sub_rule.attributes.push_back({attribute.name, 0, attribute.way, {}});
    return sub_rule;
}

/// The attributes that were written, as "name way", "as stored: " in front where none give it.
std::string undone(const aliases_t &aliases, const model_sub_rule_t &sub_rule)
{
    attributes_t written = {{"left from before", 0}};
    std::string text = alias_undo(aliases, sub_rule, written) ? "" : "as stored: ";
    for (const written_attribute_t &attribute : written)
        text += std::string(attribute.name) + " " + attr_way2str(attribute.way) + " ";
    return text;
}

constexpr model_alias_side_t HTTP_CONTENT_STC = {"http", "content", ATTR_WAY_STC};
constexpr model_alias_side_t HTTP_CONTENT_CTS = {"http", "content", ATTR_WAY_CTS};
constexpr model_alias_side_t QUIC_STREAM_CTS = {"quic", "stream", ATTR_WAY_CTS};
constexpr model_alias_side_t QUIC_STREAM_STC = {"quic", "stream", ATTR_WAY_STC};

TEST(alias_undo, a_reference_was_its_alias)
{
    const aliases_t aliases = {
        pair_of({"http", "server", ATTR_WAY_CTS}, {"quic", "server_name", ATTR_WAY_CTS})};
    EXPECT_EQ(undone(aliases, sub_rule_of("quic", {{"server_name", ATTR_WAY_CTS}})), "server cts ");
    EXPECT_EQ(undone(aliases, sub_rule_of("http", {{"uri", ATTR_WAY_CTS}})), "uri cts ");
    EXPECT_EQ(undone(aliases, sub_rule_of("quic", {{"uri", ATTR_WAY_CTS}})), "as stored: uri cts ")
        << "nothing makes it one of quic";
    EXPECT_EQ(undone(aliases, sub_rule_of("http", {{"server", ATTR_WAY_CTS}})),
              "as stored: server cts ")
        << "it would have been an alias";
    EXPECT_EQ(
        undone(aliases, sub_rule_of("http", {{"server", ATTR_WAY_CTS}, {"uri", ATTR_WAY_CTS}})),
        "as stored: server cts uri cts ");
}

TEST(alias_undo, minimum_data_moves_to_the_direction_of_the_reference)
{
    const aliases_t to_client = {pair_of(HTTP_CONTENT_STC, QUIC_STREAM_CTS)};
    const attributes_t cts = {{"stream", ATTR_WAY_CTS}};
    EXPECT_EQ(undone(to_client, sub_rule_of("quic", cts, 8, 0)), "content stc ");
    EXPECT_EQ(undone(to_client, sub_rule_of("quic", cts, 8, 3)), "as stored: stream cts ")
        << "the alias would have left none there";
    EXPECT_EQ(undone(to_client, sub_rule_of("quic", cts, 3, 8)), "as stored: stream cts ")
        << "nor so little";
    const aliases_t to_server = {pair_of(HTTP_CONTENT_CTS, QUIC_STREAM_STC)};
    const attributes_t stc = {{"stream", ATTR_WAY_STC}};
    EXPECT_EQ(undone(to_server, sub_rule_of("quic", stc, 0, 8)), "content cts ");
    EXPECT_EQ(undone(to_server, sub_rule_of("quic", stc, 8, 8)), "as stored: stream stc ");
}

TEST(alias_undo, minimum_data_stays_without_a_change_of_direction_or_a_stream)
{
    const attributes_t cts = {{"stream", ATTR_WAY_CTS}};
    EXPECT_EQ(undone({pair_of(HTTP_CONTENT_CTS, QUIC_STREAM_CTS)}, sub_rule_of("quic", cts, 8, 3)),
              "content cts ");
    EXPECT_EQ(undone({pair_of({"http", "content", ATTR_WAY_BOTH}, QUIC_STREAM_CTS)},
                     sub_rule_of("quic", cts, 8, 3)),
              "content both ");
    EXPECT_EQ(undone({pair_of(HTTP_CONTENT_STC, {"quic", "stream", ATTR_WAY_BOTH})},
                     sub_rule_of("quic", {{"stream", ATTR_WAY_BOTH}}, 8, 3)),
              "content stc ");
    EXPECT_EQ(undone({pair_of(HTTP_CONTENT_CTS, {"quic", "stream", ATTR_WAY_BOTH})},
                     sub_rule_of("quic", {{"stream", ATTR_WAY_BOTH}}, 8, 3)),
              "content cts ");
    EXPECT_EQ(undone({pair_of({"http", "uri", ATTR_WAY_STC}, QUIC_STREAM_CTS)},
                     sub_rule_of("quic", cts, 8, 3)),
              "uri stc ")
        << "its alias carries none";
    EXPECT_EQ(undone({pair_of(HTTP_CONTENT_STC, {"quic", "uri", ATTR_WAY_CTS})},
                     sub_rule_of("quic", {{"uri", ATTR_WAY_CTS}}, 8, 3)),
              "content stc ")
        << "its reference carries none";
}

TEST(alias_undo, two_attributes_were_not_written_as_one)
{
    const aliases_t aliases = {pair_of({"http", "a", ATTR_WAY_CTS}, {"quic", "x", ATTR_WAY_CTS}),
                               pair_of({"http", "b", ATTR_WAY_CTS}, {"quic", "x", ATTR_WAY_CTS})};
    const written_attribute_t x = {"x", ATTR_WAY_CTS};
    EXPECT_EQ(undone(aliases, sub_rule_of("quic", {x, x})), "b cts a cts ");
    EXPECT_EQ(undone(aliases, sub_rule_of("quic", {x, x, x, x})),
              "as stored: x cts x cts x cts x cts ");
}

TEST(alias_undo, what_cannot_be_tried_in_full_stays_as_it_is_stored)
{
    aliases_t aliases;
    for (size_t i = 0; i <= ALIAS_MAX; ++i)
        aliases.push_back(
            pair_of({"http", "server", ATTR_WAY_CTS}, {"quic", "server_name", ATTR_WAY_CTS}));
    const attributes_t one = {{"server_name", ATTR_WAY_CTS}};
    EXPECT_EQ(undone(aliases, sub_rule_of("quic", one)), "as stored: server_name cts ");
    aliases.pop_back();
    EXPECT_EQ(undone(aliases, sub_rule_of("quic", one)), "server cts ");
    // Seven attributes of two forms each have more than 64 choices, none of which leads to ssl.
    const char *names[] = {"a", "b", "c", "d", "e", "f", "g"};
    aliases.clear();
    attributes_t attributes;
    std::string as_stored = "as stored: ";
    for (const char *name : names) {
        aliases.push_back(
            pair_of({"http", std::string_view("ABCDEFG").substr(aliases.size(), 1), ATTR_WAY_CTS},
                    {"quic", name, ATTR_WAY_CTS}));
        attributes.push_back({name, ATTR_WAY_CTS});
        as_stored += std::string(name) + " cts ";
    }
    EXPECT_EQ(undone(aliases, sub_rule_of("ssl", attributes)), as_stored);
    EXPECT_EQ(undone(aliases, sub_rule_of("quic", attributes)),
              "A cts B cts C cts D cts E cts F cts G cts ");
    attributes.resize(17, {"z", ATTR_WAY_CTS});
    EXPECT_EQ(undone({}, sub_rule_of("http", attributes)).substr(0, 11), "as stored: ");
}

} // namespace
