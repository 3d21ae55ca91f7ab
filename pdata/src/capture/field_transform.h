/// From the text of a field to values of an attribute: the transformations of the table.
#pragma once

#include "flow.h"

/// The text of a field, and what proves that all of it is there.
struct field_text_t {
    std::string_view text;
    std::string_view payload; ///< bytes of the frame that it was in, empty where unknown
    int64_t size;             ///< how long it is by a field of its own, -1 where there is none
};

/// Returns the values that a field's text stands for: of `kind`, `bytes`, `number`, `incomplete`
/// alone. A transformation that finds nothing returns nothing.
///
/// Text in which bytes were replaced (U+FFFD) or that ended at a zero byte is cut there and
/// incomplete.
std::vector<flow_attr_t> field_transform(std::string_view transformation, const field_text_t &text);

/// Returns `host` without a port behind it, and without the brackets of an IPv6 address.
std::string_view host_of(std::string_view host);

/// Replaces "%HH" by bytes; what is none stays.
std::string percent_decoded(std::string_view text);

/// Returns the first part of a distinguished name that `key` names, as in "C=US, O=Example, Inc.,
/// CN=www.example.org" or, with backslashes in front of commas, as RFC 4514 writes it.
std::string name_part(std::string_view name, std::string_view key);
