/// Large descriptions for measurements: as many protocols and rules as asked for, every attribute
/// of the property table, the shape of real signatures, the same text for the same numbers.
///
/// Real descriptions were turned down: there is none of that size, and a measurement of growth
/// needs the same mixture at several sizes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "pdb_attr_properties.h"

struct description_shape_t {
    uint32_t protocols = 3700;
    uint32_t rules = 20000;      ///< in all, spread evenly
    uint32_t first_protocol = 0; ///< number of the first protocol; ids lie in the user namespace
    uint32_t seed = 1;
};

/// One value of a description.
struct generated_value_t {
    const pdb_attr_properties_t *attribute;
    std::string text; ///< as the compiler reads it, JSON escapes taken away
    bool at_offset;   ///< bytes at an offset; else a regular expression, a number or an address
};

/// Returns the text of a description; its values are appended to `values` unless that is null.
/// Every value compiles into a loadable pdb with the shipped configuration.
std::string generate_description(const description_shape_t &shape,
                                 std::vector<generated_value_t> *values = nullptr);

/// Returns the text of a description of one protocol whose rules differ in the value of one
/// attribute only. The values begin with that of number `first_value`.
std::string generate_large_protocol(uint32_t rules, uint32_t first_value);

/// Returns a host name of about 12 bytes, the same for the same number.
std::string generate_host(uint32_t number);
