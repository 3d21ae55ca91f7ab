/// The fields of one record of a log, or of one frame: those that were asked for, by number.
#pragma once

#include <unordered_map>

#include "field_names.h"

struct field_hash_t {
    using is_transparent = void;
    size_t operator()(std::string_view text) const { return std::hash<std::string_view>()(text); }
};

/// An object or array of JSON that is open.
struct json_level_t {
    field_member_t member; ///< what it is; the elements of an array are what that is
    bool is_object;
};

/// The names asked for, and what a record has of them. A field may stand several times. Values are
/// parts of the record that was read, or of `made`: they live as long as that does, and no longer
/// than until the next one.
struct field_bag_t {
    std::unordered_map<std::string, uint32_t, field_hash_t, std::equal_to<>> numbers;
    field_names_t names;                               ///< the same, for objects within objects
    std::vector<std::vector<std::string_view>> values; ///< by number
    std::vector<uint32_t> touched;                     ///< numbers that have values
    std::string made;                                  ///< texts that do not stand in the record so
    std::vector<json_level_t> levels;                  ///< of the record that is being read
};

/// Occurrences of a field that are kept.
constexpr size_t FIELD_BAG_OCCURRENCES = 256;

/// Asks for a field, once; returns its number.
uint32_t field_bag_ask(field_bag_t &bag, std::string_view name);

/// Forgets all values, and makes room in `made` for texts of `size` bytes in all.
void field_bag_clear(field_bag_t &bag, size_t size);

/// Adds a value of a field.
void field_bag_put(field_bag_t &bag, uint32_t number, std::string_view value);

/// Lets go of the values of a field beyond the first `count`.
void field_bag_limit(field_bag_t &bag, uint32_t number, size_t count);

/// Returns the values of a field.
inline const std::vector<std::string_view> &field_bag_all(const field_bag_t &bag, uint32_t number)
{
    return bag.values[number];
}

/// Returns the first value of a field, empty for none.
std::string_view field_bag_first(const field_bag_t &bag, uint32_t number);

/// Returns the first value of a field as a number, `other` where there is none.
int64_t field_bag_number(const field_bag_t &bag, uint32_t number, int64_t other);

/// Returns a decimal number, or one behind "0x"; `other` where `text` is none.
int64_t field_number(std::string_view text, int64_t other);

/// Reads a JSON object into the bag. The name of a field is that of its key behind those of the
/// objects around it, with points between; every element of an array is an occurrence. Returns
/// false for a line that is no JSON object.
[[nodiscard]] bool field_bag_read_json(field_bag_t &bag, std::string_view line);
