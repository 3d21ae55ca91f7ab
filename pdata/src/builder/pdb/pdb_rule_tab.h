/// The rule table: gathers the items of each rule while values are registered with matchers.
///
/// Rules hang in chains, by a hash of their key; the order of the chains, and within a chain the
/// newest rule first, is the order in which rules get their ids. An index beside the chains finds
/// a rule at once; it takes a word per rule of a protocol, up to the last one that has an item.
/// Items are kept as they come, and brought together by rule when the table is complete.
///
/// Calling order: pdb_rule_tab_init, pdb_rule_tab_add for each item, pdb_rule_tab_finalize, then
/// pdb_rule_tab_get_items for each rule.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

#include "format_limits.h"
#include "pdata_error.h"
#include "rule_builder.h"

/// Chains of a table when the caller names no number.
constexpr uint32_t PDB_RULE_TAB_LINES = 1024;

/// Which rule an item belongs to.
struct pdb_rule_key_t {
    uint32_t rk_proto_idx; ///< index of the protocol in the pdb's protocol list
    uint32_t rk_rule_idx;  ///< index of the rule within that protocol
};

/// A rule that has at least one item.
struct pdb_rule_elt {
    pdb_rule_key_t re_key{};
    uint32_t re_nr_item = 0;
    uint32_t re_first_item = 0;   ///< position of its items once they are together
    uint32_t re_sum_attr_len = 0; ///< bytes of all stream values
};

struct pdb_rule_tab_t {
    std::vector<pdb_rule_elt> rt_elts;         ///< by creation
    std::vector<std::vector<uint32_t>> rt_tab; ///< chains: positions in `rt_elts`, oldest first
    std::vector<std::vector<uint32_t>> index;  ///< by protocol and rule: position + 1, 0 for none
    std::vector<rule_registration_item_t> rt_items; ///< by registration, then by rule
    std::vector<uint32_t> rt_owners;                ///< per item, the position of its rule
};

/// One item of a rule.
struct pdb_rule_item_t {
    uint32_t item;
    uint32_t matcher_id; ///< 1: the item's attribute is a referer
    uint32_t srule_id;
    uint32_t attr_len; ///< bytes of the value, 0 for numbers and addresses
};

/// Makes `rule_tab` an empty table of `nr_line` chains, a power of two; 0 means 1024.
void pdb_rule_tab_init(pdb_rule_tab_t *rule_tab, uint32_t nr_line);

/// Adds an item to the rule of `key`, which comes into being, and is counted in `*nr_rule`, with
/// its first item. A rule that holds `rule_max_attr` items is PDATA_ERR_OVERFLOW with a message.
[[nodiscard]] pdata_status_t pdb_rule_tab_add(pdb_rule_tab_t *rule_tab, const pdb_rule_key_t &key,
                                              const pdb_rule_item_t &item, uint32_t *nr_rule,
                                              uint32_t rule_max_attr);

/// Brings the items of each rule together, in the order of their registration.
void pdb_rule_tab_finalize(pdb_rule_tab_t *rule_tab);

/// Returns the items of a rule of a finalized table. They live as long as the table.
std::span<const rule_registration_item_t> pdb_rule_tab_get_items(const pdb_rule_tab_t &rule_tab,
                                                                 const pdb_rule_elt &elt);

/// Returns the rule of `key`, or null.
const pdb_rule_elt *pdb_rule_tab_find_elt(const pdb_rule_tab_t &rule_tab,
                                          const pdb_rule_key_t &key);

/// Returns the hash of a key; its low bits are the chain.
uint32_t pdb_rule_tab_hash_key(const pdb_rule_key_t &key);

/// Writes a finalized table to `file`, in the order of the chains: a line per rule with its key,
/// the bytes of its values, and per item the id, the referer mark and the sub-rule.
void pdb_rule_tab_print(const pdb_rule_tab_t &rule_tab, std::FILE *file);

/// Frees everything.
void pdb_rule_tab_clean(pdb_rule_tab_t *rule_tab);
