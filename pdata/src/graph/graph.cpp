#include "graph.h"

#include <algorithm>

#include "graph_engine.h"

namespace
{

constexpr uint32_t none = UINT32_MAX;

/// Steps from the end of a text that still count as near it.
constexpr uint32_t near_steps = 2;

/// How a state was reached first.
struct reached_t {
    uint32_t from = none;
    uint32_t step = 0; ///< index among the steps from there
    std::string text;  ///< of that step, in the order of the walk
    bool seen = false;
};

/// An engine and the way to each of its states.
struct walk_t {
    const view_matcher_t &matcher;
    const graph_engine_row_t &row;
    std::vector<reached_t> reached; ///< by state
    std::vector<uint32_t> order;    ///< states, breadth first

    std::vector<graph_step_t> steps(uint32_t state) const
    {
        std::vector<graph_step_t> found;
        row.steps(matcher.pattern, state, found);
        return found;
    }
};

/// A part of an engine.
struct part_t {
    std::vector<uint32_t> states; ///< each once
    std::vector<bool> taken;      ///< by state
};

void add_state(part_t &part, uint32_t state)
{
    if (part.taken[state])
        return;
    part.taken[state] = true;
    part.states.push_back(state);
}

/// The byte that stands for those of a step, one at least: a small letter where case does not
/// matter.
char speaking_byte(const graph_bytes_t &bytes)
{
    for (size_t byte = 'a'; byte <= 'z'; ++byte)
        if (bytes.test(byte))
            return static_cast<char>(byte);
    size_t first = 0;
    while (!bytes.test(first))
        ++first;
    return static_cast<char>(first);
}

std::string step_text(const graph_step_t &step)
{
    if (step.kind == GRAPH_PROPAGATION)
        return "";
    std::string text(1, step.kind == GRAPH_WILDCARD ? '.' : speaking_byte(step.bytes));
    return text.append(step.chain.begin(), step.chain.end());
}

/// Finds every state from the start on, the nearest first.
void search(walk_t &walk)
{
    walk.order = {0};
    walk.reached[0].seen = true;
    for (size_t i = 0; i < walk.order.size(); ++i) {
        const std::vector<graph_step_t> steps = walk.steps(walk.order[i]);
        for (uint32_t step = 0; step < steps.size(); ++step) {
            reached_t &reached = walk.reached[steps[step].to];
            if (reached.seen)
                continue;
            reached = {walk.order[i], step, step_text(steps[step]), true};
            walk.order.push_back(steps[step].to);
        }
    }
}

/// Tells whether a state was reached first by step `i` of another one, `step`.
bool is_first_way(const walk_t &walk, uint32_t from, uint32_t i, const graph_step_t &step)
{
    const reached_t &reached = walk.reached[step.to];
    return reached.from == from && reached.step == i;
}

/// Adds the states that are reached through a state, near_steps further at most, while there are
/// fewer than `limit`.
void add_near(const walk_t &walk, uint32_t state, size_t limit, part_t &part)
{
    std::vector<uint32_t> last = {state};
    for (uint32_t distance = 0; distance < near_steps; ++distance) {
        std::vector<uint32_t> next;
        for (const uint32_t from : last) {
            const std::vector<graph_step_t> steps = walk.steps(from);
            for (uint32_t i = 0; i < steps.size() && part.states.size() < limit; ++i)
                if (is_first_way(walk, from, i, steps[i])) {
                    add_state(part, steps[i].to);
                    next.push_back(steps[i].to);
                }
        }
        last.swap(next);
    }
}

/// The text that leads to a state, in the order of the data.
std::string text_of(const walk_t &walk, uint32_t state)
{
    std::string reversed;
    for (; walk.reached[state].from != none; state = walk.reached[state].from)
        reversed.append(walk.reached[state].text.rbegin(), walk.reached[state].text.rend());
    if (!walk.row.backward)
        std::ranges::reverse(reversed);
    return reversed;
}

/// Tells whether a step goes along `text`, or as far as there is text. Takes what it goes along.
bool goes_along(const graph_step_t &step, std::string_view &text)
{
    const auto byte = [](char c) { return static_cast<uint8_t>(c); };
    if (step.kind == GRAPH_PROPAGATION ||
        (step.kind == GRAPH_STEP && !step.bytes.test(byte(text.front()))))
        return false;
    const size_t size = std::min(step.chain.size() + 1, text.size());
    for (size_t i = 1; i < size; ++i)
        if (step.chain[i - 1] != byte(text[i]))
            return false;
    text.remove_prefix(size);
    return true;
}

/// The states on the way of a text, as far as it leads, as often as it leads there; the start alone
/// where it leads nowhere.
std::vector<uint32_t> way_of(const walk_t &walk, std::string_view text)
{
    std::string data(text);
    if (walk.row.backward)
        std::ranges::reverse(data);
    std::vector<uint32_t> way = {0};
    for (std::string_view rest = data; !rest.empty();) {
        const std::vector<graph_step_t> steps = walk.steps(way.back());
        const auto step = std::ranges::find_if(
            steps, [&rest](const graph_step_t &found) { return goes_along(found, rest); });
        if (step == steps.end())
            break;
        way.push_back(step->to);
    }
    return way;
}

/// The states that a choice takes, the nearest to the start or to the text first; none for a text
/// that leads nowhere.
part_t chosen_part(const walk_t &walk, const graph_choice_t &choice)
{
    part_t part = {{}, std::vector<bool>(walk.reached.size())};
    if (!choice.has_around) {
        for (size_t i = 0; i < std::min(choice.limit, walk.order.size()); ++i)
            add_state(part, walk.order[i]);
        return part;
    }
    const std::vector<uint32_t> way = way_of(walk, choice.around);
    if (way.size() == 1 && !choice.around.empty())
        return part;
    for (const uint32_t state : way)
        add_state(part, state);
    add_near(walk, way.back(), choice.limit, part);
    return part;
}

std::vector<uint32_t> items_of(const walk_t &walk, uint32_t state)
{
    const view_item_record_t record = walk.row.items(walk.matcher.pattern, state);
    std::vector<uint32_t> items;
    for (uint32_t i = 0; i < record.count; ++i) {
        const uint32_t id = view_item_id(record, i);
        items.push_back(id < MATCHER_PRIVATE_ID
                            ? id
                            : view_matcher_entry(walk.matcher, id & MATCHER_PRIVATE_INDEX).pub_id);
    }
    std::ranges::sort(items);
    items.erase(std::unique(items.begin(), items.end()), items.end());
    return items;
}

/// Tells whether a step leads where the start leads on the same bytes: as if nothing had been seen.
bool begins_anew(const std::vector<graph_step_t> &start, const graph_step_t &step)
{
    return std::ranges::any_of(start, [&step](const graph_step_t &first) {
        return first.to == step.to && (step.bytes & ~first.bytes).none();
    });
}

/// Adds a state with the edges that lead from it to states that are taken.
void take_state(const walk_t &walk, const std::vector<graph_step_t> &start, uint32_t state,
                const std::vector<bool> &taken, graph_t &graph)
{
    graph_state_t made = {state, text_of(walk, state), items_of(walk, state), false};
    const std::vector<graph_step_t> steps = walk.steps(state);
    for (uint32_t i = 0; i < steps.size(); ++i) {
        const bool first_way = is_first_way(walk, state, i, steps[i]);
        if (!taken[steps[i].to]) {
            made.goes_on = made.goes_on || first_way;
            continue;
        }
        const bool fallback = steps[i].kind == GRAPH_STEP && !first_way;
        if (fallback && begins_anew(start, steps[i]))
            continue;
        graph.edges.push_back({state, steps[i].to, fallback ? GRAPH_FALLBACK : steps[i].kind,
                               graph_step_label(walk.row, steps[i])});
    }
    graph.states.push_back(std::move(made));
}

} // namespace

graph_engine_t graph_first_engine(const view_matcher_t &matcher)
{
    for (const graph_engine_row_t &row : graph_engines())
        if (row.nr_row(matcher.pattern) != 0)
            return row.engine;
    return GRAPH_ENGINE_NONE;
}

bool graph_has_engine(const view_matcher_t &matcher, graph_engine_t engine)
{
    return engine != GRAPH_ENGINE_NONE && graph_engines()[engine].nr_row(matcher.pattern) != 0;
}

const char *graph_engine_name(graph_engine_t engine)
{
    return graph_engines()[engine].name;
}

std::vector<std::string> graph_engine_names()
{
    std::vector<std::string> names;
    for (const graph_engine_row_t &row : graph_engines())
        names.emplace_back(row.name);
    return names;
}

graph_engine_t graph_engine_find(std::string_view name)
{
    for (const graph_engine_row_t &row : graph_engines())
        if (row.name == name)
            return row.engine;
    return GRAPH_ENGINE_NONE;
}

bool graph_take(const view_matcher_t &matcher, graph_engine_t engine, const graph_choice_t &choice,
                graph_t &graph)
{
    const graph_engine_row_t &row = graph_engines()[engine];
    const uint32_t nr_row = row.nr_row(matcher.pattern);
    if (nr_row == 0)
        return false;
    walk_t walk = {matcher, row, std::vector<reached_t>(nr_row), {}};
    search(walk);
    const part_t part = chosen_part(walk, choice);
    if (part.states.empty())
        return false;
    graph = {engine, walk.order.size(), {}, {}};
    const std::vector<graph_step_t> start = walk.steps(0);
    for (const uint32_t state : part.states)
        take_state(walk, start, state, part.taken, graph);
    return true;
}
