/// Packets in, flows out.
///
/// A flow is what has one innermost five-tuple, in either direction, in one tunnel. It ends when a
/// SYN begins another one of the same key after a FIN or RST, after FLOW_IDLE seconds without a
/// packet, as the oldest when there are too many, or with the capture.
#pragma once

#include <list>

#include "flow_payload.h"
#include "log_reader.h"
#include "packet.h"

/// Seconds without a packet after which a flow has ended.
constexpr double FLOW_IDLE = 120;

/// What a packet belongs to: the smaller end first.
struct flow_key_t {
    flow_end_t low;
    flow_end_t high;
    uint8_t protocol = 0;
    std::string tunnel;
    bool operator==(const flow_key_t &) const = default;
};

struct flow_key_hash_t {
    size_t operator()(const flow_key_t &key) const;
};

/// A flow that is open. Sides are those of the key.
struct open_flow_t {
    flow_key_t key;
    flow_record_t record;
    double last = 0;     ///< time of the last packet
    bool closed = false; ///< a RST was seen, or a FIN of both sides
    std::array<bool, 2> fin = {};
    std::array<bool, 2> has_datagram = {};
    std::array<flow_payload_t, 2> payload;
};

using open_flows_t = std::list<open_flow_t>;

struct flow_table_t {
    flow_sink_t sink;
    size_t window = FLOW_WINDOW;
    size_t payload_bytes = 256;
    open_flows_t open;   ///< the one without a packet for longest first
    open_flows_t closed; ///< those that a FIN or RST ended, in that order
    std::unordered_map<flow_key_t, open_flows_t::iterator, flow_key_hash_t> by_key;
    std::unordered_map<flow_key_t, uint32_t, flow_key_hash_t> generations; ///< of the next flow
    double now = 0;       ///< the greatest time seen
    uint64_t evicted = 0; ///< open flows that were ended for want of room
};

/// Returns the flow that a packet belongs to, with what the packet itself says taken over, and the
/// side that sent it.
flow_record_t &flow_table_add(flow_table_t &table, const packet_t &packet, uint8_t &side);

/// Says of all open flows that a piece of the capture ended within them.
void flow_table_seam(flow_table_t &table);

/// Hands over all flows.
void flow_table_end(flow_table_t &table);
