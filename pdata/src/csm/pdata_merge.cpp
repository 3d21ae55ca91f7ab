#include "pdata_merge.h"

pdata_status_t pdata_merge(const pdb_list_t *const *, pdb_t *)
{
    return pdata_fail(PDATA_ERR_INVALID_OPERATION, "pdata_merge is not built yet.");
}
