#include "pdata_compile.h"

pdata_status_t pdata_compile(const pdb_list_t *, pdb_t *, pdata_sig_export_t *, const csa_dump_t &,
                             uint32_t)
{
    return pdata_fail(PDATA_ERR_INVALID_OPERATION, "pdata_compile is not built yet.");
}
