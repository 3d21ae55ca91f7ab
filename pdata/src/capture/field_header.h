/// Transformations of header lines, as in "Host: www.example.org\r\n". A line is complete where its
/// end is there.
#pragma once

#include "field_transform.h"

/// The line without its end.
std::vector<flow_attr_t> field_line(const field_text_t &text, std::string_view);

/// What stands behind "name:" of a line; nothing for another name.
std::vector<flow_attr_t> field_header(const field_text_t &text, std::string_view name);

/// The host of that.
std::vector<flow_attr_t> field_host_header(const field_text_t &text, std::string_view name);

/// The value of a header among the lines of a frame's payload, which is given in hexadecimal.
std::vector<flow_attr_t> field_payload_header(const field_text_t &text, std::string_view name);
