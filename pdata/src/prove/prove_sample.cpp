#include "prove_sample.h"

#include <algorithm>
#include <cstddef>
#include <memory_resource>

#include "prove_bytes.h"

namespace
{

constexpr uint32_t NONE = 0xFFFFFFFF;

/// Bytes of lists that nearly every value makes do with; more come from the heap.
constexpr size_t ROOM_OF_A_VALUE = 16384;

using numbers_t = std::pmr::vector<uint32_t>;

/// What is known of a position.
struct place_t {
    uint32_t size = 0;     ///< bytes of its set
    uint32_t before = 0;   ///< the position before it on a shortest way
    uint32_t after = 0;    ///< the position behind it on a shortest way on
    uint32_t turns = 0;    ///< how often it was gone through
    bool begins = false;   ///< data can lead to it
    bool ends = false;     ///< data can go on from it to an end
    bool straight = false; ///< it was on a shortest way
    bool ended = false;    ///< a sample ended with it
};

/// One making.
struct sampling_t {
    const prove_automaton_t &automaton;
    std::pmr::memory_resource *room;         ///< of all lists
    std::pmr::vector<place_t> places{room};  ///< by position
    std::pmr::vector<uint8_t> covered{room}; ///< by follower: the step was taken
    numbers_t way{room};                     ///< positions of the sample in the making
    std::vector<std::string> samples = {};
    size_t left = 0; ///< bytes of further samples
};

/// Finds shortest ways from the beginning.
void find_begins(sampling_t &sampling)
{
    const prove_automaton_t &automaton = sampling.automaton;
    numbers_t queue(sampling.room);
    queue.reserve(sampling.places.size());
    const auto reach = [&](uint32_t at, uint32_t from) {
        place_t &place = sampling.places[at];
        if (place.begins || place.size == 0)
            return;
        place.begins = true;
        place.before = from;
        queue.push_back(at);
    };
    for (const uint32_t at : automaton.first)
        reach(at, NONE);
    for (size_t i = 0; i < queue.size(); ++i)
        for (const uint32_t next : prove_followers(automaton, queue[i]))
            reach(next, queue[i]);
}

/// By position: those that it follows.
struct reversed_t {
    numbers_t begin;
    numbers_t from;
};

reversed_t reverse(const prove_automaton_t &automaton, std::pmr::memory_resource *room)
{
    reversed_t reversed = {numbers_t(room), numbers_t(room)};
    reversed.begin.assign(automaton.sets.size() + 1, 0);
    for (const uint32_t to : automaton.followers)
        ++reversed.begin[to + 1];
    for (size_t at = 1; at < reversed.begin.size(); ++at)
        reversed.begin[at] += reversed.begin[at - 1];
    reversed.from.resize(automaton.followers.size());
    numbers_t cursor(reversed.begin, room);
    for (uint32_t at = 0; at < automaton.sets.size(); ++at)
        for (const uint32_t to : prove_followers(automaton, at))
            reversed.from[cursor[to]++] = at;
    return reversed;
}

/// Finds shortest ways to an end.
void find_ends(sampling_t &sampling)
{
    const reversed_t reversed = reverse(sampling.automaton, sampling.room);
    numbers_t queue(sampling.room);
    queue.reserve(sampling.places.size());
    const auto reach = [&](uint32_t at, uint32_t next) {
        place_t &place = sampling.places[at];
        if (place.ends || place.size == 0)
            return;
        place.ends = true;
        place.after = next;
        queue.push_back(at);
    };
    for (uint32_t at = 0; at < sampling.places.size(); ++at)
        if (sampling.automaton.is_last[at] != 0)
            reach(at, NONE);
    for (size_t i = 0; i < queue.size(); ++i)
        for (uint32_t edge = reversed.begin[queue[i]]; edge < reversed.begin[queue[i] + 1]; ++edge)
            reach(reversed.from[edge], queue[i]);
}

bool is_used(const sampling_t &sampling, uint32_t at)
{
    return sampling.places[at].begins && sampling.places[at].ends;
}

/// Makes the way the beginning of the sample: a shortest one to a position.
void go_to(sampling_t &sampling, uint32_t at)
{
    sampling.way.clear();
    for (; at != NONE; at = sampling.places[at].before)
        sampling.way.push_back(at);
    std::reverse(sampling.way.begin(), sampling.way.end());
}

/// Notes that a step was taken.
void cover(sampling_t &sampling, uint32_t from, uint32_t to)
{
    const std::vector<uint32_t> &followers = sampling.automaton.followers;
    const uint32_t *begin = followers.data() + sampling.automaton.follow_begin[from];
    const uint32_t *end = followers.data() + sampling.automaton.follow_begin[from + 1];
    const uint32_t *step = end - begin == 1 ? begin : std::lower_bound(begin, end, to);
    sampling.covered[static_cast<size_t>(step - followers.data())] = 1;
}

/// Notes the steps of the way, and writes it as a sample. Returns false when there are enough.
bool write(sampling_t &sampling)
{
    const prove_automaton_t &automaton = sampling.automaton;
    if (sampling.way.size() > sampling.left || sampling.samples.size() == PROVE_SAMPLES_MAX)
        return false;
    sampling.left -= sampling.way.size();
    std::string text(sampling.way.size(), '\0');
    for (size_t i = 0; i < sampling.way.size(); ++i) {
        place_t &place = sampling.places[sampling.way[i]];
        text[i] = static_cast<char>(
            prove_set_byte(automaton.sets[sampling.way[i]], place.size, place.turns++));
    }
    for (size_t i = 0; i + 1 < sampling.way.size(); ++i)
        cover(sampling, sampling.way[i], sampling.way[i + 1]);
    sampling.places[sampling.way.back()].ended = true;
    sampling.samples.push_back(std::move(text));
    return true;
}

/// Goes on to an end by the shortest way.
void go_on(sampling_t &sampling)
{
    while (sampling.places[sampling.way.back()].after != NONE)
        sampling.way.push_back(sampling.places[sampling.way.back()].after);
}

/// Goes from a position over steps that were not taken yet, then to an end.
void wander(sampling_t &sampling)
{
    const prove_automaton_t &automaton = sampling.automaton;
    for (size_t limit = 2 * automaton.sets.size() + 16; sampling.way.size() < limit;) {
        const uint32_t at = sampling.way.back();
        uint32_t edge = automaton.follow_begin[at];
        const uint32_t end = automaton.follow_begin[at + 1];
        while (edge < end &&
               (sampling.covered[edge] != 0 || !is_used(sampling, automaton.followers[edge])))
            ++edge;
        if (edge == end)
            break;
        sampling.covered[edge] = 1;
        sampling.way.push_back(automaton.followers[edge]);
    }
    go_on(sampling);
}

/// A shortest way through a position.
bool sample_through(sampling_t &sampling, uint32_t at)
{
    go_to(sampling, at);
    go_on(sampling);
    for (const uint32_t passed : sampling.way)
        sampling.places[passed].straight = true;
    return write(sampling);
}

/// Shortest ways from every place to begin, and through every position: repetitions of none and
/// one.
bool sample_straight(sampling_t &sampling)
{
    for (const uint32_t at : sampling.automaton.first)
        if (is_used(sampling, at) && !sample_through(sampling, at))
            return false;
    for (uint32_t at = 0; at < sampling.places.size(); ++at)
        if (is_used(sampling, at) && !sampling.places[at].straight && !sample_through(sampling, at))
            return false;
    return true;
}

/// All steps.
bool sample_steps(sampling_t &sampling)
{
    const prove_automaton_t &automaton = sampling.automaton;
    for (uint32_t at = 0; at < sampling.places.size(); ++at) {
        for (uint32_t edge = automaton.follow_begin[at]; edge < automaton.follow_begin[at + 1];
             ++edge) {
            const uint32_t to = automaton.followers[edge];
            if (sampling.covered[edge] != 0 || !is_used(sampling, at) || !is_used(sampling, to))
                continue;
            go_to(sampling, at);
            sampling.way.push_back(to);
            sampling.covered[edge] = 1;
            wander(sampling);
            if (!write(sampling))
                return false;
        }
    }
    return true;
}

/// All places to end, and the ends of every set.
bool sample_ends(sampling_t &sampling)
{
    for (uint32_t at = 0; at < sampling.places.size(); ++at) {
        const uint32_t wanted = std::min(sampling.places[at].size, PROVE_TURNS);
        const bool ends_here = sampling.automaton.is_last[at] != 0 && !sampling.places[at].ended;
        while (is_used(sampling, at) &&
               (sampling.places[at].turns < wanted || (ends_here && !sampling.places[at].ended))) {
            if (!sample_through(sampling, at))
                return false;
        }
    }
    return true;
}

/// Makes the samples of a row, which all ways lead along: as many as the ends of its sets ask for.
std::vector<std::string> sample_row(const prove_automaton_t &automaton)
{
    const size_t nr = automaton.sets.size();
    static_assert(PROVE_TURNS <= PROVE_SAMPLE_BYTES_PER_BYTE, "there is room for all of them");
    std::vector<std::string> samples;
    uint32_t turns = 1;
    for (uint32_t turn = 0; turn < turns; ++turn) {
        std::string &text = samples.emplace_back(nr, '\0');
        for (size_t at = 0; at < nr; ++at) {
            const prove_set_t &set = automaton.sets[at];
            const uint32_t size = prove_set_size(set);
            turns = std::max(turns, std::min(size, PROVE_TURNS));
            text[at] = static_cast<char>(prove_set_byte(set, size, turn));
        }
    }
    return samples;
}

} // namespace

std::vector<std::string> prove_samples(const prove_automaton_t &automaton)
{
    if (prove_is_row(automaton) && std::ranges::none_of(automaton.sets, prove_set_is_empty))
        return sample_row(automaton);
    const size_t nr = automaton.sets.size();
    alignas(std::max_align_t) std::byte bytes[ROOM_OF_A_VALUE];
    std::pmr::monotonic_buffer_resource room(bytes, sizeof bytes);
    sampling_t sampling{automaton, &room};
    sampling.places.resize(nr);
    for (size_t i = 0; i < nr; ++i)
        sampling.places[i].size = prove_set_size(automaton.sets[i]);
    sampling.covered.assign(automaton.followers.size(), 0);
    sampling.left = PROVE_SAMPLE_BYTES_BASE + PROVE_SAMPLE_BYTES_PER_BYTE * nr;
    find_begins(sampling);
    find_ends(sampling);
    (void)(sample_straight(sampling) && sample_steps(sampling) && sample_ends(sampling));
    return std::move(sampling.samples);
}
