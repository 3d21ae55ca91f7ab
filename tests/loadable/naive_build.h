/// The build of a loadable pdb told once more, over models and in the simplest way: which value
/// becomes which item of which rule, and what the rows and slots of the rules hold.
///
/// Lists are plain vectors whose front is their newest element. Nothing here is fast.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include "description_reader.h"
#include "loadable_reader.h"

/// A matcher: its name and the items that its values became.
struct naive_matcher {
    std::string protocol;
    std::string attribute;
    uint32_t way = 0;
    uint32_t min_data = 0;
    std::set<uint32_t> items;
};

/// What comes out of a build.
struct naive_build_t {
    std::vector<naive_matcher> matchers; ///< in the order in which they are built
    std::vector<loadable_slot_t> slots;  ///< by item id
    std::vector<rule_model> rules;       ///< by rule id - 1
    std::vector<std::string> names;      ///< by rule id - 1: the protocol of the rule
};

/// Builds `protocols`, every value of which must be one that registers.
naive_build_t naive_build(const std::vector<protocol_model> &protocols);

/// Returns how a loadable pdb differs from what `protocols` should become, empty for not at all.
/// `tags` are the numbers of the tag names.
std::string naive_compare(const loadable_pdb_t &pdb, const std::vector<protocol_model> &protocols,
                          const std::map<std::string, uint32_t> &tags);
