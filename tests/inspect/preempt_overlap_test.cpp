// Which texts an automaton misses, held against one that is made step by step as it is defined and
// asked of all data that there is.
#include "preempt_overlap.h"
#include "rounds.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>

namespace
{

/// An automaton of strings: each state is its text.
struct naive_automaton_t {
    std::set<std::string> states = {""};
    std::set<std::string> linked; ///< those that stood there when links were made
    std::map<std::string, std::set<size_t>> items;

    void add(const std::string &text, size_t item)
    {
        for (size_t i = 1; i <= text.size(); ++i)
            states.insert(text.substr(0, i));
        items[text].insert(item);
    }

    /// Lets every state take the items of its suffixes, from its own to the shortest.
    void link()
    {
        linked = states;
        std::map<std::string, std::set<size_t>> all;
        for (const std::string &state : states)
            for (size_t i = 0; i <= state.size(); ++i)
                if (const auto found = items.find(state.substr(i)); found != items.end())
                    all[state].insert(found->second.begin(), found->second.end());
        items = all;
    }

    std::string next(const std::string &state, char byte) const
    {
        if (states.contains(state + byte))
            return state + byte;
        if (linked.contains(state))
            for (size_t i = 1; i < state.size(); ++i)
                if (linked.contains(state.substr(i)) && states.contains(state.substr(i) + byte))
                    return state.substr(i) + byte;
        return states.contains(std::string(1, byte)) ? std::string(1, byte) : "";
    }
};

naive_automaton_t naive_automaton(const std::vector<overlap_text_t> &texts)
{
    naive_automaton_t automaton;
    for (size_t i = 0; i < texts.size(); ++i)
        if (!texts[i].preempt)
            automaton.add(texts[i].bytes, i);
    automaton.link();
    for (size_t i = 0; i < texts.size(); ++i)
        if (texts[i].preempt)
            automaton.add(texts[i].bytes, i);
    return automaton;
}

/// Marks the texts that end where `data` does and are not among the items of `state`.
void mark_missed(const std::vector<overlap_text_t> &texts, const naive_automaton_t &automaton,
                 const std::string &data, const std::string &state, std::vector<bool> &missed)
{
    const auto found = automaton.items.find(state);
    for (size_t i = 0; i < texts.size(); ++i) {
        const size_t front = data.size() - std::min(data.size(), texts[i].bytes.size());
        const bool placed = texts[i].offset == OVERLAP_ANYWHERE || texts[i].offset == front;
        if (data.ends_with(texts[i].bytes) && placed &&
            (found == automaton.items.end() || !found->second.contains(i)))
            missed[i] = true;
    }
}

void read_all(const std::vector<overlap_text_t> &texts, const naive_automaton_t &automaton,
              const std::string &data, const std::string &state, size_t left,
              std::vector<bool> &missed)
{
    mark_missed(texts, automaton, data, state, missed);
    for (const char byte : {'a', 'b', '#'})
        if (left != 0)
            read_all(texts, automaton, data + byte, automaton.next(state, byte), left - 1, missed);
}

std::vector<bool> naive_overlaps(const std::vector<overlap_text_t> &texts)
{
    constexpr size_t data_max = 8; // in front of the last byte of a text: a longest state
    std::vector<bool> missed(texts.size());
    read_all(texts, naive_automaton(texts), "", "", data_max, missed);
    return missed;
}

std::vector<overlap_text_t> random_texts(std::mt19937 &random)
{
    std::vector<overlap_text_t> texts(2 + random() % 4);
    for (overlap_text_t &text : texts) {
        for (auto length = 1 + random() % 4; length != 0; --length)
            text.bytes += random() % 2 != 0 ? 'a' : 'b';
        text.preempt = random() % 2 != 0;
        if (random() % 4 == 0)
            text.offset = 1 + random() % 4;
    }
    return texts;
}

std::string shown(const std::vector<overlap_text_t> &texts)
{
    std::string text;
    for (const overlap_text_t &one : texts)
        text += one.bytes + (one.preempt ? "! " : " ") +
                (one.offset == OVERLAP_ANYWHERE ? "" : "at " + std::to_string(one.offset) + ' ');
    return text;
}

TEST(preempt_overlap, states_are_the_prefixes_of_all_texts)
{
    std::mt19937 random(7);
    for (int round = 0; round < 200; ++round) {
        std::vector<overlap_text_t> texts(random() % 6);
        std::set<std::string> prefixes = {""};
        for (overlap_text_t &text : texts) {
            for (size_t size = random() % 5; size != 0; --size)
                text.bytes += static_cast<char>("ab\xff"[random() % 3]);
            for (size_t size = 1; size <= text.bytes.size(); ++size)
                prefixes.insert(text.bytes.substr(0, size));
        }
        EXPECT_EQ(overlap_states(texts), prefixes.size());
    }
}

TEST(preempt_overlap, random_texts_are_missed_where_the_automaton_misses_them)
{
    std::mt19937 random(11);
    size_t nr_missed = 0;
    for (uint32_t round = 0; round < rounds(250); ++round) {
        const std::vector<overlap_text_t> texts = random_texts(random);
        const std::vector<bool> missed = naive_overlaps(texts);
        ASSERT_EQ(preempt_overlaps(texts), missed) << shown(texts);
        nr_missed += static_cast<size_t>(std::count(missed.begin(), missed.end(), true));
    }
    EXPECT_GT(nr_missed, rounds(200));
    EXPECT_LT(nr_missed, 700U);
}

overlap_text_t plain(std::string bytes)
{
    return {std::move(bytes), OVERLAP_ANYWHERE, false};
}

overlap_text_t preempt(std::string bytes)
{
    return {std::move(bytes), OVERLAP_ANYWHERE, true};
}

TEST(preempt_overlap, a_preempt_that_another_text_runs_into)
{
    EXPECT_EQ(preempt_overlaps(std::vector{plain("xabq"), preempt("abz")}),
              (std::vector{false, true}));
}

TEST(preempt_overlap, a_preempt_whose_front_another_text_is)
{
    EXPECT_EQ(preempt_overlaps(std::vector{plain("xabq"), plain("ab"), preempt("abz")}),
              (std::vector{false, false, false}));
}

TEST(preempt_overlap, a_text_within_a_preempt)
{
    EXPECT_EQ(preempt_overlaps(std::vector{plain("bc"), preempt("abcd")}),
              (std::vector{true, false}));
}

TEST(preempt_overlap, without_preempts_nothing_is_lost)
{
    EXPECT_EQ(preempt_overlaps(std::vector{plain("abab"), plain("ba"), plain("b")}),
              (std::vector{false, false, false}));
}

TEST(preempt_overlap, a_text_at_an_offset_needs_room_in_front_of_it)
{
    const overlap_text_t near = {"bc", 1, false};
    const overlap_text_t far = {"bc", 2, false};
    EXPECT_EQ(preempt_overlaps(std::vector{near, far, preempt("xabc")}),
              (std::vector{false, true, false}));
}

/// A hundred periodic preempts, each of which ends with what others begin with.
TEST(preempt_overlap, long_periods_end)
{
    std::vector<overlap_text_t> texts;
    for (int i = 0; i < 26; ++i)
        texts.push_back(preempt(static_cast<char>('a' + i) + std::string(1000, 'z')));
    texts.push_back(plain(std::string(1000, 'z')));
    const std::vector<bool> lost = preempt_overlaps(texts);
    EXPECT_TRUE(lost.back());
    EXPECT_FALSE(lost.front());
}

TEST(preempt_overlap, of_more_states_than_transitions_can_name_nothing_is_said)
{
    std::vector<overlap_text_t> texts = {plain("xabq"), preempt("abz")};
    EXPECT_TRUE(preempt_overlaps(texts)[1]);
    for (int i = 0; i < 40; ++i)
        texts.push_back(plain(std::to_string(100 + i) + std::string(1000, 'y')));
    EXPECT_FALSE(preempt_overlaps(texts)[1]);
    for (overlap_text_t &text : texts)
        text.preempt = true;
    texts[0].preempt = false;
    EXPECT_FALSE(preempt_overlaps(texts)[1]) << "nor of more states of preempts";
}

TEST(preempt_overlap, an_empty_text_loses_nothing)
{
    EXPECT_EQ(preempt_overlaps(std::vector<overlap_text_t>{plain("xabq"), preempt("abz"), plain(""),
                                                           preempt("")}),
              (std::vector<bool>{false, true, false, false}));
}

} // namespace
