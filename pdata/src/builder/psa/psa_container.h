/// The PSA container: the patterns of one pattern-table file, as they are read from JSON.
#pragma once

#include <array>
#include <cstdint>

#include "csa_str.h"
#include "format_limits.h"

/// One kind of pattern. Names and values point into the JSON text, escapes kept raw.
struct psa_pattern_table_t {
    /// The entries in use, and the name of the one being filled.
    std::array<csa_str_t, PSA_PATTERN_DIM + 1> names{};
    std::array<csa_str_t, PSA_PATTERN_DIM> values{};
    uint32_t nr_pattern = 0;
};

struct psa_container_t {
    psa_pattern_table_t prefixes;
    psa_pattern_table_t suffixes;
    psa_pattern_table_t regular;
};

/// Sets the name of the next entry.
void psa_pattern_name_set(psa_pattern_table_t *table, csa_str_t name);

/// Sets the value of the next entry, which is then complete. Returns 0, or -1 after a line on
/// standard error when the table is full.
[[nodiscard]] int psa_pattern_value_add(psa_pattern_table_t *table, csa_str_t value);
