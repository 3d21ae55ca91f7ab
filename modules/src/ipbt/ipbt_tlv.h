/// Record types of the serialized IPv4 binary tree, for the writer, the readers and every tool.
///
/// Records are big-endian, with a 4-byte type and a 4-byte length in bytes (a multiple of 4).
#pragma once

#include <cstdint>

enum ipbt_tlv_t : uint32_t {
    /// The nodes in breadth-first order, the 0 side of a layer before its 1 side, three words
    /// each: the index of the 0-child and of the 1-child (0 for none: the root is no child), and
    /// the byte offset of the node's protocol list in the data, 0 for none.
    IPBT_TLV_NODES = 74,
    /// The word 0, then for each node with protocols, in the order of the nodes, a list: the
    /// number of protocols and their ids.
    IPBT_TLV_DATA = 75,
};
