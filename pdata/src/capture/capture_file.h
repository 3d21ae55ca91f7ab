/// Captures as files: pcap and pcapng, packet by packet, as they come.
///
/// Only where packets begin and end is looked at, so that a capture can be handed on in pieces that
/// are captures themselves.
#pragma once

#include "byte_source.h"

struct capture_file_t {
    bool next_generation = false; ///< pcapng
    bool swapped = false;         ///< numbers are in the other byte order than the machine's
    std::string header;           ///< what stands at the beginning of every piece
};

/// Tells whether an input begins like a capture, and takes what stands in front of its first packet
/// in that case.
[[nodiscard]] bool capture_file_open(byte_source_t &source, capture_file_t &file);

enum capture_block_t {
    CAPTURE_PACKET,
    CAPTURE_OTHER, ///< a block that is no packet; it may have become part of the header
    CAPTURE_END,
    CAPTURE_DAMAGED, ///< what follows fits no packet, or the last one is cut short
};

/// Takes a packet with what stands around it. The bytes stay where they are until the next call.
capture_block_t capture_file_next(byte_source_t &source, capture_file_t &file,
                                  std::string_view &bytes);
