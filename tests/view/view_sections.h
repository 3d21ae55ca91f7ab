/// A loadable pdb put together by hand, parts of which tests replace.
#pragma once

#include "view_blobs.h"

/// A record of a type that no part has.
inline const word_list stray = record(99, {});

/// Engines without patterns. Types: 18 meta, 19 aho_corasick, 20 ahoff_corasick, 21 and 22 trees,
/// 23 dot_prefix, which is never without a node: 4 codes, none of a byte, and a start.
inline const word_list no_dot_prefix =
    join({alphabet(41, 4, {}), blob(39, {0x0000FFFF, 0xFFFF0000}), blob(40, {0xFFFFFFFF, 0})});

/// A loadable pdb: one stream matcher for tcp:host with a catch-all entry, one rule with its item.
/// Tests replace parts of it.
struct parts_t {
    word_list load_state = {0x02000002};
    word_list version = {1, 540, 3, 0x312E3500};
    word_list meta = {0, 6, 2};
    word_list engines = join({blob(18, {14}), blob(19, {}), blob(21, {}), blob(22, {})});
    word_list entries = {1, 0, 2, 0};
    word_list behind_values = {};
    word_list names = {0x00037463, 0x70000004, 0x686F7374}; ///< tcp at 0, host at 6
    word_list behind_names = {};
    uint32_t nr_rule = 1;
    word_list map = {0, ~0U, ~0U, ~0U, ~0U, ~0U, ~0U, ~0U};
    word_list tags = {1, 0, 0};
    word_list slots = {0, 0, 0, 0, 0x00000001, 7, 8, 0x00000001};
    word_list behind_slots = {};
    word_list behind_rules = {};
    word_list behind_pdb = {};
};

inline word_list matchers_of(const parts_t &parts)
{
    const word_list data =
        join({record(1, {1, 40}), record(3, parts.engines), record(4, parts.entries),
              record(5, {0x00022E2A}), parts.behind_values});
    const word_list matcher = record(1, join({record(1, parts.meta), record(2, data)}));
    return record(4, join({record(1, matcher), record(2, parts.names), parts.behind_names}));
}

inline word_list rules_of(const parts_t &parts)
{
    return record(5, join({record(1, {parts.nr_rule}), record(2, parts.map), record(5, parts.tags),
                           record(3, join({record(1, parts.slots), parts.behind_slots})),
                           record(4, {0x00037765, 0x62000000}), parts.behind_rules}));
}

inline std::vector<uint8_t> pdb_of(const parts_t &parts)
{
    return stored(
        join({record(12, parts.load_state), record(1), record(3), record(6, parts.version),
              matchers_of(parts), rules_of(parts), parts.behind_pdb}));
}
