/// tshark as a child process: captures in, lines of JSON out.
///
/// The child has a home that is never there and runs with LC_ALL=C.UTF-8, so that what a user has
/// set up changes nothing. Its messages go to memory: a run that is killed leaves nothing behind.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

/// Takes a line of the child's output.
using tshark_sink_t = std::function<void(std::string_view)>;

/// A running child.
struct tshark_child_t {
    pid_t pid = -1;
    int input = -1;
    int output = -1;
    std::string out;   ///< bytes that the child does not have yet
    std::string in;    ///< the beginning of a line
    size_t last = 0;   ///< bytes of the last read
    int fault = 0;     ///< why what it prints could not be read, an errno
    int messages = -1; ///< a file in memory for what it writes to standard error
};

/// Asks the tshark of this machine which of these fields it has; the others become `lacking`.
/// Returns what is wrong, empty for nothing.
[[nodiscard]] std::string tshark_ask(std::vector<std::string> &fields,
                                     std::vector<std::string> &lacking);

/// Starts a child that prints `fields` of each packet. Returns what is wrong, empty for nothing.
[[nodiscard]] std::string tshark_start(const std::vector<std::string> &fields,
                                       tshark_child_t &child);

/// Gives the child some of a capture and takes what it has printed by now. Returns false when it is
/// gone; tshark_finish says why.
[[nodiscard]] bool tshark_feed(tshark_child_t &child, std::string_view bytes,
                               const tshark_sink_t &sink);

/// Waits until something can be read of `source`, and sees to it meanwhile that the child has what
/// it is to have and that what it prints is taken. Returns at once when something can be read.
void tshark_wait(tshark_child_t &child, int source, const tshark_sink_t &sink);

/// Ends the capture, takes the rest and waits for the child. Returns what is wrong, empty for
/// nothing.
[[nodiscard]] std::string tshark_finish(tshark_child_t &child, const tshark_sink_t &sink);
