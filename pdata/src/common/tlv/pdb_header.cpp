#include "pdb_header.h"

#include <exception>

bool pdb_header_set(pdb_t *pdb, pdb_type_t type, csa_buf_t &&buf)
{
    const auto len = static_cast<uint32_t>(buf.size());
    try {
        *pdb = {std::make_shared<csa_buf_t>(std::move(buf)), len, type};
    } catch (const std::exception &) {
        return false;
    }
    return true;
}

void pdb_header_memcpy(pdb_t *dst, const pdb_t &src)
{
    *dst = src;
}

void pdb_header_end(pdb_t *pdb)
{
    *pdb = {};
}

std::span<const uint8_t> pdb_header_bytes(const pdb_t &pdb)
{
    if (pdb.pdb_tlv == nullptr)
        return {};
    return *pdb.pdb_tlv;
}

const pdb_t *pdata_pdb_type_find(std::span<const pdb_t> pdb, pdb_type_t type)
{
    for (const pdb_t &header : pdb) {
        if (header.pdb_type == PDB_TYPE_END)
            break;
        if (header.pdb_type == type)
            return &header;
    }
    return nullptr;
}
