// Engine blobs whose parts are missing, of another size, or followed by others.
#include "failing_alloc.h"
#include "view_aho_corasick.h"
#include "view_blobs.h"
#include "view_dot_prefix.h"
#include "view_number.h"
#include "view_radix_tree.h"

namespace
{

using check_t = bool (*)(const view_area_t &, view_error_t &);

bool check_number(const view_area_t &area, view_error_t &error)
{
    view_number_t view;
    return view_number_open(area, view, error) && view_number_check(view, error);
}

bool check_aho_corasick(const view_area_t &area, view_error_t &error)
{
    view_aho_corasick_t view;
    return view_aho_corasick_open(area, false, view, error) &&
           view_aho_corasick_check(view, 0, error);
}

bool check_radix_tree(const view_area_t &area, view_error_t &error)
{
    view_radix_t view;
    return view_radix_open(area, view, error) && view_radix_check(view, 0, error);
}

bool check_dot_prefix(const view_area_t &area, view_error_t &error)
{
    view_dot_prefix_t view;
    return view_dot_prefix_open(area, view, error) && view_dot_prefix_check(view, 0, error);
}

/// `at` is in words from the start of the blob.
void expect_fault(check_t check, const word_list &words, view_fault_t fault, size_t at)
{
    const std::vector<uint8_t> bytes = stored(words);
    view_error_t error;
    EXPECT_FALSE(check({bytes.data(), bytes.size(), BLOB_PLACE}, error));
    EXPECT_EQ(error.fault, fault) << error.text;
    EXPECT_EQ(error.offset, BLOB_PLACE + at * 4) << error.text;
}

void expect_sound(check_t check, const word_list &words)
{
    const std::vector<uint8_t> bytes = stored(words);
    view_error_t error;
    EXPECT_TRUE(check({bytes.data(), bytes.size(), BLOB_PLACE}, error)) << error.text;
}

/// A record of two words of a type that no blob has.
const word_list stray_number = blob(99, {});

/// A matcher of 8 bits without values: 2 + 1 words of the type, 2 in front of the parts.
word_list mapper(const word_list &values, const word_list &items)
{
    return join({blob(15, {3}), blob(16, join({values, items}))});
}

TEST(ViewStructure, OfAMapper)
{
    const word_list values = blob(13, word_list(128));
    const word_list items = blob(14, {0});
    expect_sound(check_number, mapper(values, items));
    expect_fault(check_number, mapper(values, {}), VIEW_ABSENT, 135);
    expect_fault(check_number, mapper({}, items), VIEW_UNKNOWN, 5);
    expect_fault(check_number, mapper(blob(13, word_list(127)), items), VIEW_LENGTH, 5);
    expect_fault(check_number, mapper(values, join({items, stray_number})), VIEW_UNKNOWN, 138);
    expect_fault(check_number, join({blob(15, {3}), blob(16, {})}), VIEW_ABSENT, 5);
    expect_fault(check_number, join({mapper(values, items), stray_number}), VIEW_UNKNOWN, 138);
}

/// Intervals of IPv4: 5 words in front of the parts.
word_list intervals(std::initializer_list<word_list> parts)
{
    return join({blob(15, {7}), blob(17, join(parts))});
}

// The parts start at 5, 9, 75, 78, 81 and end at 84.
TEST(ViewStructure, OfIntervals)
{
    const word_list meta = blob(42, {4, 1});
    const word_list flags = blob(43, word_list(64));
    const word_list endpoints = blob(44, {0});
    const word_list offsets = blob(45, {0});
    const word_list items = blob(46, {0});
    const auto is = [](std::initializer_list<word_list> parts, view_fault_t fault, size_t at) {
        expect_fault(check_number, intervals(parts), fault, at);
    };
    expect_sound(check_number, intervals({meta, flags, endpoints, offsets, items}));
    is({}, VIEW_ABSENT, 5);
    is({flags}, VIEW_UNKNOWN, 5);
    is({blob(42, {4})}, VIEW_LENGTH, 5);
    is({meta}, VIEW_ABSENT, 9);
    is({meta, blob(43, word_list(63))}, VIEW_LENGTH, 9);
    is({meta, flags}, VIEW_ABSENT, 75);
    is({meta, flags, blob(44, {0, 1})}, VIEW_LENGTH, 75);
    is({meta, flags, endpoints}, VIEW_ABSENT, 78);
    is({meta, flags, endpoints, blob(45, {0, 0})}, VIEW_LENGTH, 78);
    is({meta, flags, endpoints, offsets}, VIEW_ABSENT, 81);
    is({meta, flags, endpoints, offsets, items, stray_number}, VIEW_UNKNOWN, 84);
}

/// An automaton of one state without transitions, whose alphabet has 2 codes.
word_list automaton(const word_list &alphabet, const word_list &behind)
{
    return join({blob(34, {0x0000FFFF}), blob(35, {0}), alphabet, behind});
}

// The alphabet starts at 6, its parts at 8 and 11; it ends at 77.
TEST(ViewStructure, OfAnAutomaton)
{
    const word_list codes = alphabet(37, 2, {});
    const word_list meta = blob(36, {0, 2});
    const auto is = [](const word_list &alphabet, const word_list &behind, view_fault_t fault,
                       size_t at) {
        expect_fault(check_aho_corasick, automaton(alphabet, behind), fault, at);
    };
    expect_sound(check_aho_corasick, automaton(codes, meta));
    is(codes, {}, VIEW_ABSENT, 77);
    is(codes, blob(36, {0}), VIEW_LENGTH, 77);
    is(codes, join({meta, stray_number}), VIEW_UNKNOWN, 81);
    is({}, {}, VIEW_ABSENT, 6);
    is(blob(37, {}), meta, VIEW_ABSENT, 8);
    is(blob(37, blob(25, {2, 0})), meta, VIEW_LENGTH, 8);
    is(blob(37, blob(25, {2})), meta, VIEW_ABSENT, 11);
    is(blob(37, join({blob(25, {2}), blob(26, word_list(63))})), meta, VIEW_LENGTH, 11);
    is(blob(37, join({blob(25, {2}), blob(26, word_list(64)), stray_number})), meta, VIEW_UNKNOWN,
       77);
}

// The parts start at 0, 2, 5, 9, 13, 17, 88 and end at 91.
TEST(ViewStructure, OfATree)
{
    const std::vector<word_list> parts = {blob(29, {}),     blob(27, {0}),    blob(30, {1, 9}),
                                          blob(31, {0, 0}), blob(28, {0, 0}), alphabet(33, 1, {}),
                                          blob(32, {1})};
    word_list words;
    for (const word_list &part : parts) {
        if (!words.empty()) // no bytes at all are a tree without patterns
            expect_fault(check_radix_tree, words, VIEW_ABSENT, words.size());
        word_list with_stray = join({words, stray_number});
        expect_fault(check_radix_tree, with_stray, VIEW_UNKNOWN, words.size());
        words = join({words, part});
    }
    expect_sound(check_radix_tree, words);
    expect_fault(check_radix_tree, join({words, stray_number}), VIEW_UNKNOWN, 91);
    for (const size_t bitmap : {3U, 4U}) { // too short for their first word and one of bits
        word_list short_one;
        for (size_t i = 0; i < parts.size(); ++i)
            short_one = join({short_one, i == bitmap ? blob(parts[i][0], {0}) : parts[i]});
        expect_fault(check_radix_tree, short_one, VIEW_COUNT, bitmap == 3 ? 11 : 15);
    }
    words[89] = 0; // the length of the meta
    words.resize(90);
    expect_fault(check_radix_tree, words, VIEW_LENGTH, 88);
}

// The parts start at 0, 71, 77 and end at 82; a row has 4 columns of 2 bytes.
TEST(ViewStructure, OfADotPrefixMatcher)
{
    const word_list codes = alphabet(41, 4, {});
    const word_list transitions = blob(39, {0x0000FFFF, 0xFFFF0000});
    const word_list items = blob(40, {0xFFFFFFFF, 0});
    const auto is = [](std::initializer_list<word_list> parts, view_fault_t fault, size_t at) {
        expect_fault(check_dot_prefix, join(parts), fault, at);
    };
    expect_sound(check_dot_prefix, join({codes, transitions, items}));
    is({}, VIEW_ABSENT, 0);
    is({codes}, VIEW_ABSENT, 71);
    is({codes, transitions}, VIEW_ABSENT, 75);
    is({codes, transitions, items, stray_number}, VIEW_UNKNOWN, 79);
    is({codes, blob(39, {}), items}, VIEW_COUNT, 73);
    is({codes, blob(39, {0}), items}, VIEW_LENGTH, 73);
}

// The index of the items that a blob refers to is all that a check allocates.
TEST(ViewStructure, SaysWhenMemoryRunsOut)
{
    const auto is = [](check_t check, const word_list &words, size_t items) {
        const std::vector<uint8_t> bytes = stored(words);
        view_error_t error;
        failing_alloc_arm(1);
        EXPECT_FALSE(check({bytes.data(), bytes.size(), BLOB_PLACE}, error));
        EXPECT_TRUE(failing_alloc_disarm());
        EXPECT_EQ(error.fault, VIEW_MEMORY) << error.text;
        EXPECT_EQ(error.offset, BLOB_PLACE + items * 4) << error.text;
    };
    is(check_number, mapper(blob(13, word_list(128)), blob(14, {0})), 137);
    is(check_aho_corasick, automaton(alphabet(37, 2, {}), blob(36, {0, 2})), 5);
    is(check_radix_tree,
       join({blob(29, {}), blob(27, {0}), blob(30, {1, 9}), blob(31, {0, 0}), blob(28, {0, 0}),
             alphabet(33, 1, {}), blob(32, {1})}),
       7);
    is(check_dot_prefix,
       join({alphabet(41, 4, {}), blob(39, {0x0000FFFF, 0xFFFF0000}), blob(40, {0xFFFFFFFF, 0})}),
       77);
}

} // namespace
