/// Test suites of flows: files of flows with the protocols that are expected of them.
///
///     # a comment
///     [the name of the case that follows]
///     youtube	ssl:common_name cts "www.youtube.com"
///     -	tcp:port cts 1
///     telegram ssl	tcp:stream cts "\x16\x03\x01"; ssl:common_name cts "telegram.org"
///     - !mip	udp:port cts 435
///     dns*2 http	capture pages.pcap
///
/// A case is a line: what is expected, a tab, the flow (flow.h). Expected is the protocol of the
/// best rule, "-" for none, or, of several words, the protocols of all rules that fire, the best
/// first. A word that begins with "!" is a protocol none of whose rules may fire. A case without a
/// name of its own is called by its file and line.
///
/// In place of a flow a case may name a capture or a log, by its path from the folder of the suite.
/// Then the words are what its flows are, in any order, each flow by its best rule: a protocol, or
/// "-" for flows that no rule fires for; "*" and a number behind a word say how many flows these
/// are, without it they are one or more. A flow of another protocol fails the case, but where no
/// word stands but such with "!".
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "flow.h"

/// What flows of a capture are expected to be.
struct suite_share_t {
    std::string protocol; ///< "-" for flows that no rule fires for
    uint64_t flows = 0;   ///< how many; 0 for one or more
};

/// One case.
struct suite_case_t {
    std::string name;
    size_t line = 0;                   ///< of the file, from 1
    std::vector<std::string> expected; ///< protocols, the best first; none for "-"
    std::vector<std::string> excluded;
    flow_values_t values;
    std::string capture;               ///< path of a capture as the line has it, empty for a flow
    std::vector<suite_share_t> shares; ///< of a capture, in place of `expected`
};

/// A file of cases.
struct suite_t {
    std::string file;               ///< as messages show it
    std::vector<std::string> lines; ///< the text, without line ends
    std::vector<suite_case_t> cases;
};

/// Where a suite is wrong.
struct suite_error_t {
    size_t line = 0;
    size_t column = 0; ///< bytes, from 1
    std::string text;
};

/// Reads the suite of a file from its text. Returns false with the first mistake.
[[nodiscard]] bool suite_read(std::string_view file, std::string_view text, suite_t &suite,
                              suite_error_t &error);

/// Tells whether a case holds when the rules of `got` fire: their protocols, the best first.
bool suite_case_holds(const suite_case_t &one, const std::vector<std::string> &got);

/// Returns what is expected of a case as its line says it.
std::string suite_expectation(const suite_case_t &one);

/// Makes what fires now what is expected of a case, in the case and in the lines of its suite: the
/// best alone where one word stood, else all. Words with "!" stay where they hold.
void suite_accept(suite_t &suite, size_t index, const std::vector<std::string> &got);

/// Writes what is expected of a case, changed, into the lines of its suite.
void suite_write_back(suite_t &suite, const suite_case_t &one);

/// Returns the text of a suite.
std::string suite_text(const suite_t &suite);
