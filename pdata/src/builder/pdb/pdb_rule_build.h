/// The rule pass: every rule that received an item becomes an entry of the rule engine.
///
/// The section that it leaves is the record of root type 5, big-endian: the number of rules, the
/// protocol map, the rule-tag map, the rule engine table, and the protocol map's string table,
/// each a record of its own. Rule ids are given in the order of the rule table's chains, not in
/// the order of the protocols. Oddity O125.
#pragma once

#include "pdb.h"

/// Orders that a rule without one gets: this, less 4000 per item and 1 per byte of its values.
constexpr uint32_t PDB_RULE_ITEM_WEIGHT = 4000;

/// Gives a priority word without an order its default; a written order stays. The subtraction is
/// not guarded. Oddity O126.
void pdb_rule_set_priority(uint32_t *rule_prio, uint32_t nr_item, uint32_t sum_attr_len);

/// Registers every rule of the rule table and fills the maps from the facts of the build. What the
/// filing did not note and cannot be read is reported on standard error and its status returned;
/// other failures are those of the rule builder and of the maps.
[[nodiscard]] pdata_status_t pdb_rule_build(pdb_build_t *pdb_build,
                                            const pdb_protodesc &pdb_protodesc);

/// Writes the section and frees what the rule pass built. `network_endian` tells the byte order of
/// the tag table.
[[nodiscard]] pdata_status_t pdb_rule_serialize(pdb_build_t *pdb_build, uint32_t network_endian);

/// Reads a protocol of a group. PDATA_ERR_INVALID_ARGUMENT for an index beyond the group; otherwise
/// as protodesc_deserialize.
[[nodiscard]] pdata_status_t pdb_rule_build_get_proto(const pdb_pg &pg, uint32_t proto_idx,
                                                      protodesc_t *protodesc);

/// Read a rule of a protocol, and a sub-rule of a rule.
[[nodiscard]] pdata_status_t pdb_rule_build_get_rule(const protodesc_t &protodesc,
                                                     uint32_t rule_idx, ruledesc_t *rule);
[[nodiscard]] pdata_status_t pdb_rule_build_get_sub_rule(const ruledesc_t &rule, uint32_t srule_idx,
                                                         sub_ruledesc_t *sub_rule);
