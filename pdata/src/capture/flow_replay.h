/// Recorded flows run through two databases, and which of them are classified otherwise.
///
/// A flow is classified by its best rule: the last protocol of its path, "unknown" where no rule
/// fires. Memory is that of the pairs of protocols that occur, however many flows there are.
#pragma once

#include <array>
#include <map>
#include <utility>

#include "flow_match.h"

/// A pair of protocols: before, after.
using replay_pair_t = std::pair<std::string, std::string>;

/// Bytes of a flow that is kept as an example.
constexpr size_t REPLAY_EXAMPLE_MAX = 4096;

/// What became of the flows of a pair.
struct replay_change_t {
    uint64_t flows = 0;
    std::string example; ///< the first flow that is short enough to be kept, empty for none
    std::string place;   ///< of that flow, else of the first one: "flows.txt:12"
};

struct flow_replay_t {
    flow_runner_t before;
    flow_runner_t after;
    std::map<replay_pair_t, replay_change_t> changes;
    uint64_t flows = 0;
    uint64_t changed = 0;
    uint64_t refused = 0; ///< flows with values of another kind than their attribute's, left out
};

/// Makes a replay through two databases, which are held. Throws std::bad_alloc.
void flow_replay_open(pdata_db *before, pdata_db *after, flow_replay_t &replay);

/// Runs the flow of a line that stands at `place`. Returns false with `error` for a line that is
/// none, which counts for nothing.
[[nodiscard]] bool flow_replay_line(flow_replay_t &replay, std::string_view line,
                                    std::string_view place, flow_error_t &error);

/// Gives the changes, the most frequent first; of equal ones by their names. They point into the
/// replay.
std::vector<std::pair<const replay_pair_t *, const replay_change_t *>>
flow_replay_changes(const flow_replay_t &replay);

/// Reads a line of accepted pairs: "before -> after", names and any blanks around them; "*" is any
/// protocol. A number behind it is let go, so that what is printed can be accepted; "#" begins a
/// comment. Returns false for any other line; an empty one gives empty names.
[[nodiscard]] bool replay_pair_read(std::string_view line, replay_pair_t &pair);

/// Returns the pairs that accept a pair: itself, and with "*" for one of its names or for both.
std::array<replay_pair_t, 4> replay_pair_forms(const replay_pair_t &pair);
