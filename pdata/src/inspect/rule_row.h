/// A rule as numbers: what two rules are compared by.
///
/// Each value is a number of what it is a value of (protocol, attribute, direction, offset) and one
/// of its text. Minimum data, and a sub-rule without attributes, are values too.
#pragma once

#include "description_model.h"
#include "text_numbers.h"

/// A value, and where it stands in the model.
struct rule_value_t {
    uint64_t key = 0; ///< what it is a value of in the upper half, its text in the lower
    const model_sub_rule_t *sub_rule = nullptr;
    const model_attribute_t *attribute = nullptr; ///< null for minimum data
    const model_value_t *value = nullptr;         ///< null for minimum data
};

struct rule_row_t {
    const model_rule_t *rule = nullptr;
    uint32_t keys = 0;                ///< order, scope, flags, path, tags, virtual id
    std::vector<rule_value_t> values; ///< by key
};

/// Returns the row of a rule whose keys have the text `keys`. Throws std::bad_alloc.
rule_row_t rule_row(text_numbers_t &texts, const model_rule_t &rule, std::string keys);

/// Replaces the texts of a row's values by what they compile to. Throws std::bad_alloc.
void rule_row_compile(text_numbers_t &texts, rule_row_t &row);

/// Returns a value of a rule in words: "and " for one behind the first sub-rule, the protocol (as
/// it was written, and behind aliases), the attribute and so on. Of a long text the front is shown.
std::string rule_value_text(const model_rule_t &rule, const rule_value_t &value);

/// Keys to pair rows by: everything, the values, what the values are values of.
std::string rule_row_all(const rule_row_t &row);
std::string rule_row_values(const rule_row_t &row);
std::string rule_row_shape(const rule_row_t &row);
