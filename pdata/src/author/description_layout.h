/// The canonical layout of a description.
///
/// Two blanks a level. A protocol, its "rules", each rule and its "rule" are blocks of lines;
/// everything below is one line where it fits into 100 columns with what stands in front of and
/// behind it, else a block with a line a member. The keys of a rule that stand in front of its
/// "rule" share lines. Tokens keep their bytes, their order and their number; a line feed ends the
/// text, so that three bytes follow the array.
#pragma once

#include <string>

#include "description_text.h"

/// Most columns of a line that could be shorter.
constexpr size_t LAYOUT_COLUMNS = 100;

/// Returns the text of a description in its canonical layout. What was laid out once stays as it
/// is.
std::string description_layout(const description_text_t &description);
