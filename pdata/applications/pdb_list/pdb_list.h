/// A listing of a pdb file: its parts, its protocols and, of a loadable pdb, its matchers.
///
/// For people: what it prints is no format. It reads through checked views alone, so a damaged
/// file ends with an error that names the place, never with a wild read.
#pragma once

#include <cstdint>
#include <span>

#include "view_error.h"

/// Prints the listing of the pdb in `pdb` on standard output. Returns false with `error` at the
/// first part that cannot be read; what was read before it has been printed. Throws
/// std::bad_alloc when memory runs out.
[[nodiscard]] bool pdb_list_print(std::span<const uint8_t> pdb, view_error_t &error);
