/// Untrusted text, made safe to show.
///
/// Names and values come from files of strangers: what is printed for people must not move the
/// cursor, colour the screen, end a line or reverse the reading direction.
#pragma once

#include <string>
#include <string_view>

/// Returns the number of bytes of the UTF-8 character at the front of `text`, 0 when none is there:
/// `text` is empty, or begins with a malformed, overlong or surrogate sequence or one beyond
/// U+10FFFF.
size_t utf8_length(std::string_view text);

/// Tells whether the whole of `text` is UTF-8.
bool utf8_valid(std::string_view text);

/// Returns `text` for a terminal: printable characters as they are, a backslash doubled, everything
/// else (control characters, line ends, marks that change the reading direction, bytes that are no
/// UTF-8) byte by byte as \xHH.
std::string escape_terminal(std::string_view text);

/// The same, but a backslash stays as it is: for lines of a file, and texts that quote them, where
/// backslashes are common and people copy what they see.
std::string escape_line(std::string_view text);

/// The same two, appended to `out`.
void escape_terminal_to(std::string &out, std::string_view text);
void escape_line_to(std::string &out, std::string_view text);

/// Returns a JSON text that says the same, in which no terminal sees what escape_terminal spells:
/// characters from U+007F on as \uHHHH. (Those below are never bare in a JSON string.)
std::string escape_json(std::string text);

/// Returns the bytes of `text` as lower-case hexadecimal digits.
std::string escape_hex(std::string_view text);
