/// From a description to a pdb: the first flow of the program.
///
/// The description text and the loaded configuration become a list of root records:
///
///     configuration of protocol semantics (11), matcher aliases (10), tag table (9),
///     protocol descriptions (1), main hashed strings (3), load state (12)
///
/// in that order, the second and third only when the configuration holds their document. All
/// names go into one string table that is written last, after every record that adds to it.
#pragma once

#include <cstdint>
#include <string_view>

#include "format_types.h"
#include "hstring.h"
#include "matcher_alias_serialize.h"
#include "pdata_cfg.h"
#include "pdata_error.h"
#include "pdb_header.h"

/// A description: the bytes of a ".pdd" file.
struct pdd_t {
    csa_buf_t pdd_json;
};

/// Serializes a description into `pdb`, from its first header on; the list is ended behind the
/// last record, also after a failure.
///
/// `pdb_default` may be null; a part of kind PDB_TYPE_DEFAULT_LOADED or PDB_TYPE_TMP supplies the
/// matcher aliases in place of the configuration, and no tag table is written then.
/// `proto_sem_type` is the kind of the semantic rules that protocols follow.
///
/// Returns PDATA_ERR_INVALID_ARGUMENT with a message for a null `pdd` or `pdb`, PDATA_ERR_IO for a
/// configuration that is absent or lacks the semantic document of protocols' semantics,
/// (oddity O36) PDATA_ERR_PRAGMAR for aliases that cannot be read, PDATA_ERR_NO_MEMORY for a tag
/// table that cannot or when memory runs out, or whatever the building of the protocols returns.
[[nodiscard]] pdata_status_t pdata_serialize(const pdd_t *pdd, pdb_list_t *pdb,
                                             const pdata_cfg_t *cfg, const pdb_t *pdb_default,
                                             uint32_t proto_sem_type);

/// Makes `pdb` the record of a load state. When memory runs out the header keeps its kind and
/// length and has no buffer, and PDATA_ERR_NO_MEMORY is returned without a message.
[[nodiscard]] pdata_status_t pdata_serialize_load(pdb_t *pdb, uint32_t value);

/// Makes `pdb` the record of the main strings. PDATA_ERR_OVERFLOW with a message for more than the
/// 64 MiB whose words a record can count, PDATA_ERR_NO_MEMORY with one when memory runs out.
[[nodiscard]] pdata_status_t pdata_serialize_main_hstring(const hstring_build_t &hstring,
                                                          pdb_t *pdb);

/// Makes `(*pdb)[*n]` the configuration record of the semantic document of that kind, and counts
/// it. PDATA_ERR_IO for no configuration, no `n`, another kind than PDATA_TYPE_PROTOCOL or
/// PDATA_TYPE_CSM, or no document.
[[nodiscard]] pdata_status_t pdata_serialize_cfg(const pdata_cfg_t *cfg, pdb_list_t *pdb,
                                                 uint32_t *n, uint32_t sem_type);

/// Makes `pdb` the record of an alias set. More than 63 pairs are PDATA_ERR_OVERFLOW with a
/// message, an empty name PDATA_ERR_INVALID_ARGUMENT; the set is destroyed by a failure.
[[nodiscard]] pdata_status_t
pdata_serialize_matcher_alias_pairs(matcher_alias_build_t *matcher_alias, pdb_t *pdb);
