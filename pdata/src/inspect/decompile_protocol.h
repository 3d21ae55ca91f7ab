/// The text of one protocol, part by part: its keys, each rule, and what no text gives.
#pragma once

#include "decompile.h"
#include "decompile_text.h"
#include "slot_memory.h"

/// A protocol on its way into the text.
struct protocol_writing_t {
    std::span<const model_alias_t> aliases; ///< of the pdb
    const model_protocol_t &protocol;       ///< without its rules
    std::span<const rule_keys_t> keys;      ///< of its rules
    std::optional<uint32_t> vid;
    decompile_lost_t &lost;
    std::vector<std::string> said = {}; ///< the first cases of it, without its name
    size_t nr_lost = 0;
    uint32_t rule = 0; ///< index of the current one
};

/// Appends the members of the protocol but for its rules.
void decompile_keys(protocol_writing_t &writing, bounded_text_t &text);

/// Appends the object of rule `writing.rule`.
void decompile_rule(protocol_writing_t &writing, const model_rule_t &rule, bounded_text_t &text);

/// Appends a member that says what is not in the text, once all rules are: the description of the
/// protocol, which is stored nowhere. Returns false when there is nothing to be said.
[[nodiscard]] bool decompile_said(const protocol_writing_t &writing, bounded_text_t &text);
