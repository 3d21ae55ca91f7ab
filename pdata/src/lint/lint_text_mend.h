/// What stands between tokens and is no blank to the compiler: found, and read over.
#pragma once

#include <memory>
#include <string>

#include "finding.h"

/// Finds a byte order mark, carriage returns and comments outside of strings, one finding for each
/// kind with the edits that take them all away.
///
/// Returns `text`, or where there are any a copy with blanks in their places, which `mended` owns.
std::string_view lint_mend_text(std::string_view text, uint32_t file,
                                std::unique_ptr<std::string> &mended,
                                std::vector<finding_t> &findings);
