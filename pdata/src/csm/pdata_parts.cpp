#include "pdata_parts.h"

#include <algorithm>

#include "pdata_config.h"
#include "pdata_serialize.h"
#include "tlv_description.h"

pdata_status_t pdata_compiler_config(std::span<const uint8_t> in_tlv, pdb_list_t *out_pdb,
                                     pdb_tlv_index_t *pdb_tlv_index)
{
    const struct {
        uint32_t tlv_type;
        pdb_type_t pdb_type;
        uint32_t *index;
    } parts[] = {
        {TLV_TYPE_ROOT_PROTODESCS, PDB_TYPE_PROTOCOL_DESCRIPTION, &pdb_tlv_index->root_protodescs},
        {TLV_TYPE_ROOT_TAGS, PDB_TYPE_TAGS, &pdb_tlv_index->root_tags},
        {TLV_TYPE_ROOT_STRING, PDB_TYPE_MAIN_HSTRING, &pdb_tlv_index->root_string},
        {TLV_TYPE_ROOT_MATCHER_ALIAS, PDB_TYPE_MATCHER_ALIAS, &pdb_tlv_index->root_matcher_alias},
    };
    if (out_pdb == nullptr)
        return PDATA_ERR_INVALID_ARGUMENT;
    *pdb_tlv_index = {};
    uint32_t position = 0;
    for (const auto &part : parts) {
        pdb_t *header = &(*out_pdb)[position];
        const pdata_status_t status =
            pdata_compiler_config_type(part.tlv_type, part.pdb_type, in_tlv, header);
        if (status == PDATA_SUCCESS)
            *part.index = position++;
        else if (status != PDATA_ERR_TLV_NOT_FOUND)
            return status;
    }
    pdb_header_end(&(*out_pdb)[position]);
    return PDATA_SUCCESS;
}

pdata_status_t pdata_compiler_config_type(uint32_t tlv_type, pdb_type_t pdb_type,
                                          std::span<const uint8_t> in_tlv, pdb_t *pdb_out)
{
    return pdata_config_type_search(in_tlv, tlv_type, pdb_type, pdb_out);
}

const pdb_list_t *pdata_parts_source(const pdb_in_list_t &input)
{
    const auto has_tags = [](const pdb_in_elt_st &elt) { return elt.indexes.root_tags != 0; };
    const auto last = std::find_if(input.rbegin(), input.rend(), has_tags);
    return last == input.rend() ? nullptr : &last->pdb;
}

pdata_status_t pdata_parts_complete(const pdb_list_t &source, pdb_list_t &pdb)
{
    constexpr size_t last = PDB_LIST_DIM - 1;
    size_t i = 1;
    while (i < last && source[i].pdb_type != PDB_TYPE_END) {
        pdb_header_memcpy(&pdb[i], source[i]);
        ++i;
    }
    if (i == last)
        return PDATA_SUCCESS;
    PDATA_TRY(pdata_serialize_load(&pdb[i], TLV_TYPE_LOAD_LOADABLE));
    pdb_header_end(&pdb[i + 1]);
    return PDATA_SUCCESS;
}

std::vector<std::span<const uint8_t>> pdata_parts_written(const pdb_list_t &pdb)
{
    std::vector<std::span<const uint8_t>> written;
    for (const pdb_type_t type : {PDB_TYPE_LOAD, PDB_TYPE_PROTOCOL_DESCRIPTION,
                                  PDB_TYPE_MATCHER_ALIAS, PDB_TYPE_TAGS, PDB_TYPE_MAIN_HSTRING}) {
        const pdb_t *part = pdata_pdb_type_find(pdb, type);
        if (part != nullptr)
            written.push_back(pdb_header_bytes(*part));
        else if (type == PDB_TYPE_PROTOCOL_DESCRIPTION)
            break;
    }
    return written;
}
