/// The tag container: a tag-table document, still in the shape of its JSON.
#pragma once

#include <array>
#include <cstdint>

#include "format_limits.h"
#include "json.h"

/// The container. The nodes belong to the parsed document.
struct tag_table_t {
    /// The tags in use, and the name of the one being filled.
    std::array<json_string_t *, TAG_TABLE_DIM + 1> name{};
    std::array<json_number_t *, TAG_TABLE_DIM> value{};
    uint32_t nr_tag = 0;
};

/// Empties a container.
void tag_table_init(tag_table_t *tag_table);

/// Sets the name of the next tag.
int tag_table_name_set(tag_table_t *tag_table, json_string_t *name);

/// Sets the value of the next tag, which is then complete. Returns 0, or -1 after a line on
/// standard error when the container is full.
int tag_table_value_set(tag_table_t *tag_table, json_number_t *value);

/// Prints the container on standard output, for debugging.
void tag_table_dump(const tag_table_t &tag_table);
