#include "pdata_compiler_files.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "tlv_description.h"

namespace
{

/// Writes an output pdb.
pdata_status_t write_outfile(output_parts_t parts, const char *filename)
{
    output_t output;
    PDATA_TRY(
        pdata_output_add(output, filename, parts, OUTPUT_TO_DISK, "Cannot open filename %s \n"));
    return pdata_output_commit(output, PDATA_SUCCESS);
}

pdata_status_t unable_to_open(const char *filename)
{
    return pdata_fail(PDATA_ERR_IO, "pdata_compiler: unable to open file %s.\n", filename);
}

} // namespace

pdata_status_t pdata_compiler_write(output_t &output, const char *filename, const char *buf)
{
    const std::span<const uint8_t> text = output_text(buf);
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
    const bool described = pdata_pdb_type_find(pdb, PDB_TYPE_PROTOCOL_DESCRIPTION) != nullptr;
    PDATA_TRY(write_outfile(pdata_parts_written(pdb), pdb_filename));
    return described ? PDATA_SUCCESS
                     // Oddity O48.
                     : pdata_fail(PDATA_ERR_IO, "Cannot write on filename %s \n", pdb_filename);
}

pdata_status_t pdata_compiler_write_pdb_loadable(const pdb_t &pdb_loadable,
                                                 const char *pdb_filename)
{
    const std::span<const uint8_t> bytes = pdb_header_bytes(pdb_loadable);
    return write_outfile({&bytes, 1}, pdb_filename);
}

void pdata_compiler_clean_pdb(pdb_in_list_t *pdb_in, pdb_list_t *pdb)
{
    pdb_in->clear();
    if (pdb != nullptr)
        *pdb = {};
}
