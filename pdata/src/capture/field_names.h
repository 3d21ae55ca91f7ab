/// The names of fields as a tree: a reader of objects within objects that stands in one of them
/// finds by the key of a member alone whether the field is asked for, or something within it.
///
/// A name is that of its key behind those of the objects around it, with points between. As a key
/// may have points itself, "id.orig_h" is a member of a record as well as one of its member "id".
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// What no field and no object is.
constexpr uint32_t FIELD_UNASKED = UINT32_MAX;
/// The record itself, as an object.
constexpr uint32_t FIELD_TOP = 0;

/// What a member is.
struct field_member_t {
    uint32_t number = FIELD_UNASKED; ///< of the field asked for
    uint32_t object = FIELD_UNASKED; ///< with members that are asked for
};

/// A member of an object.
struct field_key_t {
    std::string key;
    uint32_t object = FIELD_TOP;
    field_member_t member;
};

struct field_names_t {
    std::vector<std::string> objects = {""}; ///< names, with the point behind them
    std::vector<field_key_t> keys;
    std::vector<uint32_t> places; ///< hash table of indexes of `keys`, from 1; 0 for a free one
};

/// Adds the name of a field. std::bad_alloc passes.
void field_names_add(field_names_t &names, std::string_view name, uint32_t number);

/// Returns what member `key` of an object is.
[[nodiscard]] field_member_t field_names_find(const field_names_t &names, uint32_t object,
                                              std::string_view key);
