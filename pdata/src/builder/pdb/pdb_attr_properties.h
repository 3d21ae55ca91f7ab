/// Attribute properties: the one table of everything that a rule may test.
///
/// An attribute is known by the pair (protocol, attribute name). Its row says which matcher holds
/// its values, which transformer reads them, in which directions it may be tested, and how its
/// matcher is set up. A pair that is not in the table is unknown to the whole compiler.
#pragma once

#include <cstdint>
#include <span>

#include "csa_str.h"
#include "csa_types.h"
#include "matcher_type.h"
#include "pattern_types.h"
#include "transformer.h"

/// One attribute.
struct pdb_attr_properties_t {
    const char *proper_proto; ///< null in the terminating row
    const char *proper_attr;  ///< without a way prefix
    matcher_type_t proper_type;
    transformer_fct proper_ftrans; ///< null: the values are taken as they are
    csa_attr_way_t proper_allowed_way;
    algo_combination_t proper_algo;
    mindata_status_t mindata_status;
    exact_match_dispatch_t em_dispatch;
    uint8_t icase; ///< 0 or ALPHA_CONFIG_ICASE_ENABLE, the flag itself
    uint8_t sort;  ///< 0 or ALPHA_CONFIG_SORT_ENABLE, the flag itself
};

/// The whole table, its terminating row included.
std::span<const pdb_attr_properties_t> pdb_attr_properties_table();

/// Returns the row of a pair, compared by length and bytes, or null for an unknown pair.
const pdb_attr_properties_t *pdb_get_attr_properties(csa_str_t proto, csa_str_t attr);

/// One property each; an unknown pair gives 0, no transformer, and PATTERN_ALGO_CLASSIC.
matcher_type_t pdb_matcher_get_type(csa_str_t proto, csa_str_t attr);
csa_attr_way_t pdb_matcher_get_allowed_way(csa_str_t proto, csa_str_t attr);
transformer_fct pdb_matcher_get_transformer_fct(csa_str_t proto, csa_str_t attr);
algo_combination_t pdb_matcher_get_algo(csa_str_t proto, csa_str_t attr);
mindata_status_t pdb_matcher_get_mindata_status(csa_str_t proto, csa_str_t attr);
exact_match_dispatch_t pdb_matcher_get_em_dispatch(csa_str_t proto, csa_str_t attr);
uint8_t pdb_matcher_get_icase(csa_str_t proto, csa_str_t attr);
uint8_t pdb_matcher_get_sort(csa_str_t proto, csa_str_t attr);
