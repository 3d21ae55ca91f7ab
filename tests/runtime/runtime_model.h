/// A model of the run-time engine: attribute values of a flow go in, protocols come out.
///
/// It works on a loadable pdb alone, with the engine readers. Each value is run through the
/// matchers that its protocol, attribute and direction lead to, directly or by the aliases of the
/// pdb; what the engines report is resolved through the second level into public items; items set
/// bits of their rules; of the rules whose bits are all set the best one classifies the flow. It
/// is made to be followed, not to be fast.
///
/// Where the format leaves the reading to the engine, the model takes this one:
///  - Values come under the protocol that they were seen in, before any alias. Beside the attribute
///    that an alias names, the other attributes of its sub-rule moved to the protocol of the
///    reference: a value of one goes there too, where a rule of that real bottom has an item.
///  - An item counts only if its rule admits the protocol of the value: that is one of the rule's
///    real bottoms, or its scope names it, or the scope is "all" (0x1). An item that no rule owns
///    never counts.
///  - A flow may say which protocols it has. If it does, a real bottom of a rule of two bottoms,
///  for
///    whose bottom the rule has no item, must be one of them, or the protocol of a value; of a flow
///    that says nothing such a bottom asks nothing.
///  - A private id of several pieces counts once every piece of its permutation was found, each
///    ending behind the end of the one before it. A piece of the suffix tree ends with the data.
///    The pieces of a permutation are entries one behind the other, from position 1 to the last;
///    entries that are not (a value of more than 255 pieces has its numbers cut) lead to nothing.
///  - A private id with a complete value counts when that value, as an expression, matches the
///    whole data. Values without a literal are tried on all data.
///  - A pattern with minimum data counts when the data is at least that long. The minimum of a
///  whole
///    matcher says when an engine may begin: while more data may follow, patterns without a minimum
///    of their own, and values without a literal, count from there on.
///  - While more data may follow, its end is unknown: nothing that must end with the data, or equal
///    it, counts, and a complete value counts only if it ends with ".*" or ".+".
///  - Bit 31 of a rule's bitset (one of several items is a referer) tells the engine what to expect
///    and takes no part in the comparison; bits 0 to 15 must all be set.
///  - The smallest priority word is the best: an order that is left out becomes the smaller, the
///    more items and bytes a rule has. Of equal ones the smaller rule id is the better.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "loadable_reader.h"
#include "transformer.h"

/// One attribute value of a flow. Which member counts is decided by the matcher.
struct flow_value_t {
    std::string protocol;
    std::string attribute;       ///< empty: the flow has the protocol, and this is no value
    uint32_t way = ATTR_WAY_CTS; ///< ATTR_WAY_CTS or ATTR_WAY_STC
    std::string bytes;           ///< for streams
    transformer_value_t number;  ///< for numbers and addresses
    bool more = false;           ///< more bytes may follow
};

/// A rule all of whose items were found.
struct runtime_match_t {
    uint32_t rule_id = 0;
    uint32_t priority = 0;
    uint32_t flags = 0;
    const loadable_rule_t *rule = nullptr; ///< in the pdb
};

struct runtime_result_t {
    std::vector<uint32_t> items;          ///< public items found, ascending, each once
    std::vector<runtime_match_t> matches; ///< the best first
};

/// Tells whether any matcher takes values of the attribute and direction of `value`.
[[nodiscard]] bool runtime_has_attribute(const loadable_pdb_t &pdb, const flow_value_t &value);

/// Runs one value through the matchers that have it and adds the public items that count. Values of
/// attributes that no rule tests lead to none. Returns false, with an `error`, when the pdb is
/// damaged.
[[nodiscard]] bool runtime_find_items(const loadable_pdb_t &pdb, const flow_value_t &value,
                                      std::vector<uint32_t> &items, std::string &error);

/// Classifies a flow.
[[nodiscard]] bool runtime_classify(const loadable_pdb_t &pdb, std::span<const flow_value_t> flow,
                                    runtime_result_t &result, std::string &error);

/// Returns the protocol that a rule classifies: the last of its path.
std::string_view runtime_protocol(const loadable_rule_t &rule);

/// Reads a flow from a line of text: values apart by "; ", each
///
///     protocol:attribute direction value
///
/// with the direction "cts" or "stc". The value is a decimal number, an IPv4 or IPv6 address, or a
/// text in quotes, in which "\xHH" stands for a byte and "\\" and "\"" for themselves. Behind a
/// text
/// "*N" repeats it, and "+" joins it with another one: "\x00"*4+"SMB"; "..." at the end says that
/// more data may follow. A value has at most RUNTIME_TEXT_MAX bytes. In the place of a value,
/// "has PROTOCOL" says that the flow has a protocol. Returns false, with an `error`, for anything
/// else.
constexpr size_t RUNTIME_TEXT_MAX = 1U << 20;
[[nodiscard]] bool runtime_read_flow(std::string_view line, std::vector<flow_value_t> &flow,
                                     std::string &error);
