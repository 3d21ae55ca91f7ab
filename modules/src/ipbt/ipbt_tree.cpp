#include "ipbt.h"

namespace
{

uint64_t held_key(uint32_t node, uint32_t proto_id)
{
    return uint64_t{node} << 32 | proto_id;
}

bool holds(const ipbt_ip4_tree &tree, uint32_t node, uint32_t proto_id)
{
    return !tree.nodes[node].protocols.empty() && tree.held.contains(held_key(node, proto_id));
}

/// Returns the child of `node` on the side of `bit`, which is created when missing.
uint32_t child_of(ipbt_ip4_tree &tree, uint32_t node, uint32_t bit)
{
    const uint32_t child = tree.nodes[node].children[bit];
    if (child != 0)
        return child;
    const auto created = static_cast<uint32_t>(tree.nodes.size());
    tree.nodes.emplace_back();
    tree.nodes[node].children[bit] = created;
    return created;
}

} // namespace

std::unique_ptr<ipbt_ip4_tree> ipbt_ip4_tree_create() noexcept
{
    std::unique_ptr<ipbt_ip4_tree> tree;
    const int code = module_guard([&] {
        tree = std::make_unique<ipbt_ip4_tree>();
        tree->nodes.emplace_back();
        return MODULE_SUCCESS;
    });
    return code == MODULE_SUCCESS ? std::move(tree) : nullptr;
}

void ipbt_ip4_tree_destroy(std::unique_ptr<ipbt_ip4_tree> &tree)
{
    tree.reset();
}

int ipbt_ip4_register_proto(ipbt_ip4_tree &tree, uint32_t mask, uint32_t mask_length,
                            uint32_t proto_id)
{
    if (mask_length > IPBT_IP4_MASK_LENGTH_MAX)
        return MODULE_ERR_INVALID;
    return module_guard([&] {
        uint32_t node = 0;
        for (uint32_t depth = 0; depth < mask_length; ++depth) {
            if (holds(tree, node, proto_id))
                return MODULE_SUCCESS;
            node = child_of(tree, node, mask >> (31 - depth) & 1);
        }
        if (tree.held.insert(held_key(node, proto_id)).second)
            tree.nodes[node].protocols.push_back(proto_id);
        return MODULE_SUCCESS;
    });
}
