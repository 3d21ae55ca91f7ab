/// Removing the rules of a protocol from a pdb.
///
/// The protocol itself stays; only its rules go. The transaction is that of a merge.
#pragma once

#include "pdata_error.h"
#include "pdb_header.h"

/// Makes `pdb_out` the part of protocol descriptions of `pdb_in` without the rules of protocol
/// `proto_id`. The descriptions are the first part of the list, whatever its kind. Oddity O121.
///
/// Fails with PDATA_ERR_INVALID_ARGUMENT and a message when the pdb has no main strings, with
/// PDATA_ERR_PLU when it has no such protocol, or with whatever the update returns. A result that
/// cannot be serialized is a success with a `pdb_out` that has no buffer. Oddity O120.
[[nodiscard]] pdata_status_t pdata_remove(const pdb_list_t &pdb_in, uint32_t proto_id,
                                          pdb_t *pdb_out);
