/// The parts of a pdb: cut out of its bytes, put together for a merge, and in the order in which
/// they are written.
///
/// A pdb is root records one after another, without a header, a magic or a trailer. Reading cuts
/// out the four parts that the flows need, wherever they stand; writing puts the parts in a fixed
/// order.
#pragma once

#include <cstdint>
#include <list>
#include <span>
#include <vector>

#include "pdata_error.h"
#include "pdb_header.h"

/// Where the parts of an input pdb landed in its list. A part that is missing leaves 0, which is
/// also the first position. Oddity O19.
struct pdb_tlv_index_t {
    uint32_t root_protodescs;
    uint32_t root_tags;
    uint32_t root_string;
    uint32_t root_matcher_alias;
};

/// One input pdb.
struct pdb_in_elt_st {
    pdb_list_t pdb;
    pdb_tlv_index_t indexes;
};

/// The input pdbs, in their order.
using pdb_in_list_t = std::list<pdb_in_elt_st>;

/// Cuts the parts out of a pdb: protocol descriptions, tags, main strings, matcher aliases, each
/// the first record of its type, and ends the list behind them. A missing record, or one that
/// claims more bytes than there are, is left out. PDATA_ERR_INVALID_ARGUMENT for a null list,
/// PDATA_ERR_NO_MEMORY for a part that cannot be copied.
[[nodiscard]] pdata_status_t pdata_compiler_config(std::span<const uint8_t> in_tlv,
                                                   pdb_list_t *out_pdb,
                                                   pdb_tlv_index_t *pdb_tlv_index);

/// Cuts one part out. PDATA_ERR_TLV_NOT_FOUND when it is missing, PDATA_ERR_NO_MEMORY when it
/// cannot be copied; both without a message.
[[nodiscard]] pdata_status_t pdata_compiler_config_type(uint32_t tlv_type, pdb_type_t pdb_type,
                                                        std::span<const uint8_t> in_tlv,
                                                        pdb_t *pdb_out);

/// Returns the input whose further parts a merge takes over, or null: the last one with tags. What
/// is tested is the tag table, which 0 does not tell from the first part, although the message of
/// the compiler names the strings. Oddities O19 and O20.
const pdb_list_t *pdata_parts_source(const pdb_in_list_t &input);

/// Puts the parts of `source` behind its first one behind the first part of `pdb`, and a load state
/// where there is room.
[[nodiscard]] pdata_status_t pdata_parts_complete(const pdb_list_t &source, pdb_list_t &pdb);

/// Returns the bytes of a pdb, one part behind the other: load state, protocol descriptions,
/// matcher aliases, tags, main strings, and the first alone where there are no descriptions.
/// Oddity O18. They live as long as the parts.
std::vector<std::span<const uint8_t>> pdata_parts_written(const pdb_list_t &pdb);
