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
