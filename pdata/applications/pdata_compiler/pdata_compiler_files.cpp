#include "pdata_compiler_files.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "pdata_config.h"
#include "tlv_description.h"

namespace
{

/// The bytes of an output pdb, in their order.
using pdb_outfile_t = std::vector<std::span<const uint8_t>>;

/// Puts the part of a kind behind the others, if it is there.
bool pdata_pdb_tlv_write(const pdb_list_t &in_pdb, pdb_outfile_t *pdb_outfile, pdb_type_t type)
{
    const pdb_t *part = pdata_pdb_type_find(in_pdb, type);
    if (part == nullptr)
        return false;
    pdb_outfile->push_back(pdb_header_bytes(*part));
    return true;
}

/// Writes an output pdb.
pdata_status_t write_outfile(const pdb_outfile_t &pdb_outfile, const char *filename)
{
    output_t output;
    PDATA_TRY(pdata_output_add(output, filename, pdb_outfile, OUTPUT_TO_DISK,
                               "Cannot open filename %s \n"));
    return pdata_output_commit(output, PDATA_SUCCESS);
}

pdata_status_t unable_to_open(const char *filename)
{
    return pdata_fail(PDATA_ERR_IO, "pdata_compiler: unable to open file %s.\n", filename);
}

} // namespace

pdata_status_t pdata_compiler_write(output_t &output, const char *filename, const char *buf)
{
    const std::span<const uint8_t> text = pdata_output_text(buf);
    return pdata_output_add(output, filename, {&text, 1}, OUTPUT_LEFT_TO_SYSTEM,
                            "pdata_compiler : unable to open %s.\n");
}

pdata_status_t pdata_compiler_init_pdd(pdd_t *pdd, const char *pdd_filename, int32_t)
{
    if (!pdata_compiler_read(pdd_filename, &pdd->pdd_json))
        return unable_to_open(pdd_filename);
    return PDATA_SUCCESS;
}

pdata_status_t pdata_compiler_init_pdb(const char *filename, pdb_list_t *pdb,
                                       pdb_tlv_index_t *pdb_tlv_indexes, uint32_t *network_endian)
{
    csa_buf_t pdb_buf;
    if (!pdata_compiler_read(filename, &pdb_buf))
        return unable_to_open(filename);
    if (pdata_pdb_loaded_get(pdb_buf) == TLV_TYPE_LOAD_LOADED_LE)
        *network_endian = 0;
    return pdata_compiler_config(pdb_buf, pdb, pdb_tlv_indexes);
}

uint32_t pdata_pdb_loaded_get(std::span<const uint8_t> tlv_buf)
{
    std::span<const uint8_t> value;
    if (tlv_value_search(TLV_TYPE_ROOT_LOAD, tlv_buf, &value) != PDATA_SUCCESS || value.size() < 4)
        return TLV_TYPE_LOAD_LOADABLE;
    return tlv_get(value.data());
}

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

pdata_status_t pdata_compiler_fill_pdb_list(const char *pdb_list, pdb_in_list_t *pdb_in,
                                            uint32_t *network_endian)
{
    const std::string list = pdb_list;
    for (size_t start = 0; start < list.size();) {
        const size_t end = std::min(list.find(';', start), list.size());
        const std::string filename = list.substr(start, end - start);
        start = end + 1;
        if (filename.empty())
            continue;
        pdb_in_elt_st elt;
        PDATA_TRY(
            pdata_compiler_init_pdb(filename.c_str(), &elt.pdb, &elt.indexes, network_endian));
        pdb_in->push_back(std::move(elt));
    }
    return PDATA_SUCCESS;
}

pdata_status_t pdata_compiler_write_pdb(const pdb_list_t &pdb, const char *pdb_filename)
{
    pdb_outfile_t pdb_outfile;
    pdata_pdb_tlv_write(pdb, &pdb_outfile, PDB_TYPE_LOAD);
    const bool described = pdata_pdb_tlv_write(pdb, &pdb_outfile, PDB_TYPE_PROTOCOL_DESCRIPTION);
    if (described)
        for (const pdb_type_t type : {PDB_TYPE_MATCHER_ALIAS, PDB_TYPE_TAGS, PDB_TYPE_MAIN_HSTRING})
            pdata_pdb_tlv_write(pdb, &pdb_outfile, type);
    PDATA_TRY(write_outfile(pdb_outfile, pdb_filename));
    return described ? PDATA_SUCCESS
                     // Oddity O48.
                     : pdata_fail(PDATA_ERR_IO, "Cannot write on filename %s \n", pdb_filename);
}

pdata_status_t pdata_compiler_write_pdb_loadable(const pdb_t &pdb_loadable,
                                                 const char *pdb_filename)
{
    return write_outfile({pdb_header_bytes(pdb_loadable)}, pdb_filename);
}

void pdata_compiler_clean_pdb(pdb_in_list_t *pdb_in, pdb_list_t *pdb)
{
    pdb_in->clear();
    if (pdb != nullptr)
        *pdb = {};
}
