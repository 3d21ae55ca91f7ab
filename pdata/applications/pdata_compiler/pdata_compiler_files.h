/// Files of the program: whole-file reading and writing, input pdbs and output pdbs.
#pragma once

#include <cstdint>
#include <span>

#include "csa_buf.h"
#include "pdata_error.h"
#include "pdata_output.h"
#include "pdata_parts.h"
#include "pdata_serialize.h"
#include "pdb_header.h"

/// Reads a whole file, or a pipe or a terminal to its end. Returns false, with `buf` empty and
/// nothing recorded, when it cannot be opened, and, with the reason on standard error, when it
/// cannot be read whole, has 2 GiB or more, or is a directory or a device with content. A file of
/// length 0 is no failure. Memory that runs out is std::bad_alloc.
[[nodiscard]] bool pdata_compiler_read(const char *filename, csa_buf_t *buf);

/// Adds a text, up to its terminator, to the files that go in place together; both texts must live
/// until then. PDATA_ERR_IO with a message when the file cannot be opened or written.
[[nodiscard]] pdata_status_t pdata_compiler_write(output_t &output, const char *filename,
                                                  const char *buf);

/// Reads a description. The namespace is accepted and not used here. Oddity O8. PDATA_ERR_IO with a
/// message when it cannot be read.
[[nodiscard]] pdata_status_t pdata_compiler_init_pdd(pdd_t *pdd, const char *pdd_filename,
                                                     int32_t pdd_namespace);

/// Reads a pdb file and cuts it into parts; a pdb whose words are in host order clears
/// `*network_endian`. Oddity O21. PDATA_ERR_IO with a message when it cannot be read.
[[nodiscard]] pdata_status_t pdata_compiler_init_pdb(const char *filename, pdb_list_t *pdb,
                                                     pdb_tlv_index_t *pdb_tlv_indexes,
                                                     uint32_t *network_endian);

/// Returns the load state of a pdb; one that states none counts as loadable.
uint32_t pdata_pdb_loaded_get(std::span<const uint8_t> tlv_buf);

/// Reads every file of a list separated by ";", empty pieces skipped, and appends them to
/// `pdb_in`. What was read before a failure stays.
[[nodiscard]] pdata_status_t
pdata_compiler_fill_pdb_list(const char *pdb_list, pdb_in_list_t *pdb_in, uint32_t *network_endian);

/// Writes the parts of a pdb (pdata_parts_written). The protocol descriptions must be there.
/// PDATA_ERR_IO with a message when the file cannot be opened or written, and an old file then
/// stays; or when the descriptions are missing: the load state alone is written.
[[nodiscard]] pdata_status_t pdata_compiler_write_pdb(const pdb_list_t &pdb,
                                                      const char *pdb_filename);

/// Writes a compiled pdb as one block. PDATA_ERR_IO with a message when the file cannot be opened
/// or written; an old file then stays.
[[nodiscard]] pdata_status_t pdata_compiler_write_pdb_loadable(const pdb_t &pdb_loadable,
                                                               const char *pdb_filename);

/// Frees the input pdbs and the parts of an output list.
void pdata_compiler_clean_pdb(pdb_in_list_t *pdb_in, pdb_list_t *pdb);
