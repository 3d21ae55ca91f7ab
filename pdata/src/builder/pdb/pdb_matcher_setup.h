/// The set-up of matchers from the attribute properties, and what is known of each value.
#pragma once

#include "matcher_builder.h"
#include "pdb.h"

/// Sets up the matcher of a list, notes the transformer of its values in the list, and gives the
/// matcher type. An attribute that nobody knows is PDATA_ERR_INVALID_ARGUMENT with a message.
[[nodiscard]] pdata_status_t pdb_matcher_build_init(pdb_build_t &pdb_build, matcher_build *matcher,
                                                    matcher_type_t *matcher_type,
                                                    pdb_matcher_list_t *matcher_list);

/// Fills a set-up in. A type that the pdb builder does not build, also a number of 32 or 64 bits
/// (oddity O137), is PDATA_ERR_INVALID_ARGUMENT with a message.
[[nodiscard]] pdata_status_t pdb_matcher_set_desc(const pdb_build_t &pdb_build,
                                                  const pdb_matcher_list_t &matcher_list,
                                                  matcher_type_t matcher_type,
                                                  matcher_desc_t *desc);

/// Fills in the minimum data, the priority and the preempt mark of a value, from the rule that it
/// belongs to. `way` is the direction of its matcher. Returns the failure of a description that the
/// filing did not note and that cannot be read.
///
/// A minimum that is missing where it is mandatory, and a preempt rule of the wrong shape, only
/// record PDATA_ERR_RULE_ENGINE and a message: the build goes on. Oddity O54.
[[nodiscard]] pdata_status_t pdb_matcher_get_pattern_info(const pdb_facts_t &facts,
                                                          const pdb_matcher_elt &elt, uint32_t way,
                                                          mindata_status_t mindata_status,
                                                          pattern_info *info);
