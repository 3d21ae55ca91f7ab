#include "ipbt.h"
#include "ipbt_tlv.h"

namespace
{

/// Returns the places of the nodes in breadth-first order, the 0 side first.
std::vector<uint32_t> breadth_first(const ipbt_ip4_tree &tree)
{
    std::vector<uint32_t> order;
    order.reserve(tree.nodes.size());
    order.push_back(0);
    for (size_t i = 0; i < order.size(); ++i)
        for (uint32_t child : tree.nodes[order[i]].children)
            if (child != 0)
                order.push_back(child);
    return order;
}

void emit_nodes(const ipbt_ip4_tree &tree, const std::vector<uint32_t> &order, tlv_sink_t &sink)
{
    uint32_t next_index = 1;
    uint32_t next_offset = 4;
    const size_t blob = tlv_sink_open_blob(sink, IPBT_TLV_NODES);
    for (uint32_t at : order) {
        const ipbt_ip4_node &node = tree.nodes[at];
        for (uint32_t child : node.children)
            tlv_sink_put(sink, child != 0 ? next_index++ : 0, 4);
        const auto protocols_len = static_cast<uint32_t>(node.protocols.size());
        tlv_sink_put(sink, protocols_len != 0 ? next_offset : 0, 4);
        if (protocols_len != 0)
            next_offset += (protocols_len + 1) * 4;
    }
    tlv_sink_close_blob(sink, blob);
}

void emit_data(const ipbt_ip4_tree &tree, const std::vector<uint32_t> &order, tlv_sink_t &sink)
{
    const size_t blob = tlv_sink_open_blob(sink, IPBT_TLV_DATA);
    tlv_sink_put(sink, 0, 4); // offset 0 means no list
    for (uint32_t at : order) {
        const std::vector<uint32_t> &protocols = tree.nodes[at].protocols;
        if (protocols.empty())
            continue;
        tlv_sink_put(sink, static_cast<uint32_t>(protocols.size()), 4);
        for (uint32_t proto_id : protocols)
            tlv_sink_put(sink, proto_id, 4);
    }
    tlv_sink_close_blob(sink, blob);
}

} // namespace

void ipbt_ip4_emit(const ipbt_ip4_tree &tree, tlv_sink_t &sink)
{
    const std::vector<uint32_t> order = breadth_first(tree);
    emit_nodes(tree, order, sink);
    emit_data(tree, order, sink);
}

size_t ipbt_ip4_serialize_get_size(const ipbt_ip4_tree &tree)
{
    size_t size = 0;
    const int code = module_guard([&] {
        size = tlv_sink_count([&](tlv_sink_t &sink) { ipbt_ip4_emit(tree, sink); });
        return MODULE_SUCCESS;
    });
    return code == MODULE_SUCCESS ? size : 0;
}

uint8_t *ipbt_ip4_serialize(std::span<uint8_t> buf, const ipbt_ip4_tree &tree)
{
    uint8_t *end = nullptr;
    const int code = module_guard([&] {
        end = tlv_sink_write(buf, [&](tlv_sink_t &sink) { ipbt_ip4_emit(tree, sink); });
        return MODULE_SUCCESS;
    });
    return code == MODULE_SUCCESS ? end : nullptr;
}
