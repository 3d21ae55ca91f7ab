/// IPv4 binary tree: address prefixes and the protocols that live behind them.
///
/// A node at depth d stands for the first d bits of an address, most significant bit first, and
/// holds the ids registered for that prefix. A lookup collects the ids from the root down to the
/// longest prefix that holds the address. One bit per level keeps the serialized form plain; a
/// compressed tree was turned down, as the tables are small and the run-time side walks this one.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <unordered_set>
#include <vector>

#include "module_error.h"
#include "tlv_sink.h"

constexpr uint32_t IPBT_IP4_MASK_LENGTH_MAX = 32;

struct ipbt_ip4_node {
    std::array<uint32_t, 2> children{}; ///< places in the tree's `nodes` by the next bit; 0: none
    std::vector<uint32_t> protocols;    ///< ids in the order of registration, each once
};

/// A tree. Nodes are kept by creation, the root first, so that neither building, writing nor
/// freeing the tree follows its depth.
struct ipbt_ip4_tree {
    std::vector<ipbt_ip4_node> nodes;
    std::unordered_set<uint64_t> held; ///< (place of a node << 32 | id) for every id in `nodes`
};

/// Returns an empty tree, which is a root without protocols, or null when memory runs out.
[[nodiscard]] std::unique_ptr<ipbt_ip4_tree> ipbt_ip4_tree_create() noexcept;

/// Frees `tree` and leaves it null.
void ipbt_ip4_tree_destroy(std::unique_ptr<ipbt_ip4_tree> &tree);

/// Registers `proto_id` under the first `mask_length` bits of `mask` (host order, the first octet
/// most significant); a length of 0 registers at the root. Bits behind the length are not read
/// (oddity O188).
///
/// When a shorter prefix on the way, or the node itself, already holds the id, nothing changes:
/// it covers the longer one. A longer one registered before stays. Oddity O187.
/// Returns 0, MODULE_ERR_INVALID for a length beyond 32, or MODULE_ERR_NO_MEMORY.
[[nodiscard]] int ipbt_ip4_register_proto(ipbt_ip4_tree &tree, uint32_t mask, uint32_t mask_length,
                                          uint32_t proto_id);

/// Emits the serialized tree (ipbt_tlv.h). Throws std::bad_alloc.
void ipbt_ip4_emit(const ipbt_ip4_tree &tree, tlv_sink_t &sink);

/// Returns the size in bytes of the serialized tree, or 0 when memory runs out.
size_t ipbt_ip4_serialize_get_size(const ipbt_ip4_tree &tree);

/// Writes the tree into the zero-filled `buf` and returns the position behind the written bytes,
/// or null when it does not fit or memory runs out.
[[nodiscard]] uint8_t *ipbt_ip4_serialize(std::span<uint8_t> buf, const ipbt_ip4_tree &tree);
