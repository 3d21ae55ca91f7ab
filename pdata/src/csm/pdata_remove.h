/// Removing the rules of a protocol from a pdb.
#pragma once

#include "pdata_error.h"
#include "pdb_header.h"

[[nodiscard]] pdata_status_t pdata_remove(const pdb_list_t &pdb_in, uint32_t proto_id,
                                          pdb_t *pdb_out);
