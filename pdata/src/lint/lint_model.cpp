#include "lint_model.h"

#include <algorithm>

std::string_view lint_protocol_name(const lint_protocol_t &protocol)
{
    return protocol.name ? protocol.name->raw.substr(0, LINT_NAME_MAX) : std::string_view();
}

std::string_view lint_bottom(const lint_sub_rule_t &sub_rule)
{
    return sub_rule.protocols.empty() ? std::string_view()
                                      : std::string_view(sub_rule.protocols.front().decoded);
}

bool lint_is_read(const lint_rule_t &rule)
{
    return !rule.sub_rules.empty() && !rule.sub_rules.front().attributes.empty();
}

bool lint_any_attributes(const lint_rule_t &rule)
{
    return std::ranges::any_of(rule.sub_rules, [](const lint_sub_rule_t &sub_rule) {
        return !sub_rule.attributes.empty();
    });
}

size_t lint_stored_rules(const lint_rule_t &rule)
{
    for (const lint_sub_rule_t &sub_rule : rule.sub_rules)
        if (sub_rule.protocols.size() > 1)
            return sub_rule.protocols.size();
    return 1;
}

bool lint_at_offset(const lint_attribute_t &attribute)
{
    return attribute.offset && attribute.offset->number != 0;
}

uint32_t lint_mindata(const lint_rule_t &rule, csa_attr_way_t way)
{
    for (const lint_sub_rule_t &sub_rule : rule.sub_rules) {
        const uint32_t bytes =
            way == ATTR_WAY_CTS ? sub_rule.matched_cts_mindata : sub_rule.matched_stc_mindata;
        if (bytes != 0)
            return bytes;
    }
    return 0;
}
