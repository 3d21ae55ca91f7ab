/// Part headers: a pdb in memory is a list of root records.
///
/// A list holds up to ten parts and an end mark. Copying a header shares the record's bytes, which
/// live as long as any header that refers to them.
#pragma once

#include <array>
#include <cstdint>
#include <memory>
#include <span>

#include "csa_buf.h"
#include "format_limits.h"

/// Kinds of part, each with the type of its root record where one is written.
enum pdb_type_t : uint32_t {
    PDB_TYPE_PROTOCOL_DESCRIPTION = 0, ///< root record 1
    PDB_TYPE_MAIN_HSTRING = 1,         ///< root record 3
    PDB_TYPE_GRAPH = 2,
    PDB_TYPE_ENGINE = 3,
    PDB_TYPE_VERSION = 4,        ///< root record 6
    PDB_TYPE_DEFAULT_LOADED = 5, ///< root record 7
    PDB_TYPE_TMP = 6,
    PDB_TYPE_TAGS = 7,          ///< root record 9
    PDB_TYPE_MATCHER_ALIAS = 8, ///< root record 10
    PDB_TYPE_CFG = 9,           ///< root record 11
    PDB_TYPE_LOAD = 10,         ///< root record 12
    PDB_TYPE_END = 11,          ///< end mark of a list
};

/// One part header.
struct pdb_t {
    std::shared_ptr<csa_buf_t> pdb_tlv; ///< one whole root record, its header word included
    uint32_t pdb_tlv_len = 0;           ///< its length in bytes
    pdb_type_t pdb_type = PDB_TYPE_END;
};

/// A part list; it ends at the first header of type PDB_TYPE_END.
using pdb_list_t = std::array<pdb_t, PDB_LIST_DIM>;

/// Makes `pdb` a header of that kind over a buffer, which it takes over. Returns false, with the
/// header as it was, when memory runs out.
[[nodiscard]] bool pdb_header_set(pdb_t *pdb, pdb_type_t type, csa_buf_t &&buf);

/// Copies a header; the bytes are shared.
void pdb_header_memcpy(pdb_t *dst, const pdb_t &src);

/// Makes `pdb` an end mark.
void pdb_header_end(pdb_t *pdb);

/// Returns the bytes of a part; none for a part without a buffer.
std::span<const uint8_t> pdb_header_bytes(const pdb_t &pdb);

/// Returns the first header of that kind in front of the end mark, or null.
const pdb_t *pdata_pdb_type_find(std::span<const pdb_t> pdb, pdb_type_t type);
