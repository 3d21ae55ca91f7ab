/// Flows from captures: tshark is fed with them in pieces, and its packets are put into a table.
#pragma once

#include <mutex>

#include "capture_file.h"
#include "flow_table.h"
#include "tshark.h"

/// Packets that one child of tshark is given. Its memory grows with what it has seen.
constexpr uint64_t CAPTURE_PIECE = 500000;

/// How captures are read, and the tshark that reads them: what all captures of a run share.
struct capture_setup_t {
    uint64_t piece = CAPTURE_PIECE;
    size_t window = FLOW_WINDOW;
    size_t payload_bytes = 256;            ///< kept of each direction
    std::once_flag asked = {};             ///< tshark was asked what it has
    std::vector<std::string> fields = {};  ///< of the table, those that it has
    std::vector<std::string> lacking = {}; ///< those that it lacks
    std::string fault = {};                ///< why it cannot be used
};

/// Asks tshark what it has, once, from any thread. Returns what is wrong, empty for nothing.
[[nodiscard]] const std::string &capture_setup_ask(capture_setup_t &setup);

/// What a capture came to.
struct capture_counts_t {
    uint64_t bad_lines = 0; ///< of tshark's output
    uint64_t evicted = 0;   ///< flows that were ended for want of room
};

/// Reads a capture that capture_file_open has begun and hands its flows to `sink`; those that are
/// open at its end too. Returns what is wrong, empty for nothing; flows that were seen until then
/// are handed over.
[[nodiscard]] std::string capture_read(capture_setup_t &setup, byte_source_t &source,
                                       capture_file_t &file, const flow_sink_t &sink,
                                       capture_counts_t &counts);
