/// A flow as a capture or a log shows it: its ends, how much went through it, and what was seen.
///
/// A record has two sides, numbered 0 and 1. Which of them is the client may become clear only
/// after values were seen, so values that are told by who sent them keep the side until the end.
#pragma once

#include "flow.h"

/// One end of a flow.
struct flow_end_t {
    flow_kind_t kind = FLOW_PROTOCOL; ///< FLOW_IP4 or FLOW_IP6 once the address was read
    std::array<uint8_t, 16> address = {};
    uint16_t port = 0;

    auto operator<=>(const flow_end_t &) const = default;
};

/// How sure it is which side is the client, rising.
enum flow_trust_t : uint8_t {
    FLOW_TRUST_FIRST,   ///< it sent the first packet seen
    FLOW_TRUST_REQUEST, ///< it sent a ClientHello or a request
    FLOW_TRUST_OPENING, ///< it sent a SYN without ACK, or a log says so
};

/// A value, and which side sent it.
struct flow_seen_t {
    flow_attr_t value; ///< `way` is FLOW_WAY_NONE where `side` says it
    uint8_t side = 0;
    bool operator==(const flow_seen_t &) const = default;
};

/// Values that a record keeps; further ones are counted.
constexpr size_t FLOW_RECORD_VALUES = 256;
/// Bytes of one value that a record keeps.
constexpr size_t FLOW_RECORD_VALUE_BYTES = 16384;

struct flow_record_t {
    std::array<flow_end_t, 2> ends;
    uint8_t client = 0; ///< the side that is the client
    flow_trust_t trust = FLOW_TRUST_FIRST;
    uint8_t protocol = 0;               ///< IP protocol number
    bool has_ports = false;             ///< the ends have ports
    int icmp_type = -1;                 ///< -1 for none
    int icmp_code = -1;                 ///< -1 for none
    std::string tunnel;                 ///< what it went through, empty for nothing
    uint32_t generation = 0;            ///< flows of the same key before this one
    bool seam = false;                  ///< a piece of the capture ended within it
    std::vector<std::string> protocols; ///< that the source said it has
    std::vector<flow_seen_t> seen;
    uint64_t dropped = 0; ///< values beyond FLOW_RECORD_VALUES
    std::array<uint64_t, 2> packets = {};
    std::array<uint64_t, 2> bytes = {};
};

/// Keeps a value unless the record has it already or is full. A long one is cut and incomplete.
void flow_record_add(flow_record_t &record, flow_seen_t seen);

/// Says that a flow has a protocol, once. A name that is no word of at most 64 letters, digits and
/// "_-." is let go: it comes from outside, and stands in flow lines as it is.
void flow_record_add_protocol(flow_record_t &record, std::string_view name);

/// Says which side is the client, if that is surer than what is known.
void flow_record_set_client(flow_record_t &record, uint8_t side, flow_trust_t trust);

/// Returns the values of a flow: protocols that the source named, then protocol number, address and
/// port of the responder in both directions, those of the initiator too where `initiator` is set,
/// then what was seen. The ends of the record have addresses.
flow_values_t flow_record_values(const flow_record_t &record, bool initiator);

/// Returns the address of an end as text.
std::string flow_end_text(const flow_end_t &end);

/// Reads an address. Returns false for a text that is none.
[[nodiscard]] bool flow_end_read(std::string_view text, flow_end_t &end);

/// Returns the name of an IP protocol as descriptions call it, or its number as text.
std::string ip_protocol_name(uint8_t protocol);

/// Returns the number for a name (any case, also those that logs use) or a number, -1 for neither.
int ip_protocol_number(std::string_view name);
