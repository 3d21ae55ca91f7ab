/// Tag tables: the numbers of the names that rules carry as tags.
///
/// A table is read from its document and stored as the value of root record 9: per tag, in
/// document order, the offset of its name in the main string table and its number, two words.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string_view>
#include <vector>

#include "container_tag_table.h"
#include "csa_str.h"
#include "hstring.h"
#include "pdata_error.h"

/// One tag. The name is not owned.
struct tag_slot_t {
    csa_str_t name;
    uint32_t id = 0;
};

/// A table under construction.
struct tag_table_build {
    hstring_build_t *hstring = nullptr; ///< receives the names; not owned
    std::vector<tag_slot_t> slots;      ///< as many as the capacity
    uint32_t nr_tag_ids = 0;            ///< slots in use
};

/// Reads the document `pdm`, checked by the rules `sem` unless `ignore_sem` is set or there are
/// none, into a table whose names go to `hstring`. Both texts may be released afterwards.
///
/// Returns nothing when the document does not parse, breaks its rules or cannot be read, with the
/// front end's report as the status message; a document that cannot be read prints it as well. A
/// number that repeats ends the reading: the tags in front of it stay, and nothing is reported.
/// Oddity O107.
std::optional<tag_table_build> json_to_tag_table(std::string_view pdm, std::string_view sem,
                                                 hstring_build_t *hstring, bool ignore_sem);

/// Makes an empty table with room for `capacity` tags.
tag_table_build tag_table_create(uint32_t capacity, hstring_build_t *hstring);

/// Empties a table.
void tag_table_destroy(tag_table_build *build);

/// Adds a tag. Returns PDATA_ERR_NO_MEMORY for a full table, PDATA_ERR_PROTODESC_TAG when another
/// tag has that number; both without a message. A name may repeat.
[[nodiscard]] pdata_status_t tag_table_add(tag_table_build *build, csa_str_t name, uint32_t id);

/// Returns the tag of that number, or null.
const tag_slot_t *tag_table_lookup_id(const tag_table_build &build, uint32_t id);

/// Adds the tags of a container up to the first that is refused, whose status is returned.
[[nodiscard]] pdata_status_t container_to_tag_table(const tag_table_t &tag_table,
                                                    tag_table_build *build);

/// Returns the size in bytes of the stored table.
uint32_t tag_table_get_tlv_size(const tag_table_build &build);

/// Writes the table into `buf` and gives the bytes written. A tag whose name is empty is left out.
/// Fails with PDATA_ERR_NO_MEMORY when the string table cannot grow.
[[nodiscard]] pdata_status_t tag_table_serialize(const tag_table_build &build,
                                                 std::span<uint8_t> buf, uint32_t *written);
