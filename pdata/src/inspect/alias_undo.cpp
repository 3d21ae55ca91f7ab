#include "alias_undo.h"

#include <algorithm>

#include "csa_types.h"
#include "format_limits.h"

namespace
{

/// The choices of one attribute, and the one that is being tried.
struct choice_t {
    std::vector<written_attribute_t> options;
    size_t at = 0;
};

const model_alias_t *alias_of(std::span<const model_alias_t> aliases, std::string_view protocol,
                              const written_attribute_t &attribute)
{
    for (const model_alias_t &pair : aliases)
        if (pair.alias.protocol == protocol && pair.alias.attribute == attribute.name &&
            pair.alias.way == attribute.way)
            return &pair;
    return nullptr;
}

/// Lists what `stored` can have been. A sub-rule of another protocol than the written one was
/// aliased, so that its attributes most likely were.
choice_t choices_of(std::span<const model_alias_t> aliases, const model_sub_rule_t &sub_rule,
                    const written_attribute_t &stored)
{
    choice_t choice;
    for (const model_alias_t &pair : aliases) {
        const written_attribute_t option = {pair.alias.attribute, pair.alias.way};
        if (pair.reference.attribute == stored.name && pair.reference.way == stored.way &&
            alias_of(aliases, sub_rule.bottom, option) == &pair)
            choice.options.push_back(option);
    }
    if (alias_of(aliases, sub_rule.bottom, stored) == nullptr)
        choice.options.insert(sub_rule.protocol == sub_rule.bottom ? choice.options.begin()
                                                                   : choice.options.end(),
                              stored);
    return choice;
}

bool carries_mindata(std::string_view attribute)
{
    return attribute == "stream" || attribute == "content";
}

/// Moves minimum data as an alias does.
void move_mindata(const model_alias_t &pair, uint32_t &cts, uint32_t &stc)
{
    if (!carries_mindata(pair.alias.attribute) || !carries_mindata(pair.reference.attribute))
        return;
    const uint32_t larger = std::max(cts, stc);
    if (pair.alias.way == ATTR_WAY_CTS && pair.reference.way == ATTR_WAY_STC) {
        stc = larger;
        cts = 0;
    } else if (pair.alias.way == ATTR_WAY_STC && pair.reference.way == ATTR_WAY_CTS) {
        cts = larger;
        stc = 0;
    }
}

/// Tells whether applying the aliases to a choice gives what is stored.
bool gives_stored(std::span<const model_alias_t> aliases, const model_sub_rule_t &sub_rule,
                  const std::vector<written_attribute_t> &written)
{
    std::string_view protocol = sub_rule.bottom;
    uint32_t cts = sub_rule.cts_mindata;
    uint32_t stc = sub_rule.stc_mindata;
    for (size_t i = 0; i < written.size(); ++i) {
        if (std::find(written.begin(), written.begin() + static_cast<std::ptrdiff_t>(i),
                      written[i]) != written.begin() + static_cast<std::ptrdiff_t>(i))
            return false; // two of one name and direction would become one
        if (const model_alias_t *pair = alias_of(aliases, sub_rule.bottom, written[i])) {
            protocol = pair->reference.protocol;
            move_mindata(*pair, cts, stc);
        }
    }
    return protocol == sub_rule.protocol && cts == sub_rule.cts_mindata &&
           stc == sub_rule.stc_mindata;
}

/// Goes on to the next choice. Returns false behind the last.
bool next_choice(std::vector<choice_t> &choices)
{
    for (choice_t &choice : choices) {
        if (++choice.at < choice.options.size())
            return true;
        choice.at = 0;
    }
    return false;
}

bool try_choices(std::span<const model_alias_t> aliases, const model_sub_rule_t &sub_rule,
                 std::vector<choice_t> &choices, std::vector<written_attribute_t> &written)
{
    for (uint32_t tries = 0; tries < ALIAS_TRIES_MAX; ++tries) {
        for (size_t i = 0; i < choices.size(); ++i)
            written[i] = choices[i].options[choices[i].at];
        if (gives_stored(aliases, sub_rule, written))
            return true;
        if (!next_choice(choices))
            return false;
    }
    return false;
}

} // namespace

bool alias_undo(std::span<const model_alias_t> aliases, const model_sub_rule_t &sub_rule,
                std::vector<written_attribute_t> &written)
{
    written.clear();
    for (const model_attribute_t &attribute : sub_rule.attributes)
        written.push_back({attribute.name, attribute.way});
    if (aliases.size() > ALIAS_MAX || written.size() > PROTOCOL_ATTR_DIM)
        return false;
    const std::vector<written_attribute_t> stored = written;
    std::vector<choice_t> choices;
    bool open = true;
    for (const written_attribute_t &attribute : stored) {
        choices.push_back(choices_of(aliases, sub_rule, attribute));
        open = open && !choices.back().options.empty();
    }
    if (open && try_choices(aliases, sub_rule, choices, written))
        return true;
    written = stored;
    return false;
}
