/// A loadable pdb put together by hand, parts of which tests replace.
#pragma once

#include "view_blobs.h"

/// A record of a type that no part has.
inline const word_list stray_record = record(99, {});

/// Engines without patterns. Types: 18 meta, 19 aho_corasick, 20 ahoff_corasick, 21 and 22 trees,
/// 23 dot_prefix, which is never without a node: 4 codes, none of a byte, and a start.
inline const word_list no_dot_prefix =
    join({alphabet(41, 4, {}), blob(39, {0x0000FFFF, 0xFFFF0000}), blob(40, {0xFFFFFFFF, 0})});

/// A loadable pdb: one stream matcher for tcp:host with a catch-all entry, one rule with its item.
/// Tests replace parts of it.
struct parts_t {
    word_list load_state = {0x02000002};
    word_list main_strings = {};
    word_list descriptions = record(1);
    word_list version = {1, 540, 3, 0x312E3500};
    word_list meta = {0, 6, 2};
    word_list engines = join({blob(18, {14}), blob(19, {}), blob(21, {}), blob(22, {})});
    word_list entries = {1, 0, 2, 0};
    word_list values = {0x00022E2A}; ///< ".*" at 0
    word_list behind_values = {};
    word_list numbers = {}; ///< where given, the parts of a matcher of numbers instead
    word_list behind_matcher = {};
    word_list names = {0x00037463, 0x70000004, 0x686F7374}; ///< tcp at 0, host at 6
    word_list behind_names = {};
    uint32_t nr_rule = 1;
    word_list map = {0, ~0U, ~0U, ~0U, ~0U, ~0U, ~0U, ~0U};
    word_list tags = {1, 0, 0};
    word_list slots = {0, 0, 0, 0, 0x00000001, 7, 8, 0x00000001};
    word_list behind_slots = {};
    word_list rule_names = {0x00037765, 0x62000000}; ///< web at 0
    word_list behind_rules = {};
    word_list behind_pdb = {};
};

inline word_list matchers_of(const parts_t &parts)
{
    const word_list patterns =
        join({record(1, {1, 40}), record(3, parts.engines), record(4, parts.entries),
              record(5, parts.values), parts.behind_values});
    const word_list &data = parts.numbers.empty() ? patterns : parts.numbers;
    const word_list matcher = record(1, join({record(1, parts.meta), record(2, data)}));
    return record(4, join({record(1, join({matcher, parts.behind_matcher})), record(2, parts.names),
                           parts.behind_names}));
}

inline word_list rules_of(const parts_t &parts)
{
    return record(5, join({record(1, {parts.nr_rule}), record(2, parts.map), record(5, parts.tags),
                           record(3, join({record(1, parts.slots), parts.behind_slots})),
                           record(4, parts.rule_names), parts.behind_rules}));
}

inline std::vector<uint8_t> pdb_of(const parts_t &parts)
{
    return stored(
        join({record(12, parts.load_state), parts.descriptions, record(3, parts.main_strings),
              record(6, parts.version), matchers_of(parts), rules_of(parts), parts.behind_pdb}));
}

/// The automaton with offsets of one pattern, "yz" anywhere: item 2. Codes: y 2, z 3.
inline const word_list offset_automaton = join({
    blob(34, {0x0000FFFF, 0x00020000,   // state 0: y leads to 1
              0x0000FFFF, 0x00020005,   // state 1: y to itself, z to 2, where the pattern ends
              0x00000000, 0x00020000}), // state 2: item record 0
    blob(35, {1, 2, 0xFFFFFFFF}),
    alphabet(37, 4, {{'y', 2}, {'z', 3}}),
    blob(36, {1, 1}),
});

/// The prefix xb (item 1) and b at offset 1 (item 1). Nodes: 0 start, 1 wildcard, 2 b behind it,
/// 3 x (propagates to 1), 4 xb. Codes: x 4, b 5.
inline const word_list dot_prefix_of_two = join({
    alphabet(41, 6, {{'x', 4}, {'b', 5}}),
    blob(39, {0x0000FFFF, 0xFFFF0001, 0x00030000,   // start
              0x0000FFFF, 0xFFFF0000, 0x00000002,   // 1
              0x0000FFFF, 0x00000000, 0x00000000,   // 2: record 0
              0x00000001, 0xFFFF0000, 0x00000004,   // 3
              0x0000FFFF, 0x00020000, 0x00000000}), // 4: record 2
    blob(40, {1, 1, 1, 1}),
});

/// One matcher of both, tcp:host from server to client; rules 1 and 2 of items 1 and 2, of any
/// scope.
inline parts_t offset_parts()
{
    parts_t parts;
    parts.engines =
        join({blob(18, {16 | 32}), blob(20, offset_automaton), blob(23, dot_prefix_of_two)});
    parts.entries = {};
    parts.nr_rule = 2;
    parts.map = join({word_list{0}, word_list(3, ~0U), word_list{0}, word_list(11, ~0U)});
    parts.tags = {2, 0, 0, 0};
    parts.slots = {0, 0, 0, 0, 1, 7, 1, 1, 2, 9, 1, 1};
    return parts;
}

/// Private entry 0 claims to be the first of three pieces of item 1, entry 1 is a value of item 2.
inline parts_t parts_with_a_lost_piece()
{
    const word_list automaton = join({
        blob(34, {0x0000FFFF, 0x00030000,   // state 0: y leads to 1, where private id 0 ends
                  0x0000C000, 0x00030005,   // state 1: y to itself, z to 2
                  0x0000C001, 0x00030000}), // state 2: private id 1
        blob(35, {}),
        alphabet(37, 4, {{'y', 2}, {'z', 3}}),
        blob(36, {1, 1}),
    });
    parts_t parts = offset_parts();
    parts.engines = join({blob(18, {14}), blob(19, automaton), blob(21, {}), blob(22, {})});
    parts.entries = {1, 0, 0x03010100, 0, 2, 0, 0, 0};
    return parts;
}
