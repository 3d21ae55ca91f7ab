#include "view_description.h"

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "format_types.h"
#include "words.h"

namespace
{

using bytes_t = std::vector<uint8_t>;

/// The words of an area.
word_list words_of(const view_area_t &area)
{
    word_list list;
    for (size_t i = 0; i < view_words(area); ++i)
        list.push_back(view_word(area, i));
    return list;
}

/// Offset list and list of the sub-rules whose parts these are.
word_list sub_rules(const std::vector<word_list> &list)
{
    word_list offsets;
    word_list records;
    for (const word_list &one : list) {
        offsets.push_back(static_cast<uint32_t>(records.size()));
        records = join({records, record(2, one)});
    }
    return join({record(3, offsets), record(2, records)});
}

/// A protocol of one rule of one sub-rule of two attributes.
word_list small_protocol()
{
    const word_list stream = record(6, {2, 100, 102, 104, 0, 40});
    const word_list port = record(2, {19, 106, 108, 110});
    const word_list sub_rule =
        join({record(4, {20, 22, 8, 9}), record(3, {0, 7}), record(2, join({stream, port}))});
    const word_list rule =
        record(1, join({record(8, {0x05000007, 0, 0x802, 7, 1, 1, 2, 30, 32, 1, 34}),
                        sub_rules({sub_rule})}));
    return join({record(1, {0x01000043, 2, 4, 5, 1, 0, 1, 2, 3, 1}), record(2, {40, 42}),
                 record(3, {44, 46}), record(6, {48}), record(4, {50}), record(5, {52, 54}),
                 record(8, {0}), record(7, rule)});
}

/// Opens everything that a protocol holds; counts the attributes.
bool open_all(const view_area_t &value, size_t &attributes, view_error_t &error)
{
    view_protocol_t protocol;
    attributes = 0;
    if (!view_protocol_open(value, protocol, error))
        return false;
    for (uint32_t i = 0; i < view_list_count(protocol.rules); ++i) {
        view_rule_t rule;
        if (!view_rule_at(protocol, i, rule, error))
            return false;
        for (uint32_t j = 0; j < view_list_count(rule.sub_rules); ++j) {
            view_sub_rule_t sub_rule;
            if (!view_sub_rule_at(rule, j, sub_rule, error))
                return false;
            for (uint32_t k = 0; k < view_list_count(sub_rule.attributes); ++k, ++attributes) {
                view_attribute_t attribute;
                if (!view_attribute_at(sub_rule, k, attribute, error))
                    return false;
            }
        }
    }
    return true;
}

class ViewDescription : public testing::Test
{
protected:
    view_area_t area(const word_list &words)
    {
        bytes = stored(words);
        return view_file(bytes);
    }

    bytes_t bytes;
    view_error_t error;
};

TEST_F(ViewDescription, ReadsTheWordsOfAProtocol)
{
    view_protocol_t protocol;
    ASSERT_TRUE(view_protocol_open(area(small_protocol()), protocol, error)) << error.text;
    EXPECT_EQ(protocol.id, 0x01000043u);
    EXPECT_EQ(protocol.name, 2u);
    EXPECT_EQ(protocol.default_port, 4u);
    EXPECT_EQ(protocol.max_trans, 5u);
    EXPECT_EQ(protocol.cacheable, 1u);
    EXPECT_EQ(protocol.http_reclassify, 0u);
    EXPECT_EQ(protocol.version_major, 1u);
    EXPECT_EQ(protocol.version_minor, 2u);
    EXPECT_EQ(protocol.version_revision, 3u);
    EXPECT_EQ(protocol.implicit_bottom_layer, 1u);
    EXPECT_EQ(words_of(protocol.tags), (word_list{40, 42}));
    EXPECT_EQ(words_of(protocol.descriptions), (word_list{44, 46}));
    EXPECT_EQ(words_of(protocol.compat), word_list{48});
    EXPECT_EQ(words_of(protocol.supported_versions), word_list{50});
    EXPECT_EQ(words_of(protocol.altnames), (word_list{52, 54}));
    EXPECT_EQ(view_list_count(protocol.rules), 1u);
}

TEST_F(ViewDescription, ReadsARuleDownToItsValues)
{
    view_protocol_t protocol;
    view_rule_t rule;
    view_sub_rule_t sub_rule;
    view_attribute_t attribute;
    ASSERT_TRUE(view_protocol_open(area(small_protocol()), protocol, error));
    ASSERT_TRUE(view_rule_at(protocol, 0, rule, error));
    EXPECT_TRUE(rule.order_significant);
    EXPECT_EQ(rule.meta_form, 6u);
    EXPECT_EQ(rule.priority, 0x05000007u);
    EXPECT_EQ(rule.reserved, 0u);
    EXPECT_EQ(rule.scope, 0x802u);
    EXPECT_EQ(rule.vid, 7u);
    EXPECT_EQ(rule.fastpass, 1u);
    EXPECT_EQ(rule.preempt, 1u);
    EXPECT_EQ(words_of(rule.path), (word_list{30, 32}));
    EXPECT_EQ(words_of(rule.tags), word_list{34});
    ASSERT_TRUE(view_sub_rule_at(rule, 0, sub_rule, error));
    EXPECT_EQ(sub_rule.protocol, 20u);
    EXPECT_EQ(sub_rule.bottom_protocol, 22u);
    EXPECT_EQ(sub_rule.stc_mindata, 8u);
    EXPECT_EQ(sub_rule.cts_mindata, 9u);
    ASSERT_TRUE(view_attribute_at(sub_rule, 0, attribute, error));
    EXPECT_EQ(attribute.type, 6u);
    EXPECT_EQ(attribute.way_proto, 2u);
    EXPECT_EQ(attribute.name, 100u);
    EXPECT_EQ(words_of(attribute.values), (word_list{102, 104}));
    EXPECT_EQ(words_of(attribute.offsets), (word_list{0, 40}));
    ASSERT_TRUE(view_attribute_at(sub_rule, 1, attribute, error));
    EXPECT_EQ(words_of(attribute.values), (word_list{108, 110}));
    EXPECT_EQ(view_words(attribute.offsets), 0u);
}

TEST_F(ViewDescription, ReadsTheFormsOfARuleMeta)
{
    const struct {
        uint32_t type;
        word_list meta;
        uint32_t form, reserved, scope, vid, fastpass, preempt;
        word_list path, tags;
    } forms[] = {
        {1, {9, 30, 32}, 1, 0, 0, 0, 0, 0, {30, 32}, {}},
        {1, {9}, 1, 0, 0, 0, 0, 0, {}, {}},
        {4, {9, 1, 30, 1, 32}, 2, 0, 0, 0, 0, 0, {30}, {32}},
        {5, {9, 6, 0, 2, 30, 32}, 3, 0, 0, 0, 0, 6, {}, {30, 32}},
        {6, {9, 3, 5, 6, 0, 0}, 4, 3, 0, 0, 5, 6, {}, {}},
        {7, {9, 3, 4, 5, 6, 1, 30, 0}, 5, 3, 4, 0xFFFFFFFF, 5, 6, {30}, {}},
        {8, {9, 3, 4, 7, 5, 6, 0, 1, 30}, 6, 3, 4, 7, 5, 6, {}, {30}},
    };
    for (const auto &one : forms) {
        view_rule_t rule;
        size_t at;
        const word_list value = record(one.type, one.meta);
        EXPECT_EQ(view_rule_read({2, 0, 0, area(value)}, rule, &at), VIEW_SOUND) << one.form;
        EXPECT_EQ(rule.meta_form, one.form);
        EXPECT_EQ(rule.priority, 9u) << one.form;
        EXPECT_EQ(rule.reserved, one.reserved) << one.form;
        EXPECT_EQ(rule.scope, one.scope) << one.form;
        EXPECT_EQ(rule.vid, one.vid) << one.form;
        EXPECT_EQ(rule.fastpass, one.fastpass) << one.form;
        EXPECT_EQ(rule.preempt, one.preempt) << one.form;
        EXPECT_EQ(words_of(rule.path), one.path) << one.form;
        EXPECT_EQ(words_of(rule.tags), one.tags) << one.form;
    }
}

TEST_F(ViewDescription, RefusesCountsThatExceedTheirMeta)
{
    const struct {
        word_list value;
        view_fault_t fault;
    } metas[] = {
        {record(8, {9, 3, 4, 7, 5, 6}), VIEW_LENGTH},
        {record(8, {9, 3, 4, 7, 5, 6, 2, 30}), VIEW_COUNT},
        {record(8, {9, 3, 4, 7, 5, 6, 0}), VIEW_COUNT},
        {record(8, {9, 3, 4, 7, 5, 6, 0xFFFFFFFF, 30, 0}), VIEW_COUNT},
        {record(8, {9, 3, 4, 7, 5, 6, 0, 0xFFFFFFFF}), VIEW_COUNT},
        {record(8, {9, 3, 4, 7, 5, 6, 1, 30, 1}), VIEW_COUNT},
        {record(1, {}), VIEW_LENGTH},
        {record(9, {1}), VIEW_UNKNOWN},
        {record(0, {1}), VIEW_UNKNOWN},
        {{0x08000009, 1}, VIEW_OVERLONG},
    };
    for (const auto &meta : metas) {
        view_rule_t rule;
        size_t at = 99;
        EXPECT_EQ(view_rule_read({2, 0, 0, area(meta.value)}, rule, &at), meta.fault);
        EXPECT_EQ(at, 0u);
    }
}

TEST_F(ViewDescription, ReadsBothFormsOfASubRuleMeta)
{
    view_sub_rule_t sub_rule;
    size_t at;
    EXPECT_EQ(view_sub_rule_read({2, 0, 0, area(record(1, {20, 8, 9}))}, sub_rule, &at),
              VIEW_SOUND);
    EXPECT_EQ(sub_rule.protocol, 20u);
    EXPECT_EQ(sub_rule.bottom_protocol, 20u);
    EXPECT_EQ(sub_rule.stc_mindata, 8u);
    EXPECT_EQ(sub_rule.cts_mindata, 9u);
    for (const word_list &bad : {record(1, {1, 2}), record(1, {1, 2, 3, 4}), record(4, {1, 2, 3}),
                                 record(4, {1, 2, 3, 4, 5})})
        EXPECT_EQ(view_sub_rule_read({2, 0, 0, area(bad)}, sub_rule, &at), VIEW_LENGTH);
    EXPECT_EQ(view_sub_rule_read({2, 0, 0, area(record(5, {}))}, sub_rule, &at), VIEW_UNKNOWN);
}

TEST_F(ViewDescription, ForgetsWhatWasReadBefore)
{
    view_sub_rule_t sub_rule;
    view_rule_t rule;
    view_attribute_t attribute;
    size_t at;
    EXPECT_EQ(view_sub_rule_read({2, 0, 0, area(record(1, {20, 8, 9}))}, sub_rule, &at),
              VIEW_SOUND);
    EXPECT_EQ(view_sub_rule_read({2, 0, 0, area({})}, sub_rule, &at), VIEW_SOUND);
    EXPECT_EQ(sub_rule.protocol, 0u);
    EXPECT_EQ(sub_rule.cts_mindata, 0u);
    EXPECT_EQ(view_rule_read({2, 0, 0, area(record(7, {9, 0, 8, 0, 0, 0, 0}))}, rule, &at),
              VIEW_SOUND);
    EXPECT_EQ(view_rule_read({2, 0, 0, area({})}, rule, &at), VIEW_SOUND);
    EXPECT_EQ(rule.priority, 0u);
    EXPECT_EQ(rule.scope, 0u);
    EXPECT_EQ(view_attribute_read({6, 0, 0, area({1, 2, 3, 4})}, attribute, &at), VIEW_SOUND);
    EXPECT_EQ(view_words(attribute.offsets), 1u);
    EXPECT_EQ(view_attribute_read({2, 0, 0, area({1, 2, 3})}, attribute, &at), VIEW_SOUND);
    EXPECT_EQ(view_words(attribute.offsets), 0u);
}

TEST_F(ViewDescription, RefusesAttributesWhoseCountsDoNotPairUp)
{
    view_attribute_t attribute;
    size_t at;
    const auto read = [&](uint32_t type, const word_list &value) {
        return view_attribute_read({type, 0, 0, area(value)}, attribute, &at);
    };
    EXPECT_EQ(read(6, {2, 100, 102}), VIEW_COUNT);
    EXPECT_EQ(read(6, {2}), VIEW_LENGTH);
    EXPECT_EQ(read(2, {}), VIEW_LENGTH);
    EXPECT_EQ(read(6, {2, 100}), VIEW_SOUND);
    EXPECT_EQ(view_words(attribute.values), 0u);
    EXPECT_EQ(read(1, {2, 100, 102, 104, 106}), VIEW_SOUND);
    EXPECT_EQ(view_words(attribute.values), 3u);
    EXPECT_EQ(view_words(attribute.offsets), 0u);
}

TEST_F(ViewDescription, OlderMetasOfAProtocolAreShorter)
{
    for (const uint32_t length : {5U, 6U, 9U, 10U}) {
        view_protocol_t protocol;
        EXPECT_TRUE(view_protocol_open(area(record(1, word_list(length, 7))), protocol, error));
        EXPECT_EQ(protocol.cacheable, 7u);
        EXPECT_EQ(protocol.http_reclassify, length >= 6 ? 7u : 0u);
        EXPECT_EQ(protocol.version_revision, length >= 9 ? 7u : 0u);
        EXPECT_EQ(protocol.implicit_bottom_layer, length == 10 ? 7u : 0u);
    }
    for (const uint32_t length : {0U, 1U, 4U, 7U, 8U, 11U, 100U}) {
        view_protocol_t protocol;
        EXPECT_FALSE(view_protocol_open(area(record(1, word_list(length))), protocol, error));
        EXPECT_EQ(error.fault, VIEW_LENGTH);
    }
}

TEST_F(ViewDescription, RulesMustHaveRoomForThePositionsReadBeforeThem)
{
    view_protocol_t protocol;
    EXPECT_FALSE(
        view_protocol_open(area(join({record(8, {0, 1}), record(7, {0})})), protocol, error));
    EXPECT_EQ(error.fault, VIEW_LENGTH);
    EXPECT_EQ(error.offset, 12u);
    EXPECT_TRUE(
        view_protocol_open(area(join({record(7, {0}), record(8, {0, 1})})), protocol, error));
}

TEST_F(ViewDescription, ListsAreRefusedAtTheirFirstBadPosition)
{
    const word_list rules = join({record(2), record(2), record(2)});
    view_protocol_t protocol;
    view_rule_t rule;
    ASSERT_TRUE(
        view_protocol_open(area(join({record(8, {0, 0, 9}), record(7, rules)})), protocol, error));
    EXPECT_TRUE(view_rule_at(protocol, 0, rule, error));
    EXPECT_FALSE(view_rule_at(protocol, 1, rule, error));
    EXPECT_EQ(error.fault, VIEW_OVERLAP);
    EXPECT_EQ(error.offset, 8u) << "the position that leads astray";
    EXPECT_FALSE(view_rule_at(protocol, 2, rule, error));
    EXPECT_EQ(error.fault, VIEW_REFERENCE);
    EXPECT_EQ(std::string(error.text).substr(0, 8), "rule 2: ");
}

/// Cut anywhere but behind a record of the top level, a protocol ends with an error in it.
TEST_F(ViewDescription, EveryCutIsFound)
{
    const bytes_t whole = stored(small_protocol());
    std::set<size_t> ends = {0};
    view_cursor_t cursor = view_walk(view_file(whole));
    for (view_record_t top; view_next(cursor, top);)
        ends.insert(cursor.at);
    size_t attributes;
    ASSERT_TRUE(open_all(view_file(whole), attributes, error)) << error.text;
    EXPECT_EQ(attributes, 2u);
    for (size_t size = 0; size < whole.size(); ++size) {
        const bytes_t cut(whole.begin(), whole.begin() + static_cast<ptrdiff_t>(size));
        const bool opened = open_all(view_file(cut), attributes, error);
        EXPECT_TRUE(!opened || ends.contains(size)) << size;
        EXPECT_TRUE(opened || error.offset <= size) << size;
    }
}

/// Every word replaced by hostile numbers reads without harm, and errors lie within the bytes.
TEST_F(ViewDescription, HostileWordsEndWithAPlaceInTheBytes)
{
    const word_list whole = small_protocol();
    for (size_t i = 0; i < whole.size(); ++i)
        for (const uint32_t number :
             {0U, 1U, 2U, 0xFFU, 0x3FFFFFFFU, 0x40000000U, 0x7FFFFFFFU, 0x80000000U, 0xFFFFFFFFU,
              0x01FFFFFFU, 0x02FFFFFFU, 0x08FFFFFFU, 0x07000000U}) {
            word_list hostile = whole;
            hostile[i] = number;
            size_t attributes;
            if (!open_all(area(hostile), attributes, error)) {
                EXPECT_NE(error.fault, VIEW_SOUND);
                EXPECT_LT(error.offset, bytes.size());
            }
        }
}

// Areas of records have whole words; one that was cut otherwise is refused as cut.
TEST_F(ViewDescription, RefusesAnAreaThatEndsWithinAWord)
{
    const bytes_t whole = stored(small_protocol());
    for (const size_t extra : {1U, 2U, 3U}) {
        bytes_t more = whole;
        more.resize(whole.size() + extra);
        view_protocol_t protocol;
        EXPECT_FALSE(view_protocol_open({more.data(), more.size(), 0}, protocol, error));
        EXPECT_EQ(error.fault, VIEW_CUT);
        EXPECT_EQ(error.offset, whole.size());
        const view_record_t rule_record = {
            TLV_TYPE_PROTO_RULE, 0, 0, {more.data() + whole.size(), extra, whole.size()}};
        view_rule_t rule;
        size_t at;
        EXPECT_EQ(view_rule_read(rule_record, rule, &at), VIEW_CUT);
        EXPECT_EQ(at, whole.size());
    }
}

} // namespace
