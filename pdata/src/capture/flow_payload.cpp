#include "flow_payload.h"

#include <algorithm>

void flow_payload_begin(flow_payload_t &payload, uint32_t sequence)
{
    payload.has_base = true;
    payload.from_start = true;
    payload.base = sequence;
}

void flow_payload_add(flow_payload_t &payload, uint32_t sequence, std::string_view bytes,
                      uint32_t length, size_t limit)
{
    if (!payload.has_base) {
        payload.has_base = true;
        payload.base = sequence;
    }
    const auto most = static_cast<int64_t>(limit);
    int64_t at = static_cast<int32_t>(sequence - payload.base);
    if (at < 0 && payload.from_start) {
        const size_t known = std::min<size_t>(static_cast<size_t>(-at), bytes.size());
        length -= std::min(length, static_cast<uint32_t>(-at));
        bytes.remove_prefix(known);
        at = 0;
    }
    if (length == 0)
        return;
    if (at >= most || payload.pieces.size() >= FLOW_PAYLOAD_PIECES || at < -most) {
        payload.more = payload.more || at >= 0;
        return;
    }
    const size_t kept = std::min(bytes.size(), limit);
    payload.more = payload.more || kept < length;
    payload.pieces.push_back({at, std::string(bytes.substr(0, kept))});
}

std::string flow_payload_bytes(flow_payload_t &payload, size_t limit)
{
    std::string bytes;
    std::ranges::stable_sort(payload.pieces, {}, &flow_payload_t::piece_t::at);
    const int64_t start =
        payload.from_start || payload.pieces.empty() ? 0 : payload.pieces.front().at;
    for (const flow_payload_t::piece_t &piece : payload.pieces) {
        const int64_t known = start + static_cast<int64_t>(bytes.size()) - piece.at;
        if (known < 0) {
            payload.more = true;
            break;
        }
        if (known < static_cast<int64_t>(piece.bytes.size()))
            bytes += std::string_view(piece.bytes).substr(static_cast<size_t>(known));
    }
    if (bytes.size() > limit) {
        bytes.resize(limit);
        payload.more = true;
    }
    return bytes;
}
