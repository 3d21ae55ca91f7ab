/// Copying stored descriptions into a record: the first copy of a protocol, and the updates that
/// are merged into it.
///
/// Every string that cannot be read is PDATA_ERR_ENGINE, every stored record that is damaged
/// PDATA_ERR_INVALID_ARGUMENT, every capacity that is exceeded PDATA_ERR_OVERFLOW. The record's
/// strings point into the string tables of what was copied.
#pragma once

#include <cstdint>

#include "pdata_error.h"
#include "plu_duplicate.h"
#include "protodesc.h"
#include "protodesc_deserializer.h"

/// Scope that a stored scope of 0 becomes for http: its own bit and that of http_proxy.
constexpr uint32_t PLU_HTTP_SCOPE = 0x802;

/// Mindata that a stored mindata of 0 becomes in a rule whose meta has the oldest form.
/// Oddity O102.
constexpr uint32_t PLU_OLDEST_MINDATA = 0x10000;

/// Copies a description into a record: the meta always, tags, descriptions, compat and altnames
/// only by a first copy, then the rules behind those that are there. `*nr_rules` counts the rules
/// copied.
///
/// `known` is null for a first copy. Otherwise rules that the record holds already are left out,
/// and it must be the index of the record's rules. A rule that is left out uses up its id all the
/// same, so that the ids of those behind it keep their distance. Oddity O116.
[[nodiscard]] pdata_status_t plu_merge_proto_to_protobuild(protodesc_build_t *protoske,
                                                           const protodesc_t &proto,
                                                           const plu_strings_t &strings,
                                                           uint32_t *nr_rules,
                                                           plu_rule_index_t *known);

/// Copies a rule, as rule `rule_id`, into the slots from `*n_slot` on, which is advanced.
[[nodiscard]] pdata_status_t merge_ruledesc_to_ruledescbuild(protodesc_build_t *pb,
                                                             const ruledesc_t &ruledesc,
                                                             const plu_strings_t &strings,
                                                             uint32_t rule_id, uint32_t *n_slot);

/// Copies a sub-rule of `ruledesc` into slot `n_slot`, which bears its ids already.
[[nodiscard]] pdata_status_t
merge_subruledesc_to_subruledescbuild(protodesc_build_t *pb, const ruledesc_t &ruledesc,
                                      const sub_ruledesc_t &sub_ruledesc,
                                      const plu_strings_t &strings, uint32_t n_slot);
