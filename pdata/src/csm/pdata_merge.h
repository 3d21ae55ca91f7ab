/// Merging two pdbs.
#pragma once

#include "pdata_error.h"
#include "pdb_header.h"

[[nodiscard]] pdata_status_t pdata_merge(const pdb_list_t *const *pdbs, pdb_t *pdb_out);
