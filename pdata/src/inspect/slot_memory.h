/// The keys of rules: those that are stored, and those that only show later.
///
/// The compiler keeps sub-rules in slots, which it fills from the first one on for each protocol.
/// A sub-rule without attributes leaves the flags, the scope and the virtual id of its slot as the
/// last one with attributes left them, and a rule is stored with those of its first slot. So what a
/// rule said can show in a rule of a later protocol alone. The slots are gone through in the order
/// of the protocols; what shows of a rule is given back to it.
#pragma once

#include <optional>
#include <string>

#include "description_model.h"

/// What a rule says besides order, path and tags.
struct rule_keys_t {
    bool fastpass = false;
    bool preempt = false;
    uint32_t scope = 0; ///< bits of the words to write: without those that are implied
};

/// The keys of a protocol.
struct protocol_keys_t {
    std::optional<uint32_t> vid; ///< none to write where it is empty
    std::vector<rule_keys_t> rules;
    std::vector<std::string> lost; ///< what no text gives
};

/// Works out the keys of all rules, by protocol. Throws std::bad_alloc; linear time.
std::vector<protocol_keys_t> slot_memory_keys(const description_model_t &model);
