/// The inputs of `flows` and `classify`: which they are, read one after the other.
#pragma once

#include <CLI/CLI.hpp>

#include "capture_inputs.h"
#include "console.h"
#include "exit_status.h"

/// What both subcommands are asked.
struct flow_input_options_t {
    std::vector<std::string> inputs;
    bool initiator = false;
    size_t window = FLOW_WINDOW;
    uint64_t piece = CAPTURE_PIECE;
    size_t payload = 256; ///< bytes of payload kept of each direction
    size_t jobs = 1;      ///< captures that are read at once
};

/// What the inputs came to.
struct flow_totals_t {
    uint64_t flows = 0;
    uint64_t packets = 0;
    uint64_t bytes = 0;
    uint64_t bad_lines = 0;
    uint64_t evicted = 0;
    uint64_t dropped_values = 0;
};

/// Adds the options.
void flow_input_declare(CLI::App &app, flow_input_options_t &options);

/// Reads every input and hands its flows to `sink`; counts what there was. Bad lines are named on
/// standard error, up to ten of an input and none of tshark's, and counted at the end unless the
/// form is JSON, whose summary counts them. An input that cannot be read is named too, and the next
/// one read: EXIT_STATUS_FILE.
[[nodiscard]] exit_status_t flow_input_run(const flow_input_options_t &options, console_t &console,
                                           flow_totals_t &totals, const flow_sink_t &sink);

/// Adds to a document the members that say which flow it is about.
void flow_fill(json_document_t &document, const flow_record_t &record);

/// Returns totals as they stand in a summary.
json_document_t flow_totals_document(const flow_totals_t &totals);
