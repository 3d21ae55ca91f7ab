/// The rule-tag map: the numbers of the tags that each rule carries.
///
/// Serialized, big-endian words: the number of rules; per rule, by id, the word index of its tag
/// list, counted from behind these indexes; then the tag lists, each a count and the numbers. The
/// tags of a rule are names in the main string table, and so are those of the tag table, whose
/// entries are a name's offset and a number.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "hstring.h"
#include "pdata_error.h"
#include "protodesc_deserializer.h"
#include "tlv_sink.h"

/// A tag table as it is stored in a pdb.
struct pdb_tag_table {
    std::span<const uint8_t> entries; ///< pairs of words
};

/// What tags are resolved through.
struct pdb_tag_source_t {
    hstring_t hstring; ///< the main string table
    pdb_tag_table tag_table;
};

struct ruletag_map_build_t {
    pdb_tag_source_t source;                ///< not owned
    std::vector<ruledesc_t> ruledesc_table; ///< per rule, by id; zero until added
};

/// Makes `map` an empty map of `nr_rules` rules. PDATA_ERR_NO_MEMORY when memory runs out.
[[nodiscard]] pdata_status_t
pdb_ruletag_map_init(ruletag_map_build_t *map, const pdb_tag_source_t &source, uint32_t nr_rules);

/// Notes a rule under its id. PDATA_ERR_INVALID_ARGUMENT for an id beyond the map.
[[nodiscard]] pdata_status_t pdb_ruletag_map_add_entry(ruletag_map_build_t *map, uint32_t rule_id,
                                                       const ruledesc_t &rule);

/// Emits the map. The tag table's words are in network order, or, when `network_endian` is 0,
/// little-endian. Returns the failure of a name, after a line on standard error; a sink that counts
/// looks no name up.
[[nodiscard]] pdata_status_t pdb_ruletag_map_emit(const ruletag_map_build_t &map,
                                                  uint32_t network_endian, tlv_sink_t &sink);

/// Returns the size in bytes of the serialized map.
size_t pdb_ruletag_map_get_tlv_size(const ruletag_map_build_t &map);

/// Writes the map into `buf`: pdb_ruletag_map_emit, or PDATA_ERR_INVALID_ARGUMENT without a message
/// for a buffer of another size.
[[nodiscard]] pdata_status_t pdb_ruletag_map_serialize(const ruletag_map_build_t &map,
                                                       std::span<uint8_t> buf,
                                                       uint32_t network_endian);

/// Frees everything.
void pdb_ruletag_map_cleanup(ruletag_map_build_t *map);

/// Gives the number of the first tag of the table with that name. PDATA_ERR_PROTODESC_TAG with a
/// message when there is none. A name ends at its first 0 byte. Oddity O108.
[[nodiscard]] pdata_status_t resolve_rule_tag(const pdb_tag_source_t &source, csa_str_t name,
                                              uint32_t *value, uint32_t network_endian);
