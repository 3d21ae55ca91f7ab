/// How much of the text of a field is what was sent: tshark and logs replace bytes that are no
/// UTF-8, and some of their texts end at a zero byte.
#pragma once

#include "field_transform.h"

/// A text with the place where it stops being what was sent.
struct proved_t {
    std::string_view text;
    bool incomplete;
};

/// Cuts a text where bytes were replaced.
proved_t field_without_replaced(std::string_view text);

/// Cuts a text where bytes were replaced; without a size that says so it is incomplete, too, where
/// it ended at a zero byte of its frame.
proved_t field_prove(const field_text_t &text);

/// Makes a value of bytes.
flow_attr_t field_bytes(std::string_view bytes, bool incomplete);
