/// A pdb back into a description.
///
/// The text compiles, with the configuration that the pdb was made with, to the same record of
/// protocol descriptions, byte for byte: the strings of a group enter its pool in the order of the
/// records, so that the order of protocols, rules, attributes and values is all that has to be
/// kept. What the format does not keep is in no text: descriptions of protocols, the split of rules
/// for several protocols, keys that say the default, comments.
///
///     decompiled_t out;
///     if (!decompile_pdb(pdb, out, error))
///         ... error ...
#pragma once

#include <string>
#include <vector>

#include "pdb_view.h"

/// What a pdb becomes.
struct decompiled_t {
    std::string text;              ///< in the canonical layout
    std::string aliases;           ///< the document of its aliases; empty where there are none
    std::string tags;              ///< the same for its tag table
    std::vector<std::string> lost; ///< why the text may compile to something else, untrusted text
};

/// Decompiles an open pdb, loadable or not. Returns false with `error` for descriptions that are
/// absent or damaged, whose text would exceed 512 MiB, or when memory runs out. Linear time.
[[nodiscard]] bool decompile_pdb(const pdb_view_t &pdb, decompiled_t &out, view_error_t &error);
