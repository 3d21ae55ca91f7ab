#include "pdata_merge.h"

namespace
{

bool is_usable(const pdb_t *part)
{
    return part != nullptr && part->pdb_tlv != nullptr && part->pdb_tlv_len != 0;
}

std::span<const uint8_t> bytes_of(const pdb_t *part)
{
    return part == nullptr ? std::span<const uint8_t>() : pdb_header_bytes(*part);
}

/// The parts that a merge looks at.
struct merge_parts_t {
    const pdb_t *description[2];
    const pdb_t *hstring; ///< serves both descriptions
};

/// The transaction, from its opening to its result.
pdata_status_t run_transaction(const merge_parts_t &parts, pdata_commit *commit, pdb_t *merged)
{
    PDATA_TRY(pdata_merge_init(commit, parts.description[0], parts.hstring));
    PDATA_TRY(pdata_merge_prepare(commit, parts.description[1], parts.hstring));
    return pdata_merge_serialize(commit, merged);
}

pdata_status_t pdata_merge_two(const merge_parts_t &parts, pdb_t *merged)
{
    pdata_commit commit;
    const pdata_status_t status = run_transaction(parts, &commit, merged);
    pdata_update_close(&commit);
    return status;
}

void pdata_merge_cp_pdb(pdb_t *dst, const pdb_t &src)
{
    pdb_header_memcpy(dst, src);
}

} // namespace

pdata_status_t pdata_merge(const pdb_list_t *const *pdbs, pdb_t *pdb_out)
{
    merge_parts_t parts{};
    const pdb_t *hstring[2];
    for (size_t i = 0; i < 2; ++i) {
        parts.description[i] = pdata_pdb_type_find(*pdbs[i], PDB_TYPE_PROTOCOL_DESCRIPTION);
        hstring[i] = pdata_pdb_type_find(*pdbs[i], PDB_TYPE_MAIN_HSTRING);
    }
    if (parts.description[0] == nullptr || parts.description[1] == nullptr)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Pdb description missing during merge");
    parts.hstring = hstring[0] != nullptr ? hstring[0] : hstring[1];
    if (parts.hstring == nullptr)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Main hstring missing during merge");
    pdb_t merged;
    PDATA_TRY(pdata_merge_two(parts, &merged));
    pdata_merge_cp_pdb(pdb_out, merged);
    return PDATA_SUCCESS;
}

pdata_status_t pdata_merge_init(pdata_commit *commit, const pdb_t *description,
                                const pdb_t *hstring)
{
    if (!is_usable(description))
        return PDATA_ERR_INVALID_ARGUMENT;
    return pdata_update_init(commit, bytes_of(description), bytes_of(hstring));
}

pdata_status_t pdata_merge_prepare(pdata_commit *commit, const pdb_t *description,
                                   const pdb_t *hstring)
{
    if (!is_usable(description))
        return PDATA_ERR_INVALID_ARGUMENT;
    return pdata_update_merge(commit, bytes_of(description), bytes_of(hstring));
}

pdata_status_t pdata_merge_serialize(pdata_commit *commit, pdb_t *pdb_out)
{
    pdb_out->pdb_tlv = nullptr;
    pdb_out->pdb_tlv_len = 0;
    PDATA_TRY(pdata_update_commit(commit));
    csa_buf_t buf;
    if (!csa_buf_alloc(buf, pdata_update_get_size(*commit)))
        return PDATA_ERR_NO_MEMORY;
    size_t written;
    PDATA_TRY(pdata_update_serialize(*commit, buf, &written));
    return pdb_header_set(pdb_out, PDB_TYPE_PROTOCOL_DESCRIPTION, std::move(buf))
               ? PDATA_SUCCESS
               : PDATA_ERR_NO_MEMORY;
}
