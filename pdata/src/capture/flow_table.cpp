#include "flow_table.h"

#include <algorithm>
#include <array>
#include <span>

namespace
{

/// Protocols that tshark calls otherwise than descriptions do.
struct layer_name_t {
    std::string_view layer;
    const char *protocol;
};
constexpr std::array layer_names = {
    layer_name_t{"tls", "ssl"},           layer_name_t{"bt-dht", "bittorrent"},
    layer_name_t{"ftp-data", "ftp_data"}, layer_name_t{"smb2", "smb"},
    layer_name_t{"isakmp", "ike"},        layer_name_t{"rtmpt", "rtmp"},
};

/// Layers that are no protocols of their own.
bool is_detail(std::string_view layer)
{
    return layer == "data" || layer == "media" || layer.starts_with("x509") ||
           layer.starts_with("pkcs") || layer.starts_with("pkix") || layer.starts_with("_ws") ||
           layer.find('.') != std::string_view::npos;
}

flow_key_t key_of(const packet_t &packet)
{
    const auto [low, high] = std::minmax(packet.from, packet.to);
    return {low, high, packet.protocol, packet.tunnel};
}

open_flows_t &list_of(flow_table_t &table, const open_flow_t &flow)
{
    return flow.closed ? table.closed : table.open;
}

void add_sent(flow_record_t &record, const char *attribute, uint8_t side, flow_attr_t value)
{
    value.protocol = record.protocol == 6 ? "tcp" : "udp";
    value.attribute = attribute;
    flow_record_add(record, {std::move(value), side});
}

/// Turns what was put in order into values.
void add_payload(open_flow_t &flow, size_t limit)
{
    for (const uint8_t side : std::array<uint8_t, 2>{0, 1}) {
        flow_attr_t value;
        value.kind = FLOW_BYTES;
        value.bytes = flow_payload_bytes(flow.payload[side], limit);
        value.incomplete = flow.payload[side].more;
        if (value.bytes.empty())
            continue;
        add_sent(flow.record, "stream", side, value);
        add_sent(flow.record, "pattern", side, value);
    }
}

void hand_over(flow_table_t &table, open_flows_t::iterator flow)
{
    if (table.generations.size() >= table.window)
        table.generations.clear();
    table.generations[flow->key] = flow->record.generation + 1;
    add_payload(*flow, table.payload_bytes);
    table.by_key.erase(flow->key);
    table.sink(flow->record);
    list_of(table, *flow).erase(flow);
}

void end_idle(flow_table_t &table)
{
    for (open_flows_t *flows : {&table.open, &table.closed})
        while (!flows->empty() && flows->front().last + FLOW_IDLE < table.now)
            hand_over(table, flows->begin());
}

void make_room(flow_table_t &table)
{
    while (table.by_key.size() >= std::max<size_t>(table.window, 1)) {
        if (!table.closed.empty()) {
            hand_over(table, table.closed.begin());
            continue;
        }
        ++table.evicted;
        hand_over(table, table.open.begin());
    }
}

open_flows_t::iterator begin_flow(flow_table_t &table, const packet_t &packet, flow_key_t key)
{
    make_room(table);
    open_flow_t flow;
    flow.record.ends = {key.low, key.high};
    flow.record.client = packet.from == key.low ? 0 : 1;
    flow.record.protocol = packet.protocol;
    flow.record.has_ports = packet.has_ports;
    flow.record.icmp_type = packet.icmp_type;
    flow.record.icmp_code = packet.icmp_code;
    flow.record.tunnel = packet.tunnel;
    const auto generation = table.generations.find(key);
    flow.record.generation = generation == table.generations.end() ? 0 : generation->second;
    flow.key = std::move(key);
    table.open.push_back(std::move(flow));
    const auto begun = std::prev(table.open.end());
    table.by_key.emplace(begun->key, begun);
    return begun;
}

/// Tells whether a SYN opens another connection than the one that the flow is.
bool begins_anew(const open_flow_t &flow, const packet_t &packet, uint8_t side)
{
    if ((packet.tcp_flags & (TCP_SYN | TCP_ACK)) != TCP_SYN)
        return false;
    const flow_payload_t &payload = flow.payload[side];
    return flow.closed || (payload.has_base && payload.base != packet.sequence + 1);
}

void take_tcp(flow_table_t &table, open_flows_t::iterator flow, const packet_t &packet,
              uint8_t side)
{
    const auto other = static_cast<uint8_t>(1 - side);
    const bool syn = (packet.tcp_flags & TCP_SYN) != 0;
    if (syn) {
        const bool answer = (packet.tcp_flags & TCP_ACK) != 0;
        flow_record_set_client(flow->record, answer ? other : side, FLOW_TRUST_OPENING);
        if (!flow->payload[side].has_base)
            flow_payload_begin(flow->payload[side], packet.sequence + 1);
    }
    if (packet.payload_length > 0)
        flow_payload_add(flow->payload[side], packet.sequence + (syn ? 1 : 0), packet.payload,
                         packet.payload_length, table.payload_bytes);
    flow->fin[side] |= (packet.tcp_flags & TCP_FIN) != 0;
    const bool ends = (packet.tcp_flags & TCP_RST) != 0 || (flow->fin[0] && flow->fin[1]);
    if (ends && !flow->closed) {
        flow->closed = true;
        table.closed.splice(table.closed.end(), table.open, flow);
    }
}

/// The first datagram of each side stands for its payload.
void take_udp(const flow_table_t &table, open_flow_t &flow, const packet_t &packet, uint8_t side)
{
    if (flow.payload[side].has_base)
        return;
    flow_payload_begin(flow.payload[side], 0);
    flow_payload_add(flow.payload[side], 0, packet.payload, packet.payload_length,
                     table.payload_bytes);
}

/// The length of the first payload of each side, which only packets of TCP and UDP have.
void take_length(open_flow_t &flow, const packet_t &packet, uint8_t side)
{
    if (flow.has_datagram[side] || packet.payload_length == 0)
        return;
    flow.has_datagram[side] = true;
    flow_attr_t value;
    value.kind = FLOW_NUMBER;
    value.number = packet.payload_length;
    add_sent(flow.record, "payload_len", side, value);
}

void say_protocols(flow_record_t &record, const packet_t &packet)
{
    flow_record_add_protocol(record, ip_protocol_name(record.protocol));
    if (packet.embedded)
        return;
    for (const std::string_view layer :
         std::span(packet.layers).subspan(std::min<size_t>(packet.layers.size(), 1))) {
        const auto *row = std::ranges::find(layer_names, layer, &layer_name_t::layer);
        if (!is_detail(layer))
            flow_record_add_protocol(record, row == layer_names.end() ? layer : row->protocol);
    }
}

} // namespace

size_t flow_key_hash_t::operator()(const flow_key_t &key) const
{
    const auto bytes = [](const flow_end_t &end) {
        const std::hash<std::string_view> hash;
        return hash({reinterpret_cast<const char *>(end.address.data()), end.address.size()}) +
               size_t{end.port} * 0x9E3779B97F4A7C15U;
    };
    return (bytes(key.low) * 31 + bytes(key.high)) * 31 + key.protocol +
           std::hash<std::string>()(key.tunnel);
}

flow_record_t &flow_table_add(flow_table_t &table, const packet_t &packet, uint8_t &side)
{
    table.now = std::max(table.now, packet.time);
    end_idle(table);
    flow_key_t key = key_of(packet);
    side = packet.from == key.low ? 0 : 1;
    auto found = table.by_key.find(key);
    if (found != table.by_key.end() && begins_anew(*found->second, packet, side)) {
        hand_over(table, found->second);
        found = table.by_key.end();
    }
    const auto flow =
        found == table.by_key.end() ? begin_flow(table, packet, std::move(key)) : found->second;
    flow->last = table.now;
    if (!flow->closed)
        table.open.splice(table.open.end(), table.open, flow);
    ++flow->record.packets[side];
    flow->record.bytes[side] += packet.length;
    if (packet.protocol == 6)
        take_tcp(table, flow, packet, side);
    else if (packet.protocol == 17)
        take_udp(table, *flow, packet, side);
    if (packet.request)
        flow_record_set_client(flow->record, side, FLOW_TRUST_REQUEST);
    take_length(*flow, packet, side);
    say_protocols(flow->record, packet);
    return flow->record;
}

void flow_table_seam(flow_table_t &table)
{
    for (open_flow_t &flow : table.open)
        flow.record.seam = true;
}

void flow_table_end(flow_table_t &table)
{
    for (open_flows_t *flows : {&table.closed, &table.open})
        while (!flows->empty())
            hand_over(table, flows->begin());
}
