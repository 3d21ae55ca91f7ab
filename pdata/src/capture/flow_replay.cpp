#include "flow_replay.h"

#include <algorithm>

namespace
{

std::string_view best_protocol(const flow_runner_t &runner)
{
    const pdata_db *db = pdata_flow_db(runner.flow.get());
    pdata_rule_info rule = {};
    if (pdata_db_rule(db, pdata_flow_best(runner.flow.get()), &rule) != PDATA_R_OK ||
        rule.nr_path == 0)
        return "unknown";
    return flow_rule_protocol(db, rule);
}

void note_change(flow_replay_t &replay, replay_pair_t pair, std::string_view line,
                 std::string_view place)
{
    ++replay.changed;
    replay_change_t &change = replay.changes[std::move(pair)];
    if (change.flows++ == 0)
        change.place = place;
    if (!change.example.empty() || line.size() > REPLAY_EXAMPLE_MAX)
        return;
    change.example = line;
    change.place = place;
}

std::string_view without_blanks(std::string_view text)
{
    constexpr std::string_view blanks = " \t\r";
    const size_t first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Lets a number of flows go that stands behind a pair.
std::string_view without_number(std::string_view text)
{
    const size_t last = text.find_last_not_of("0123456789");
    if (last == std::string_view::npos || last + 1 == text.size() || text[last] != ' ')
        return text;
    return without_blanks(text.substr(0, last));
}

} // namespace

void flow_replay_open(pdata_db *before, pdata_db *after, flow_replay_t &replay)
{
    flow_runner_open(before, 0, replay.before);
    flow_runner_open(after, 0, replay.after);
}

bool flow_replay_line(flow_replay_t &replay, std::string_view line, std::string_view place,
                      flow_error_t &error)
{
    flow_values_t values;
    flow_refusal_t refusal;
    if (!flow_read(line, values, error))
        return false;
    ++replay.flows;
    const bool taken = flow_runner_run(replay.before, values, refusal);
    if (!flow_runner_run(replay.after, values, refusal) || !taken)
        ++replay.refused;
    const std::string_view before = best_protocol(replay.before);
    const std::string_view after = best_protocol(replay.after);
    if (before != after)
        note_change(replay, {std::string(before), std::string(after)}, line, place);
    return true;
}

std::vector<std::pair<const replay_pair_t *, const replay_change_t *>>
flow_replay_changes(const flow_replay_t &replay)
{
    std::vector<std::pair<const replay_pair_t *, const replay_change_t *>> changes;
    for (const auto &[pair, change] : replay.changes)
        changes.emplace_back(&pair, &change);
    std::stable_sort(changes.begin(), changes.end(), [](const auto &one, const auto &next) {
        return one.second->flows > next.second->flows;
    });
    return changes;
}

bool replay_pair_read(std::string_view line, replay_pair_t &pair)
{
    constexpr std::string_view arrow = "->";
    line = without_blanks(line.substr(0, line.find('#')));
    pair = {};
    if (line.empty())
        return true;
    const size_t at = line.find(arrow);
    if (at == std::string_view::npos)
        return false;
    pair.first = without_blanks(line.substr(0, at));
    pair.second = without_number(without_blanks(line.substr(at + arrow.size())));
    return !pair.first.empty() && !pair.second.empty();
}

std::array<replay_pair_t, 4> replay_pair_forms(const replay_pair_t &pair)
{
    return {{pair, {"*", pair.second}, {pair.first, "*"}, {"*", "*"}}};
}
