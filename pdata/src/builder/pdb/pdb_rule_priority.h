/// The priority word of a rule: the range in bits 31 to 24, the order in bits 23 to 0.
#pragma once

#include <cstdint>
#include <string_view>

#include "format_limits.h"
#include "pdata_error.h"

/// Packs a range and an order into `*rule_prio`. Returns PDATA_SUCCESS, or
/// PDATA_ERR_INVALID_ARGUMENT with a message for one that is out of bounds.
[[nodiscard]] pdata_status_t pdb_rule_get_priority(uint32_t rule_range, uint32_t rule_order,
                                                   uint32_t *rule_prio);

/// Reads "range:order" as a description has it: the digits that each part begins with. Larger
/// numbers stay at the largest one (oddity O90). Returns false without a colon.
bool pdb_rule_read_order(std::string_view order, uint32_t *rule_range, uint32_t *rule_order);

/// Returns the range, and the order, of a priority word.
uint32_t pdb_rule_get_range(uint32_t prio);
uint32_t pdb_rule_get_order(uint32_t prio);
