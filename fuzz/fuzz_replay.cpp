// Two loadable pdbs and flow lines as input, the sizes of the pdbs in two bytes each in front of
// them: the flows are replayed through both, and through the first one twice, which changes none.
// The same lines are read as pairs that are accepted.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <vector>

#include "flow_replay.h"

namespace
{

struct db_release {
    void operator()(pdata_db *db) const { pdata_db_release(db); }
};

using db_t = std::unique_ptr<pdata_db, db_release>;

/// Takes the next part of the input, in memory of exactly its size.
std::vector<uint8_t> take_part(std::span<const uint8_t> &input, size_t size)
{
    const std::span<const uint8_t> part = input.first(std::min(size, input.size()));
    input = input.subspan(part.size());
    return {part.begin(), part.end()};
}

db_t open_db(const std::vector<uint8_t> &pdb)
{
    pdata_db *db = nullptr;
    pdata_failure failure;
    return db_t(pdata_db_open_memory(pdb.data(), pdb.size(), 0, &db, &failure) == PDATA_R_OK
                    ? db
                    : nullptr);
}

/// Replays lines, and returns how many flows changed.
uint64_t replay(pdata_db *before, pdata_db *after, std::string_view lines)
{
    flow_replay_t run;
    flow_replay_open(before, after, run);
    while (!lines.empty()) {
        const std::string_view line = lines.substr(0, lines.find('\n'));
        lines.remove_prefix(std::min(line.size() + 1, lines.size()));
        flow_error_t error;
        (void)flow_replay_line(run, line, "line", error);
    }
    uint64_t changed = 0;
    for (const auto &[pair, change] : flow_replay_changes(run)) {
        if (pair->first == pair->second || change->flows == 0 || change->place != "line" ||
            replay_pair_forms(*pair).front() != *pair ||
            replay_pair_forms(*pair).back() != replay_pair_t{"*", "*"})
            std::abort();
        changed += change->flows;
    }
    if (changed != run.changed || changed > run.flows)
        std::abort();
    return changed;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 4)
        return 0;
    std::span<const uint8_t> input(data + 4, size - 4);
    const std::vector<uint8_t> first = take_part(input, size_t{data[0]} << 8 | data[1]);
    const std::vector<uint8_t> second = take_part(input, size_t{data[2]} << 8 | data[3]);
    const std::string lines(input.begin(), input.end());
    const db_t before = open_db(first);
    const db_t after = open_db(second);
    replay_pair_t pair;
    (void)replay_pair_read(lines, pair);
    if (before != nullptr && replay(before.get(), before.get(), lines) != 0)
        std::abort();
    if (before != nullptr && after != nullptr &&
        replay(before.get(), after.get(), lines) != replay(after.get(), before.get(), lines))
        std::abort();
    return 0;
}
