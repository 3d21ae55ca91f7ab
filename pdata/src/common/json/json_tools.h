/// JSON values as the builders want them: unescaped texts, numbers and truth values.
///
/// Every text made here is owned by one process-wide list and freed with it at the end of the
/// step that built it; nobody frees one of them singly.
#pragma once

#include <cstddef>

#include "csa_escape.h"
#include "csa_str.h"
#include "csa_types.h"
#include "json.h"

/// Returns `size` bytes that live until string_list_clean, or null when memory runs out.
char *alloc_from_string_list(size_t size);

/// Frees every text of the list.
void string_list_clean();

/// Returns an unescaped, terminated copy of the `*len` bytes at `str` and replaces `*len` with
/// the length of the copy; null when memory runs out. Oddity O61.
char *string_assign(const char *str, size_t *len);

/// Fills `str` with an unescaped copy of the `len` bytes at `s`. The length is kept modulo 65536.
/// Oddity O62. A null source, or no memory (oddity O197), gives the absent text.
void set_string_from_charstar(csa_str_t *str, const char *s, size_t len);

/// The same for a string node, which may be null.
void set_string_from_json(csa_str_t *str, const json_string_t *json_string);

/// The same for users that keep the parsed text: a string without escapes is not copied, and `str`
/// points into the text.
void set_string_in_json(csa_str_t *str, const json_string_t *json_string);

/// Returns a node's number, 0 for a null node.
uint32_t get_number_from_json(const json_number_t *json_number);

/// Returns 1 for a true node, 0 for false, null, or a null node.
csa_bool_t get_boolean_from_json(const json_atom_t *json_atom);
