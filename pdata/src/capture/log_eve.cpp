#include <algorithm>
#include <array>

#include "log_reader.h"

namespace
{

/// Names of protocols in EVE that descriptions call otherwise.
struct eve_protocol_t {
    std::string_view eve;
    const char *name;
};
constexpr std::array eve_protocols = {
    eve_protocol_t{"tls", "ssl"},
    eve_protocol_t{"ftp-data", "ftp_data"},
    eve_protocol_t{"bittorrent-dht", "bittorrent"},
    eve_protocol_t{"ikev2", "ike"},
};

/// Events that are written from the client's side. Others show the side that sent a packet.
constexpr std::array<std::string_view, 12> flow_events = {
    "flow", "http", "tls", "dns", "quic", "sip", "smtp", "ssh", "ftp", "smb", "http2", "mqtt"};

void say_protocol(flow_record_t &record, std::string_view name)
{
    if (name.empty() || name == "failed" || name == "unknown")
        return;
    const auto *row = std::ranges::find(eve_protocols, name, &eve_protocol_t::eve);
    flow_record_add_protocol(record, ip_protocol_name(record.protocol));
    flow_record_add_protocol(record, row == eve_protocols.end() ? name : row->name);
}

log_ends_t read_ends(const log_reader_t &reader)
{
    const log_names_t &names = reader.names;
    const auto first = [&reader](uint32_t name) { return field_bag_first(reader.bag, name); };
    const auto number = [&reader](uint32_t name, int64_t most) {
        const int64_t value = field_bag_number(reader.bag, name, -1);
        return static_cast<int>(value <= most ? value : -1);
    };
    log_ends_t ends;
    (void)flow_end_read(first(names.src_ip), ends.from);
    (void)flow_end_read(first(names.dest_ip), ends.to);
    ends.from.port = static_cast<uint16_t>(std::max(number(names.src_port, 65535), 0));
    ends.to.port = static_cast<uint16_t>(std::max(number(names.dest_port, 65535), 0));
    ends.protocol = ip_protocol_number(first(names.proto));
    ends.icmp_type = number(names.icmp_type, 255);
    ends.icmp_code = number(names.icmp_code, 255);
    if (const std::string_view id = first(names.flow_id); !id.empty())
        ends.id = "eve " + std::string(id);
    return ends;
}

/// Turns a record that its packet's receiver wrote about, so that the client comes first.
void turn(log_ends_t &ends, std::string_view event, std::string_view direction)
{
    ends.sure = std::ranges::find(flow_events, event) != flow_events.end();
    if (ends.sure)
        return;
    if (direction == "to_client")
        std::swap(ends.from, ends.to);
    ends.sure = direction == "to_client" || direction == "to_server";
}

} // namespace

std::string log_reader_eve(log_reader_t &reader)
{
    const std::string_view event = field_bag_first(reader.bag, reader.names.event_type);
    log_ends_t ends = read_ends(reader);
    if (ends.from.kind == FLOW_PROTOCOL || ends.to.kind == FLOW_PROTOCOL)
        return event == "stats" ? "" : "an event without addresses";
    turn(ends, event, field_bag_first(reader.bag, reader.names.direction));
    uint8_t side = 0;
    flow_record_t &record = log_reader_flow(reader, ends, side);
    say_protocol(record, field_bag_first(reader.bag, reader.names.app_proto));
    log_reader_count(reader, reader.names.eve_totals, record, side);
    capture_rules_apply(reader.eve_rules, reader.bag, {{}, {}, side, {}}, record);
    if (event == "flow" || ends.id.empty())
        log_reader_finish(reader, ends.id);
    return {};
}
