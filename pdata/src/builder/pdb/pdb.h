/// The pdb model: what the compilation of a pdb into a loadable pdb carries from start to end.
///
/// The filing pass fills the matcher table and notes the facts of every rule; the matcher pass
/// builds each matcher from the table, gives every value its item and gathers the items in the rule
/// table; the rule pass turns that table into engine entries and maps. The serialized sections stay
/// until pdb_builder_clean.
#pragma once

#include <cstdint>
#include <cstdio>
#include <span>
#include <vector>

#include "csa_buf.h"
#include "format_types.h"
#include "hstring.h"
#include "matcher_budget.h"
#include "pdata_error.h"
#include "pdb_facts.h"
#include "pdb_header.h"
#include "pdb_matcher_tab.h"
#include "pdb_protocol_map.h"
#include "pdb_rule_tab.h"
#include "pdb_ruletag_map.h"
#include "protodesc_deserializer.h"
#include "rule_builder.h"

/// The limits of a compile, as the caller gives them.
struct pdb_params_t {
    uint32_t matcher_interface_max_perm;
    uint32_t matcher_interface_max_regexp;
    uint32_t rule_max_attr;
    uint32_t rule_max_subrules;
    uint32_t rule_max_path;
};

/// The same limits as they are used.
struct pdb_config_t {
    uint32_t pdb_max_perm = 0;      ///< permutations that a stream value may expand into
    uint32_t pdb_max_regexp = 0;    ///< private ids of a stream matcher
    uint32_t rule_max_attr = 0;     ///< items of a rule
    uint32_t rule_max_subrules = 0; ///< bottom cells of a rule in the protocol map
    uint32_t rule_max_path = 0;     ///< path cells of a rule in the protocol map
};

/// One serialized matcher.
struct pdb_build_matcher {
    csa_buf_t matcher_tlv_entry; ///< its record
};

/// The matchers section: two header words, one buffer per matcher, the string table.
struct pdb_build_matchers_t {
    uint32_t root_tlv = 0;                   ///< header word of the section
    uint32_t root_len = 0;                   ///< its length in words
    uint32_t pdb_tlv = 0;                    ///< header word of the list of matchers
    uint32_t pdb_len = 0;                    ///< its length in words
    std::vector<pdb_build_matcher> tlv_list; ///< in the order in which the matchers were built
    csa_buf_t hstring_tlv;
};

/// The sections of the loadable pdb.
struct pdb_build_tlv_t {
    csa_buf_t protodesc_tlv; ///< the version section
    pdb_build_matchers_t matchers;
    csa_buf_t rules_tlv;
};

/// One build.
struct pdb_build_t {
    const pdb_config_t *pdb_build_config = nullptr; ///< not owned
    pdb_facts_t pdb_build_facts;                    ///< of the protocol group
    pdb_matcher_tab_t pdb_build_matcher_tab;
    pdb_rule_tab_t pdb_build_rule_tab;
    uint32_t pdb_build_nr_matcher = 0; ///< values filed
    uint32_t pdb_build_nr_rule = 0;    ///< rules that received an item
    uint32_t pdb_build_item_id = 0;    ///< next free public item id
    matcher_budget_t pdb_build_budget; ///< bytes of the names under which values are filed
    hstring_build_t pdb_build_matcher_hstring;
    rule_builder_t pdb_build_rule_builder;
    protocol_build_map_t pdb_build_proto_map;
    ruletag_map_build_t pdb_build_ruletag_map;
    std::FILE *pdb_build_pattern_fd = nullptr; ///< log of the values, or null; not owned
    std::FILE *pdb_build_rule_fd = nullptr;    ///< log of the rules, or null; not owned
    pdb_build_tlv_t pdb_build_tlv;
};

/// A protocol group being compiled.
struct pdb_pg {
    std::span<const uint8_t> pg_proto_list; ///< value of its list of protocols
    std::vector<uint32_t> pg_proto_offset;  ///< word offset of each protocol's header
    hstring_t pg_hstring;
};

/// What the rule pass reads from the input pdb.
struct pdb_protodesc {
    pdb_tag_source_t tags; ///< main string table and tag table
    pdb_pg pg;
};

/// What the compile step holds. A context is used where it stands: the build refers to `config`.
struct pdb_context_t {
    pdb_build_t pdb_build;
    pdb_config_t config;
    std::span<const pdb_t> pdb;         ///< the input pdb; not owned
    std::span<const uint8_t> proto_pdb; ///< bytes of its protocol descriptions; not owned
};

/// Makes `pdb_build` an empty build whose first item id is 1. PDATA_ERR_NO_MEMORY when memory
/// runs out.
[[nodiscard]] pdata_status_t pdb_init(pdb_build_t *pdb_build, const pdb_config_t *pdb_config);

/// Frees the tables of a build, not its sections.
void pdb_clean(pdb_build_t *pdb_build);

/// Files a value of a rule and counts it. PDATA_ERR_NO_MEMORY when memory runs out.
[[nodiscard]] pdata_status_t pdb_matcher_register(pdb_build_t *pdb_build,
                                                  const matcher_key_t &matcher_key,
                                                  const pdb_matcher_value_t &value);

/// Returns the number of values filed.
uint32_t pdb_matcher_get_nr(const pdb_build_t &pdb_build);
