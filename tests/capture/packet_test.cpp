#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "flow_table.h"

namespace
{

using namespace std::string_literals;

const std::string packet_line =
    R"({"timestamp":"1700000000000","layers":{"frame_protocols":["eth:ethertype:ip:udp:vxlan:eth:)"
    R"(ethertype:ipv6:ipv6.hopopts:tcp:tls"],"frame_len":["90"],"ip_src":["10.0.0.1"],)"
    R"("ip_dst":["10.0.0.2"],"ipv6_src":["2001:db8::1"],"ipv6_dst":["2001:db8::2"],)"
    R"("tcp_srcport":["4000"],"tcp_dstport":["443"],"udp_srcport":["1"],"udp_dstport":["4789"],)"
    R"("tcp_flags":["0x0018"],"tcp_seq_raw":["4294967295"],"tcp_len":["3"],"tcp_payload":["160301"],)"
    R"("vxlan_vni":["7"],"tls_handshake_type":["1"],)"
    R"("tls_handshake_extensions_server_name":["a.example"],)"
    R"("tls_handshake_extensions_server_name_len":["9"],"tls_handshake_certificate":["3003:zz"]}})";

TEST(packet_test, the_innermost_headers_count)
{
    packet_reader_t reader;
    packet_reader_open(reader);
    packet_t packet;
    std::string fault;
    ASSERT_TRUE(packet_read(reader, packet_line, packet, fault)) << fault;
    EXPECT_EQ(flow_end_text(packet.from), "2001:db8::1");
    EXPECT_EQ(packet.to.port, 443);
    EXPECT_EQ(packet.protocol, 6);
    EXPECT_EQ(packet.sequence, 4294967295U);
    EXPECT_EQ(packet.payload, "\x16\x03\x01");
    EXPECT_TRUE(packet.request);
    EXPECT_EQ(packet.tunnel, "ip:udp:vxlan:eth:ethertype 10.0.0.1-10.0.0.2 7");
}

/// Reads a line that has these layers; the packet points into it until the next one.
bool read_layers(const std::string &layers, packet_t &packet, flow_record_t *record = nullptr)
{
    static packet_reader_t reader;
    static std::string line;
    if (reader.fields.empty())
        packet_reader_open(reader);
    std::string fault;
    line = R"({"timestamp":"1","layers":{)" + layers + "}}";
    if (!packet_read(reader, line, packet, fault)) {
        EXPECT_EQ(fault, "");
        return false;
    }
    if (record != nullptr)
        capture_rules_apply(reader.rules, reader.bag, {{}, packet.layers, 0, packet.payload},
                            *record);
    return true;
}

TEST(packet_test, protocols_without_ports_are_told_by_their_header)
{
    const std::string ends = R"(,"ip_src":["10.0.0.1"],"ip_dst":["10.0.0.2"])";
    const std::string ends6 = R"(,"ipv6_src":["::1"],"ipv6_dst":["::2"])";
    packet_t packet;
    EXPECT_TRUE(
        read_layers(R"("frame_protocols":["eth:ip:data"],"ip_proto":["253"])" + ends, packet));
    EXPECT_EQ(packet.protocol, 253);
    EXPECT_FALSE(packet.has_ports);
    EXPECT_TRUE(read_layers(R"("frame_protocols":["eth:ip"],"ip_proto":["254"])" + ends, packet));
    EXPECT_EQ(packet.protocol, 254);
    EXPECT_TRUE(packet.layers.empty());
    EXPECT_FALSE(read_layers(R"("frame_protocols":["eth:ip"],"ip_proto":["6"])" + ends, packet))
        << "a fragment";
    EXPECT_TRUE(read_layers(R"("frame_protocols":["eth:ip:sctp:data"],"sctp_srcport":["7"],)"
                            R"("sctp_dstport":["8"])" +
                                ends,
                            packet));
    EXPECT_EQ(packet.protocol, 132);
    EXPECT_EQ(packet.to.port, 8);
    EXPECT_TRUE(read_layers(R"("frame_protocols":["eth:ipv6:ah:udp"],"udp_srcport":["7"],)"
                            R"("udp_dstport":["8"])" +
                                ends6,
                            packet));
    EXPECT_EQ(packet.protocol, 17);
    EXPECT_EQ(packet.layers, std::vector<std::string_view>{"udp"});
    EXPECT_FALSE(read_layers(R"("frame_protocols":["eth:arp"])", packet));
    packet_reader_t reader;
    packet_reader_open(reader);
    std::string fault;
    EXPECT_FALSE(packet_read(reader, "", packet, fault));
    EXPECT_EQ(fault, "");
    EXPECT_FALSE(packet_read(reader, "tshark: oops", packet, fault));
    EXPECT_EQ(fault, "tshark printed what is no JSON object");
}

// The header outside says nothing of the packet; a text that is not behind its name is none.
TEST(packet_test, values_are_those_of_the_innermost_headers)
{
    packet_t packet;
    flow_record_t record;
    EXPECT_TRUE(read_layers(R"("frame_protocols":["eth:ip:ipv6:tcp:rtmpt"],"ip_src":["10.0.0.1"],)"
                            R"("ip_dst":["10.0.0.2"],"ipv6_src":["::1"],"ipv6_dst":["::2"],)"
                            R"("tcp_srcport":["1"],"tcp_dstport":["2"],"ip_dsfield_dscp":["46"],)"
                            R"("ipv6_tclass_dscp":["10"],"amf_string":["app","tcUrl"],)"
                            R"("amf_stringlength":["3","5"])",
                            packet, &record));
    ASSERT_EQ(record.seen.size(), 1u);
    EXPECT_EQ(record.seen[0].value.protocol, "ip6");
    EXPECT_EQ(record.seen[0].value.number, 10u);
}

TEST(packet_test, lines_of_any_bytes_are_faults_at_most)
{
    packet_reader_t reader;
    packet_reader_open(reader);
    std::mt19937 random(5);
    uint64_t flows = 0;
    flow_table_t table;
    table.window = 3;
    table.sink = [&flows](flow_record_t &record) {
        flows += flow_record_values(record, true).empty() ? 0 : 1;
    };
    for (int round = 0; round < 20000; ++round) {
        std::string line = packet_line;
        for (size_t edit = random() % 6; edit > 0; --edit)
            line[random() % line.size()] = static_cast<char>(random() % 128);
        packet_t packet;
        std::string fault;
        if (!packet_read(reader, line, packet, fault))
            continue;
        uint8_t side = 0;
        flow_record_t &record = flow_table_add(table, packet, side);
        capture_rules_apply(reader.rules, reader.bag, {{}, packet.layers, side, packet.payload},
                            record);
    }
    flow_table_end(table);
    EXPECT_GT(flows, 100U);
}

TEST(packet_test, payload_is_put_in_order)
{
    flow_payload_t payload;
    flow_payload_begin(payload, 4294967294U);
    flow_payload_add(payload, 1, "DEF", 3, 100);
    flow_payload_add(payload, 4294967293U, "xabC", 4, 100);
    flow_payload_add(payload, 4294967294U, "ABC", 3, 100);
    EXPECT_EQ(flow_payload_bytes(payload, 100), "abCDEF");
    EXPECT_FALSE(payload.more);
}

TEST(packet_test, a_gap_and_the_limit_end_the_payload)
{
    flow_payload_t gap;
    flow_payload_begin(gap, 10);
    flow_payload_add(gap, 11, "behind", 6, 100);
    EXPECT_EQ(flow_payload_bytes(gap, 100), "");
    EXPECT_TRUE(gap.more);
    flow_payload_t limit;
    flow_payload_add(limit, 10, "abcdef", 6, 4);
    EXPECT_EQ(flow_payload_bytes(limit, 4), "abcd");
    EXPECT_TRUE(limit.more);
}

TEST(packet_test, pieces_of_a_stream_in_any_order_lead_to_its_beginning)
{
    std::mt19937 random(9);
    for (int round = 0; round < 2000; ++round) {
        std::string stream(1 + random() % 40, '\0');
        for (char &c : stream)
            c = static_cast<char>('a' + random() % 26);
        const auto base = static_cast<uint32_t>(random());
        flow_payload_t payload;
        flow_payload_begin(payload, base);
        std::vector<bool> sent(stream.size());
        for (size_t piece = random() % 12; piece > 0; --piece) {
            const size_t at = random() % stream.size();
            const size_t length = 1 + random() % (stream.size() - at);
            flow_payload_add(payload, base + static_cast<uint32_t>(at), stream.substr(at, length),
                             static_cast<uint32_t>(length), 1000);
            std::fill_n(sent.begin() + static_cast<ptrdiff_t>(at), length, true);
        }
        const auto gap =
            static_cast<size_t>(std::find(sent.begin(), sent.end(), false) - sent.begin());
        EXPECT_EQ(flow_payload_bytes(payload, 1000), stream.substr(0, gap));
    }
}

/// A packet of TCP from the smaller end.
packet_t segment(double time, uint32_t flags)
{
    packet_t packet;
    packet.time = time;
    packet.from.kind = packet.to.kind = FLOW_IP4;
    packet.to.address[0] = 1;
    packet.protocol = 6;
    packet.tcp_flags = flags;
    return packet;
}

/// Flows that packets lead to, by their numbers of packets.
std::vector<uint64_t> flows_of(const std::vector<packet_t> &packets, uint64_t &evicted)
{
    std::vector<uint64_t> flows;
    flow_table_t table;
    table.window = 2;
    table.sink = [&flows](flow_record_t &record) {
        flows.push_back(record.packets[0] + record.packets[1]);
    };
    uint8_t side = 0;
    for (const packet_t &packet : packets)
        (void)flow_table_add(table, packet, side);
    flow_table_end(table);
    evicted = table.evicted;
    return flows;
}

TEST(packet_test, a_flow_ends_when_idle_when_reset_and_for_want_of_room)
{
    uint64_t evicted = 0;
    using numbers = std::vector<uint64_t>;
    const packet_t first = segment(0, TCP_ACK);
    EXPECT_EQ(flows_of({first, segment(120, TCP_ACK)}, evicted), numbers{2});
    EXPECT_EQ(flows_of({first, segment(120.5, TCP_ACK)}, evicted), (numbers{1, 1}));
    const packet_t reset = segment(1, TCP_RST);
    EXPECT_EQ(flows_of({first, reset, segment(2, TCP_ACK)}, evicted), numbers{3});
    EXPECT_EQ(flows_of({first, reset, segment(2, TCP_SYN)}, evicted), (numbers{2, 1}));
    EXPECT_EQ(evicted, 0U);
    std::vector<packet_t> others = {first, first, reset};
    for (uint16_t port = 1; port < 4; ++port) {
        others.push_back(segment(2, TCP_ACK));
        others.back().to.port = port;
    }
    EXPECT_EQ(flows_of(others, evicted), (numbers{3, 1, 1, 1}));
    EXPECT_EQ(evicted, 1U); // the one that was reset makes room first, and counts for nothing
}

TEST(packet_test, layers_behind_the_transport_are_protocols_of_the_flow)
{
    using names_t = std::vector<std::string>;
    const auto protocols = [](std::vector<std::string_view> layers) {
        flow_table_t table;
        packet_t packet = segment(0, TCP_ACK);
        packet.layers = std::move(layers);
        uint8_t side = 0;
        return names_t(flow_table_add(table, packet, side).protocols);
    };
    EXPECT_EQ(protocols({}), names_t{"tcp"});
    EXPECT_EQ(protocols({"tcp"}), names_t{"tcp"});
    EXPECT_EQ(protocols({"tcp", "tls"}), (names_t{"tcp", "ssl"}));
    EXPECT_EQ(protocols({"tcp", "smb2", "dcerpc"}), (names_t{"tcp", "smb", "dcerpc"}));
    EXPECT_EQ(protocols({"tcp", "data", "media", "x509ce", "pkcs1", "pkix1explicit", "_ws.short",
                         "a.b", "mqtt"}),
              (names_t{"tcp", "mqtt"}));
}

TEST(packet_test, a_syn_begins_a_flow_anew_unless_it_is_sent_again)
{
    uint64_t evicted = 0;
    using numbers = std::vector<uint64_t>;
    packet_t first = segment(0, TCP_SYN);
    packet_t again = segment(1, TCP_SYN);
    first.sequence = again.sequence = 5;
    packet_t other = again;
    other.sequence = 6;
    EXPECT_EQ(flows_of({first, again}, evicted), numbers{2});
    EXPECT_EQ(flows_of({first, other}, evicted), (numbers{1, 1}));
    EXPECT_EQ(flows_of({segment(0, TCP_ACK), other}, evicted), numbers{2}) << "its first number";
}

TEST(packet_test, keys_of_flows_differ_by_every_member)
{
    const flow_key_t key = {{FLOW_IP4, {1}, 5}, {FLOW_IP4, {2}, 6}, 6, "t"};
    EXPECT_EQ(key, (flow_key_t{{FLOW_IP4, {1}, 5}, {FLOW_IP4, {2}, 6}, 6, "t"}));
    EXPECT_NE(key, (flow_key_t{{FLOW_IP4, {1}, 4}, {FLOW_IP4, {2}, 6}, 6, "t"}));
    EXPECT_NE(key, (flow_key_t{{FLOW_IP4, {1}, 5}, {FLOW_IP4, {2}, 7}, 6, "t"}));
    EXPECT_NE(key, (flow_key_t{{FLOW_IP4, {1}, 5}, {FLOW_IP4, {2}, 6}, 17, "t"}));
    EXPECT_NE(key, (flow_key_t{{FLOW_IP4, {1}, 5}, {FLOW_IP4, {2}, 6}, 6, ""}));
}

} // namespace
