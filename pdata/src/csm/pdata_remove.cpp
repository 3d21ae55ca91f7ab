#include "pdata_remove.h"

#include "pdata_merge.h"
#include "plu.h"

pdata_status_t pdata_remove(const pdb_list_t &pdb_in, uint32_t proto_id, pdb_t *pdb_out)
{
    const pdb_t *hstring = pdata_pdb_type_find(pdb_in, PDB_TYPE_MAIN_HSTRING);
    if (hstring == nullptr)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Cannot retrieve root hstring in tlv data\n");
    pdata_commit commit;
    pdata_status_t status =
        pdata_update_init(&commit, pdb_header_bytes(pdb_in[0]), pdb_header_bytes(*hstring));
    if (status == PDATA_SUCCESS)
        status = pdata_update_remove(&commit, proto_id);
    // The caller sees a failed serialization by the part that it does not get, and hears of
    // exhausted memory alone.
    if (status == PDATA_SUCCESS && pdata_merge_serialize(&commit, pdb_out) == PDATA_ERR_NO_MEMORY)
        status = PDATA_ERR_NO_MEMORY;
    pdata_update_close(&commit);
    return status;
}
