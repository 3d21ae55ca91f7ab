/// Ranges of a pdb in the forms that "pdata dump" prints.
#pragma once

#include "console.h"
#include "dump.h"

/// Prints a range for people: offset, bytes, name, value and meaning; 16 bytes a line. Lines that
/// repeat the one before them are shown as "*", but for the last of a range.
void dump_print_text(console_t &console, const dump_range_t &range);

/// Returns a range as it stands in JSON. Throws std::bad_alloc when memory runs out.
json_document_t dump_document(const dump_range_t &range);
