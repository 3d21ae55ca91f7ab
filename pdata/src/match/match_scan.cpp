#include <algorithm>

#include "match_walk.h"

namespace
{

/// Returns what tells where the patterns of the matcher at work begin, null unless the flow
/// explains.
const match_begins_t *begins_of(const pdata_flow &flow, const match_value_t &value)
{
    return flow.room.explained == nullptr
               ? nullptr
               : &flow.db->begins[match_number_of(*flow.db, value.matcher)];
}

/// Reports the items of an automaton's state that may end at `end`.
void report_state(pdata_flow &flow, const match_value_t &value, const view_aho_corasick_t &engine,
                  uint32_t state, uint32_t end)
{
    const view_item_record_t record = view_aho_corasick_items(engine, state);
    if (!match_counts_at(value, record.mindata))
        return;
    for (uint32_t i = 0; i < record.count; ++i) {
        const uint32_t offset = view_item_end(record, i);
        if (offset != PATTERN_NO_OFFSET && offset != end)
            continue;
        const uint32_t id = view_item_id(record, i);
        const match_begins_t *begins = begins_of(flow, value);
        const uint32_t begin =
            begins == nullptr ? end : match_begin_of(*begins, engine, state, id, end);
        match_found(flow, value, id, {begin, end});
    }
}

/// A run of an automaton.
struct automaton_run_t {
    const view_aho_corasick_t &engine;
    const std::vector<uint8_t> &skips; ///< where it stays near its start state
    uint32_t state = 0;
    uint32_t at = 0; ///< bytes passed
};

void begin(pdata_flow &flow, const match_value_t &value, automaton_run_t &run)
{
    if (run.engine.rows.nr_row != 0)
        report_state(flow, value, run.engine, 0, 0);
}

/// Returns the first place from `at` on where a pattern may begin with two bytes, or the last place
/// in front of `until`. Eight places at once, as most are none.
uint32_t skip_idle(const uint8_t *skips, const uint8_t *data, uint32_t at, uint32_t until)
{
    constexpr uint32_t step = 8;
    const uint8_t *first = skips;
    const uint8_t *second = skips + MATCH_SKIP_TABLE;
    while (until - at > step) {
        uint32_t found = 0;
        for (uint32_t i = 0; i < step; ++i)
            found |= first[data[at + i]] & second[data[at + i + 1]];
        if (found != 0)
            break;
        at += step;
    }
    while (until - at > 1 && (first[data[at]] & second[data[at + 1]]) == 0)
        ++at;
    return at;
}

/// Goes on to byte `until`.
void go_on(pdata_flow &flow, const match_value_t &value, automaton_run_t &run, uint32_t until)
{
    if (run.engine.rows.nr_row == 0)
        return;
    const view_aho_corasick_t engine = run.engine; // in registers
    const uint8_t *data = value.data.data();
    const uint8_t *skips = run.skips.data();
    uint32_t state = run.state;
    for (uint32_t at = run.at; at < until; ++at) {
        if (state == 0)
            at = skip_idle(skips, data, at, until);
        const uint32_t word = view_aho_corasick_next(engine, state, data[at]);
        state = word >> 1;
        if ((word & 1) != 0)
            report_state(flow, value, engine, state, at + 1);
    }
    run.state = state;
    run.at = until;
}

/// Makes a node of a dot-prefix matcher current, and those from which matching also continues.
void enter(match_room_t &room, const view_dot_prefix_t &engine, uint32_t node,
           std::vector<uint32_t> &current)
{
    while (node != DOT_PREFIX_NO_PROPAGATION && room.node_serial[node] != room.node_step) {
        room.node_serial[node] = room.node_step;
        current.push_back(node);
        node = view_dot_prefix_propagation(engine, node);
    }
}

void begin_nodes(match_room_t &room)
{
    room.nodes[0].clear();
    if (++room.node_step == 0) {
        std::fill(room.node_serial.begin(), room.node_serial.end(), 0);
        room.node_step = 1;
    }
}

/// Passes byte `at` with a dot-prefix matcher.
void pass_byte(pdata_flow &flow, const match_value_t &value, uint32_t at)
{
    match_room_t &room = flow.room;
    const view_dot_prefix_t &engine = value.matcher.view.pattern.dot_prefix;
    room.nodes[0].swap(room.nodes[1]);
    begin_nodes(room);
    for (const uint32_t node : room.nodes[1])
        if (const uint32_t next = view_dot_prefix_next(engine, node, value.data[at]); next != 0)
            enter(room, engine, next, room.nodes[0]);
    const match_begins_t *begins = begins_of(flow, value);
    for (const uint32_t node : room.nodes[0]) {
        const view_item_record_t record = view_dot_prefix_items(engine, node);
        const uint32_t begin = begins == nullptr ? at + 1 : begins->dots[node];
        for (uint32_t i = 0; i < record.count && match_counts_at(value, record.mindata); ++i)
            match_found(flow, value, view_item_id(record, i), {begin, at + 1});
    }
}

// A matcher has an automaton, and beside it a prefix tree or a dot-prefix matcher, never both. They
// go side by side, so that pieces are found in the order of their ends.

void scan_beside_dots(pdata_flow &flow, const match_value_t &value, automaton_run_t &run)
{
    begin_nodes(flow.room);
    flow.room.nodes[0].push_back(0);
    begin(flow, value, run);
    for (uint32_t at = 0; at < value.data.size() && !flow.room.nodes[0].empty(); ++at) {
        go_on(flow, value, run, at + 1);
        pass_byte(flow, value, at);
    }
}

void scan_beside_prefixes(pdata_flow &flow, const match_value_t &value, automaton_run_t &run)
{
    const view_pattern_t &pattern = value.matcher.view.pattern;
    match_walk_t prefix{pattern.prefix_tree, false, (pattern.algo & PATTERN_ALGO_ICASE) != 0};
    begin(flow, value, run);
    match_walk_report(flow, value, prefix);
    while (match_walk_step(value, prefix)) {
        go_on(flow, value, run, prefix.at);
        match_walk_report(flow, value, prefix);
    }
}

void scan_forwards(pdata_flow &flow, const match_value_t &value)
{
    const view_pattern_t &pattern = value.matcher.view.pattern;
    automaton_run_t run{match_automaton(pattern), value.matcher.skips};
    const bool dots = pattern.dot_prefix.rows.nr_row != 0;
    (dots ? scan_beside_dots : scan_beside_prefixes)(flow, value, run);
    go_on(flow, value, run, static_cast<uint32_t>(value.data.size()));
}

} // namespace

void match_scan(pdata_flow &flow, const match_value_t &value)
{
    match_room_t &room = flow.room;
    if (++room.serial == 0) {
        std::fill(room.progress.begin(), room.progress.end(), match_progress_t{});
        room.serial = 1;
    }
    if (value.matcher.forwards)
        scan_forwards(flow, value);
    if (!value.more)
        match_suffixes(flow, value);
    for (const uint32_t check : value.matcher.always)
        if (match_is_ordinary(value))
            match_check(flow, value, check, nullptr);
}
