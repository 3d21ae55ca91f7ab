#include <algorithm>
#include <bit>

#include "match_expression.h"

namespace
{

/// The places of a short program, numbered in the order of its bytes.
struct placing_t {
    const match_expression_t &expression;
    std::vector<uint32_t> place_of; ///< by step, of bytes
    std::vector<uint32_t> stack = {};
    std::vector<bool> seen = {};

    /// Returns the places that can be entered from `step`; sets `ends` if the end can.
    uint64_t entered(uint32_t step, bool &ends)
    {
        if (expression.steps[step].kind == MATCH_STEP_BYTE)
            return uint64_t{1} << place_of[step];
        uint64_t places = 0;
        seen.assign(expression.steps.size(), false);
        stack.assign(1, step);
        while (!stack.empty()) {
            const uint32_t at = stack.back();
            stack.pop_back();
            if (seen[at])
                continue;
            seen[at] = true;
            const match_step_t &what = expression.steps[at];
            if (what.kind == MATCH_STEP_BYTE)
                places |= uint64_t{1} << place_of[at];
            else if (what.kind == MATCH_STEP_END)
                ends = true;
            else
                stack.push_back(what.to);
            if (what.kind == MATCH_STEP_SPLIT)
                stack.push_back(at + 1);
        }
        return places;
    }
};

/// The places that take a byte.
struct takers_t {
    std::array<uint64_t, 256> places{}; ///< by byte, but for those that take any
    match_byte_set_t some{};            ///< the bytes that have any in `places`
    uint64_t wild = 0;                  ///< those that take any byte
};

/// Hands every member of a set to `take`.
template <typename Take>
void each_byte(const match_byte_set_t &set, const Take &take)
{
    for (size_t word = 0; word < set.size(); ++word)
        for (uint64_t left = set[word]; left != 0; left &= left - 1)
            take(word * 64 + static_cast<size_t>(std::countr_zero(left)));
}

constexpr match_byte_set_t ANY_BYTE = {UINT64_MAX, UINT64_MAX, UINT64_MAX, UINT64_MAX};

void add_taker(const match_byte_set_t &set, uint64_t place, takers_t &takers)
{
    if (set == ANY_BYTE) {
        takers.wild |= place;
        return;
    }
    for (size_t word = 0; word < set.size(); ++word)
        takers.some[word] |= set[word];
    each_byte(set, [&](size_t c) { takers.places[c] |= place; });
}

/// Groups the bytes by the places that take them. Most are taken by those of any byte alone, and
/// are class 0.
void make_classes(const match_expression_t &expression, match_places_t &places)
{
    takers_t takers;
    uint64_t place = 1;
    for (const match_step_t &step : expression.steps) {
        if (step.kind != MATCH_STEP_BYTE)
            continue;
        add_taker(expression.sets[step.to], place, takers);
        place <<= 1;
    }
    places.class_of.fill(0);
    if (takers.some != ANY_BYTE)
        places.classes.push_back(takers.wild);
    each_byte(takers.some, [&](size_t c) {
        const uint64_t taken = takers.places[c] | takers.wild;
        const auto known = std::find(places.classes.begin(), places.classes.end(), taken);
        places.class_of[c] = static_cast<uint8_t>(known - places.classes.begin());
        if (known == places.classes.end())
            places.classes.push_back(taken);
    });
}

} // namespace

void match_places_make(match_expression_t &expression)
{
    placing_t placing{expression, std::vector<uint32_t>(expression.steps.size())};
    std::vector<uint32_t> step_of;
    for (uint32_t at = 0; at < expression.steps.size(); ++at)
        if (expression.steps[at].kind == MATCH_STEP_BYTE) {
            placing.place_of[at] = static_cast<uint32_t>(step_of.size());
            step_of.push_back(at);
        }
    match_places_t &places = expression.places;
    places.first = placing.entered(0, expression.is_empty);
    for (size_t place = 0; place < step_of.size(); ++place) {
        const uint64_t bit = uint64_t{1} << place;
        bool ends = false;
        const uint64_t follow = placing.entered(step_of[place] + 1, ends);
        places.last |= ends ? bit : 0;
        if (place + 1 < MATCH_EXPRESSION_WORD && follow == bit << 1) {
            places.linear |= bit;
        } else if (follow != 0) {
            places.branch |= bit;
            places.follow.push_back(follow);
        }
    }
    make_classes(expression, places);
    expression.is_short = true;
    expression.steps = {};
    expression.sets = {};
}
