#include <gtest/gtest.h>

#include "bytes.h"
#include "captured.h"
#include "document_test.h"
#include "json_text.h"
#include "json_tools.h"
#include "matcher_alias_serialize.h"
#include "string_pool.h"
#include "visitor_matcher_alias.h"

namespace
{

/// The text of one side of a pair.
std::string side(const char *protocol, const char *attr, const char *way)
{
    return std::string(R"({"protocol": ")") + protocol + R"(", "attr": ")" + attr +
           R"(", "way": ")" + way + "\"}";
}

std::string entry(const std::string &alias, const std::string &reference)
{
    return std::string(R"({"alias": )") + alias + R"(, "reference": )" + reference + "}";
}

std::string document(std::initializer_list<std::string> entries)
{
    std::string text = R"({"aliases": [)";
    for (const std::string &one : entries) {
        text += &one == entries.begin() ? "" : ", ";
        text += one;
    }
    return text += "]}";
}

alias_pair_t pair_of(const char *alias, const char *reference)
{
    return {{csa_str(alias), csa_str("x"), ATTR_WAY_CTS},
            {csa_str(reference), csa_str("y"), ATTR_WAY_STC}};
}

class matcher_alias : public document_test
{
protected:
    /// Reads a document into `set`; gives the outcome.
    std::string read(const std::string &text, std::string_view rules = {}, bool ignore_sem = false)
    {
        pragmar_err_clear();
        return outcome(json_to_matcher_alias(text, rules, &pool.table, &set, ignore_sem));
    }

    /// The stored set, in memory of exactly its size; empty when it cannot be stored.
    std::vector<uint8_t> serialized()
    {
        const uint32_t size = matcher_alias_get_tlv_size(set);
        std::vector<uint8_t> buf(size + 4);
        uint8_t *end = nullptr;
        if (matcher_alias_serialize(&set, buf.data(), size / 4, &end) != PDATA_SUCCESS)
            return {};
        EXPECT_EQ(end, buf.data() + buf.size());
        return buf;
    }

    string_pool pool;
    matcher_alias_build_t set;
};

TEST_F(matcher_alias, a_document_is_a_list_of_pairs)
{
    EXPECT_EQ(read(document({entry(side("http", "host", "cts"), side("quic", "name", "both")),
                             entry(side("ssl", "x", "stc"), side("ssl", "y", "cts"))})),
              "0");
    ASSERT_EQ(set.alias_num, 2U);
    EXPECT_EQ(set.alias_idx, 2U);
    EXPECT_EQ(set.hstring, &pool.table);
    EXPECT_EQ(csa_str_view(set.aliases[0].alias.proto_name), "http");
    EXPECT_EQ(csa_str_view(set.aliases[0].alias.attr_name), "host");
    EXPECT_EQ(set.aliases[0].alias.way, ATTR_WAY_CTS);
    EXPECT_EQ(csa_str_view(set.aliases[0].reference.proto_name), "quic");
    EXPECT_EQ(csa_str_view(set.aliases[0].reference.attr_name), "name");
    EXPECT_EQ(set.aliases[0].reference.way, ATTR_WAY_BOTH);
    EXPECT_EQ(csa_str_view(set.aliases[1].alias.proto_name), "ssl");
    EXPECT_EQ(set.aliases[1].alias.way, ATTR_WAY_STC);
}

TEST_F(matcher_alias, values_are_unescaped_and_keys_are_not)
{
    EXPECT_EQ(read(document({entry(side(R"(a\/b)", R"(\\.)", R"(\ct\s)"), side("c", "d", "cts"))})),
              "0");
    EXPECT_EQ(csa_str_view(set.aliases[0].alias.proto_name), "a/b");
    EXPECT_EQ(csa_str_view(set.aliases[0].alias.attr_name), "\\.");
    EXPECT_EQ(set.aliases[0].alias.way, ATTR_WAY_CTS);
    EXPECT_EQ(read(document({entry(side("a", "b", R"(c\ts)"), side("c", "d", "cts"))})),
              OUTCOME_INVALID_ARGUMENT
              ": MATCHER_ALIAS : Unknown way c\ts (pick both,cts or stc).\n")
        << "an escaped t is a tab";
    EXPECT_EQ(read(R"({"\aliases": [{}]})"), "0");
    EXPECT_EQ(set.alias_num, 0U);
}

TEST_F(matcher_alias, other_keys_are_ignored_with_all_that_they_hold)
{
    EXPECT_EQ(read(R"({"comment": {"aliases": [{}]}, "aliases": [{"note": ["x", {"protocol": "n"}],
                       "reference": {"way": "stc", "attr": "d", "protocol": "c", "more": 1},
                       "alias": {"protocol": "a", "attr": "b", "way": "cts"}}], "more": [1, true]})"),
              "0");
    ASSERT_EQ(set.alias_num, 1U);
    EXPECT_EQ(csa_str_view(set.aliases[0].alias.proto_name), "a");
    EXPECT_EQ(csa_str_view(set.aliases[0].reference.proto_name), "c");
}

TEST_F(matcher_alias, a_document_that_does_not_parse_or_breaks_its_rules_is_status_56)
{
    EXPECT_EQ(read("[1,]"), OUTCOME_PRAGMAR
              ": parse failure on line: 1\n"
              "[1,]\n"
              "---^\n"
              "Expecting 'STRING', 'NUMBER', 'NULL', 'TRUE', 'FALSE', '{', '[', got ']'.\n");
    const char *rules = R"({"nodes": [{}, {}], "transitions": []})";
    EXPECT_EQ(read("{}", rules),
              OUTCOME_PRAGMAR ": Bad semantic.\nContext: \nUnexpected type '{'.\nExpected:\n");
    EXPECT_EQ(read("{}", rules, true), "0");
    EXPECT_EQ(outcome(json_to_matcher_alias({}, {}, &pool.table, &set, false)),
              OUTCOME_PRAGMAR ": ")
        << "no document";
}

TEST_F(matcher_alias, the_words_of_a_direction)
{
    csa_attr_way_t way = ATTR_WAY_UNKNOWN;
    EXPECT_EQ(outcome(read_attr_way(&way, csa_str("cts"))), "0");
    EXPECT_EQ(way, ATTR_WAY_CTS);
    EXPECT_EQ(outcome(read_attr_way(&way, csa_str("stc"))), "0");
    EXPECT_EQ(way, ATTR_WAY_STC);
    EXPECT_EQ(outcome(read_attr_way(&way, csa_str("both"))), "0");
    EXPECT_EQ(way, ATTR_WAY_BOTH);
    for (const std::string word : {"CTS", "ct", "ctss", "", "any"})
        EXPECT_EQ(outcome(read_attr_way(&way, csa_str(word))),
                  OUTCOME_INVALID_ARGUMENT ": MATCHER_ALIAS : Unknown way " + word +
                      " (pick both,cts or stc).\n");
    EXPECT_EQ(outcome(read_attr_way(&way, {})),
              OUTCOME_INVALID_ARGUMENT ": MATCHER_ALIAS : Unknown way  (pick both,cts or stc).\n");
    EXPECT_EQ(read(document({entry(side("a", "b", "CTS"), side("c", "d", "cts"))})),
              OUTCOME_INVALID_ARGUMENT
              ": MATCHER_ALIAS : Unknown way CTS (pick both,cts or stc).\n");
    EXPECT_EQ(read(R"({"aliases": [{}]})"),
              OUTCOME_INVALID_ARGUMENT ": MATCHER_ALIAS : Unknown way  (pick both,cts or stc).\n");
}

TEST_F(matcher_alias, a_full_set_takes_no_pair)
{
    set = matcher_alias_create(&pool.table, 1);
    EXPECT_EQ(outcome(matcher_alias_add(&set, pair_of("P", "Q"))), "0");
    EXPECT_EQ(outcome(matcher_alias_add(&set, pair_of("P", "Q"))), OUTCOME_OVERFLOW)
        << "no message";
    EXPECT_EQ(set.alias_idx, 1U);
    matcher_alias_destroy(&set);
    EXPECT_EQ(set.alias_num, 0U);
    EXPECT_EQ(outcome(matcher_alias_add(&set, pair_of("P", "Q"))), OUTCOME_OVERFLOW);
}

TEST_F(matcher_alias, a_protocol_has_one_reference_protocol)
{
    set = matcher_alias_create(&pool.table, 9);
    EXPECT_EQ(outcome(matcher_alias_add(&set, pair_of("P", "Q"))), "0");
    EXPECT_EQ(outcome(matcher_alias_add(&set, pair_of("R", "S"))), "0");
    EXPECT_EQ(outcome(matcher_alias_add(&set, pair_of("P", "T"))), OUTCOME_INVALID_ARGUMENT
              ": matcher_alias parsing : you cannot create an alias from protocol P to protocol T "
              "because you already have an alias to protocol Q\n");
    EXPECT_EQ(set.alias_idx, 3U) << "the pair stays stored";
    EXPECT_EQ(outcome(matcher_alias_add(&set, pair_of("P", "Q"))), "0");
    EXPECT_EQ(outcome(matcher_alias_add(&set, pair_of("P", "P"))), "0")
        << "a reference to the protocol itself";
}

TEST_F(matcher_alias, the_pair_just_before_is_not_compared)
{
    set = matcher_alias_create(&pool.table, 9);
    EXPECT_EQ(outcome(matcher_alias_add(&set, pair_of("P", "Q"))), "0");
    EXPECT_EQ(outcome(matcher_alias_add(&set, pair_of("P", "T"))), "0");
    EXPECT_EQ(outcome(matcher_alias_add(&set, pair_of("P", "T"))), OUTCOME_INVALID_ARGUMENT
              ": matcher_alias parsing : you cannot create an alias from protocol P to protocol T "
              "because you already have an alias to protocol Q\n")
        << "the one before that is";
}

TEST_F(matcher_alias, one_pair_is_stored_in_18_bytes_padded_to_20)
{
    EXPECT_EQ(read(document({entry(side("http", "host", "cts"), side("quic", "sni", "both"))})),
              "0");
    EXPECT_EQ(matcher_alias_get_tlv_size(set), 20U);
    EXPECT_EQ(serialized(), bytes("0A000005 00000000 00000006 01 0000000C 00000012 03 0000"));
    EXPECT_EQ(pool.strings(), (std::vector<std::string>{"http", "host", "quic", "sni"}));
}

TEST_F(matcher_alias, two_pairs_fill_whole_words)
{
    EXPECT_EQ(read(document({entry(side("a", "b", "stc"), side("c", "b", "cts")),
                             entry(side("c", "a", "both"), side("c", "d", "stc"))})),
              "0");
    EXPECT_EQ(serialized(), bytes("0A000009"
                                  "00000000 00000004 02 00000008 00000004 01"
                                  "00000008 00000000 03 00000008 0000000C 02"));
    EXPECT_EQ(pool.strings(), (std::vector<std::string>{"a", "b", "c", "d"}))
        << "per pair: alias protocol, alias attribute, reference protocol, reference attribute";
}

TEST_F(matcher_alias, three_pairs_are_stored_in_54_bytes_padded_to_56)
{
    const std::string one = entry(side("a", "b", "cts"), side("a", "c", "stc"));
    EXPECT_EQ(read(document({one, one, one})), "0");
    EXPECT_EQ(matcher_alias_get_tlv_size(set), 56U);
    const std::string stored = "00000000 00000004 01 00000000 00000008 02 ";
    EXPECT_EQ(serialized(), bytes("0A00000E " + stored + stored + stored + "0000"));
}

TEST_F(matcher_alias, a_buffer_that_is_too_small_is_a_status)
{
    EXPECT_EQ(read(document({entry(side("a", "b", "cts"), side("a", "c", "stc"))})), "0");
    for (uint32_t words = 0; words < 5; ++words) {
        std::vector<uint8_t> buf((words + 1) * 4);
        uint8_t *end = nullptr;
        EXPECT_EQ(outcome(matcher_alias_serialize(&set, buf.data(), words, &end)),
                  OUTCOME_INVALID_ARGUMENT);
        EXPECT_EQ(end, nullptr);
    }
}

TEST_F(matcher_alias, an_empty_list_is_a_record_of_length_0)
{
    EXPECT_EQ(read(R"({"aliases": []})"), "0");
    EXPECT_EQ(matcher_alias_get_tlv_size(set), 0U);
    EXPECT_EQ(serialized(), bytes("0A000000"));
    EXPECT_EQ(read("{}"), "0") << "no list at all";
    EXPECT_EQ(serialized(), bytes("0A000000"));
}

TEST_F(matcher_alias, an_empty_name_ends_the_storing)
{
    for (const auto &[protocol, attr] : {std::pair("", "b"), std::pair("a", "")}) {
        EXPECT_EQ(read(document({entry(side(protocol, attr, "cts"), side("c", "d", "cts"))})), "0");
        EXPECT_TRUE(serialized().empty());
        EXPECT_EQ(read(document({entry(side("c", "d", "cts"), side(protocol, attr, "cts"))})), "0");
        EXPECT_TRUE(serialized().empty());
    }
}

TEST_F(matcher_alias, a_document_holds_64_pairs)
{
    std::string text = R"({"aliases": [)";
    const std::string one = entry(side("a", "b", "cts"), side("c", "d", "stc"));
    for (int i = 0; i < 64; ++i)
        text.append(i == 0 ? "" : ",").append(one);
    EXPECT_EQ(read(text + "]}"), "0");
    EXPECT_EQ(set.alias_num, 64U);
    EXPECT_EQ(stderr_of([&] { EXPECT_EQ(read(text + "," + one + "]}"), OUTCOME_PRAGMAR ": "); }),
              "Error: FENCE_MATCHER_ALIAS_NUMBER.\n");
}

TEST_F(matcher_alias, a_stored_set_is_rebuilt_into_another_table)
{
    EXPECT_EQ(read(document({entry(side("http", "host", "cts"), side("quic", "sni", "both")),
                             entry(side("ssl", "x", "stc"), side("http", "y", "cts")),
                             entry(side("ssl", "z", "stc"), side("http", "y", "cts"))})),
              "0");
    const std::vector<uint8_t> stored = serialized();
    string_pool other;
    other.put("first");
    matcher_alias_build_t rebuilt;
    EXPECT_EQ(outcome(matcher_alias_build_pairs(pool.view(), &other.table, &rebuilt,
                                                std::span(stored).subspan(4),
                                                static_cast<uint32_t>((stored.size() - 4) / 18))),
              "0");
    ASSERT_EQ(rebuilt.alias_num, 3U);
    EXPECT_EQ(rebuilt.alias_idx, 3U);
    EXPECT_EQ(csa_str_view(rebuilt.aliases[1].alias.proto_name), "ssl");
    EXPECT_EQ(rebuilt.aliases[1].alias.way, ATTR_WAY_STC);
    EXPECT_EQ(csa_str_view(rebuilt.aliases[1].reference.attr_name), "y");
    set = rebuilt;
    EXPECT_EQ(serialized().size(), stored.size());
    EXPECT_EQ(other.strings(), (std::vector<std::string>{"first", "http", "host", "quic", "sni",
                                                         "ssl", "x", "y", "z"}));
}

TEST_F(matcher_alias, what_cannot_be_rebuilt)
{
    const std::vector<uint8_t> none(65 * 18);
    pool.put("a");
    const hstring_t strings = pool.view();
    matcher_alias_build_t rebuilt;
    const auto rebuild = [&](std::span<const uint8_t> value, uint32_t nr) {
        return outcome(matcher_alias_build_pairs(strings, &pool.table, &rebuilt, value, nr));
    };
    EXPECT_EQ(rebuild(none, 64), "0");
    EXPECT_EQ(rebuild(none, 65), OUTCOME_OVERFLOW ": Too many matcher alias");
    EXPECT_EQ(rebuild(std::span(none).first(17), 1), OUTCOME_INVALID_ARGUMENT)
        << "the value ends within the pair";
    EXPECT_EQ(rebuild({}, 0), "0");
    EXPECT_EQ(rebuilt.alias_num, 0U);
    for (const size_t at : {0UL, 4UL, 9UL, 13UL}) {
        std::vector<uint8_t> bad(18);
        bad[at] = 0xFF; // an offset beyond the table
        EXPECT_EQ(rebuild(bad, 1), OUTCOME_ENGINE) << at;
    }
    // From "a" to "b" at 4, to "a" itself, and to "c" at 8.
    pool.put("b");
    pool.put("c");
    const hstring_t three = pool.view();
    const std::vector<uint8_t> pairs = bytes("00000000 00000000 01 00000004 00000000 01"
                                             "00000000 00000000 01 00000000 00000000 01"
                                             "00000000 00000000 01 00000008 00000000 01");
    EXPECT_EQ(outcome(matcher_alias_build_pairs(three, &pool.table, &rebuilt, pairs, 3)),
              OUTCOME_INVALID_ARGUMENT
              ": matcher_alias parsing : you cannot create an alias from protocol a to protocol c "
              "because you already have an alias to protocol b\n");
}

TEST_F(matcher_alias, a_dump_names_both_sides)
{
    json_text json(document(
        {entry(side("a", "b", "cts"), side("c", "d", "stc")), R"({"alias": {"protocol": "e"}})"}));
    ASSERT_EQ(json.parse(), 0);
    visitor_matcher_alias_t visitor;
    matcher_alias_container_t container;
    visitor_matcher_alias_init(&visitor, &container);
    ASSERT_EQ(json_visit(json.json, &visitor.visitor), 0);
    EXPECT_EQ(stdout_of([&] { matcher_alias_dump(container); }),
              "alias\n| protocol: a\n| attr: b\n| way: cts\n"
              "reference\n| protocol: c\n| attr: d\n| way: stc\n"
              "alias\n| protocol: e\n"
              "reference\n");
}

} // namespace
