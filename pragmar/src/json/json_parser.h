/// JSON parser: from a text to a tree of nodes that point back into it.
///
/// The grammar is parsed by descent, one token of lookahead and no backtracking, with a stack of
/// open objects and arrays of its own in place of recursion: a text of a million brackets costs
/// memory, never the stack of the process. Every error stops the parse at once and is reported
/// through json_error.h.
#pragma once

#include "json.h"

/// Gives `json` the text of `len` bytes at `str`, which must outlive the tree, and an empty root.
/// The tree that it had is gone, and its memory serves the next one. Returns 0, or -1 when memory
/// runs out.
[[nodiscard]] int pragmar_create(json_t *json, const char *str, uint32_t len);

/// Frees the tree and the root; the text is not touched.
void pragmar_destroy(json_t *json);

/// Parses one whole document. One more character of any kind is tolerated behind it; more is an
/// error. Oddity O58.
///
/// Returns 0 or the code of the reporter that spoke (json_error.h). The nodes built before a
/// failure stay with the tree.
[[nodiscard]] int json_parse(json_t *json);

/// Parses one value from the start of the text and gives in `*consumed` the offset behind it and
/// behind the whitespace that follows it. What comes after is left to the caller. Returns as
/// json_parse does.
[[nodiscard]] int json_parse_sub(json_t *json, uint32_t *consumed);

/// The common body of both: with `end_check` the document must end the text, without it the
/// offset behind it goes to `*consumed`, which may then not be null.
[[nodiscard]] int json_parse_ex(json_t *json, bool end_check, uint32_t *consumed);

/// Returns the value of the digits from `start` to `end` (exclusive), modulo 2^32. Oddity O57.
uint32_t json_antoi(const char *start, const char *end);
