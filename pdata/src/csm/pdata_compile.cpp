#include "pdata_compile.h"

#include <algorithm>
#include <utility>

#include "pdb_build.h"
#include "tlv_description.h"

namespace
{

constexpr pdb_params_t build_limits = {
    MATCHER_PERMUTATION_MAX, // matcher_interface_max_perm
    MATCHER_PRIVATE_MAX,     // matcher_interface_max_regexp
    RULE_MAX_ITEM,           // rule_max_attr
    PROTOCOL_SUB_RULE_DIM,   // rule_max_subrules
    PROTOCOL_PATH_DIM,       // rule_max_path
};

/// The parts of the input, in the order of the output.
constexpr pdb_type_t input_parts[] = {
    PDB_TYPE_LOAD, PDB_TYPE_CFG,           PDB_TYPE_PROTOCOL_DESCRIPTION,
    PDB_TYPE_TAGS, PDB_TYPE_MATCHER_ALIAS, PDB_TYPE_MAIN_HSTRING,
};

/// Appends one part of the input. PDATA_ERR_TLV_NOT_FOUND when the list has none.
pdata_status_t pdata_pdb_tlv_cpy(const pdb_list_t &pdb_in, csa_buf_t *out, pdb_type_t type)
{
    const pdb_t *part = pdata_pdb_type_find(pdb_in, type);
    if (part == nullptr)
        return PDATA_ERR_TLV_NOT_FOUND;
    const std::span<const uint8_t> bytes = pdb_header_bytes(*part);
    out->insert(out->end(), bytes.begin(), bytes.end());
    return PDATA_SUCCESS;
}

/// Appends the tag table, its words swapped when they are in host order.
pdata_status_t pdata_pdb_tlv_cpy_tags(const pdb_list_t &pdb_in, csa_buf_t *out,
                                      uint32_t network_endian)
{
    const size_t start = out->size();
    const pdata_status_t status = pdata_pdb_tlv_cpy(pdb_in, out, PDB_TYPE_TAGS);
    if (status != PDATA_SUCCESS || network_endian != 0)
        return status;
    for (size_t at = start + 4; at + 4 <= out->size(); at += 4)
        std::reverse(out->begin() + static_cast<ptrdiff_t>(at),
                     out->begin() + static_cast<ptrdiff_t>(at) + 4);
    return PDATA_SUCCESS;
}

/// Appends a section of the build and releases it, so that the output does not stand beside
/// everything that it is made of.
void move_section(csa_buf_t *section, csa_buf_t *out)
{
    const csa_buf_t taken = std::move(*section); // an empty list assigned would keep the memory
    out->insert(out->end(), taken.begin(), taken.end());
}

void append_word(uint32_t word, csa_buf_t *out)
{
    uint8_t bytes[4];
    tlv_set(bytes, word);
    out->insert(out->end(), bytes, bytes + 4);
}

/// Appends every part of the output.
pdata_status_t append_parts(pdb_build_t *pdb_build, const pdb_list_t &pdb_in, csa_buf_t *out,
                            uint32_t network_endian)
{
    for (const pdb_type_t type : input_parts) {
        const pdata_status_t status = type == PDB_TYPE_TAGS
                                          ? pdata_pdb_tlv_cpy_tags(pdb_in, out, network_endian)
                                          : pdata_pdb_tlv_cpy(pdb_in, out, type);
        // Of the parts only the descriptions must be there. Oddity O37.
        if (status != PDATA_SUCCESS && type == PDB_TYPE_PROTOCOL_DESCRIPTION)
            return PDATA_ERR_NO_MEMORY;
    }
    pdb_build_tlv_t &sections = pdb_build->pdb_build_tlv;
    move_section(&sections.protodesc_tlv, out);
    append_word(sections.matchers.root_tlv, out);
    append_word(sections.matchers.pdb_tlv, out);
    for (pdb_build_matcher &matcher : sections.matchers.tlv_list)
        move_section(&matcher.matcher_tlv_entry, out);
    move_section(&sections.matchers.hstring_tlv, out);
    move_section(&sections.rules_tlv, out);
    return PDATA_SUCCESS;
}

pdata_status_t compile(const pdb_list_t &pdb_in, pdb_t *pdb_out, pdata_sig_export_t *sig_export,
                       const csa_dump_t &dump, uint32_t network_endian)
{
    pdb_context_t context;
    PDATA_TRY(pdb_builder_init(&context, &build_limits));
    context.pdb = pdb_in;
    pdata_status_t status = pdb_builder_serialize(&context, dump, sig_export, network_endian);
    if (status == PDATA_SUCCESS)
        status = pdata_compile_write_pdb(&context.pdb_build, pdb_in, pdb_out, network_endian);
    pdb_builder_clean(&context);
    return status;
}

} // namespace

pdata_status_t pdata_compile(const pdb_list_t *pdb_in, pdb_t *pdb_out,
                             pdata_sig_export_t *sig_export, const csa_dump_t &dump,
                             uint32_t network_endian)
{
    if (pdb_in == nullptr || pdb_out == nullptr)
        return PDATA_ERR_INVALID_ARGUMENT;
    return pdata_guard([&] { return compile(*pdb_in, pdb_out, sig_export, dump, network_endian); });
}

size_t pdata_compile_get_out_len(const pdb_build_t &pdb_build, const pdb_list_t &pdb_in)
{
    size_t len = 0;
    for (const pdb_type_t type : input_parts)
        if (const pdb_t *part = pdata_pdb_type_find(pdb_in, type))
            len += pdb_header_bytes(*part).size();
    const pdb_build_tlv_t &sections = pdb_build.pdb_build_tlv;
    len += sections.protodesc_tlv.size() + 8;
    for (const pdb_build_matcher &matcher : sections.matchers.tlv_list)
        len += matcher.matcher_tlv_entry.size();
    return len + sections.matchers.hstring_tlv.size() + sections.rules_tlv.size();
}

pdata_status_t pdata_compile_write_pdb(pdb_build_t *pdb_build, const pdb_list_t &pdb_in,
                                       pdb_t *pdb_out, uint32_t network_endian)
{
    csa_buf_t out;
    out.reserve(pdata_compile_get_out_len(*pdb_build, pdb_in));
    PDATA_TRY(append_parts(pdb_build, pdb_in, &out, network_endian));
    pdata_compile_set_loadable(out);
    return pdb_header_set(pdb_out, PDB_TYPE_LOAD, std::move(out)) ? PDATA_SUCCESS
                                                                  : PDATA_ERR_NO_MEMORY;
}

void pdata_compile_set_loadable(std::span<uint8_t> pdb)
{
    std::span<const uint8_t> value;
    if (tlv_value_search(TLV_TYPE_ROOT_LOAD, pdb, &value) != PDATA_SUCCESS || value.size() < 4)
        return;
    tlv_set(pdb.data() + (value.data() - pdb.data()), TLV_TYPE_LOAD_LOADABLE);
}
