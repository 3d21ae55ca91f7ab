// Two pdbs, the first as long as its first two bytes say, big-endian: merged, and the first
// stripped of the protocol whose id stands in the next four bytes.
#include <cstdint>

#include "csa_endian.h"
#include "pdata_compiler_files.h"
#include "pdata_merge.h"
#include "pdata_remove.h"

namespace
{

pdb_list_t parts_of(std::span<const uint8_t> bytes)
{
    pdb_list_t pdb;
    pdb_tlv_index_t indexes;
    if (pdata_compiler_config(bytes, &pdb, &indexes) != PDATA_SUCCESS)
        __builtin_trap();
    return pdb;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 6)
        return 0;
    const std::span<const uint8_t> both(data + 6, size - 6);
    const size_t first_len = std::min<size_t>(csa_get_be16(data), both.size());
    const pdb_list_t first = parts_of(both.first(first_len));
    const pdb_list_t second = parts_of(both.subspan(first_len));
    const pdb_list_t *const pdbs[] = {&first, &second};
    pdb_t out;
    (void)pdata_merge(pdbs, &out);                           // any status will do
    (void)pdata_remove(first, csa_get_be32(data + 2), &out); // any status will do
    return 0;
}
