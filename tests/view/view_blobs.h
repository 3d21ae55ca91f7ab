/// Engine blobs worked out by hand, and what a changed word does to them.
#pragma once

#include <gtest/gtest.h>

#include <map>
#include <vector>

#include "view_cursor.h"
#include "words.h"

/// Where the tests place a blob in its file, so that offsets are seen to be those of the file.
constexpr size_t BLOB_PLACE = 1000;

/// A blob record: type, length in bytes, value.
inline word_list blob(uint32_t type, const word_list &value)
{
    return join({{type, static_cast<uint32_t>(value.size() * 4)}, value});
}

/// An alphabet record of `type`, 71 words: `size` codes, those of `codes` by byte.
inline word_list alphabet(uint32_t type, uint32_t size, const std::map<uint8_t, uint8_t> &codes)
{
    word_list map(64);
    for (const auto &[byte, code] : codes)
        map[byte / 4] |= uint32_t{code} << (24 - byte % 4 * 8);
    return blob(type, join({blob(25, {size}), blob(26, map)}));
}

/// A tree of the prefix abcde (item 9, exact): rows 0 (start), 2 (a), 4 (e); the chain c, d, e is
/// number 1. Codes: a 1, b 2.
inline const word_list blob_of_tree = join({
    blob(29, {0xFFFF0002, 0x0000FFFF, 0x00000000, 0xFFFF0000, 0x00010000, 0x00000000, 0x00000000,
              0x00000000}),
    blob(27, {0, 0x00040363, 0x64650000}),
    blob(30, {1, 9}),
    blob(31, {9, 0x00020000}),
    blob(28, {1, 0x02000000}),
    alphabet(33, 3, {{'a', 1}, {'b', 2}}),
    blob(32, {1}),
});

/// The prefix xb (items 3 and 4) and b at offset 1 (item 4, after 20 bytes of data). Codes: x 4,
/// b 5. Nodes: 0 start, 1 wildcard, 2 b behind it, 3 x (propagates to 1), 4 xb.
inline const word_list blob_of_dot_prefix = join({
    alphabet(41, 6, {{'x', 4}, {'b', 5}}),
    blob(39, {0x0000FFFF, 0xFFFF0001, 0x00030000,   // start
              0x0000FFFF, 0xFFFF0000, 0x00000002,   // 1
              0x0000FFFF, 0x00000000, 0x00000000,   // 2: record 0
              0x00000001, 0xFFFF0000, 0x00000004,   // 3
              0x0000FFFF, 0x00040000, 0x00000000}), // 4: record 4
    blob(40, {0xFFFE0000, 20, 1, 4, 2, 3, 4}),
});

/// The first word of the code map of an alphabet record, from its header on.
constexpr size_t ALPHABET_MAP_WORD = 7;

/// One word changed, and the fault that it is.
struct change_t {
    size_t word;
    uint32_t value;
    view_fault_t fault;
    size_t at; ///< bytes from the start of the blob
};

/// Changes words of a blob one at a time; `check(area, error)` opens and checks it.
template <typename Check>
void expect_faults(const word_list &words, const std::vector<change_t> &changes, Check &&check)
{
    for (const change_t &change : changes) {
        word_list changed = words;
        changed[change.word] = change.value;
        const std::vector<uint8_t> bytes = stored(changed);
        view_error_t error;
        EXPECT_FALSE(check(view_area_t{bytes.data(), bytes.size(), BLOB_PLACE}, error))
            << "word " << change.word;
        EXPECT_EQ(error.fault, change.fault) << "word " << change.word << ": " << error.text;
        EXPECT_EQ(error.offset, BLOB_PLACE + change.at)
            << "word " << change.word << ": " << error.text;
    }
}

/// A word that may say something else without harm.
template <typename Check>
void expect_harmless(const word_list &words, size_t word, uint32_t value, Check &&check)
{
    word_list changed = words;
    changed[word] = value;
    const std::vector<uint8_t> bytes = stored(changed);
    view_error_t error;
    EXPECT_TRUE(check(view_area_t{bytes.data(), bytes.size(), BLOB_PLACE}, error)) << error.text;
}

/// Cuts a blob at every byte: none of the cuts may pass.
template <typename Check>
void expect_cuts_refused(const word_list &words, size_t from, Check &&check)
{
    const std::vector<uint8_t> whole = stored(words);
    for (size_t size = from; size < whole.size(); ++size) {
        const std::vector<uint8_t> cut(whole.begin(), whole.begin() + static_cast<long>(size));
        view_error_t error;
        EXPECT_FALSE(check(view_area_t{cut.data(), cut.size(), BLOB_PLACE}, error)) << size;
        EXPECT_LE(error.offset, BLOB_PLACE + whole.size());
    }
}
