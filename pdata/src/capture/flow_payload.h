/// The beginning of what one side of a TCP connection sent, put in order.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

/// Pieces that are kept while they wait for what comes before them.
constexpr size_t FLOW_PAYLOAD_PIECES = 64;

struct flow_payload_t {
    struct piece_t {
        int64_t at; ///< of its first byte, from the base
        std::string bytes;
    };
    bool has_base = false;
    bool from_start = false; ///< the base is that of a SYN
    uint32_t base = 0;       ///< sequence number of byte 0
    std::vector<piece_t> pieces;
    bool more = false; ///< more was sent than is kept
};

/// Says at which sequence number the first byte stands.
void flow_payload_begin(flow_payload_t &payload, uint32_t sequence);

/// Takes a segment of `length` bytes, of which `bytes` were captured; the first `limit` bytes of
/// the stream are kept.
void flow_payload_add(flow_payload_t &payload, uint32_t sequence, std::string_view bytes,
                      uint32_t length, size_t limit);

/// Returns the bytes from the beginning to the first gap, at most `limit`; what was sent twice
/// counts once, as it was sent first. `more` becomes true where anything follows.
std::string flow_payload_bytes(flow_payload_t &payload, size_t limit);
