/// How the reporters write into the error text; not for callers of the front end.
#pragma once

#include <cstdint>

/// Appends a formatted piece to the error text, cut where the text is full.
[[gnu::format(printf, 1, 2)]] void json_err_concat(const char *format, ...);

/// Returns a length as a precision of "%.*s"; no piece is longer than the error text.
int json_err_printed_len(uint32_t len);

/// Appends the line that names the protocol being checked, if one is known.
void json_err_protocol_name_dump();
