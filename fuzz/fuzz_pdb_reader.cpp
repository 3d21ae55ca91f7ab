// A pdb as input: cut into its parts, and taken stock of.
#include <cstdint>

#include "pdata_compiler_files.h"
#include "view_inventory.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    pdb_list_t pdb;
    pdb_tlv_index_t indexes;
    if (pdata_compiler_config({data, size}, &pdb, &indexes) != PDATA_SUCCESS)
        __builtin_trap();
    (void)pdata_pdb_loaded_get({data, size}); // any state will do
    view_inventory_t inventory;
    view_error_t error;
    (void)view_inventory_take({data, size}, inventory, error); // any fault will do
    return 0;
}
