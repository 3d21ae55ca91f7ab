/// The version record of a loadable pdb (root record 6).
///
/// Its value: major, minor, length of the version text, one word each, then the text, then zeros
/// up to a multiple of 4 words.
#pragma once

#include <cstdint>
#include <string_view>

#include "csa_buf.h"
#include "pdata_error.h"

/// What the engine that loads the pdb must support.
constexpr uint32_t pdata_engine_version_major = 1;
constexpr uint32_t pdata_engine_version_minor = 540;

/// The version text of the pdbs that the programs write.
constexpr const char *PDB_VERSION = "1.540.1-24";

/// The version of what this program writes.
struct pdb_versions_t {
    uint32_t major;
    uint32_t minor;
    std::string_view text; ///< not owned
};

/// Sets the process-wide version text, which must outlive every use.
void pdata_pdb_version_set(const char *version);

/// Returns the engine's numbers and the version text that was set, empty at start.
pdb_versions_t pdata_pdb_version_get();

/// Writes the version record into `buf`, which is made as large as the record. An empty pdb gets
/// the marker record of root type 7 and length 0 instead. Oddity O22. Returns PDATA_ERR_NO_MEMORY,
/// without a message, when memory runs out.
[[nodiscard]] pdata_status_t pdb_version_serialize(csa_buf_t *buf, const pdb_versions_t &versions,
                                                   bool empty_pdb);
