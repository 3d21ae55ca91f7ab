/// The IPBT container: the rules of the IPv4 table as they are read from JSON.
#pragma once

#include <cstdint>
#include <vector>

/// Kinds of value; only protocols exist.
enum ipbt_value_type_t : uint32_t {
    IPBT_VALUE_TYPE_UNKNOWN = 0,
    IPBT_VALUE_TYPE_PROTOCOL = 1,
};

/// What an address range stands for.
struct ipbt_value_t {
    ipbt_value_type_t type = IPBT_VALUE_TYPE_UNKNOWN;
    uint32_t proto_id = 0;
    bool has_proto_id = false; ///< an id of 0 is an id
};

/// An IPv4 prefix.
struct ipbt_ip4_mask_t {
    uint32_t mask;        ///< the address in host order
    uint32_t mask_length; ///< 0 to 32
};

struct ipbt_rule_t {
    std::vector<ipbt_value_t> values;
    std::vector<ipbt_ip4_mask_t> ip4_masks;
};

struct ipbt_container_t {
    std::vector<ipbt_rule_t> rules;
};

/// Empties a container. Returns 0; the operations below return -1, after a line on standard
/// error, when memory runs out.
int ipbt_container_init(ipbt_container_t *container);

/// Appends an empty rule.
[[nodiscard]] int ipbt_container_add_rule(ipbt_container_t *container);

/// Append to the last rule.
[[nodiscard]] int ipbt_container_add_value(ipbt_container_t *container, const ipbt_value_t &value);
[[nodiscard]] int ipbt_container_add_ip4_mask(ipbt_container_t *container,
                                              const ipbt_ip4_mask_t &mask);

/// Frees what a container holds.
void ipbt_container_clean(ipbt_container_t *container);
