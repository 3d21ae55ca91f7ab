/// The protocol map: which protocol a rule classifies, and on top of which lower protocols.
///
/// Rows are indexed by rule id - 1 and hold offsets into the map's own string table. Serialized,
/// big-endian words: all protocol paths row by row, all bottoms, all real bottoms, and, only if a
/// rule has one, all version identifiers. Empty cells are 0xFFFFFFFF.
#pragma once

#include <cstdint>
#include <cstdio>
#include <vector>

#include "csa_str.h"
#include "format_loadable.h"
#include "hstring.h"
#include "pdata_error.h"
#include "protodesc_deserializer.h"
#include "tlv_sink.h"

struct protocol_build_map_t {
    std::vector<uint32_t> map_proto_id;    ///< per rule, `rule_max_path` cells
    std::vector<uint32_t> map_bottom;      ///< per rule, `rule_max_subrules` cells
    std::vector<uint32_t> map_real_bottom; ///< the same
    std::vector<uint32_t> map_vid;         ///< per rule, its version identifier
    uint32_t map_nr_rule = 0;
    hstring_build_t map_hstring;
    uint32_t map_vid_used = 0; ///< 1: a rule has a version identifier
    uint32_t rule_max_path = 0;
    uint32_t rule_max_subrules = 0;
};

/// The names of a rule. Those of sub-rule 1 are absent for a rule of one sub-rule.
struct pdb_protocol_map_names_t {
    csa_str_t proto_name;
    csa_str_t bottom[2];      ///< per sub-rule
    csa_str_t real_bottom[2]; ///< per sub-rule
};

/// Makes `map` an empty map of `nr_rule` rows. Returns PDATA_ERR_NO_MEMORY, with the map empty,
/// when memory runs out.
[[nodiscard]] pdata_status_t pdb_protocol_map_init(protocol_build_map_t *map, uint32_t nr_rule,
                                                   uint32_t rule_max_path,
                                                   uint32_t rule_max_subrules);

/// Fills the row of a rule; `hstring` is the table that the rule's path refers to.
///
/// Returns PDATA_ERR_OVERFLOW with a message for a path that is too long, and for more names than
/// a record can hold; PDATA_ERR_INVALID_ARGUMENT for a rule beyond the rows, found out only behind
/// the path (oddity O130); and PDATA_ERR_ENGINE when a string table refuses a name.
[[nodiscard]] pdata_status_t pdb_protocol_map_add(protocol_build_map_t *map, uint32_t rule_id,
                                                  const pdb_protocol_map_names_t &names,
                                                  const ruledesc_t &rule, const hstring_t &hstring);

/// Emits the map, and returns the size in bytes of what is emitted.
void pdb_protocol_map_emit(const protocol_build_map_t &map, tlv_sink_t &sink);
size_t pdb_protocol_map_get_size(const protocol_build_map_t &map);

/// Writes the map to `file`, a line per rule with its paths, bottoms and real bottoms as offsets.
void pdb_protocol_map_print(const protocol_build_map_t &map, std::FILE *file);

/// Frees everything.
void pdb_protocol_map_clean(protocol_build_map_t *map);
