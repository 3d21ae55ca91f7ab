/// A rule as hashes: what two rules are compared by.
///
/// Each value is a hash of what it is a value of (protocol, attribute, direction, offset) and one
/// of that and its text. Minimum data, and a sub-rule without attributes, are values too.
#pragma once

#include <utility>
#include <vector>

#include "description_model.h"
#include "text_hash.h"

/// Most values of a rule; one that has more is refused.
constexpr size_t RULE_ROW_MAX = 65536;

/// What a text was found to hash to; texts of a file stay where they are.
struct row_known_t {
    /// Where the text stands, and the properties of its attribute: null for the text as it is.
    std::pair<const char *, const void *> key = {};
    uint64_t hash = 0;
};

/// What rows are made with. Hashes of texts that are dear to find are kept, as one text may be the
/// value of any number of rules: 1.5 MiB, once there is one.
struct row_maker_t {
    text_hash_key_t key = text_hash_key();
    std::vector<row_known_t> known = {};
};

/// A value, and where it stands in the model.
struct rule_value_t {
    uint64_t front = 0; ///< what it is a value of
    uint64_t key = 0;   ///< that and its text
    const model_sub_rule_t *sub_rule = nullptr;
    const model_attribute_t *attribute = nullptr; ///< null for minimum data
    const model_value_t *value = nullptr;         ///< null for minimum data
};

struct rule_row_t {
    uint64_t keys = 0;                ///< order, scope, flags, path, tags, virtual id
    std::vector<rule_value_t> values; ///< by key
};

/// What rows are paired by.
struct row_prints_t {
    uint64_t all = 0;    ///< keys and values
    uint64_t values = 0; ///< the values
    uint64_t shape = 0;  ///< keys, and what the values are values of
};

/// Fills in the row of a rule whose keys have the text `keys`. Throws std::bad_alloc.
void rule_row(row_maker_t &maker, const model_rule_t &rule, const std::string &keys,
              rule_row_t &row);

/// Replaces the texts of a row's values by what they compile to. Throws std::bad_alloc.
void rule_row_compile(row_maker_t &maker, const model_rule_t &rule, rule_row_t &row);

/// Returns what a row is paired by. Throws std::bad_alloc.
row_prints_t rule_row_prints(const row_maker_t &maker, const rule_row_t &row);

/// Returns a value of a rule in words: "and " for one behind the first sub-rule, the protocol (as
/// it was written, and behind aliases), the attribute and so on. Of a long text the front is shown.
std::string rule_value_text(const model_rule_t &rule, const rule_value_t &value);
