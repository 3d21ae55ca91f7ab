#include "flow_record.h"

#include <algorithm>
#include <charconv>

#include "csa_char.h"

namespace
{

/// Names of IP protocols: first those of descriptions, then further ones of logs.
struct ip_protocol_t {
    const char *name;
    uint8_t number;
};
constexpr ip_protocol_t ip_protocols[] = {
    {"icmp", 1},   {"igmp", 2},   {"tcp", 6},        {"udp", 17},    {"gre", 47},
    {"esp", 50},   {"ah", 51},    {"icmp6", 58},     {"ospf", 89},   {"pim", 103},
    {"vrrp", 112}, {"sctp", 132}, {"ipv6-icmp", 58}, {"icmpv6", 58},
};

void add_both(flow_values_t &values, flow_attr_t value)
{
    for (const flow_way_t way : {FLOW_WAY_CTS, FLOW_WAY_STC}) {
        value.way = way;
        values.push_back(value);
    }
}

flow_attr_t number_value(const char *protocol, const char *attribute, uint64_t number)
{
    flow_attr_t value;
    value.protocol = protocol;
    value.attribute = attribute;
    value.kind = FLOW_NUMBER;
    value.number = number;
    return value;
}

const char *ip_name(const flow_end_t &end)
{
    return end.kind == FLOW_IP6 ? "ip6" : "ip";
}

void add_end(const flow_record_t &record, const flow_end_t &end, flow_values_t &values)
{
    flow_attr_t value = number_value(ip_name(end), "address", 0);
    value.kind = end.kind;
    value.address = end.address;
    add_both(values, value);
    if (record.protocol == 6 || record.protocol == 17)
        add_both(values, number_value(record.protocol == 6 ? "tcp" : "udp", "port", end.port));
}

void add_icmp(const flow_record_t &record, flow_values_t &values)
{
    const bool six = record.protocol == 58;
    const char *protocol = six ? "icmp6" : "icmp";
    if (record.icmp_type >= 0)
        add_both(values, number_value(protocol, six ? "type" : "typeval",
                                      static_cast<uint64_t>(record.icmp_type)));
    if (record.icmp_code >= 0)
        add_both(values, number_value(protocol, "code", static_cast<uint64_t>(record.icmp_code)));
}

/// Tells whether a text can be the name of a protocol, and a word of a flow line.
bool is_name(std::string_view text)
{
    constexpr std::string_view letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ"
                                         "0123456789_-.";
    return !text.empty() && text.size() <= 64 &&
           text.find_first_not_of(letters) == std::string_view::npos;
}

} // namespace

void flow_record_add(flow_record_t &record, flow_seen_t seen)
{
    if (seen.value.bytes.size() > FLOW_RECORD_VALUE_BYTES) {
        seen.value.bytes.resize(FLOW_RECORD_VALUE_BYTES);
        seen.value.incomplete = true;
    }
    if (std::ranges::find(record.seen, seen) != record.seen.end())
        return;
    if (record.seen.size() < FLOW_RECORD_VALUES)
        record.seen.push_back(std::move(seen));
    else
        ++record.dropped;
}

void flow_record_add_protocol(flow_record_t &record, std::string_view name)
{
    if (record.protocols.size() < FLOW_RECORD_VALUES && is_name(name) &&
        std::ranges::find(record.protocols, name) == record.protocols.end())
        record.protocols.emplace_back(name);
}

void flow_record_set_client(flow_record_t &record, uint8_t side, flow_trust_t trust)
{
    if (trust <= record.trust)
        return;
    record.trust = trust;
    record.client = side;
}

flow_values_t flow_record_values(const flow_record_t &record, bool initiator)
{
    flow_values_t values;
    const flow_end_t &responder = record.ends[1 - record.client];
    for (const std::string &name : record.protocols)
        values.emplace_back().protocol = name;
    add_both(values, number_value(ip_name(responder), "protoid", record.protocol));
    add_end(record, responder, values);
    if (initiator)
        add_end(record, record.ends[record.client], values);
    add_icmp(record, values);
    for (const flow_seen_t &seen : record.seen) {
        values.push_back(seen.value);
        if (seen.value.way == FLOW_WAY_NONE)
            values.back().way = seen.side == record.client ? FLOW_WAY_CTS : FLOW_WAY_STC;
    }
    return values;
}

std::string flow_end_text(const flow_end_t &end)
{
    flow_attr_t value;
    value.kind = end.kind;
    value.address = end.address;
    return flow_write_value(value);
}

bool flow_end_read(std::string_view text, flow_end_t &end)
{
    flow_attr_t value;
    if (!flow_read_address(text, value))
        return false;
    end.kind = value.kind;
    end.address = value.address;
    return true;
}

std::string ip_protocol_name(uint8_t protocol)
{
    for (const ip_protocol_t &row : ip_protocols)
        if (row.number == protocol)
            return row.name;
    return std::to_string(protocol);
}

int ip_protocol_number(std::string_view name)
{
    for (const ip_protocol_t &row : ip_protocols)
        if (std::ranges::equal(name, std::string_view(row.name), {}, char_small))
            return row.number;
    uint8_t number = 0;
    const auto [end, fault] = std::from_chars(name.data(), name.data() + name.size(), number);
    return fault == std::errc() && end == name.data() + name.size() ? number : -1;
}
