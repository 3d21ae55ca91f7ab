/// The pdb build: drives the compilation of one pdb into the sections of a loadable pdb.
///
/// The protocol descriptions, the tag table and the strings are read out of the pdb's parts; every
/// value of every rule is filed into the matcher table; matchers and rules are built and
/// serialized. The sections stay in the context for the writer.
///
/// Calling order: pdb_builder_init, optionally pdb_builder_set_log_fd, the context's part list,
/// pdb_builder_serialize, then read the sections, then pdb_builder_clean.
#pragma once

#include "csa_dump.h"
#include "pdata_sig_export.h"
#include "pdb.h"

/// Prepares a context. PDATA_ERR_INVALID_ARGUMENT for null `params`.
[[nodiscard]] pdata_status_t pdb_builder_init(pdb_context_t *context, const pdb_params_t *params);

/// Sets the logs of a build, each null for none; not owned. Their header lines are written at
/// once, that of the rules without a line end: the first rule continues it. Oddity O131.
void pdb_builder_set_log_fd(pdb_context_t *context, std::FILE *pattern_fd, std::FILE *rule_fd);

/// Stores the bytes of protocol descriptions in a context.
void pdb_builder_load(pdb_context_t *context, std::span<const uint8_t> proto_pdb);

/// Finds the first part of a kind in the context's list and the value of its first root record of
/// a type. `part` may be null; it receives the part's bytes, also when the record is missing.
///
/// PDATA_ERR_INVALID_ARGUMENT for a missing part, PDATA_ERR_TLV_NOT_FOUND for a missing record. A
/// part without a buffer gives an empty value and succeeds.
[[nodiscard]] pdata_status_t pdb_builder_load_type(pdb_type_t pdb_type, uint32_t tlv_type,
                                                   const pdb_context_t &context,
                                                   std::span<const uint8_t> *part,
                                                   std::span<const uint8_t> *tlv);

/// Runs the whole build. `dump` and `sig_export` are handed on; `network_endian` tells the byte
/// order of the tag table.
///
/// A pdb without protocol descriptions gets a version section and nothing else. A missing tag
/// table is PDATA_ERR_INVALID_ARGUMENT with a message; other failures are those of the parts, most
/// of them with a line on standard error.
[[nodiscard]] pdata_status_t pdb_builder_serialize(pdb_context_t *context, const csa_dump_t &dump,
                                                   pdata_sig_export_t *sig_export,
                                                   uint32_t network_endian);

/// Reads a protocol group: its string table, and where each protocol of its list begins. Records
/// of another type in the list are reported, twice, and skipped (oddity O53). A table, a list or a
/// protocol that claims more words than its parent holds is taken and ends with the parent.
[[nodiscard]] pdata_status_t pdb_builder_get_protocol_offsets(std::span<const uint8_t> group,
                                                              pdb_pg *pg);

/// Files every value of a group into the matcher table, and notes the facts of its protocols and
/// rules in place of those of the group before it. A failure inside the rules of a protocol does
/// not stop the next protocols. Oddities O123 and O124. PDATA_ERR_OVERFLOW with a message when the
/// names under which the values are filed, counted for each value, take more than 1 GiB.
[[nodiscard]] pdata_status_t pdb_builder_matcher_register(pdb_build_t *pdb_build, const pdb_pg &pg);

/// Frees everything.
void pdb_builder_clean(pdb_context_t *context);
