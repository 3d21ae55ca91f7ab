/// Recorded flows replayed through two loadable pdbs, and the changes that are accepted.
#pragma once

#include <set>

#include "exit_status.h"
#include "flow_replay.h"
#include "loadable.h"

/// A pair that the author of a file accepts.
struct allowed_pair_t {
    replay_pair_t pair;
    std::string place; ///< "allow.txt:3"
    bool occurred = false;
};

/// What is replayed.
struct diff_flows_t {
    flow_replay_t replay;
    std::vector<allowed_pair_t> allowed; ///< as the file has them
    std::set<replay_pair_t> accepted;    ///< changes that any of them accepts
    uint64_t nr_allowed = 0;             ///< flows of accepted pairs
    uint64_t bad_lines = 0;
};

/// Reads the file of accepted pairs at `path`. Returns false after a message.
[[nodiscard]] bool diff_flows_allow(console_t &console, const std::string &path,
                                    diff_flows_t &flows);

/// Replays the flow lines of the files at `paths`, "-" for standard input, and marks the accepted
/// pairs that occurred. Bad lines are named on standard error and left out. Returns
/// EXIT_STATUS_FILE for a file that cannot be read, or has bad lines; EXIT_STATUS_FINDINGS where a
/// change is not accepted.
[[nodiscard]] exit_status_t
diff_flows_run(console_t &console, const std::vector<std::string> &paths, diff_flows_t &flows);

/// Prints the changes, without their examples where `stat` is set.
void diff_flows_print(console_t &console, const diff_flows_t &flows, bool stat);

/// Returns them as JSON.
json_document_t diff_flows_document(const diff_flows_t &flows, bool stat);

/// Names the accepted pairs that did not occur on standard error.
void diff_flows_name_stale(console_t &console, const diff_flows_t &flows);
