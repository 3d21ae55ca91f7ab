/// The configuration directory: eleven JSON files, each known by its role and its kind.
///
/// All files are loaded whole before anything else runs; none is parsed here. A consumer finds
/// its file by role and kind. There is one configuration, process-wide: its name is accepted and
/// ignored.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "csa_buf.h"

/// Roles of a file.
enum pdata_meta_t : uint32_t {
    PDATA_META_PDM = 0, ///< data for the pdb
    PDATA_META_SEM = 1, ///< semantic rules of documents of the same kind
    PDATA_META_TLV = 2,
    PDATA_META_PSA = 3,  ///< pattern tables for generated sources
    PDATA_META_IPBT = 4, ///< the IPv4 table
    PDATA_META_END = 5,  ///< end of the table
};

/// Kinds of file.
enum pdata_type_t : uint32_t {
    PDATA_TYPE_TAG_TABLE = 0,
    PDATA_TYPE_MATCHER_ALIAS = 1,
    PDATA_TYPE_HTTP2 = 2,
    PDATA_TYPE_HTTP = 3,
    PDATA_TYPE_SPDY = 4,
    PDATA_TYPE_HTTP_PROXY = 5,
    PDATA_TYPE_PROTOCOL = 6,
    PDATA_TYPE_CSM = 7,
    PDATA_TYPE_RULE_ENGINE = 8,
    PDATA_TYPE_IPBT = 9,
};

/// One configuration file.
struct pdata_cfg_meta {
    pdata_meta_t meta;
    pdata_type_t type;
    const char *name;                ///< base name; the file adds ".json"
    std::optional<csa_buf_t> json{}; ///< contents, once loaded; a file of length 0 is present
};

using pdata_cfg_meta_t = pdata_cfg_meta;

/// A configuration: its files, the last row marking the end.
struct pdata_cfg_t {
    std::array<pdata_cfg_meta_t, 12> meta;
    uint8_t ignore_sem = 0; ///< skip the semantic checks
};

/// Reads a whole file into `*buf`; returns false, with `*buf` empty, when it cannot be read.
using pdata_cfg_file_read = bool (*)(const char *filename, csa_buf_t *buf);

/// Longest file name in bytes; a longer one is cut, which is said on standard error. Oddity O6.
constexpr uint32_t PDATA_CFG_FILENAME_MAX = 255;

/// Returns the configuration of a name, which is the one configuration whatever the name.
/// Oddity O9.
pdata_cfg_t *pdata_cfg_get(const char *cfg_name);

/// Returns the rows in front of the end of the table.
std::span<const pdata_cfg_meta_t> pdata_cfg_files(const pdata_cfg_t &cfg);

/// Loads every file of the configuration from the directory `path`, in table order. Returns the
/// configuration, or null at the first file that cannot be read, whose name is then printed on
/// standard output without a line end (oddity O51). No status is recorded.
[[nodiscard]] pdata_cfg_t *pdata_cfg_load_from_file(const char *cfg_name, const char *path,
                                                    pdata_cfg_file_read file_read);

/// Frees the contents of every file.
void pdata_cfg_unload(pdata_cfg_t *cfg);

/// Returns the first file of that role and kind, or null when there is none or no configuration.
const pdata_cfg_meta_t *pdata_cfg_meta_find(const pdata_cfg_t *cfg, pdata_meta_t meta,
                                            uint32_t type);

/// Returns the text of a file, null for no file or one that is not loaded; the text of a file of
/// length 0 is empty, not null. It lives until the configuration is unloaded.
std::string_view pdata_cfg_meta_text(const pdata_cfg_meta_t *meta);
