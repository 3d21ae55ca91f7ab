/// Cases of a suite that are about the flows of a capture or log (flow_suite.h).
#pragma once

#include <map>
#include <set>

#include "flow_suite.h"

/// What the flows of a capture are.
struct suite_flows_t {
    std::map<std::string, uint64_t, std::less<>> best; ///< flows by best protocol, "-" for none
    std::set<std::string, std::less<>> fired; ///< protocols of all rules that fire in any flow
};

/// Reads the words in front of the tab. Returns the column of a mistake, 0 for none.
[[nodiscard]] size_t suite_capture_words(std::string_view words, suite_case_t &one);

/// Returns the word for an expectation, as in "dns*2".
std::string suite_share_word(const suite_share_t &share);

/// Returns the words for what flows are, each with its number.
std::vector<std::string> suite_flows_words(const suite_flows_t &flows);

/// Tells whether the case holds for these flows.
bool suite_capture_holds(const suite_case_t &one, const suite_flows_t &flows);

/// Tells whether a flow may be `protocol`, "-" for none.
bool suite_capture_admits(const suite_case_t &one, std::string_view protocol);

/// Tells whether there are fewer flows of a protocol than the case wants.
bool suite_capture_lacks(const suite_case_t &one, const suite_flows_t &flows,
                         std::string_view protocol);

/// Returns the path of a capture, which the case says from the folder of its suite.
std::string suite_capture_path(std::string_view suite_path, const suite_case_t &one);

/// Makes what the flows are what is expected, in the case and in the lines of its suite, with
/// numbers where the line has one. Words with "!" stay where they hold.
void suite_capture_accept(suite_t &suite, size_t index, const suite_flows_t &flows);
