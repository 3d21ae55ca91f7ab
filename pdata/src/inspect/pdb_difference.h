/// Two pdbs held against each other, by protocol, rule and value.
///
/// Protocols are paired by id and name, then by name, then by id. Rules of paired protocols are
/// paired by what they say, so that a rule that moved is no change; then by what they compile to
/// (value_form.h); then by their values, so that what is left has other keys; then by keys and
/// attributes, so that what is left has other values. How strings and records are laid out counts
/// for nothing. Time of sorting; texts that compile to the same are found by hashes (text_hash.h).
/// What differs is handed out as it is found: memory of some 40 bytes a protocol, 40 bytes a rule
/// of one protocol, and one rule of each side.
#pragma once

#include <string>
#include <vector>

#include "pdb_view.h"

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
    std::string_view name; ///< points into a file
    std::vector<field_difference_t> fields;
    std::vector<rule_difference_t> rules; ///< empty where rules are handed out one by one
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

/// Bytes of values that are listed; once there are more, further ones are counted and not listed.
struct difference_bounds_t {
    size_t shown = size_t{64} << 20;
    size_t rule_shown = size_t{2} << 20; ///< of what one rule lost, and of what it gained
};

struct pdb_difference_t {
    std::vector<protocol_difference_t> protocols; ///< removed and changed ones first
    alias_difference_t aliases;
    difference_totals_t totals;
    size_t nr_unlisted = 0;      ///< values beyond those bounds
    bool fault_in_after = false; ///< where a comparison failed: in the second pdb

    /// Tells whether both pdbs are equal for traffic.
    bool is_empty() const
    {
        const auto &counts = totals.protocols;
        return counts[DIFFERENCE_ADDED] + counts[DIFFERENCE_REMOVED] + counts[DIFFERENCE_CHANGED] ==
                   0 &&
               aliases.removed.empty() && aliases.added.empty();
    }
};

/// Who takes what differs: the aliases first, then each protocol and, behind it, its rules. They
/// live as long as the call.
struct difference_sink_t {
    void (*put_aliases)(void *context, const alias_difference_t &aliases);
    void (*put_protocol)(void *context, const protocol_difference_t &protocol);
    void (*put_rule)(void *context, const rule_difference_t &rule);
    void *context;
};

/// Compares what two open pdbs say, hands it to `sink`, and fills in all of `out` but the
/// protocols. Without a sink values are counted alone. Returns false with `error` for descriptions
/// that are damaged, or have a rule of more values than are compared; what stood in front of it was
/// handed out. Throws std::bad_alloc.
[[nodiscard]] bool pdb_difference_walk(const pdb_view_t &before, const pdb_view_t &after,
                                       const difference_sink_t *sink, pdb_difference_t &out,
                                       view_error_t &error, const difference_bounds_t &bounds = {});

/// The same with the protocols and their rules in `out`.
[[nodiscard]] bool pdb_difference(const pdb_view_t &before, const pdb_view_t &after,
                                  pdb_difference_t &out, view_error_t &error,
                                  const difference_bounds_t &bounds = {});
