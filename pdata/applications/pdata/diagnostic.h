/// What is wrong with a file of text, shown where it stands.
#pragma once

#include "console.h"
#include "description_text.h"

/// Appends the line around a byte of a text, cut where it is long, and a caret below the byte, each
/// with a line feed. The cost is that of what is appended.
void diagnostic_excerpt(std::string &out, std::string_view content, size_t offset);

/// Prints "file:line:column: error: text [id]", the line and a caret below the place, on standard
/// error.
void print_text_fault(console_t &console, const std::string &file, std::string_view content,
                      const text_fault_t &fault, std::string_view id);

/// Prints "file:line:1: error: text [id]" on standard error, for lists, whose lines are entries.
void print_line_fault(console_t &console, const std::string &file, size_t line,
                      std::string_view text, std::string_view id);
