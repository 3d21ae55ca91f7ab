/// The automaton against naive matching, and against a model that builds it by its definition.
#include <map>

#include "aho_corasick_reader.h"
#include "pattern_fixtures.h"
#include "rounds.h"

namespace
{

std::vector<uint8_t> build_blob(const std::vector<given_pattern> &patterns, uint8_t ahoff,
                                uint8_t alpha_config)
{
    ac_build_t build;
    EXPECT_EQ(aho_corasick_init(build, ahoff, alpha_config), 0);
    for (const given_pattern &p : patterns)
        EXPECT_EQ(aho_corasick_register(build, make_info(p.bytes, p.id, p.type, p.offset)), 0);
    EXPECT_EQ(aho_corasick_finalize(build), 0);
    return blob_of(build);
}

struct opened_automaton {
    std::vector<uint8_t> blob;
    aho_corasick_reader_t reader;

    opened_automaton(const std::vector<given_pattern> &patterns, uint8_t ahoff,
                     uint8_t alpha_config)
        : blob(build_blob(patterns, ahoff, alpha_config))
    {
        std::string error;
        EXPECT_TRUE(aho_corasick_reader_open(blob, ahoff != 0, reader, error)) << error;
    }
    std::vector<pattern_hit_t> match(std::string_view text) const
    {
        std::string error;
        std::vector<pattern_hit_t> hits;
        EXPECT_TRUE(aho_corasick_reader_match(reader, span_of(text), hits, error)) << error;
        pattern_hits_normalize(hits);
        return hits;
    }
};

/// The patterns whose bit is set in `chosen`.
template <typename Pattern>
std::vector<Pattern> subset(const std::vector<Pattern> &all, uint32_t chosen)
{
    std::vector<Pattern> out;
    for (size_t i = 0; i < all.size(); ++i)
        if ((chosen >> i & 1) != 0)
            out.push_back(all[i]);
    return out;
}

/// The hits of each of `patterns` in each of `texts`, so that a set is looked up, not matched.
using hit_table = std::vector<std::vector<std::vector<pattern_hit_t>>>;

hit_table naive_table(const std::vector<given_pattern> &patterns,
                      const std::vector<std::string> &texts)
{
    hit_table table;
    for (const given_pattern &pattern : patterns) {
        auto &row = table.emplace_back();
        for (const std::string &text : texts)
            row.push_back(naive_match_all({pattern}, text));
    }
    return table;
}

std::vector<pattern_hit_t> naive_of_subset(const hit_table &table, uint32_t chosen, size_t text)
{
    std::vector<pattern_hit_t> hits;
    for (size_t i = 0; i < table.size(); ++i)
        if ((chosen >> i & 1) != 0)
            hits.insert(hits.end(), table[i][text].begin(), table[i][text].end());
    pattern_hits_normalize(hits);
    return hits;
}

TEST(aho_corasick_match, every_set_of_short_patterns_in_every_short_text)
{
    // A hit in a text is a hit in every longer one that begins with it: length 6 covers all.
    std::vector<given_pattern> all;
    for (const std::string &bytes : all_strings("ab", 1, 3))
        all.push_back({bytes, static_cast<uint32_t>(all.size() + 1)});
    const std::vector<std::string> texts = all_strings("ab", 6, 6);
    const hit_table naive = naive_table(all, texts);
    for (uint32_t chosen = 1; chosen < 1U << all.size(); chosen += ROUNDS_STEP) {
        const opened_automaton ac(subset(all, chosen), 0, 0);
        for (size_t t = 0; t < texts.size(); ++t)
            ASSERT_EQ(ac.match(texts[t]), naive_of_subset(naive, chosen, t))
                << "set " << chosen << " in " << texts[t];
    }
}

TEST(aho_corasick_match, every_set_of_short_patterns_over_three_letters)
{
    std::vector<given_pattern> all;
    for (const std::string &bytes : all_strings("abc", 1, 2))
        all.push_back({bytes, static_cast<uint32_t>(all.size() + 1)});
    const std::vector<std::string> texts = all_strings("abc", 4, 4);
    const hit_table naive = naive_table(all, texts);
    for (uint32_t chosen = 1; chosen < 1U << all.size(); chosen += ROUNDS_STEP) {
        const opened_automaton ac(subset(all, chosen), 0, ALPHA_CONFIG_SORT_ENABLE);
        for (size_t t = 0; t < texts.size(); ++t)
            ASSERT_EQ(ac.match(texts[t]), naive_of_subset(naive, chosen, t))
                << "set " << chosen << " in " << texts[t];
    }
}

TEST(aho_corasick_match, every_triple_of_patterns_at_offsets)
{
    std::vector<given_pattern> all;
    for (const std::string &bytes : all_strings("ab", 1, 2)) {
        all.push_back({bytes, static_cast<uint32_t>(all.size() + 1)});
        for (type_offset offset = 0; offset < 3; ++offset)
            all.push_back({bytes, static_cast<uint32_t>(all.size() + 1), PATTERN_OFFSET, offset});
    }
    const std::vector<std::string> texts = all_strings("ab", 5, 5);
    const hit_table naive = naive_table(all, texts);
    for (size_t i = 0; i < all.size(); ++i)
        for (size_t k = i; k < all.size(); ++k)
            for (size_t m = k; m < all.size(); m += ROUNDS_STEP) {
                const uint32_t chosen = 1U << i | 1U << k | 1U << m;
                const opened_automaton ac(subset(all, chosen), 1, 0);
                for (size_t t = 0; t < texts.size(); ++t)
                    ASSERT_EQ(ac.match(texts[t]), naive_of_subset(naive, chosen, t))
                        << "set " << chosen << " in " << texts[t];
            }
}

void match_random_sets(std::string_view letters, uint32_t seed, uint8_t alpha_config,
                       uint32_t rounds)
{
    std::mt19937 random(seed);
    const bool icase = (alpha_config & ALPHA_CONFIG_ICASE_ENABLE) != 0;
    for (uint32_t round = 0; round < rounds; ++round) {
        const uint8_t ahoff = round % 2 == 0 ? 0 : 1;
        std::vector<given_pattern> patterns(1 + random() % 150);
        for (size_t i = 0; i < patterns.size(); ++i) {
            patterns[i] = {random_string(random, letters, 1, 12),
                           static_cast<uint32_t>(i) | (i % 3 == 0 ? 0x80000000U : 0)};
            if (ahoff != 0 && random() % 2 == 0) {
                patterns[i].type = PATTERN_OFFSET;
                patterns[i].offset = static_cast<type_offset>(random_below(random, 300));
            }
        }
        const std::string text = text_of_patterns(random, patterns, letters, 600);
        const opened_automaton ac(patterns, ahoff, alpha_config);
        ASSERT_EQ(ac.match(text), naive_match_all(patterns, text, icase)) << "round " << round;
    }
}

std::string letters_between(unsigned first, unsigned last)
{
    std::string letters;
    for (unsigned c = first; c <= last; ++c)
        letters.push_back(static_cast<char>(c));
    return letters;
}

TEST(aho_corasick_match, random_sets_over_small_and_large_alphabets)
{
    match_random_sets("ab", 1, 0, 60);
    match_random_sets("abcdefghijklmnopqrstuvwxyz.-", 2, 0, 30);
    match_random_sets("abcdefghijklmnopqrstuvwxyz.-", 3, ALPHA_CONFIG_SORT_ENABLE, 30);
    match_random_sets(letters_between(0, 253), 4, 0, 20);
    match_random_sets(letters_between(2, 255), 5, ALPHA_CONFIG_SORT_ENABLE, 20);
}

TEST(aho_corasick_match, random_sets_with_case_folding)
{
    match_random_sets("aAbB", 6, ALPHA_CONFIG_ICASE_ENABLE, 60);
    match_random_sets("aBcD@[`{", 7, ALPHA_CONFIG_ICASE_ENABLE | ALPHA_CONFIG_SORT_ENABLE, 30);
}

TEST(aho_corasick_match, bytes_beyond_254_distinct_ones_are_not_told_apart)
{
    // The 255th byte shares code 0, which leads to the start state, and the 256th code 1, behind
    // which stands the item word.
    std::vector<given_pattern> patterns;
    for (unsigned c = 0; c < 256; ++c)
        patterns.push_back({std::string(1, static_cast<char>(c)), c + 1});
    const opened_automaton ac(patterns, 0, 0);
    const auto hits_of = [&](unsigned c) { return ac.match(std::string(1, static_cast<char>(c))); };
    for (unsigned c = 0; c < 254; ++c)
        EXPECT_EQ(hits_of(c), (std::vector<pattern_hit_t>{{c + 1, 1}}));
    EXPECT_EQ(hits_of(254), std::vector<pattern_hit_t>{});

    std::string error;
    std::vector<pattern_hit_t> hits;
    EXPECT_FALSE(aho_corasick_reader_match(ac.reader, span_of("\xFF"), hits, error));
    EXPECT_EQ(error, "transition to state 32767 of 257");
}

/// An automaton built by its definition: failure states by trying every suffix, output union by
/// following chains in order of creation, transitions by following chains.
struct model_state {
    std::vector<std::pair<uint32_t, uint32_t>> items;
    std::vector<std::pair<uint8_t, size_t>> edges;
    std::string path;
    size_t failure = 0; ///< 0 for none
    uint32_t mindata = 0;
    uint32_t status = 0;
};

struct model_automaton {
    uint8_t config;
    bool ahoff;
    std::vector<model_state> states = std::vector<model_state>(1);
    std::vector<std::pair<uint8_t, uint16_t>> alphabet{};
    uint32_t nr_item_max = 0;
    size_t item_length = 0;
};

size_t edge_of(const model_automaton &model, size_t at, uint8_t c)
{
    for (const auto &[byte, target] : model.states[at].edges)
        if (byte == c)
            return target;
    return 0;
}

void model_insert(model_automaton &model, const pattern_info &info)
{
    size_t at = 0;
    for (uint32_t i = 0; i < info.pattern_len; ++i) {
        const uint8_t c = folded(info.pattern[i], (model.config & ALPHA_CONFIG_ICASE_ENABLE) != 0);
        size_t target = edge_of(model, at, c);
        if (target == 0) {
            target = model.states.size();
            model.states[at].edges.emplace_back(c, target);
            model.states.emplace_back().path = model.states[at].path + static_cast<char>(c);
        }
        at = target;
    }
    model_state &state = model.states[at];
    state.status |= 1;
    if (model.ahoff && info.type == PATTERN_OFFSET) {
        state.status |= info.preempt != 0 ? 2U : 0U;
        state.mindata = info.mindata;
        state.items.emplace_back(info.item_id, info.offset + info.pattern_len);
    } else {
        state.items.emplace_back(info.item_id, 0xFFFFFFFFU);
    }
}

void model_failures(model_automaton &model)
{
    for (model_state &state : model.states) {
        for (size_t from = 1; state.failure == 0 && from < state.path.size(); ++from) {
            size_t at = 0;
            bool walked = true;
            for (size_t i = from; walked && i < state.path.size(); ++i) {
                at = edge_of(model, at, static_cast<uint8_t>(state.path[i]));
                walked = at != 0;
            }
            if (walked)
                state.failure = at;
        }
    }
}

void model_union(model_automaton &model)
{
    for (model_state &state : model.states) {
        for (size_t at = state.failure; at != 0; at = model.states[at].failure) {
            for (const auto &item : model.states[at].items) {
                const auto same_id = [&](const auto &own) { return own.first == item.first; };
                if (std::none_of(state.items.begin(), state.items.end(), same_id))
                    state.items.push_back(item);
                state.status = model.states[at].status;
            }
        }
        if ((state.status & 1) != 0 && state.items.size() >= model.nr_item_max) {
            model.nr_item_max = static_cast<uint32_t>(state.items.size());
            model.item_length = state.path.size();
        }
    }
}

void model_alphabet(model_automaton &model)
{
    for (const model_state &state : model.states) {
        for (const auto &edge : state.edges) {
            const auto entry = std::find_if(model.alphabet.begin(), model.alphabet.end(),
                                            [&](const auto &e) { return e.first == edge.first; });
            if (entry == model.alphabet.end())
                model.alphabet.emplace_back(edge.first, 1);
            else
                ++entry->second;
        }
    }
    if ((model.config & ALPHA_CONFIG_SORT_ENABLE) != 0)
        std::stable_sort(model.alphabet.begin(), model.alphabet.end(),
                         [](const auto &a, const auto &b) { return a.second > b.second; });
}

size_t merge_failure(const model_automaton &model, size_t at, uint8_t c)
{
    for (; at != 0; at = model.states[at].failure)
        if (const size_t target = edge_of(model, at, c))
            return target;
    return edge_of(model, 0, c);
}

void put16(std::vector<uint8_t> &out, size_t word)
{
    out.push_back(static_cast<uint8_t>(word >> 8));
    out.push_back(static_cast<uint8_t>(word));
}

std::vector<uint8_t> model_blob(const model_automaton &model)
{
    std::vector<uint8_t> rows;
    std::vector<uint8_t> items;
    for (size_t at = 0; at < model.states.size(); ++at) {
        const model_state &state = model.states[at];
        const uint32_t id = state.items.empty() ? 0 : state.items[0].first;
        const bool inlined = !model.ahoff && state.items.size() == 1 && (id & 0x7FFFFFFF) < 16384;
        const size_t cursor = items.size() / 4;
        if ((state.status & 2) != 0)
            append(items, be32(state.mindata | 0xFFFE0000));
        if ((state.status & 1) != 0 && !inlined) {
            append(items, be32(static_cast<uint32_t>(state.items.size())));
            for (const auto &[item_id, offset] : state.items) {
                append(items, be32(item_id));
                if (model.ahoff)
                    append(items, be32(offset));
            }
        }
        put16(rows, 0);
        if ((state.status & 1) == 0)
            put16(rows, 0xFFFF);
        else
            put16(rows, inlined ? 0x8000 | id >> 31 << 14 | (id & 0x3FFF) : cursor);
        for (const auto &entry : model.alphabet) {
            const size_t target = merge_failure(model, at, entry.first);
            put16(rows, target * 2 + (target != 0 ? model.states[target].status & 1 : 0));
        }
    }
    rows.resize((rows.size() + 3) / 4 * 4);
    std::vector<uint8_t> map(256, 0);
    const bool icase = (model.config & ALPHA_CONFIG_ICASE_ENABLE) != 0;
    for (unsigned c = 0; c < 256; ++c)
        for (size_t i = 0; i < model.alphabet.size(); ++i)
            if (model.alphabet[i].first == folded(static_cast<char>(c), icase))
                map[c] = static_cast<uint8_t>(i + 2);
    const auto width = static_cast<uint32_t>(model.alphabet.size() + 2);
    return joined({record(34, rows), record(35, items),
                   record(37, joined({record(25, be32(width)), record(26, map)})),
                   record(36, joined({be32(model.nr_item_max),
                                      be32(static_cast<uint32_t>(model.item_length))}))});
}

/// A random pattern for the model: short, so that patterns nest, with ids that repeat.
pattern_info random_info(std::mt19937 &random, const std::string &bytes, uint32_t ids)
{
    pattern_info info = make_info(bytes, random_below(random, ids));
    info.item_id |= random() % 4 == 0 ? 0x80000000U : 0U;
    info.type = random() % 3 == 0 ? PATTERN_OFFSET : PATTERN_REGULAR;
    info.offset = static_cast<type_offset>(random_below(random, 4));
    info.mindata = random_below(random, 50);
    info.priority = random_below(random, 3);
    info.preempt = random() % 4 == 0 ? 1 : 0;
    return info;
}

TEST(aho_corasick_match, the_blob_is_that_of_the_definition)
{
    std::mt19937 random(77);
    for (uint32_t round = 0; round < rounds(3000); ++round) {
        const auto config = static_cast<uint8_t>((round % 2 == 0 ? 0 : ALPHA_CONFIG_SORT_ENABLE) |
                                                 (round % 3 == 0 ? ALPHA_CONFIG_ICASE_ENABLE : 0));
        const std::string_view letters = round % 5 == 0 ? "abcdefghijklmnop" : "abA";
        model_automaton model{config, round % 4 < 2};
        ac_build_t build;
        ASSERT_EQ(aho_corasick_init(build, model.ahoff ? 1 : 0, config), 0);
        ps_preempt preempts;
        const size_t nr = 1 + random() % 40;
        for (size_t i = 0; i < nr; ++i) {
            const std::string bytes = random_string(random, letters, 0, 7);
            const pattern_info info = random_info(random, bytes, round % 7 == 0 ? 40000 : 30);
            ASSERT_EQ(aho_corasick_register(build, info), 0);
            if (info.preempt != 0)
                pattern_preempt_register(preempts, info);
            else
                model_insert(model, info);
        }
        ASSERT_EQ(aho_corasick_finalize(build), 0);
        model_failures(model);
        model_union(model);
        pattern_preempt_resolve_conflict(preempts);
        for (const preempt &p : preempts)
            model_insert(model, pattern_preempt_info(p));
        model_alphabet(model);
        ASSERT_EQ(blob_of(build), model_blob(model)) << "round " << round;
    }
}

TEST(aho_corasick_match, a_long_repetitive_set_builds_in_linear_time)
{
    // Every suffix of every path is a path: chains of failure links are as long as they can be.
    ac_build_t build;
    ASSERT_EQ(aho_corasick_init(build, 0, 0), 0);
    std::string bytes;
    for (uint32_t i = 0; i < 1000; ++i) {
        bytes = std::string(1000, 'a');
        bytes[i] = 'b';
        ASSERT_EQ(aho_corasick_register(build, make_info(bytes, i)), 0);
    }
    ASSERT_EQ(aho_corasick_finalize(build), 0);
    EXPECT_EQ(build.ac_l_state.size(), 1U + 1000 * 1001 / 2 + 999);
}

} // namespace
