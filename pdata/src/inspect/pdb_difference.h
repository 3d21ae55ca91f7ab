/// Two pdbs held against each other, by protocol, rule and value.
///
/// Protocols are paired by id and name, then by name, then by id. Rules of paired protocols are
/// paired by what they say, so that a rule that moved is no change; then by what they compile to
/// (value_form.h); then by their values, so that what is left has other keys; then by keys and
/// attributes, so that what is left has other values. How strings and records are laid out counts
/// for nothing. Linear time, but for the sorting of the values of a rule. Memory beside the models:
/// that of different texts, and of one protocol at a time.
#pragma once

#include <string>
#include <vector>

#include "description_model.h"

enum difference_kind_t { DIFFERENCE_ADDED, DIFFERENCE_REMOVED, DIFFERENCE_CHANGED };

/// A field that differs. Texts are untrusted.
struct field_difference_t {
    const char *name; ///< "order"
    std::string before;
    std::string after;
};

/// A rule. Of a changed one, `values` are those that differ; else they are all.
struct rule_difference_t {
    difference_kind_t kind = DIFFERENCE_CHANGED;
    std::string order; ///< "range:order", as it is afterwards
    std::vector<field_difference_t> fields;
    std::vector<std::string> removed; ///< "protocol:attribute direction value", long ones cut
    std::vector<std::string> added;
};

struct protocol_difference_t {
    difference_kind_t kind = DIFFERENCE_CHANGED;
    uint32_t id = 0;
    std::string_view name;
    std::vector<field_difference_t> fields;
    std::vector<rule_difference_t> rules;
};

/// Numbers of what was added, removed and changed, by difference_kind_t.
struct difference_totals_t {
    size_t protocols[3] = {};
    size_t rules[3] = {};
    size_t values[3] = {}; ///< a value is added or removed, never changed
};

/// A pair of matcher aliases that only one side has: "quic:server_name cts as ssl:common_name cts".
struct alias_difference_t {
    std::vector<std::string> removed;
    std::vector<std::string> added;
};

/// Bytes of values that a difference holds; further ones are counted and not listed.
constexpr size_t DIFFERENCE_SHOWN_MAX = size_t{64} << 20;

struct pdb_difference_t {
    std::vector<protocol_difference_t> protocols; ///< removed and changed ones first
    alias_difference_t aliases;
    difference_totals_t totals;
    size_t nr_unlisted = 0; ///< values beyond DIFFERENCE_SHOWN_MAX

    /// Tells whether both pdbs are equal for traffic.
    bool is_empty() const
    {
        return protocols.empty() && aliases.removed.empty() && aliases.added.empty();
    }
};

/// Compares what two pdbs say. Throws std::bad_alloc.
pdb_difference_t pdb_difference(const description_model_t &before,
                                const description_model_t &after);
