/// The keys of rules: those that are stored, and those that only show later.
///
/// The compiler keeps sub-rules in slots, which it fills from the first one on for each protocol.
/// A sub-rule without attributes leaves the flags, the scope and the virtual id of its slot as the
/// last one with attributes left them, and a rule is stored with those of its first slot. So what a
/// rule said can show in a rule of a later protocol alone. The slots are gone through in the order
/// of the protocols; what shows of a rule is given back to it.
#pragma once

#include <optional>
#include <span>
#include <string>

#include "description_source.h"

/// What a rule says besides order, path and tags, and what of it no text gives.
struct rule_keys_t {
    uint32_t scope = 0; ///< bits of the words to write: without those that are implied
    bool fastpass = false;
    bool preempt = false;
    bool lost_stored = false; ///< its scope or virtual id
    bool lost_shown = false;  ///< what shows of another rule
};

/// The keys of all rules, in their order.
struct slot_keys_t {
    std::vector<rule_keys_t> rules;
    std::vector<uint32_t> first;               ///< by protocol: its first rule
    std::vector<std::optional<uint32_t>> vids; ///< by protocol; none to write where it is empty
};

/// Returns the keys of the rules of a protocol.
std::span<const rule_keys_t> slot_keys_of(const slot_keys_t &keys, size_t protocol);

/// Works out the keys of all rules. Returns false with `error` for rules that are damaged. Throws
/// std::bad_alloc; linear time, and memory of some 50 bytes a rule.
[[nodiscard]] bool slot_memory_keys(const description_source_t &source, slot_keys_t &keys,
                                    view_error_t &error);
