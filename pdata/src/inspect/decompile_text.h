/// Writing the text of a description, token by token; its layout is made later.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "description_model.h"

/// A text under way. With its limit ends a file that names long texts over and over.
struct bounded_text_t {
    size_t max;             ///< bytes
    std::string bytes = {}; ///< no string is added to `max` and more, which are to be refused
};

/// Tells whether a text is to be refused.
inline bool text_is_full(const bounded_text_t &text)
{
    return text.bytes.size() >= text.max;
}

/// Appends a string. A quote, a backslash and the five control characters with a letter are
/// escaped; every other byte stands for itself, because the language has no escape for it.
void put_string(bounded_text_t &text, std::string_view bytes);

/// Appends a key, behind a comma unless it is the first of its object.
void put_key(bounded_text_t &text, std::string_view key);

/// Appends a key with a number.
void put_number(bounded_text_t &text, std::string_view key, uint32_t number);

/// Appends a key with a string.
void put_member(bounded_text_t &text, std::string_view key, std::string_view bytes);

/// Appends a key with its texts: nothing for none, a string for one, else an array.
void put_list(bounded_text_t &text, std::string_view key, std::span<const std::string_view> texts);
