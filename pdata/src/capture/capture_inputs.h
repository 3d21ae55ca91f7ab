/// Inputs, one after the other: captures and logs. Captures may be read ahead by threads, each with
/// a child of tshark, while their flows are handed over in the order of the inputs.
///
/// One thread calls the operations. A capture is read by one thread from its beginning to its end,
/// so its flows and their order do not depend on how many threads there are.
#pragma once

#include <condition_variable>
#include <deque>
#include <exception>
#include <thread>

#include "capture_reader.h"

/// Flows that wait, of all captures together, for those of the inputs before them to be handed
/// over; threads that would add more wait too.
constexpr size_t CAPTURE_AHEAD = 16384;

/// An input. Who reads it has it for itself until `known` or `done` is set.
struct capture_input_t {
    std::string path; ///< "-" for standard input
    byte_source_t source = {};
    capture_file_t file = {};
    int system_error = 0;    ///< errno of opening
    bool is_capture = false; ///< else it is to be read from `source` as lines
    std::string fault = {};  ///< of a capture: what is wrong with it, empty for nothing
    capture_counts_t counts = {};
    bool known = false; ///< it was looked at; guarded as the rest of what follows
    bool done = false;  ///< its last flow is in `flows`
    std::deque<flow_record_t> flows = {};
    std::exception_ptr thrown = {};
};

struct capture_inputs_t {
    explicit capture_inputs_t(capture_setup_t &shared) : setup(shared) {}
    ~capture_inputs_t(); ///< ends the threads and closes what is open

    capture_setup_t &setup;
    std::deque<capture_input_t> inputs = {};
    std::mutex mutex = {};
    std::condition_variable changed = {};
    size_t next = 0;  ///< the first that no thread has begun
    size_t turn = 0;  ///< the one whose flows are handed over
    size_t ahead = 0; ///< flows that wait
    bool stopped = false;
    size_t jobs = 1; ///< threads; one stands for none
    std::vector<std::thread> threads = {};
};

/// Names the inputs. With `jobs` of 2 and more so many threads begin to read captures.
void capture_inputs_open(capture_inputs_t &inputs, const std::vector<std::string> &paths,
                         size_t jobs);

/// Goes on to an input, which comes behind the last one: opens it, or waits until it is known what
/// it is.
capture_input_t &capture_inputs_begin(capture_inputs_t &inputs, size_t number);

/// Closes an input that is read.
void capture_inputs_end(capture_input_t &input);

/// Hands the flows of an input, which is a capture, to `sink`, and waits for its end.
void capture_inputs_take(capture_inputs_t &inputs, capture_input_t &input, const flow_sink_t &sink);
