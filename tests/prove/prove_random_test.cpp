/// Random values, proved and then tried: data that the slow model of expressions says is described
/// is run through the model of the run-time engine, which shares no code with what is judged.
#include "bytes.h"
#include "expression_match.h"
#include "loadable_fixture.h"
#include "prove_value.h"
#include "random_expression.h"
#include "rounds.h"
#include "runtime_model.h"

namespace
{

/// An attribute whose case matters, and one whose does not.
struct tried_t {
    const char *protocol;
    const char *attribute;
    bool icase;
};

constexpr tried_t TRIED[] = {{"http", "uri_decoded", false}, {"http", "server", true}};

constexpr uint32_t SAMPLES = 2000;

/// A value with what judges it.
struct judged_t {
    tried_t where;
    std::string text;
    prove_verdict_t verdict;
    expression_t expression = {};
    loaded_t loaded;

    judged_t(const tried_t &tried, const std::string &value)
        : where(tried), text(value), verdict(prove_value({tried.protocol, tried.attribute, value})),
          loaded({{protocol_of(
                      7, "tried",
                      {simple_rule(tried.protocol, {stream_attr(tried.attribute, {value})})})},
                  {{"video", 1}}})
    {
        std::string error;
        EXPECT_TRUE(expression_open(value, tried.icase, expression, error)) << error;
    }

    bool describes(const std::string &data) const
    {
        return expression_match(expression, text_bytes(data));
    }

    bool finds(const std::string &data) const
    {
        std::vector<uint32_t> items;
        std::string error;
        flow_value_t value;
        value.protocol = where.protocol;
        value.attribute = where.attribute;
        value.bytes = data;
        EXPECT_TRUE(runtime_find_items(loaded.pdb, value, items, error)) << error;
        return !items.empty();
    }
};

/// What was seen of how many values.
struct tally_t {
    uint32_t outcomes[4] = {};
    uint32_t decided = 0;
    uint32_t described = 0;
    uint32_t lost = 0;
};

/// Runs data of a value through both models.
void try_value(const judged_t &judged, random_expression_t &random, tally_t &tally)
{
    for (uint32_t i = 0; i < rounds(SAMPLES) && !testing::Test::HasFailure(); ++i) {
        const std::string data = make_described(random, judged.text, judged.where.icase);
        if (data.empty() || !judged.describes(data))
            continue;
        const bool found = judged.finds(data);
        ++tally.described;
        tally.lost += found ? 0 : 1;
        if (judged.verdict.outcome == PROVE_WHOLE_VALUE) {
            EXPECT_TRUE(found) << judged.text << " does not find " << data;
        } else if (judged.verdict.outcome == PROVE_DEAD) {
            EXPECT_FALSE(found) << judged.text << " finds " << data;
        } else if (!found) {
            EXPECT_LE(judged.verdict.lost.size(), data.size()) << judged.text << " loses " << data;
        }
    }
}

/// What is said to be lost is described and not found.
void try_lost(const judged_t &judged)
{
    const std::string &lost = judged.verdict.lost;
    if (judged.verdict.outcome == PROVE_WHOLE_VALUE || lost.empty())
        return;
    EXPECT_TRUE(judged.describes(lost)) << judged.text << " says that it loses " << lost;
    EXPECT_FALSE(judged.finds(lost)) << judged.text << " says that it loses " << lost;
}

TEST(prove_random, what_is_decided_is_so)
{
    random_expression_t random{std::mt19937(5)};
    tally_t tally;
    while (tally.decided < rounds(160) && !HasFailure()) {
        const tried_t &where = TRIED[random.below(2)];
        const std::string text = make_expression(random);
        const prove_verdict_t verdict = prove_value({where.protocol, where.attribute, text});
        ++tally.outcomes[verdict.outcome];
        EXPECT_FALSE(verdict.is_contradicted) << text;
        if (verdict.outcome == PROVE_REFUSED || !verdict.is_decided)
            continue;
        ++tally.decided;
        const judged_t judged(where, text);
        try_value(judged, random, tally);
        try_lost(judged);
    }
    EXPECT_GT(tally.described, rounds(tally.decided * SAMPLES) / 2);
    EXPECT_GT(tally.lost, 100U);
    EXPECT_GT(tally.outcomes[PROVE_LOSSY], rounds(5));
}

TEST(prove_random, dead_values_never_fire)
{
    random_expression_t random{std::mt19937(6)};
    tally_t tally;
    while (tally.decided < rounds(8) && !HasFailure()) {
        const tried_t &where = TRIED[random.below(2)];
        const std::string text = make_expression(random);
        if (prove_value({where.protocol, where.attribute, text}).outcome != PROVE_DEAD)
            continue;
        ++tally.decided;
        const judged_t judged(where, text);
        try_value(judged, random, tally);
        try_lost(judged);
    }
    EXPECT_EQ(tally.lost, tally.described);
}

TEST(prove_random, values_together_are_proved_as_each_alone)
{
    random_expression_t random{std::mt19937(7)};
    std::vector<std::string> texts;
    std::vector<prove_value_t> values;
    for (uint32_t i = 0; i < rounds(1600); ++i)
        texts.push_back(make_expression(random));
    for (const std::string &text : texts) {
        const tried_t &where = TRIED[random.below(2)];
        values.push_back({where.protocol, where.attribute, text});
    }
    const std::vector<prove_verdict_t> verdicts = prove_values(values);
    for (size_t i = 0; i < values.size(); ++i) {
        const prove_verdict_t alone = prove_value(values[i]);
        ASSERT_EQ(verdicts[i].outcome, alone.outcome) << texts[i];
        ASSERT_EQ(verdicts[i].is_decided, alone.is_decided) << texts[i];
        ASSERT_EQ(verdicts[i].lost, alone.lost) << texts[i];
        ASSERT_FALSE(alone.is_contradicted) << texts[i];
    }
}

} // namespace
