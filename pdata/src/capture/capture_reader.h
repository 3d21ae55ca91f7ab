/// Flows from captures: tshark is fed with them in pieces, and its packets are put into a table.
#pragma once

#include "capture_file.h"
#include "flow_table.h"
#include "tshark.h"

/// Packets that one child of tshark is given. Its memory grows with what it has seen.
constexpr uint64_t CAPTURE_PIECE = 500000;

/// Reads captures. Nothing is started before the first one.
struct capture_reader_t {
    flow_table_t table;
    packet_reader_t packets;
    tshark_t tshark;
    bool ready = false;               ///< tshark was asked what it has
    std::string fault;                ///< why it cannot be used
    std::vector<std::string> lacking; ///< fields of the table that it lacks
    uint64_t piece = CAPTURE_PIECE;
    uint64_t bad_lines = 0; ///< of tshark's output
};

/// Asks tshark what it has. Returns what is wrong, empty for nothing.
[[nodiscard]] std::string capture_reader_open(capture_reader_t &reader);

/// Removes what was made.
void capture_reader_close(capture_reader_t &reader);

/// Reads a capture that capture_file_open has begun; the flows that are open at its end are handed
/// over. Returns what is wrong, empty for nothing; flows that were seen until then are handed over.
[[nodiscard]] std::string capture_reader_run(capture_reader_t &reader, byte_source_t &source,
                                             capture_file_t &file);
