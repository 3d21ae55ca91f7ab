/// The descriptions of a pdb where they lie: which protocols there are, each to be read by itself.
///
/// For who goes through descriptions protocol by protocol and rule by rule, and holds no more than
/// that: 24 bytes a protocol. Everything points into the file, which must outlive the source.
#pragma once

#include <string_view>
#include <vector>

#include "description_model.h"

/// Where a protocol stands.
struct source_protocol_t {
    uint32_t offset = 0; ///< of its record, in bytes from the start of the file
    uint32_t value = 0;  ///< the same of the value
    uint32_t size = 0;   ///< bytes of the value
    uint32_t group = 0;  ///< index
    uint32_t id = 0;
    uint32_t name = 0; ///< text
};

struct description_source_t {
    view_area_t file;
    std::vector<view_pool_t> groups; ///< the strings of each
    view_pool_t main;
    bool has_main = false;
    std::vector<source_protocol_t> protocols; ///< in the order in which they are stored
};

/// Finds the protocols of an open pdb. Returns false with `error` for groups, or fields of
/// protocols, that are damaged; the rules are read later. Throws std::bad_alloc.
[[nodiscard]] bool description_source_open(const pdb_view_t &pdb, description_source_t &source,
                                           view_error_t &error);

/// Returns what the references of a protocol lead to.
model_strings_t source_strings(const description_source_t &source,
                               const source_protocol_t &protocol);

/// Returns the name of a protocol.
std::string_view source_name(const description_source_t &source, const source_protocol_t &protocol);

/// Returns the parts of a protocol, which were read once when the source was opened.
view_protocol_t source_protocol(const description_source_t &source,
                                const source_protocol_t &protocol);
