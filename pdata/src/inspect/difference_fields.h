/// The fields of rules and protocols as texts, and those that differ.
#pragma once

#include "description_model.h"
#include "pdb_difference.h"

/// Returns "range:order".
std::string rule_order_text(const model_rule_t &rule);

/// Returns everything that a rule says besides its values, as one text.
std::string rule_keys_text(const model_rule_t &rule);

/// Return the fields that differ; those of a protocol without its rules.
std::vector<field_difference_t> rule_fields_differing(const model_rule_t &before,
                                                      const model_rule_t &after);
std::vector<field_difference_t> protocol_fields_differing(const model_protocol_t &before,
                                                          const model_protocol_t &after);
