/// From a pdb to a loadable pdb.
#pragma once

#include "csa_dump.h"
#include "pdata_error.h"
#include "pdata_sig_export.h"
#include "pdb_header.h"

[[nodiscard]] pdata_status_t pdata_compile(const pdb_list_t *pdb_in, pdb_t *pdb_out,
                                           pdata_sig_export_t *sig_export, const csa_dump_t &dump,
                                           uint32_t network_endian);
