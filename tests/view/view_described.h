/// A stored description put together by hand, parts of which tests replace.
#pragma once

#include "words.h"

/// One protocol of one rule, of one sub-rule, of one attribute of one value. Every name, and the
/// value, is the text at 0 of the group's strings, "7"; no other begins there.
struct described_t {
    word_list attribute = record(6, {0x12, 0, 0, 5}); ///< from client to server; offset 5
    word_list sub_rule_meta = record(4, {0, 0, 0, 0});
    word_list rule_meta = record(7, {0x05000006, 0, 0, 0, 0, 1, 0, 0}); ///< a path of one name
    word_list protocol_meta = record(1, {7, 0, 0, 0, 1});
    word_list behind_protocols = {};
    word_list strings = record(2, {0x00013700});
    word_list behind_groups = {};
};

/// The root record of descriptions. Words: 0 the record, 1 the group, 2 its protocols, 3 the
/// protocol, 4 its meta, 10 the place of the rule, 12 the rules, 13 the rule, 14 its meta, 23 the
/// place of the sub-rule, 25 the sub-rules, 26 the sub-rule, 27 its meta, 32 the place of the
/// attribute, 34 the attributes, 35 the attribute, 40 the strings.
inline word_list root_of(const described_t &described)
{
    const word_list sub_rule =
        record(2, join({described.sub_rule_meta, record(3, {0}), record(2, described.attribute)}));
    const word_list rule =
        record(2, join({described.rule_meta, record(3, {0}), record(2, sub_rule)}));
    const word_list protocol =
        record(1, join({described.protocol_meta, record(8, {0}), record(7, rule)}));
    const word_list protocols = record(1, join({protocol, described.behind_protocols}));
    return record(1,
                  join({record(1, join({protocols, described.strings})), described.behind_groups}));
}
