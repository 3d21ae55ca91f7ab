#include "lint_model.h"

std::string_view lint_bottom(const lint_sub_rule_t &sub_rule)
{
    return sub_rule.protocols.empty() ? std::string_view()
                                      : std::string_view(sub_rule.protocols.front().decoded);
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

finding_t lint_finding(finding_id_t id, const lint_protocol_t &protocol, const lint_rule_t &rule)
{
    finding_t finding;
    finding.id = id;
    finding.place = rule.place;
    finding.protocol = protocol.name ? protocol.name->raw : std::string_view();
    finding.rule = rule.number;
    return finding;
}

finding_t lint_finding(finding_id_t id, const lint_protocol_t &protocol, const lint_rule_t &rule,
                       const lint_attribute_t &attribute, const lint_text_t &value)
{
    finding_t finding = lint_finding(id, protocol, rule);
    finding.place = value.place;
    finding.attribute = attribute.key.raw;
    finding.value = value.raw;
    return finding;
}
