// Loadable pdbs whose parts are missing, of another size, or followed by others: what the verifier
// says, and where.
#include <string>

#include "verified.h"
#include "verify_sound.h"
#include "view_limits.h"
#include "view_sections.h"

namespace
{

std::string verify(const parts_t &parts)
{
    return verify_text(pdb_of(parts));
}

/// The same with one part replaced.
std::string with(word_list parts_t::*part, const word_list &words)
{
    parts_t parts;
    parts.*part = words;
    return verify(parts);
}

TEST(ViewSections, TakesWhatIsWhole)
{
    EXPECT_EQ(verify({}), "");
    EXPECT_EQ(with(&parts_t::load_state, {0x03000003}), "") << "loaded on a little-endian host";
    EXPECT_EQ(with(&parts_t::load_state, {0x04000004}), "") << "loaded on a big-endian host";
}

// The engines of a matcher are one of four combinations, of letters of either case or not.
TEST(ViewSections, TakesFourCombinationsOfEngines)
{
    const auto engines = [](uint32_t algo, std::initializer_list<word_list> of) {
        return with(&parts_t::engines, join({blob(18, {algo}), join(of)}));
    };
    const word_list ac = blob(19, {});
    const word_list ao = blob(20, {});
    const word_list pt = blob(21, {});
    const word_list st = blob(22, {});
    const word_list dp = blob(23, no_dot_prefix);
    EXPECT_EQ(engines(14 | 64, {ac, pt, st}), "");
    EXPECT_EQ(engines(4 | 16, {ao, pt}), "");
    EXPECT_EQ(engines(2 | 32, {ac, dp}), "");
    EXPECT_EQ(engines(16 | 32, {ao, dp}), "");
    EXPECT_EQ(engines(2, {ac}), "92: matchers: matcher 0: data: patterns: engines 0x2");
    EXPECT_EQ(engines(32, {dp}), "92: matchers: matcher 0: data: patterns: engines 0x20");
}

// Words: 4 the version, 9 the matchers, 23 the engines, 31 the entries, 37 the names, 41 the rules,
// 54 the tag map, 59 the slots.
TEST(ViewSections, FindsPartsOfAnotherSize)
{
    EXPECT_EQ(with(&parts_t::version, {1, 540}), "20: version: 8 bytes");
    EXPECT_EQ(with(&parts_t::entries, {1, 0, 2}),
              "124: matchers: matcher 0: data: second level: 12 bytes are not entries of 16");
    EXPECT_EQ(with(&parts_t::tags, {}), "216: rules: tag map: not one of 1 rules");
    EXPECT_EQ(with(&parts_t::tags, {1}), "216: rules: tag map: not one of 1 rules");
    EXPECT_EQ(with(&parts_t::slots, {0, 0, 0}),
              "236: rules: rule engine: items: 12 bytes are not slots of 16");
}

TEST(ViewSections, FindsWhatStandsBehindTheLastPart)
{
    EXPECT_EQ(with(&parts_t::behind_values, stray_record),
              "148: matchers: matcher 0: data: 4 bytes behind the last record");
    EXPECT_EQ(with(&parts_t::behind_names, stray_record),
              "164: matchers: 4 bytes behind the last record");
    EXPECT_EQ(with(&parts_t::behind_slots, stray_record),
              "268: rules: rule engine: 4 bytes behind the last record");
    EXPECT_EQ(with(&parts_t::behind_rules, stray_record),
              "280: rules: 4 bytes behind the last record");
    EXPECT_EQ(with(&parts_t::behind_pdb, record(7)),
              "0: 3 of version, matchers and rules, and the marker of an empty pdb");
}

// A name may be a whole text within another: it is one of the pool all the same only where one
// begins. In "\0\2a", of 4 bytes from 0 on, "a" with its length begins at 2.
TEST(ViewSections, FindsNamesWithinOthers)
{
    parts_t parts;
    parts.names = {0x00040001, 0x61620004, 0x686F7374};
    EXPECT_EQ(verify(parts), "");
    parts.meta = {2, 6, 2};
    EXPECT_EQ(verify(parts), "52: matchers: matcher 0: meta: no name at 2");
    parts.meta = {0, 2, 2};
    EXPECT_EQ(verify(parts), "56: matchers: matcher 0: meta: no name at 2");
}

// Whether parts fit together is asked of what every reader is safe with; else nothing is said.
TEST(ViewSections, JudgesNoMatcherThatCannotBeOpened)
{
    const auto nr_unsound = [](const word_list &meta) {
        parts_t parts;
        parts.meta = meta;
        const std::vector<uint8_t> bytes = pdb_of(parts);
        pdb_view_t view;
        view_error_t error;
        EXPECT_TRUE(pdb_view_open(bytes, view, error)) << error.text;
        int count = 0;
        verify_sound(
            view,
            {[](void *context, const view_error_t &) { ++*static_cast<int *>(context); }, &count});
        return count;
    };
    EXPECT_EQ(nr_unsound({0, 6, 2}), 1) << "one rule, where the descriptions have none";
    EXPECT_EQ(nr_unsound({0, 6, 3}), 0) << "no direction";
}

/// Tells whether the limits of a pdb of one matcher say how many states of the last private id that
/// is written inline there are: the matcher has so many entries and pairs of states, all of which
/// lead to the first one, which accepts and has no item.
bool says_inline_losses(uint32_t nr_entry, uint32_t nr_pair)
{
    word_list rows;
    for (uint32_t i = 0; i < nr_pair; ++i)
        rows.insert(rows.end(), {0x0000FFFF, 0x00010000, 0xFFFF0001});
    parts_t parts;
    parts.entries = word_list(size_t{nr_entry} * 4);
    parts.engines = join({blob(18, {14}),
                          blob(19, join({blob(34, rows), blob(35, {}), alphabet(37, 3, {{'a', 2}}),
                                         blob(36, {0, 0})})),
                          blob(21, {}), blob(22, {})});
    const std::vector<uint8_t> bytes = pdb_of(parts);
    pdb_view_t view;
    view_error_t error;
    EXPECT_TRUE(pdb_view_open(bytes, view, error)) << error.text;
    const std::vector<view_limit_t> limits = view_limits_take(view);
    return std::any_of(limits.begin(), limits.end(), [](const view_limit_t &limit) {
        return std::string_view(limit.name) == "states of private id 16383 written inline";
    });
}

TEST(ViewLimits, SaysNothingOfStatesThatTransitionsCannotName)
{
    EXPECT_FALSE(says_inline_losses(16383, 1));
    EXPECT_TRUE(says_inline_losses(16384, 1));
    EXPECT_TRUE(says_inline_losses(16384, 16384));
    EXPECT_FALSE(says_inline_losses(16384, 16385));
}

} // namespace
