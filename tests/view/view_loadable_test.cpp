#include <string>

#include "pdb_view.h"
#include "view_blobs.h"

namespace
{

/// A stream matcher without patterns and two second-level entries: a catch-all for item 1 with its
/// complete value, and the second of two pieces of item 2.
word_list stream_matcher()
{
    const word_list engines = join({blob(18, {14}), blob(19, {}), blob(21, {}), blob(22, {})});
    const word_list data =
        join({record(1, {1, 40}), record(3, engines), record(4, {1, 0, 2, 0, 2, 0, 0x02020100, 0}),
              record(5, {0x00022E2A})});
    return record(1, join({record(1, {0, 6, 2}), record(2, data)}));
}

/// Names: tcp at 0, host at 6.
word_list matchers()
{
    return record(
        4, join({record(1, stream_matcher()), record(2, {0x00037463, 0x70000004, 0x686F7374})}));
}

/// Two rules; rule 1 owns item 1 (bit 0, a referer), rule 2 item 2 (bit 1). Names: web at 0, tcp
/// at 6.
word_list rules()
{
    const uint32_t no = 0xFFFFFFFF;
    return record(
        5,
        join({
            record(1, {2}),
            record(2, {0, no, no, no, 6, 0, no, no, 6, no, 6, no, 6, no, 6, no, no, 99}),
            record(5, {2, 0, 2, 1, 17, 0}),
            record(3, record(1, {0, 0, 0, 0, 0x90000001, 7, 8, 0x80000003, 2, 0, 0, 0x00010003})),
            record(4, {0x00037765, 0x62000003, 0x74637000}),
        }));
}

/// Load state, descriptions, main strings, version, matchers, rules.
word_list pdb()
{
    return join({record(12, {0x02000002}), record(1, {}), record(3, {}),
                 record(6, {1, 540, 3, 0x312E3500}), matchers(), rules()});
}

constexpr size_t MATCHERS_WORD = 9; ///< of the header of the section, in words
constexpr size_t RULES_WORD = 45;

bool check(const view_area_t &area, view_error_t &error)
{
    pdb_view_t view;
    if (!pdb_view_open(view_bytes(area), view, error))
        return false;
    view_cursor_t cursor = view_walk(view.matchers.list);
    for (view_record_t found; view_next(cursor, found);) {
        view_matcher_t matcher;
        if (!view_matcher_open(found, view.matchers.names, matcher, error) ||
            !view_matcher_check(matcher, error))
            return false;
    }
    return view_walk_sound(cursor, error) &&
           (!view.compiled || view_rules_check(view.rules, error));
}

TEST(ViewLoadable, OpensWhatACompileWrote)
{
    const std::vector<uint8_t> bytes = stored(pdb());
    view_error_t error;
    pdb_view_t view;
    ASSERT_TRUE(pdb_view_open(bytes, view, error)) << error.text;
    EXPECT_TRUE(view.compiled);
    EXPECT_FALSE(view.empty);
    EXPECT_EQ(view.load_state, TLV_TYPE_LOAD_LOADABLE);
    EXPECT_EQ(view.version.major, 1u);
    EXPECT_EQ(view.version.minor, 540u);
    EXPECT_EQ(view.version.text, "1.5");
    EXPECT_EQ(view.roots[TLV_TYPE_ROOT_MATCHERS].offset, MATCHERS_WORD * 4);
    EXPECT_EQ(view.roots[TLV_TYPE_ROOT_RULES].offset, RULES_WORD * 4);
    EXPECT_TRUE(pdb_view_has(view, TLV_TYPE_ROOT_STRING));
    EXPECT_FALSE(pdb_view_has(view, TLV_TYPE_ROOT_TAGS));
}

TEST(ViewLoadable, OpensAMatcher)
{
    const std::vector<uint8_t> bytes = stored(pdb());
    view_error_t error;
    pdb_view_t view;
    ASSERT_TRUE(pdb_view_open(bytes, view, error)) << error.text;
    view_cursor_t cursor = view_walk(view.matchers.list);
    view_record_t found;
    ASSERT_TRUE(view_next(cursor, found));
    view_matcher_t matcher;
    ASSERT_TRUE(view_matcher_open(found, view.matchers.names, matcher, error)) << error.text;
    ASSERT_TRUE(view_matcher_check(matcher, error)) << error.text;
    EXPECT_FALSE(view_next(cursor, found));
    EXPECT_EQ(matcher.protocol, "tcp");
    EXPECT_EQ(matcher.attribute, "host");
    EXPECT_EQ(matcher.way, ATTR_WAY_STC);
    EXPECT_EQ(matcher.type, MATCHER_TYPE_STREAM);
    EXPECT_EQ(matcher.min_data, 40u);
    EXPECT_EQ(matcher.pattern.algo, PATTERN_ALGO_CLASSIC);
    ASSERT_EQ(view_matcher_nr_private(matcher), 2u);
    const view_entry_t all = view_matcher_entry(matcher, 0);
    EXPECT_EQ(all.pub_id, 1u);
    EXPECT_EQ(all.kind, MATCHER_MAP_CATCH_ALL);
    ASSERT_TRUE(all.has_value);
    EXPECT_EQ(view_matcher_value(matcher, all), ".*");
    const view_entry_t piece = view_matcher_entry(matcher, 1);
    EXPECT_EQ(piece.pub_id, 2u);
    EXPECT_EQ(piece.kind, MATCHER_MAP_REGULAR);
    EXPECT_EQ(piece.permutation, 1u);
    EXPECT_EQ(piece.position, 2u);
    EXPECT_EQ(piece.nb_pieces, 2u);
    EXPECT_FALSE(piece.has_value);
}

TEST(ViewLoadable, OpensTheRules)
{
    const std::vector<uint8_t> bytes = stored(pdb());
    view_error_t error;
    pdb_view_t view;
    ASSERT_TRUE(pdb_view_open(bytes, view, error)) << error.text;
    ASSERT_TRUE(view_rules_check(view.rules, error)) << error.text;
    const view_rules_t &found = view.rules;
    EXPECT_EQ(found.nr_rule, 2u);
    EXPECT_EQ(view_rules_path(found, 1, 0), "web");
    EXPECT_EQ(view_rules_path(found, 1, 1), "");
    EXPECT_EQ(view_rules_path(found, 2, 0), "tcp");
    EXPECT_EQ(view_rules_path(found, 2, 1), "web");
    EXPECT_EQ(view_rules_bottom(found, 2, 0), "tcp");
    EXPECT_EQ(view_rules_real_bottom(found, 1, 0), "tcp");
    EXPECT_EQ(view_rules_vid(found, 1), RULE_VID_NONE);
    EXPECT_EQ(view_rules_vid(found, 2), 99u);
    ASSERT_EQ(view_words(view_rules_tags(found, 1)), 1u);
    EXPECT_EQ(view_word(view_rules_tags(found, 1), 0), 17u);
    EXPECT_EQ(view_words(view_rules_tags(found, 2)), 0u);
    EXPECT_EQ(found.nr_slot, 3u);
    EXPECT_EQ(view_rules_slot(found, 0).rule_id, 0u);
    EXPECT_EQ(view_rules_slot(found, 3).rule_id, 0u) << "behind the last slot";
    const view_slot_t slot = view_rules_slot(found, 1);
    EXPECT_EQ(slot.rule_id, 1u);
    EXPECT_EQ(slot.flags, 9u);
    EXPECT_EQ(slot.priority, 7u);
    EXPECT_EQ(slot.scope, 8u);
    EXPECT_EQ(slot.bitset_full, 3u);
    EXPECT_EQ(slot.bitset_pos, 0u);
    EXPECT_TRUE(slot.referer);
    EXPECT_EQ(view_rules_slot(found, 2).bitset_pos, 1u);
}

/// A check of a file whose bytes start at 0, in a harness that places blobs elsewhere.
bool check_file(const view_area_t &area, view_error_t &error)
{
    const bool sound = check(area, error);
    error.offset += BLOB_PLACE;
    return sound;
}

TEST(ViewLoadable, FindsEveryChangedWordOfTheRoot)
{
    expect_faults(pdb(),
                  {
                      {0, 0x0D000001, VIEW_UNKNOWN, 0},
                      {0, 0x0C000000, VIEW_UNKNOWN, 4},
                      {1, 0x05000005, VIEW_VALUE, 4},
                      {2, 0x02000000, VIEW_UNKNOWN, 8},
                      {2, 0x03000000, VIEW_ABSENT, 0},
                      {4, 0x07000004, VIEW_ABSENT, 0},
                      {7, 5, VIEW_COUNT, 28},
                  },
                  [](const view_area_t &area, view_error_t &error) {
                      const bool sound = check_file(area, error);
                      if (error.fault == VIEW_ABSENT)
                          error.offset = BLOB_PLACE; // what is missing has no place
                      return sound;
                  });
}

TEST(ViewLoadable, FindsEveryChangedWordOfAMatcher)
{
    const word_list words = pdb();
    const auto find = [&](size_t from, uint32_t value) {
        size_t at = from;
        while (words[at] != value)
            ++at;
        return at;
    };
    const size_t meta = MATCHERS_WORD + 4;
    const size_t engines = find(meta, 18);
    const size_t entries = find(engines, 0x04000008) + 1;
    const size_t text = entries + 9;
    expect_faults(
        words,
        {
            {meta - 1, 0x02000000 | (words[meta - 1] & 0xFFFFFF), VIEW_UNKNOWN, meta * 4 - 4},
            {meta, 2, VIEW_REFERENCE, meta * 4}, // no name begins there
            {meta + 1, 12, VIEW_REFERENCE, meta * 4 + 4},
            {meta + 2, 3, VIEW_VALUE, meta * 4 + 8},
            {engines + 2, 2, VIEW_UNKNOWN, engines * 4 + 20},
            {entries, 0x80000001, VIEW_REFERENCE, entries * 4},
            {entries + 1, 2, VIEW_REFERENCE, entries * 4 + 4},
            {entries + 2, 3, VIEW_VALUE, entries * 4 + 8},
            {entries + 5, 2, VIEW_REFERENCE, entries * 4 + 20},
            {text, 0x00032E2A, VIEW_OVERLONG, text * 4},
        },
        check_file);
}

TEST(ViewLoadable, FindsEveryChangedWordOfTheRules)
{
    const size_t meta = RULES_WORD + 2;
    const size_t map = meta + 2;
    const size_t tags = map + 19;
    const size_t slots = tags + 8;
    const size_t names = slots + 13;
    expect_faults(pdb(),
                  {
                      {meta, 3, VIEW_COUNT, map * 4},
                      {map, 2, VIEW_REFERENCE, map * 4},
                      {map + 10, 12, VIEW_REFERENCE, map * 4 + 40},
                      {tags, 3, VIEW_COUNT, tags * 4},
                      {tags + 1, 3, VIEW_REFERENCE, tags * 4 + 4}, // a list at word 3 of 3
                      {tags + 3, 3, VIEW_COUNT, tags * 4 + 12},    // 3 tags in 2 words
                      {tags + 2, 1, VIEW_COUNT, tags * 4 + 16},    // a list of 17 tags
                      {slots + 4, 0x90000003, VIEW_REFERENCE, slots * 4 + 16}, // rule 3 of 2
                      {slots + 7, 0x80100003, VIEW_REFERENCE, slots * 4 + 28}, // bit 16
                      {names, 0x000C7765, VIEW_OVERLONG, names * 4},
                  },
                  check_file);
    expect_harmless(pdb(), tags + 2, 0, check_file); // two rules with one list
}

TEST(ViewLoadable, RefusesEveryCut)
{
    // Cuts between the parts leave the pdb of a description; those within one are refused.
    const std::vector<uint8_t> whole = stored(pdb());
    size_t nr_accepted = 0;
    for (size_t size = 0; size < whole.size(); ++size) {
        const std::vector<uint8_t> cut(whole.begin(), whole.begin() + static_cast<long>(size));
        view_error_t error;
        nr_accepted += check({cut.data(), cut.size(), 0}, error) ? 1 : 0;
    }
    EXPECT_EQ(nr_accepted, 2u) << "behind the descriptions, and behind the main strings";
}

TEST(ViewLoadable, TakesAPdbWithoutDescriptions)
{
    const auto open = [](const word_list &words) {
        const std::vector<uint8_t> bytes = stored(words);
        view_error_t error;
        pdb_view_t view;
        return pdb_view_open(bytes, view, error) && view.empty && !view.compiled;
    };
    EXPECT_TRUE(open({0x07000000, 0, 0}));
    EXPECT_FALSE(open({0x07000000, 0, 1}));
    EXPECT_FALSE(open({0, 0x07000000, 0})) << "zero words stand behind the marker alone";
}

} // namespace
