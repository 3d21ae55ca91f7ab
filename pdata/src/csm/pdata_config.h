/// Splitting a serialized pdb back into its parts: the reverse of the pdb writer, for tools that
/// read pdbs.
#pragma once

#include <cstdint>
#include <span>

#include "pdata_error.h"
#include "pdb_header.h"

/// Splits a pdb into a list: protocol descriptions, tags, main strings, matcher aliases,
/// configuration, in this order, each a copy of its record. Without protocol descriptions the list
/// is empty and PDATA_ERR_TLV_NOT_FOUND returned; without main strings it ends behind what was
/// found so far, and without the others it goes on.
///
/// PDATA_ERR_INVALID_ARGUMENT for a null list, PDATA_ERR_NO_MEMORY, with the list ended in front
/// of the part, for one that cannot be copied; both without a message.
[[nodiscard]] pdata_status_t pdata_config(std::span<const uint8_t> buf, pdb_list_t *pdb);

/// Makes `pdb` a copy of the first root record of a type. PDATA_ERR_TLV_NOT_FOUND when there is
/// none, PDATA_ERR_NO_MEMORY when it cannot be copied; both without a message, and with the header
/// as it was.
[[nodiscard]] pdata_status_t pdata_config_type_search(std::span<const uint8_t> buf,
                                                      uint32_t tlv_type, pdb_type_t pdb_type,
                                                      pdb_t *pdb);

/// Makes `pdb` a part over a copy of a record. PDATA_ERR_NO_MEMORY when it cannot be copied.
[[nodiscard]] pdata_status_t pdata_config_fill_pdb(std::span<const uint8_t> record,
                                                   pdb_type_t pdb_type, pdb_t *pdb);

/// Frees the parts of a list.
void pdata_config_cleanup(pdb_list_t *pdb);
