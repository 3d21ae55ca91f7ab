/// Aliases undone: what a sub-rule said before they were applied.
///
/// An alias turns an attribute into its reference, takes the reference's protocol for the whole
/// sub-rule, and moves minimum data where a stream changes its direction. What a stored attribute
/// was written as is one of a few: itself, or an alias of the written protocol whose reference it
/// is. Choices are tried, the likely ones first, until applying the aliases gives what is stored.
#pragma once

#include <span>

#include "description_model.h"

/// Most pairs that a pdb may hold; with more, none is undone.
constexpr size_t ALIAS_MAX = 63;

/// Most choices that are tried for a sub-rule.
constexpr uint32_t ALIAS_TRIES_MAX = 64;

/// An attribute as it is to be written.
struct written_attribute_t {
    std::string_view name;
    uint32_t way = 0; ///< csa_attr_way_t

    bool operator==(const written_attribute_t &) const = default;
};

/// Gives the written form of every attribute of a sub-rule. Returns false, and the attributes as
/// they are stored, where no choice gives what is stored.
[[nodiscard]] bool alias_undo(std::span<const model_alias_t> aliases,
                              const model_sub_rule_t &sub_rule,
                              std::vector<written_attribute_t> &written);
