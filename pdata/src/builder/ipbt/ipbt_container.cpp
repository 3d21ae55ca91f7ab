#include "ipbt_container.h"

#include <cstdio>
#include <exception>

namespace
{

/// Messages name functions that are not there. Oddity O47.
template <typename Element>
int append(std::vector<Element> &list, const Element &element, const char *message)
{
    try {
        list.push_back(element);
    } catch (const std::exception &) {
        std::fputs(message, stderr);
        return -1;
    }
    return 0;
}

} // namespace

int ipbt_container_init(ipbt_container_t *container)
{
    *container = {};
    return 0;
}

int ipbt_container_add_rule(ipbt_container_t *container)
{
    return append(container->rules, ipbt_rule_t{},
                  "IPBT: ipbt_container_add_rule: csa_realloc failed");
}

int ipbt_container_add_value(ipbt_container_t *container, const ipbt_value_t &value)
{
    return append(container->rules.back().values, value,
                  "IPBT: ipbt_container_add_value: csa_realloc failed");
}

int ipbt_container_add_ip4_mask(ipbt_container_t *container, const ipbt_ip4_mask_t &mask)
{
    return append(container->rules.back().ip4_masks, mask,
                  "IPBT: ipbt_container_add_ip4: csa_realloc failed");
}

void ipbt_container_clean(ipbt_container_t *container)
{
    *container = {};
}
