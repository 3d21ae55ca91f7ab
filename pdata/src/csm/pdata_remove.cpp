#include "pdata_remove.h"

pdata_status_t pdata_remove(const pdb_list_t &, uint32_t, pdb_t *)
{
    return pdata_fail(PDATA_ERR_INVALID_OPERATION, "pdata_remove is not built yet.");
}
