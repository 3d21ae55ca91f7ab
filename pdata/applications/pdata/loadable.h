/// A loadable pdb, open to be run and explained.
#pragma once

#include <memory>

#include "open_file.h"
#include "pdata.h"
#include "view_values.h"

struct pdata_db_release_t {
    void operator()(pdata_db *db) const { pdata_db_release(db); }
};

/// A loadable pdb. Everything points into `file`.
struct loadable_t {
    input_file_t file;
    std::unique_ptr<pdata_db, pdata_db_release_t> db;
    std::vector<view_stored_value_t> values;         ///< of the descriptions
    std::vector<uint32_t> origins;                   ///< by item id; empty where it cannot be told
    std::vector<std::vector<pdata_item>> rule_items; ///< by rule
};

/// Opens and verifies the pdb at `path`. Returns false after a message: a file that cannot be read,
/// is damaged, or is no loadable pdb.
[[nodiscard]] bool loadable_open(console_t &console, const std::string &path, loadable_t &loadable);

/// The same for a pdb whose bytes and name are in `loadable.file` already.
[[nodiscard]] bool loadable_start(console_t &console, loadable_t &loadable);

/// Works out which items each rule has and which value each item stands for; where the latter
/// cannot be told, `origins` stays empty. Throws std::bad_alloc when memory runs out.
void loadable_prepare(loadable_t &loadable);

/// Returns the value that an item stands for, or null where it cannot be told.
const view_stored_value_t *loadable_origin(const loadable_t &loadable, pdata_item item);

/// Returns the protocol that a rule classifies: the last of its path, or the author's protocol
/// where the path is empty; "unknown" where that cannot be told.
std::string_view loadable_rule_protocol(const loadable_t &loadable, pdata_rule rule);

/// Returns the name of a protocol of the pdb.
std::string_view loadable_protocol_name(const loadable_t &loadable, pdata_protocol protocol);
