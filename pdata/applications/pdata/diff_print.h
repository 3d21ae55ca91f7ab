/// What two pdbs say differently, for people and for programs.
#pragma once

#include "console.h"
#include "pdb_difference.h"

/// Prints a difference; its totals alone where `stat` is set.
void diff_print(console_t &console, const pdb_difference_t &difference, bool stat);

/// Sets the members of a document that a difference has; those of its totals alone where `stat` is
/// set.
void diff_fill(json_document_t &document, const pdb_difference_t &difference, bool stat);
