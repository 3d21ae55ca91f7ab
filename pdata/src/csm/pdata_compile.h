/// From a pdb to a loadable pdb: the pdb's own records, then what the builder makes of them.
///
/// The output is one buffer, in this order, a part that does not exist left out: load state (12),
/// configuration (11), protocol descriptions (1), tag table (9), matcher aliases (10), main
/// strings (3), version (6, or 7 for an empty pdb), matchers (4), rules (5).
#pragma once

#include "csa_dump.h"
#include "pdata_error.h"
#include "pdata_sig_export.h"
#include "pdb.h"
#include "pdb_header.h"

/// Compiles `pdb_in` into the part `pdb_out`, of kind PDB_TYPE_LOAD and marked as loadable.
/// `sig_export` may be null. `network_endian` 0 says that the words of the tag table are in host
/// order; the table's words are then swapped in the output.
///
/// PDATA_ERR_INVALID_ARGUMENT for a null list or output; PDATA_ERR_NO_MEMORY for a pdb without
/// protocol descriptions; otherwise what pdb_builder_serialize returns.
[[nodiscard]] pdata_status_t pdata_compile(const pdb_list_t *pdb_in, pdb_t *pdb_out,
                                           pdata_sig_export_t *sig_export, const csa_dump_t &dump,
                                           uint32_t network_endian);

/// Returns the length in bytes of the output.
size_t pdata_compile_get_out_len(const pdb_build_t &pdb_build, const pdb_list_t &pdb_in);

/// Puts the parts of the input and the sections of the build together. The sections are released
/// as they are copied.
[[nodiscard]] pdata_status_t pdata_compile_write_pdb(pdb_build_t *pdb_build,
                                                     const pdb_list_t &pdb_in, pdb_t *pdb_out,
                                                     uint32_t network_endian);

/// Sets the load state of a pdb that has one to loadable.
void pdata_compile_set_loadable(std::span<uint8_t> pdb);
