#include "lint_resolve.h"

#include <algorithm>

#include "lint_words.h"
#include "matcher_alias_serialize.h"
#include "pdb_rule_priority.h"

namespace
{

/// Splits a key into its direction and its name, as it is stored.
void split_key(lint_attribute_t &attribute)
{
    std::string_view name = attribute.key.raw; // keys are compared as they are written
    const bool at_offset = name.ends_with("stream_offset") && attribute.offset;
    if (at_offset)
        name.remove_suffix(7);
    attribute.written_way = attr_way_split(name);
    attribute.name = name;
}

void resolve_attribute(const lint_config_t &config, std::string_view bottom,
                       lint_sub_rule_t &sub_rule, std::string &matched_bottom,
                       lint_attribute_t &attribute)
{
    split_key(attribute);
    attribute.written = pdb_get_attr_properties(csa_str(bottom), csa_str(attribute.name));
    lint_key_t &key = attribute.matched_key;
    key = {"", attribute.name, lint_stored_way(attribute)};
    const alias_pair_t *pair =
        matcher_alias_has_proto(config.aliases, csa_str(bottom))
            ? matcher_alias_find(config.aliases, csa_str(bottom), csa_str(attribute.name), key.way)
            : nullptr;
    if (pair == nullptr)
        return;
    const alias_elt_t &reference = pair->reference;
    matched_bottom = csa_str_view(reference.proto_name);
    matcher_alias_update_mindata(csa_str(key.attribute), reference.attr_name, key.way,
                                 reference.way, &sub_rule.matched_stc_mindata,
                                 &sub_rule.matched_cts_mindata);
    key.attribute = csa_str_view(reference.attr_name);
    key.way = reference.way;
}

uint32_t number_or(const std::optional<lint_number_t> &number, uint32_t otherwise)
{
    return number ? number->number : otherwise;
}

void resolve_sub_rule(const lint_config_t &config, lint_sub_rule_t &sub_rule)
{
    const std::string_view bottom = lint_bottom(sub_rule);
    std::string matched_bottom(bottom);
    const uint32_t both = number_or(sub_rule.mindata, 0);
    sub_rule.matched_cts_mindata = number_or(sub_rule.cts_mindata, both);
    sub_rule.matched_stc_mindata = number_or(sub_rule.stc_mindata, both);
    for (lint_attribute_t &attribute : sub_rule.attributes)
        resolve_attribute(config, bottom, sub_rule, matched_bottom, attribute);
    for (lint_attribute_t &attribute : sub_rule.attributes) {
        lint_key_t &key = attribute.matched_key;
        key.protocol = matched_bottom;
        attribute.matched = pdb_get_attr_properties(csa_str(key.protocol), csa_str(key.attribute));
    }
}

} // namespace

void lint_resolve(const lint_config_t &config, lint_protocol_t &protocol)
{
    for (lint_rule_t &rule : protocol.rules) {
        uint32_t range = 0;
        uint32_t order = 0;
        if (rule.order && pdb_rule_read_order(rule.order->decoded, &range, &order))
            (void)pdb_rule_get_priority(range, order, &rule.priority); // a finding of its own
        for (lint_sub_rule_t &sub_rule : rule.sub_rules)
            resolve_sub_rule(config, sub_rule);
    }
}

bool lint_tests_way(const lint_attribute_t &attribute, csa_attr_way_t way)
{
    return (attribute.matched_key.way & way) != 0;
}

std::string lint_meant_order(std::string_view text)
{
    constexpr std::string_view digits = "0123456789";
    std::string_view numbers[] = {"50", "0"};
    for (std::string_view &number : numbers) {
        text.remove_prefix(std::min(text.find_first_of(digits), text.size()));
        if (text.empty())
            break;
        number = text.substr(0, text.find_first_not_of(digits));
        text.remove_prefix(number.size());
    }
    return lint_joined({numbers[0], ":", numbers[1]});
}

csa_attr_way_t lint_stored_way(const lint_attribute_t &attribute)
{
    const bool bare = attribute.written_way == ATTR_WAY_BOTH && attribute.written != nullptr;
    return bare ? attribute.written->proper_allowed_way : attribute.written_way;
}
