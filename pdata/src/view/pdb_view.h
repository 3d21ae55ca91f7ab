/// A pdb, loadable or not, open for reading where it lies.
///
/// pdb_view_open finds the root records and the structure of what a compile added: version,
/// matchers, rules. It looks at headers and at the fixed fields of these sections, not into them:
/// a pdb from outside is to be verified first (pdb_verify.h). Of two root records of one type the
/// first counts, as everywhere.
///
/// Everything points into the bytes of the file, which must outlive the view. There is no state
/// besides: any number of views may be used from any number of threads.
#pragma once

#include <span>
#include <string_view>

#include "format_types.h"
#include "view_matcher.h"
#include "view_rules.h"

/// Root types are below this.
constexpr uint32_t PDB_VIEW_ROOT_DIM = 13;

/// The version record.
struct view_version_t {
    uint32_t major = 0;
    uint32_t minor = 0;
    std::string_view text;
};

/// A view of a pdb.
struct pdb_view_t {
    view_area_t file;
    view_record_t roots[PDB_VIEW_ROOT_DIM];       ///< by root type; no data where there is none
    uint32_t load_state = TLV_TYPE_LOAD_LOADABLE; ///< that of a pdb which does not say
    bool compiled = false;                        ///< there are a version, matchers and rules
    bool empty = false;       ///< compiled from a pdb without descriptions: there is the marker
    view_version_t version;   ///< of a compiled pdb
    view_matchers_t matchers; ///< the same
    view_rules_t rules;       ///< the same
};

/// Opens the bytes of a file. Returns false with `error` for one whose records do not fit into
/// each other, of an unknown type, or that has some of the compiled sections without the others.
[[nodiscard]] bool pdb_view_open(std::span<const uint8_t> file, pdb_view_t &view,
                                 view_error_t &error);

/// Tells whether a pdb has a root record of `type`, below PDB_VIEW_ROOT_DIM.
inline bool pdb_view_has(const pdb_view_t &view, uint32_t type)
{
    return view.roots[type].value.data != nullptr;
}

/// Returns the value of the root record of `type`; empty where there is none.
inline const view_area_t &pdb_view_root(const pdb_view_t &view, uint32_t type)
{
    return view.roots[type].value;
}

/// Returns the main strings: names of tags and aliases, tags of rules.
inline view_pool_t pdb_view_main_strings(const pdb_view_t &view)
{
    return {pdb_view_root(view, TLV_TYPE_ROOT_STRING)};
}
