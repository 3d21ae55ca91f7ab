/// The matcher table: every value of every rule, filed under the matcher that will recognise it.
///
/// There is one list of values per protocol name, attribute name and direction. Lists, and the
/// values of a list, are built newest first; the table keeps them in the order in which they came
/// and is walked from its end. An index finds a list at once.
#pragma once

#include <cstdint>
#include <cstdio>
#include <deque>
#include <unordered_map>

#include "csa_str.h"
#include "csa_types.h"
#include "pdata_error.h"
#include "pdb_facts.h"
#include "transformer.h"

/// Which matcher a value belongs to. The names are not owned.
struct matcher_key_t {
    csa_str_t key_proto;
    csa_str_t key_attr;
    uint32_t key_way = ATTR_WAY_UNKNOWN; ///< csa_attr_way_t
};

/// One value. The text is not owned.
struct pdb_matcher_elt {
    item_idx_t matcher_elt_idx{};
    csa_str_t matcher_elt_val;
    uint32_t matcher_elt_pattern_offset = 0;
    /// For a value of both directions, its twin in the other direction; lives in the table.
    const pdb_matcher_elt *matcher_elt_force = nullptr;
    uint32_t matcher_elt_force_id = 0; ///< the item id the twins share, 0 until known
    uint32_t srule_id = 0;             ///< index of the sub-rule
};

/// One future matcher.
struct pdb_matcher_list_t {
    matcher_key_t matcher_list_key;
    transformer_fct matcher_list_info = nullptr; ///< reads the values; null: taken as they are
    uint32_t matcher_list_min_data = 0;          ///< largest minimum data of a value
    uint32_t matcher_list_offset = 0;            ///< largest pattern offset of a value
    std::deque<pdb_matcher_elt> matcher_elts;    ///< oldest first; their addresses stay
};

/// Keys are equal when their directions and the lengths of their names are, and the names agree up
/// to the end or a 0 byte. Oddity O202.
bool pdb_matcher_tab_key_cmp(const matcher_key_t &a, const matcher_key_t &b);

/// Returns a number that equal keys have in common.
size_t pdb_matcher_tab_key_hash(const matcher_key_t &key);

struct pdb_matcher_tab_t {
    using index_t =
        std::unordered_map<matcher_key_t, pdb_matcher_list_t *, decltype(&pdb_matcher_tab_key_hash),
                           decltype(&pdb_matcher_tab_key_cmp)>;

    std::deque<pdb_matcher_list_t> matcher_lists; ///< oldest first; their addresses stay
    index_t index{0, pdb_matcher_tab_key_hash, pdb_matcher_tab_key_cmp};
};

/// A value to file.
struct pdb_matcher_value_t {
    item_idx_t idx;
    csa_str_t val;
    uint32_t min_data;       ///< bytes
    uint32_t srule_id;       ///< index of the sub-rule
    uint32_t pattern_offset; ///< 0 for none
};

/// Empties a table.
void pdb_matcher_tab_init(pdb_matcher_tab_t *matcher_tab);

/// Files a value under its key; for both directions under each, as twins. A direction other than
/// the three files nothing and succeeds. PDATA_ERR_NO_MEMORY when memory runs out.
[[nodiscard]] pdata_status_t pdb_matcher_tab_add(pdb_matcher_tab_t *matcher_tab,
                                                 const matcher_key_t &matcher_key,
                                                 const pdb_matcher_value_t &value);

/// Returns the list of a key, or null.
pdb_matcher_list_t *pdb_matcher_tab_find(const pdb_matcher_tab_t &matcher_tab,
                                         const matcher_key_t &key);

/// Returns the number of values of a list.
uint32_t pdb_matcher_tab_get_nr(const pdb_matcher_list_t &list);

/// Writes the table to `file`, newest first: a line per list, and under it one per value with the
/// protocol and the rule that it belongs to.
void pdb_matcher_tab_print(const pdb_matcher_tab_t &matcher_tab, std::FILE *file);

/// Frees everything.
void pdb_matcher_tab_clean(pdb_matcher_tab_t *matcher_tab);
