/// Writing the text of a description, token by token; its layout is made later.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "description_model.h"

/// Most bytes of a text that is written; with it ends a file that names long texts over and over.
constexpr size_t DECOMPILE_TEXT_MAX = size_t{512} << 20;

/// Appends a string. A quote, a backslash and the five control characters with a letter are
/// escaped; every other byte stands for itself, because the language has no escape for it. A text
/// of DECOMPILE_TEXT_MAX bytes takes no more: it is refused as a whole.
void put_string(std::string &text, std::string_view bytes);

/// Appends a key, behind a comma unless it is the first of its object.
void put_key(std::string &text, std::string_view key);

/// Appends a key with a number.
void put_number(std::string &text, std::string_view key, uint32_t number);

/// Appends a key with a string.
void put_member(std::string &text, std::string_view key, std::string_view bytes);

/// Appends a key with its texts: nothing for none, a string for one, else an array.
void put_list(std::string &text, std::string_view key, std::span<const std::string_view> texts);
