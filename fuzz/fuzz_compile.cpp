// A pdb as input, compiled into a loadable pdb.
#include <cstdint>

#include "pdata_compile.h"
#include "pdata_compiler_files.h"
#include "pdb_version.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    pdata_pdb_version_set("1.540.1-24");
    pdb_list_t pdb;
    pdb_tlv_index_t indexes;
    if (pdata_compiler_config({data, size}, &pdb, &indexes) != PDATA_SUCCESS)
        __builtin_trap();
    pdb_t loadable;
    (void)pdata_compile(&pdb, &loadable, nullptr, {}, 1); // any status will do
    return 0;
}
