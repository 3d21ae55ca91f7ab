/// tshark as a child process: captures in, lines of JSON out.
///
/// The child has a home that is never there and runs with LC_ALL=C.UTF-8, so that what a user has
/// set up changes nothing. Its messages go to memory: a run that is killed leaves nothing behind.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <vector>

#include <sys/types.h>

/// What is known of the tshark of this machine.
struct tshark_t {
    int messages = -1; ///< a file in memory for the messages of a child, closed by tshark_close
    std::unordered_set<std::string> fields;
};

/// Takes a line of the child's output.
using tshark_sink_t = std::function<void(std::string_view)>;

/// A running child.
struct tshark_child_t {
    pid_t pid = -1;
    int input = -1;
    int output = -1;
    std::string out; ///< bytes that the child does not have yet
    std::string in;  ///< the beginning of a line
};

/// Asks tshark which fields it has. Returns what is wrong, empty for nothing.
[[nodiscard]] std::string tshark_open(tshark_t &tshark);

/// Gives the file of the messages back.
void tshark_close(tshark_t &tshark);

/// Starts a child that prints `fields` of each packet. Returns what is wrong, empty for nothing.
[[nodiscard]] std::string
tshark_start(const tshark_t &tshark, const std::vector<std::string> &fields, tshark_child_t &child);

/// Gives the child some of a capture and takes what it has printed by now. Returns false when it is
/// gone; tshark_finish says why.
[[nodiscard]] bool tshark_feed(tshark_child_t &child, std::string_view bytes,
                               const tshark_sink_t &sink);

/// Ends the capture, takes the rest and waits for the child. Returns what is wrong, empty for
/// nothing.
[[nodiscard]] std::string tshark_finish(const tshark_t &tshark, tshark_child_t &child,
                                        const tshark_sink_t &sink);
