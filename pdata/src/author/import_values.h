/// Entries of lists as values of attributes (docs/pdd.md, "Values").
#pragma once

#include <optional>

#include "import_names.h"

/// Names at a choice of one value that become pieces of matchers each; more are left to its second
/// check.
constexpr size_t IMPORT_CHOICES = 32;

/// A value, the places of what it stands for, and the private ids that a matcher spends on it.
struct import_value_t {
    std::string text; ///< as it is compared, not yet as JSON
    std::vector<import_place_t> places;
    uint32_t nr_piece = 0;
};

/// Returns values that fire on the names of the entries and on no others. Each entry has a value of
/// its own, or shares one with up to IMPORT_CHOICES of its kind where `compact` is set. Expressions
/// that no value can say are findings.
std::vector<import_value_t> import_name_values(const std::vector<name_entry_t> &entries,
                                               bool compact,
                                               std::vector<import_finding_t> &findings);

/// Returns a regular expression of lists, which may be found anywhere in a name, as a value, which
/// must match the whole of it; nothing where there is none.
std::optional<std::string> import_expression(std::string_view expression);

/// Returns a text as JSON, in quotes, with its backslashes doubled.
std::string import_json(std::string_view text);
