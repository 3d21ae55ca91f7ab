#include <algorithm>
#include <bit>

#include "match_expression.h"

namespace
{

/// Returns the places behind those of `from`.
uint64_t followers(const match_places_t &places, uint64_t from)
{
    uint64_t to = (from & places.linear) << 1;
    for (uint64_t left = from & places.branch; left != 0; left &= left - 1) {
        const uint64_t below = places.branch & ((left & -left) - 1);
        to |= places.follow[static_cast<size_t>(std::popcount(below))];
    }
    return to;
}

bool run_places(const match_expression_t &expression, std::span<const uint8_t> data)
{
    const match_places_t &places = expression.places;
    if (data.empty() || (expression.open_ended && expression.is_empty))
        return expression.is_empty;
    uint64_t current = places.first;
    for (size_t i = 0;; ++i) {
        current &= places.classes[places.class_of[data[i]]];
        const bool ends = (current & places.last) != 0;
        if (current == 0 || i + 1 == data.size() || (ends && expression.open_ended))
            return ends;
        current = followers(places, current);
    }
}

/// Enters a step and all that it leads to without a byte. Returns true if that is the end.
bool enter(const match_expression_t &expression, uint32_t step, match_expression_room_t &room)
{
    bool ends = false;
    room.stack.push_back(step);
    while (!room.stack.empty()) {
        const uint32_t at = room.stack.back();
        room.stack.pop_back();
        if (room.mark[at] == room.round)
            continue;
        room.mark[at] = room.round;
        const match_step_t &what = expression.steps[at];
        ends = ends || what.kind == MATCH_STEP_END;
        if (what.kind == MATCH_STEP_BYTE)
            room.next.push_back(at);
        else if (what.kind != MATCH_STEP_END && room.mark[what.to] != room.round)
            room.stack.push_back(what.to);
        if (what.kind == MATCH_STEP_SPLIT && room.mark[at + 1] != room.round)
            room.stack.push_back(at + 1);
    }
    return ends;
}

void begin_round(match_expression_room_t &room)
{
    room.current.swap(room.next);
    room.next.clear();
    if (++room.round == 0) {
        std::fill(room.mark.begin(), room.mark.end(), 0);
        room.round = 1;
    }
}

bool run_steps(const match_expression_t &expression, std::span<const uint8_t> data,
               match_expression_room_t &room)
{
    room.next.clear();
    begin_round(room);
    bool ends = enter(expression, 0, room);
    for (const uint8_t byte : data) {
        if ((ends && expression.open_ended) || room.next.empty())
            return ends && expression.open_ended;
        begin_round(room);
        ends = false;
        for (const uint32_t at : room.current)
            if (match_byte_set_has(expression.sets[expression.steps[at].to], byte))
                ends = enter(expression, at + 1, room) || ends;
    }
    return ends;
}

} // namespace

void match_expression_reserve(const match_expression_t &expression, match_expression_room_t &room)
{
    const size_t steps = expression.steps.size();
    room.current.reserve(steps);
    room.next.reserve(steps);
    room.stack.reserve(steps + 1);
    if (room.mark.size() < steps)
        room.mark.resize(steps);
}

bool match_expression_run(const match_expression_t &expression, std::span<const uint8_t> data,
                          match_expression_room_t &room)
{
    return expression.is_short ? run_places(expression, data) : run_steps(expression, data, room);
}

size_t match_expression_bytes(const match_expression_t &expression)
{
    return sizeof(expression) + expression.steps.capacity() * sizeof(match_step_t) +
           expression.sets.capacity() * sizeof(match_byte_set_t) +
           expression.places.follow.capacity() * sizeof(uint64_t) +
           expression.places.classes.capacity() * sizeof(uint64_t);
}
