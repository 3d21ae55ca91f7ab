/// Merging two pdbs, and what it shares with a removal: the update transaction from its opening to
/// a new part of protocol descriptions.
///
/// Only the protocol descriptions are merged (oddity O110). Which other parts the output holds is
/// decided by the caller. The work on the protocols is plu.h's.
#pragma once

#include "pdata_error.h"
#include "pdb_header.h"
#include "plu.h"

/// Merges the second of two pdbs into the first and makes `pdb_out` the part of merged protocol
/// descriptions; on a failure it stays as it was.
///
/// The main strings are those of the first pdb, else those of the second, for the descriptions of
/// both. Oddity O109. PDATA_ERR_INVALID_ARGUMENT with a message when a pdb has no
/// descriptions or neither has main strings, else whatever the update returns.
[[nodiscard]] pdata_status_t pdata_merge(const pdb_list_t *const *pdbs, pdb_t *pdb_out);

/// Opens an update of `description`, and records the protocols of `description` in it. Both return
/// PDATA_ERR_INVALID_ARGUMENT for a part that is absent, has no buffer or is empty.
[[nodiscard]] pdata_status_t pdata_merge_init(pdata_commit *commit, const pdb_t *description,
                                              const pdb_t *hstring);
[[nodiscard]] pdata_status_t pdata_merge_prepare(pdata_commit *commit, const pdb_t *description,
                                                 const pdb_t *hstring);

/// Commits an update and makes `pdb_out` the part of its result. On a failure `pdb_out` has no
/// buffer. Fails with the status of the update, with PDATA_ERR_NO_MEMORY, or with PDATA_ERR_PLU
/// and a message for a result without a size.
[[nodiscard]] pdata_status_t pdata_merge_serialize(pdata_commit *commit, pdb_t *pdb_out);
