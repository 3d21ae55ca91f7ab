/// A packet, read from a line of tshark: whose it is, its payload, and the fields of the table.
#pragma once

#include "capture_fields.h"

/// Fields that every packet is asked for, by their numbers in a bag.
struct packet_names_t {
    uint32_t time, layers, length;
    uint32_t ip_from, ip_to, ip_protocol, ip_dscp;
    uint32_t ip6_from, ip6_to, ip6_protocol, ip6_dscp;
    uint32_t tcp_from, tcp_to, tcp_flags, tcp_sequence, tcp_length, tcp_payload;
    uint32_t udp_from, udp_to, udp_length, udp_payload;
    uint32_t sctp_from, sctp_to;
    uint32_t icmp_type, icmp_code, icmp6_type, icmp6_code;
    uint32_t network, key;
};

// Flags of TCP.
constexpr uint32_t TCP_FIN = 0x01;
constexpr uint32_t TCP_SYN = 0x02;
constexpr uint32_t TCP_RST = 0x04;
constexpr uint32_t TCP_ACK = 0x10;

struct packet_t {
    double time = 0; ///< seconds
    flow_end_t from;
    flow_end_t to;
    uint8_t protocol = 0;
    bool has_ports = false;
    int icmp_type = -1;
    int icmp_code = -1;
    std::string tunnel;    ///< the layers and addresses around the innermost IP header
    bool request = false;  ///< a ClientHello or another request
    bool embedded = false; ///< carries the packet that an ICMP error is about
    uint32_t tcp_flags = 0;
    uint32_t sequence = 0;                ///< of TCP
    uint32_t payload_length = 0;          ///< as sent
    std::string payload;                  ///< as captured
    uint64_t length = 0;                  ///< of the frame
    std::vector<std::string_view> layers; ///< behind the innermost IP header; into the bag
};

/// How the reader of packets is set up.
struct packet_reader_t {
    field_bag_t bag;
    capture_rules_t rules;
    packet_names_t names = {};
    std::vector<uint32_t> requests;  ///< fields that only requests have
    std::vector<std::string> fields; ///< what tshark is asked for, as it calls them
};

/// Makes a reader.
void packet_reader_open(packet_reader_t &reader);

/// Reads a line. Returns false for one that is about no packet with addresses; `fault` says what is
/// wrong where it should be about one.
[[nodiscard]] bool packet_read(packet_reader_t &reader, std::string_view line, packet_t &packet,
                               std::string &fault);
