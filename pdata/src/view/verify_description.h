/// The part of a verification that looks at stored descriptions (see pdb_verify.h).
///
/// Every record of every level, every field, every position and every string is looked at once.
/// The positions of a list must be those of its records, one by one, so that what a reader finds
/// by position is what was looked at here.
#pragma once

#include "pdb_verify.h"
#include "view_fields.h"
#include "view_pool.h"

/// A pool that was checked, and where its entries start; or none.
struct verify_strings_t {
    bool there = false; ///< without it, references to it are left alone: their texts are unknown
    view_pool_starts_t starts;
};

/// Where the references of fields lead.
struct verify_targets_t {
    const verify_strings_t *main;  ///< FORMAT_STRING: tags and aliases
    const verify_strings_t *group; ///< FORMAT_PROTOGROUP_STRING: everything else
};

/// Checks the fields of a record of `kind`: those of fixed place are there, counts fit, strings
/// are entries of their pools, and what is left is padding.
[[nodiscard]] bool verify_fields(format_kind_t kind, const view_area_t &value,
                                 const verify_targets_t &targets, view_error_t &error);

/// Checks the value of a record of protocol descriptions. Every group, pool and protocol with a
/// fault hands one to `sink`.
void verify_descriptions(const view_area_t &area, const verify_strings_t &main,
                         const pdb_fault_sink_t &sink);
