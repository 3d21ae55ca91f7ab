#include "pdb_rule_priority.h"

#include "format_values.h"

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
