/// From descriptions to the bytes of a pdb in one step, in memory: what runs of the compiler write,
/// one after the other, when their outputs are the inputs of the next.
///
///     one description                 --pdd A
///     one, loadable                   --pdd A --loadable
///     several, always loadable        --pdd A, --pdd B, ..., then --merge A;B, --merge AB;C, ...,
///                                     the last of them --loadable
///
/// Everything is made in this process; the recorded status is cleared before each description, as
/// a run of its own begins.
#pragma once

#include <array>

#include "pdata_parts.h"
#include "pdata_serialize.h"

/// A pdb that was built.
struct pdata_built_t {
    pdb_list_t pdb;        ///< its parts, where it is not loadable
    pdb_t loadable;        ///< all of it, where it is
    size_t nr_input = 0;   ///< descriptions that were compiled, or merged, without a failure
    const char *step = ""; ///< what failed: "compile", "merge", "make loadable"
};

/// Builds a pdb of descriptions, at least one. Several become a loadable one whatever `loadable`
/// says. Returns the status of the step that failed, with its message recorded; `nr_input` is then
/// the index of the description at fault where the step is "compile" or "merge".
[[nodiscard]] pdata_status_t pdata_build(std::span<const pdd_t> descriptions,
                                         const pdata_cfg_t &cfg, bool loadable,
                                         pdata_built_t &built);

/// Makes the loadable pdb of one that was built without. A loadable one stays as it is.
[[nodiscard]] pdata_status_t pdata_build_loadable(pdata_built_t &built);

/// Returns the bytes of the pdb, which live as long as it, one part behind the other.
std::vector<std::span<const uint8_t>> pdata_build_bytes(const pdata_built_t &built, bool loadable);

/// A generated source.
struct pdata_source_t {
    const char *name;
    std::string text;
};

/// Generates the five sources of a configuration.
[[nodiscard]] pdata_status_t pdata_build_sources(const pdata_cfg_t &cfg,
                                                 std::array<pdata_source_t, 5> &sources);
