/// The protocols and rules of stored descriptions, one after another, by name.
///
/// For who lists them; the values of the rules are in view_values.h. Names point into the file.
#pragma once

#include <string_view>
#include <vector>

#include "view_description.h"
#include "view_pool.h"

/// A protocol.
struct view_catalog_protocol_t {
    std::string_view name;
    view_protocol_t fields;
};

/// A rule of the protocol before it.
struct view_catalog_rule_t {
    std::string_view protocol;
    uint32_t number = 0; ///< from 1
    view_rule_t fields;
    std::vector<std::string_view> path;
    uint32_t values = 0; ///< of all its sub-rules
};

/// Who takes them: a protocol, then its rules. They live as long as the call.
struct view_catalog_sink_t {
    void (*put_protocol)(void *context, const view_catalog_protocol_t &protocol);
    void (*put_rule)(void *context, const view_catalog_rule_t &rule);
    void *context;
};

/// Hands out what the value of a root record of descriptions holds. Returns false with `error` at
/// the first part that cannot be read; what stood in front of it was handed out. Throws
/// std::bad_alloc when memory runs out.
[[nodiscard]] bool view_catalog_walk(const view_area_t &root, const view_catalog_sink_t &sink,
                                     view_error_t &error);
