#include "packet.h"

#include <algorithm>
#include <array>

#include "certificate.h"
#include "csa_cut.h"

namespace
{

/// Fields that requests have, and the value that makes them one; empty for any.
struct request_t {
    const char *field;
    std::string_view value;
};
constexpr std::array requests = {
    request_t{"tls.handshake.type", "1"},
    request_t{"dtls.handshake.type", "1"},
    request_t{"http.request", ""},
    request_t{"dns.flags.response", "0"},
    request_t{"dns.flags.response", "false"},
    request_t{"sip.Method", ""},
    request_t{"rtsp.request", ""},
};

/// Layers of headers that may stand between an IPv6 header and what it carries.
bool is_extension(std::string_view layer)
{
    return layer.starts_with("ipv6.") || layer == "ah";
}

uint32_t ask(packet_reader_t &reader, const char *field)
{
    if (std::ranges::find(reader.fields, field) == reader.fields.end())
        reader.fields.emplace_back(field);
    return field_bag_ask(reader.bag, capture_field_name("tshark", field));
}

void ask_names(packet_reader_t &reader)
{
    const auto name = [&reader](const char *field) { return ask(reader, field); };
    reader.names = {.time = field_bag_ask(reader.bag, "timestamp"),
                    .layers = name("frame.protocols"),
                    .length = name("frame.len"),
                    .ip_from = name("ip.src"),
                    .ip_to = name("ip.dst"),
                    .ip_protocol = name("ip.proto"),
                    .ip_dscp = name("ip.dsfield.dscp"),
                    .ip6_from = name("ipv6.src"),
                    .ip6_to = name("ipv6.dst"),
                    .ip6_protocol = name("ipv6.nxt"),
                    .ip6_dscp = name("ipv6.tclass.dscp"),
                    .tcp_from = name("tcp.srcport"),
                    .tcp_to = name("tcp.dstport"),
                    .tcp_flags = name("tcp.flags"),
                    .tcp_sequence = name("tcp.seq_raw"),
                    .tcp_length = name("tcp.len"),
                    .tcp_payload = name("tcp.payload"),
                    .udp_from = name("udp.srcport"),
                    .udp_to = name("udp.dstport"),
                    .udp_length = name("udp.length"),
                    .udp_payload = name("udp.payload"),
                    .sctp_from = name("sctp.srcport"),
                    .sctp_to = name("sctp.dstport"),
                    .icmp_type = name("icmp.type"),
                    .icmp_code = name("icmp.code"),
                    .icmp6_type = name("icmpv6.type"),
                    .icmp6_code = name("icmpv6.code"),
                    .network = name("vxlan.vni"),
                    .key = name("gre.key")};
    for (const request_t &request : requests)
        reader.requests.push_back(name(request.field));
}

void ask_rules(packet_reader_t &reader)
{
    reader.rules = capture_rules("tshark", reader.bag);
    for (const std::string &field : capture_rules_fields("tshark"))
        if (std::ranges::find(reader.fields, field) == reader.fields.end())
            reader.fields.push_back(field);
}

/// The headers of a frame, outermost first, up to an ICMP header.
struct headers_t {
    size_t ip = 0; ///< how many
    size_t ip6 = 0;
    size_t tcp = 0;
    size_t udp = 0;
    size_t sctp = 0;
    bool six = false;                     ///< the innermost IP header is one of IPv6
    std::string_view transport;           ///< layer behind the innermost IP header
    std::vector<std::string_view> behind; ///< layers behind that
    bool embedded = false;
    std::string around; ///< layers in front of the innermost IP header, those of IP and up
};

void take_layer(headers_t &headers, std::string_view layer, std::string &path)
{
    if (layer == "ip" || layer == "ipv6") {
        headers.six = layer == "ipv6";
        ++(headers.six ? headers.ip6 : headers.ip);
        headers.transport = {};
        headers.behind.clear();
        headers.around = path;
    } else if (headers.ip + headers.ip6 == 0 || is_extension(layer))
        return;
    else if (headers.transport.empty())
        headers.transport = layer;
    else
        headers.behind.push_back(layer);
    headers.tcp += layer == "tcp" ? 1 : 0;
    headers.udp += layer == "udp" ? 1 : 0;
    headers.sctp += layer == "sctp" ? 1 : 0;
    path.append(path.empty() ? "" : ":").append(layer);
}

headers_t read_headers(std::string_view layers)
{
    headers_t headers;
    std::string path;
    while (!layers.empty()) {
        take_layer(headers, csa_cut(layers, ':'), path);
        if (headers.transport == "icmp" || headers.transport == "icmpv6") {
            headers.embedded = !layers.empty();
            break;
        }
    }
    return headers;
}

/// Occurrence `count` (from 1) of a field, empty where there is none.
std::string_view occurrence(const field_bag_t &bag, uint32_t field, size_t count)
{
    const std::vector<std::string_view> &values = field_bag_all(bag, field);
    return count - 1 >= values.size() ? std::string_view() : values[count - 1];
}

uint32_t number_of(const field_bag_t &bag, uint32_t field, size_t count)
{
    return static_cast<uint32_t>(
        std::clamp<int64_t>(field_number(occurrence(bag, field, count), 0), 0, UINT32_MAX));
}

bool read_addresses(const packet_reader_t &reader, const headers_t &headers, packet_t &packet)
{
    const packet_names_t &names = reader.names;
    const size_t count = headers.six ? headers.ip6 : headers.ip;
    return flow_end_read(
               occurrence(reader.bag, headers.six ? names.ip6_from : names.ip_from, count),
               packet.from) &&
           flow_end_read(occurrence(reader.bag, headers.six ? names.ip6_to : names.ip_to, count),
                         packet.to);
}

/// The protocol of the layer behind the innermost IP header, or what that header says.
uint8_t protocol_of(const packet_reader_t &reader, const headers_t &headers)
{
    const int named = ip_protocol_number(headers.transport);
    if (named >= 0)
        return static_cast<uint8_t>(named);
    const packet_names_t &names = reader.names;
    return static_cast<uint8_t>(headers.six ? number_of(reader.bag, names.ip6_protocol, headers.ip6)
                                            : number_of(reader.bag, names.ip_protocol, headers.ip));
}

void read_ports(const packet_reader_t &reader, uint32_t from, uint32_t to, size_t count,
                packet_t &packet)
{
    packet.has_ports = true;
    packet.from.port = static_cast<uint16_t>(number_of(reader.bag, from, count));
    packet.to.port = static_cast<uint16_t>(number_of(reader.bag, to, count));
}

void read_tcp(const packet_reader_t &reader, size_t count, packet_t &packet)
{
    const packet_names_t &names = reader.names;
    read_ports(reader, names.tcp_from, names.tcp_to, count, packet);
    packet.tcp_flags = number_of(reader.bag, names.tcp_flags, count);
    packet.sequence = number_of(reader.bag, names.tcp_sequence, count);
    packet.payload_length = number_of(reader.bag, names.tcp_length, count);
    const std::vector<std::string_view> &payloads = field_bag_all(reader.bag, names.tcp_payload);
    if (packet.payload_length > 0 && !payloads.empty())
        packet.payload = hex_bytes(payloads.back());
}

void read_udp(const packet_reader_t &reader, size_t count, packet_t &packet)
{
    const packet_names_t &names = reader.names;
    read_ports(reader, names.udp_from, names.udp_to, count, packet);
    const uint32_t length = number_of(reader.bag, names.udp_length, count);
    packet.payload_length = length > 8 ? length - 8 : 0;
    packet.payload = hex_bytes(occurrence(reader.bag, names.udp_payload, count));
}

int octet_of(const field_bag_t &bag, uint32_t field)
{
    return static_cast<int>(std::clamp<int64_t>(field_bag_number(bag, field, -1), -1, 255));
}

void read_transport(const packet_reader_t &reader, const headers_t &headers, packet_t &packet)
{
    const packet_names_t &names = reader.names;
    if (headers.transport == "tcp")
        read_tcp(reader, headers.tcp, packet);
    else if (headers.transport == "udp")
        read_udp(reader, headers.udp, packet);
    else if (headers.transport == "sctp")
        read_ports(reader, names.sctp_from, names.sctp_to, headers.sctp, packet);
    else if (headers.transport == "icmp") {
        packet.icmp_type = octet_of(reader.bag, names.icmp_type);
        packet.icmp_code = octet_of(reader.bag, names.icmp_code);
    } else if (headers.transport == "icmpv6") {
        packet.icmp_type = octet_of(reader.bag, names.icmp6_type);
        packet.icmp_code = octet_of(reader.bag, names.icmp6_code);
    }
}

/// What the innermost IP header was carried in: layers, and the addresses of both ends, the smaller
/// first, so that both directions name the same tunnel.
std::string tunnel_of(const packet_reader_t &reader, const headers_t &headers)
{
    if (headers.ip + headers.ip6 < 2)
        return {};
    const packet_names_t &names = reader.names;
    std::string tunnel = headers.around;
    const auto add_pairs = [&](uint32_t from, uint32_t to, size_t count) {
        for (size_t i = 1; i <= count; ++i) {
            const std::string_view a = occurrence(reader.bag, from, i);
            const std::string_view b = occurrence(reader.bag, to, i);
            tunnel.append(" ").append(std::min(a, b)).append("-").append(std::max(a, b));
        }
    };
    add_pairs(names.ip_from, names.ip_to, headers.ip - (headers.six ? 0 : 1));
    add_pairs(names.ip6_from, names.ip6_to, headers.ip6 - (headers.six ? 1 : 0));
    for (const uint32_t field : {names.network, names.key})
        for (const std::string_view value : field_bag_all(reader.bag, field))
            tunnel.append(" ").append(value);
    return tunnel;
}

bool is_request(const packet_reader_t &reader)
{
    for (size_t i = 0; i < requests.size(); ++i)
        for (const std::string_view value : field_bag_all(reader.bag, reader.requests[i]))
            if (requests[i].value.empty() || requests[i].value == value)
                return true;
    return false;
}

/// Values of the headers inside an ICMP error are not those of the packet.
void drop_embedded(packet_reader_t &reader, const headers_t &headers)
{
    field_bag_limit(reader.bag, reader.names.ip_dscp, headers.six ? 0 : headers.ip);
    field_bag_limit(reader.bag, reader.names.ip6_dscp, headers.six ? headers.ip6 : 0);
}

} // namespace

void packet_reader_open(packet_reader_t &reader)
{
    ask_names(reader);
    ask_rules(reader);
}

bool packet_read(packet_reader_t &reader, std::string_view line, packet_t &packet,
                 std::string &fault)
{
    if (line.empty() || line.starts_with("{\"index\""))
        return false;
    if (!field_bag_read_json(reader.bag, line)) {
        fault = "tshark printed what is no JSON object";
        return false;
    }
    const headers_t headers = read_headers(field_bag_first(reader.bag, reader.names.layers));
    packet = {};
    if (headers.ip + headers.ip6 == 0 || !read_addresses(reader, headers, packet))
        return false;
    packet.protocol = protocol_of(reader, headers);
    read_transport(reader, headers, packet);
    if ((packet.protocol == 6 || packet.protocol == 17) && !packet.has_ports)
        return false; // a fragment other than the last one
    packet.time = static_cast<double>(field_bag_number(reader.bag, reader.names.time, 0)) / 1000;
    packet.length = number_of(reader.bag, reader.names.length, 1);
    packet.tunnel = tunnel_of(reader, headers);
    packet.embedded = headers.embedded;
    packet.request = !headers.embedded && is_request(reader);
    packet.layers = headers.behind;
    if (!headers.transport.empty())
        packet.layers.insert(packet.layers.begin(), headers.transport);
    drop_embedded(reader, headers);
    return true;
}
