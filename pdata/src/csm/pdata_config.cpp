#include "pdata_config.h"

#include <algorithm>

#include "tlv_description.h"

pdata_status_t pdata_config(std::span<const uint8_t> buf, pdb_list_t *pdb)
{
    const struct {
        uint32_t tlv_type;
        pdb_type_t pdb_type;
    } parts[] = {
        {TLV_TYPE_ROOT_PROTODESCS, PDB_TYPE_PROTOCOL_DESCRIPTION},
        {TLV_TYPE_ROOT_TAGS, PDB_TYPE_TAGS},
        {TLV_TYPE_ROOT_STRING, PDB_TYPE_MAIN_HSTRING},
        {TLV_TYPE_ROOT_MATCHER_ALIAS, PDB_TYPE_MATCHER_ALIAS},
        {TLV_TYPE_ROOT_CFG, PDB_TYPE_CFG},
    };
    if (pdb == nullptr)
        return PDATA_ERR_INVALID_ARGUMENT;
    *pdb = {};
    size_t n = 0;
    for (const auto &part : parts) {
        const pdata_status_t status =
            pdata_config_type_search(buf, part.tlv_type, part.pdb_type, &(*pdb)[n]);
        if (status == PDATA_SUCCESS)
            ++n;
        else if (status != PDATA_ERR_TLV_NOT_FOUND ||
                 part.pdb_type == PDB_TYPE_PROTOCOL_DESCRIPTION)
            return status;
        else if (part.pdb_type == PDB_TYPE_MAIN_HSTRING)
            break;
    }
    return PDATA_SUCCESS;
}

pdata_status_t pdata_config_type_search(std::span<const uint8_t> buf, uint32_t tlv_type,
                                        pdb_type_t pdb_type, pdb_t *pdb)
{
    std::span<const uint8_t> record;
    PDATA_TRY(tlv_record_search(tlv_type, buf, &record));
    return pdata_config_fill_pdb(record, pdb_type, pdb);
}

pdata_status_t pdata_config_fill_pdb(std::span<const uint8_t> record, pdb_type_t pdb_type,
                                     pdb_t *pdb)
{
    csa_buf_t copy;
    if (!csa_buf_alloc(copy, record.size()))
        return PDATA_ERR_NO_MEMORY;
    std::copy(record.begin(), record.end(), copy.begin());
    return pdb_header_set(pdb, pdb_type, std::move(copy)) ? PDATA_SUCCESS : PDATA_ERR_NO_MEMORY;
}

void pdata_config_cleanup(pdb_list_t *pdb)
{
    *pdb = {};
}
