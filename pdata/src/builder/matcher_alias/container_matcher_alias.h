/// The alias container: a matcher-alias document, still in the shape of its JSON.
#pragma once

#include <array>
#include <cstdint>

#include "format_limits.h"
#include "json.h"

struct matcher_alias_side_t {
    json_string_t *protocol = nullptr;
    json_string_t *attr = nullptr;
    json_string_t *way = nullptr;
};

struct matcher_alias_entry_t {
    matcher_alias_side_t alias;
    matcher_alias_side_t reference;
};

/// The container. The nodes belong to the parsed document.
struct matcher_alias_container_t {
    std::array<matcher_alias_entry_t, FENCE_MATCHER_ALIAS_NUMBER + 1> entries{};
    uint32_t nr_entry = 0; ///< index of the entry being filled
};

/// Returns the entry being filled.
matcher_alias_entry_t &matcher_alias_entry(matcher_alias_container_t *container);

/// The end of an entry: on to the next one. Returns 0, or -1 after a line on standard error for
/// an entry beyond the last.
int matcher_alias_next(matcher_alias_container_t *container);

/// Prints the container on standard output, for debugging.
void matcher_alias_dump(const matcher_alias_container_t &container);
