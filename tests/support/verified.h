/// What the verifier of the reading side says of a pdb.
#pragma once

#include <string>
#include <vector>

#include "pdb_verify.h"

/// A fault as a test compares it.
struct found_fault_t {
    view_fault_t fault = VIEW_SOUND;
    size_t offset = 0;
    std::string text;
    view_grade_t grade = VIEW_UNSAFE;
};

/// Every fault, in the order in which they are found.
inline std::vector<found_fault_t> verify_faults(std::span<const uint8_t> file)
{
    std::vector<found_fault_t> faults;
    const pdb_fault_sink_t sink = {
        [](void *context, const view_error_t &fault) {
            static_cast<std::vector<found_fault_t> *>(context)->push_back(
                {fault.fault, fault.offset, fault.text, fault.grade});
        },
        &faults};
    (void)pdb_verify(file, sink); // as many as the sink was handed
    return faults;
}

/// The first fault that makes a file unsafe, its offset in front; empty for none. With
/// `compiled_only`, those of parts that a compile copies from its input do not count.
inline std::string verify_text(std::span<const uint8_t> file, bool compiled_only = false)
{
    for (const found_fault_t &found : verify_faults(file))
        if (found.grade == VIEW_UNSAFE && (!compiled_only || found.text.starts_with("matchers") ||
                                           found.text.starts_with("rules")))
            return std::to_string(found.offset) + ": " + found.text;
    return "";
}

/// The same for what makes it unsound, every fault on a line of its own.
inline std::string unsound_text(std::span<const uint8_t> file)
{
    std::string text;
    for (const found_fault_t &found : verify_faults(file))
        if (found.grade == VIEW_UNSOUND)
            text += std::to_string(found.offset) + ": " + found.text + '\n';
    return text;
}
