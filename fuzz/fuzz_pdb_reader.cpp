// A pdb as input: cut into its parts, and listed through the read views.
#include <cstdint>
#include <cstdio>

#include "pdata_compiler_files.h"
#include "pdb_list.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static std::FILE *const nowhere = std::freopen("/dev/null", "w", stdout);
    (void)nowhere; // the listing is not looked at
    pdb_list_t pdb;
    pdb_tlv_index_t indexes;
    if (pdata_compiler_config({data, size}, &pdb, &indexes) != PDATA_SUCCESS)
        __builtin_trap();
    (void)pdata_pdb_loaded_get({data, size}); // any state will do
    view_error_t error;
    (void)pdb_list_print({data, size}, error); // any fault will do
    return 0;
}
