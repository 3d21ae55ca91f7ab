/// Matcher aliases, ready to be looked up.
///
/// The record holds the pairs of a set in their order, the pairs of protocols that they connect,
/// and a sorted table of keys over each. A key is a 64-bit hash (FNV-1a; Fowler, Noll and Vo,
/// 1991) of what is looked up, so what it finds is compared; equal keys stand in the order of the
/// pairs, which is the order of the answers.
#pragma once

#include <array>
#include <cstdint>
#include <span>

#include "format_limits.h"
#include "matcher_alias_deserialize.h"

/// A protocol that has aliases, and one that they refer to. The names are not owned.
struct matcher_alias_proto_t {
    csa_str_t alias;
    csa_str_t reference;
};

/// A key, and the index of the pair that it belongs to.
struct matcher_alias_key_t {
    uint64_t key = 0;
    uint32_t index = 0;
};

/// The record. Its names live where those of the set live.
struct matcher_alias_t {
    std::array<alias_pair_t, FENCE_MATCHER_ALIAS_NUMBER> aliases{};
    std::array<matcher_alias_proto_t, FENCE_MATCHER_ALIAS_NUMBER> proto_aliases{}; ///< each once
    std::array<matcher_alias_key_t, FENCE_MATCHER_ALIAS_NUMBER> alias_keys{};
    std::array<matcher_alias_key_t, FENCE_MATCHER_ALIAS_NUMBER> proto_alias_keys{};
    uint32_t nr_alias = 0;       ///< filled entries of `aliases` and `alias_keys`
    uint32_t nr_proto_alias = 0; ///< filled entries of `proto_aliases` and `proto_alias_keys`
};

/// Returns the key of an attribute in a direction. A protocol's own key has no attribute and
/// ATTR_WAY_UNKNOWN.
uint64_t matcher_alias_compute_key(csa_str_t proto_name, csa_str_t attr_name, csa_attr_way_t way);

/// Sorts the keys of the pairs.
void matcher_alias_sort_keys(matcher_alias_t *matcher_alias);

/// Sorts the keys of the protocols.
void matcher_alias_sort_proto_keys(matcher_alias_t *matcher_alias);

/// Fills the record from a set. More pairs than it holds are PDATA_ERR_OVERFLOW with a message,
/// and leave it as it was.
[[nodiscard]] pdata_status_t matcher_alias_make_alias_keys(matcher_alias_t *matcher_alias,
                                                           std::span<const alias_pair_t> pairs);

/// Tells whether a protocol has aliases.
bool matcher_alias_has_proto(const matcher_alias_t &matcher_alias, csa_str_t proto_name);

/// Returns the first pair whose alias is an attribute of a protocol in a direction, or null.
const alias_pair_t *matcher_alias_find(const matcher_alias_t &matcher_alias, csa_str_t proto_name,
                                       csa_str_t attr_name, csa_attr_way_t way);
