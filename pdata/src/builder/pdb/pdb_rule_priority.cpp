#include "pdb_rule_priority.h"

#include "csa_char.h"
#include "format_values.h"

namespace
{

uint32_t read_digits(std::string_view text)
{
    uint64_t value = 0;
    for (const char c : text) {
        if (!char_is_digit(c))
            break;
        value = value * 10 + static_cast<uint64_t>(c - '0');
        if (value > UINT32_MAX)
            return UINT32_MAX;
    }
    return static_cast<uint32_t>(value);
}

} // namespace

bool pdb_rule_read_order(std::string_view order, uint32_t *rule_range, uint32_t *rule_order)
{
    const size_t colon = order.find(':');
    if (colon == std::string_view::npos)
        return false;
    *rule_range = read_digits(order.substr(0, colon));
    *rule_order = read_digits(order.substr(colon + 1));
    return true;
}

pdata_status_t pdb_rule_get_priority(uint32_t rule_range, uint32_t rule_order, uint32_t *rule_prio)
{
    if (rule_range > PDB_RULE_RANGE_MAX)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, REFUSED_RANGE, rule_range,
                          PDB_RULE_RANGE_MAX);
    if (rule_order > PDB_RULE_ORDER_MAX)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, REFUSED_ORDER, rule_order,
                          PDB_RULE_ORDER_MAX);
    *rule_prio = rule_range << 24 | rule_order;
    return PDATA_SUCCESS;
}

uint32_t pdb_rule_get_range(uint32_t prio)
{
    return format_priority_range(prio);
}

uint32_t pdb_rule_get_order(uint32_t prio)
{
    return format_priority_order(prio);
}
