/// A listing of a pdb file: its parts, its protocols and, of a loadable pdb, its matchers.
///
/// For people: what it prints is no format. It reads through the same views as the compiler, so a
/// damaged file ends with a status, never with a wild read.
#pragma once

#include <cstdint>
#include <span>

#include "pdata_error.h"

/// Prints the listing of the pdb in `pdb` on standard output. Returns the status of the first part
/// that cannot be read; what was read before it has been printed.
[[nodiscard]] pdata_status_t pdb_list_print(std::span<const uint8_t> pdb);
