/// The library against the model on random pdbs and flows, sound ones and damaged ones.
#include <algorithm>

#include "csa_endian.h"
#include "match_run.h"
#include "random_pdb.h"
#include "rounds.h"

namespace
{

std::string text_of(const flow_value_t &value)
{
    return value.protocol + ":" + value.attribute +
           (value.way == ATTR_WAY_CTS ? " cts \"" : " stc \"") + value.bytes +
           (value.more ? "\"... " : "\" ") + std::to_string(value.number.number);
}

std::string text_of(const std::vector<flow_value_t> &flow)
{
    std::string text;
    for (const flow_value_t &value : flow)
        text += text_of(value) + "; ";
    return text;
}

/// How much was compared, and how much of it came to something.
struct tally_t {
    uint32_t flows = 0;
    uint32_t values = 0;
    uint32_t items = 0;
    uint32_t rules = 0;
};

/// Runs a flow whose rules are asked for behind every value.
match_answer_t ask_often(const pdata::database &db, pdata::flow &flow,
                         const std::vector<flow_value_t> &values)
{
    flow.reset();
    match_answer_t answer;
    for (const flow_value_t &value : values) {
        match_feed(db, flow, {&value, 1});
        answer = {flow.items(), flow.rules()};
        EXPECT_EQ(flow.best(), answer.rules.empty() ? 0 : answer.rules.front());
    }
    std::sort(answer.items.begin(), answer.items.end());
    return answer;
}

/// Compares `nr` flows. The model may give up on a damaged pdb.
void compare(const std::vector<uint8_t> &bytes, const pdata::database &db, random_match_t &random,
             uint32_t nr, bool sound, tally_t &tally)
{
    loadable_pdb_t pdb;
    std::string error;
    if (!loadable_open(bytes, pdb, error)) {
        ASSERT_FALSE(sound) << error;
        return;
    }
    pdata::flow flow(db);
    for (uint32_t i = 0; i < nr; ++i) {
        const std::vector<flow_value_t> values = make_random_flow(random);
        match_answer_t expected;
        const match_answer_t answer = match_answer(db, flow, values);
        ASSERT_EQ(ask_often(db, flow, values), answer) << text_of(values);
        if (!model_answer(pdb, values, expected, error)) {
            ASSERT_FALSE(sound) << error;
            continue;
        }
        ASSERT_EQ(answer.items, expected.items) << text_of(values);
        ASSERT_EQ(answer.rules, expected.rules) << text_of(values);
        ++tally.flows;
        tally.values += static_cast<uint32_t>(values.size());
        tally.items += static_cast<uint32_t>(answer.items.size());
        tally.rules += static_cast<uint32_t>(answer.rules.size());
    }
}

TEST(random_match, agrees_with_the_model)
{
    random_match_t random{std::mt19937(11)};
    tally_t tally;
    const uint32_t nr_value = rounds(100000);
    while (tally.values < nr_value && !HasFatalFailure()) {
        const std::vector<uint8_t> bytes = make_random_pdb(random);
        if (bytes.empty())
            continue;
        const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
        compare(bytes, db, random, 200, true, tally);
    }
    EXPECT_GT(tally.items, tally.values / 5);
    EXPECT_GT(tally.rules, tally.flows / 4);
}

TEST(random_match, preempt_rules_are_told)
{
    random_match_t random{std::mt19937(13)};
    for (uint32_t round = 0; round < 20; ++round) {
        pdb_model model;
        for (uint32_t p = 0; p < 30; ++p) {
            std::vector<rule_model> rules;
            for (uint32_t r = 0; r < 1 + random.below(60); ++r) {
                rule_model rule = simple_rule(
                    "http", {random.one_in(2) ? stream_attr("header_raw", {"abc"}, ATTR_WAY_BOTH)
                                              : stream_attr("uri_decoded", {random.letters(2)})});
                if (random.one_in(2))
                    rule.sub_rules[0] = sub_rule_of(
                        "tcp", {number_attr("port", {"80,81"}, MATCHER_TYPE_NUMBER_16,
                                            random.one_in(2) ? ATTR_WAY_BOTH : ATTR_WAY_STC)});
                rule.preempt = random.below(2);
                rule.path = {"base", rule.preempt != 0 ? "preempt" : "ordinary"};
                rules.push_back(rule);
            }
            model.protocols.push_back(protocol_of(p + 1, std::to_string(p), rules));
        }
        const std::vector<uint8_t> bytes = compile(model).bytes;
        ASSERT_FALSE(bytes.empty());
        const pdata::database db = pdata::database::open_memory(bytes.data(), bytes.size());
        for (pdata_rule rule = 1; rule <= db.describe().nr_rule; ++rule)
            ASSERT_EQ((db.rule(rule).flags & PDATA_RULE_PREEMPT) != 0,
                      db.protocol_of(rule) == "preempt")
                << "round " << round << ", rule " << rule;
    }
}

/// Changes up to three words of a pdb, or bytes of them.
void damage(std::vector<uint8_t> &bytes, random_match_t &random)
{
    for (uint32_t left = 1 + random.below(3); left != 0; --left) {
        uint8_t *word = bytes.data() + random.below(static_cast<uint32_t>(bytes.size() / 4)) * 4;
        switch (random.below(4)) {
        case 0:
            csa_set_be32(word, csa_get_be32(word) + 1);
            break;
        case 1:
            csa_set_be32(word, random.below(64));
            break;
        case 2:
            word[random.below(4)] = static_cast<uint8_t>(random.below(256));
            break;
        default:
            csa_set_be32(word, csa_get_be32(word) ^ 1U << random.below(32));
            break;
        }
    }
}

/// The part of a pdb that a compile adds, which the library reads: two thirds of the damage.
TEST(random_match, damaged_pdbs_are_refused_or_agree_with_the_model)
{
    random_match_t random{std::mt19937(12)};
    tally_t tally;
    uint32_t refused = 0;
    for (uint32_t round = 0; round < rounds(40) && !HasFatalFailure(); ++round) {
        const std::vector<uint8_t> sound = make_random_pdb(random);
        for (uint32_t i = 0; i < 150 && !sound.empty(); ++i) {
            std::vector<uint8_t> bytes = sound;
            damage(bytes, random);
            pdata_db *db = nullptr;
            if (pdata_db_open_memory(bytes.data(), bytes.size(), 0, &db, nullptr) != PDATA_R_OK) {
                ++refused;
                continue;
            }
            compare(bytes, pdata::database(db), random, 6, false, tally);
            ASSERT_FALSE(HasFatalFailure()) << "round " << round << ", " << i;
        }
    }
    EXPECT_GT(refused, rounds(500));
    EXPECT_GT(tally.flows, rounds(2000));
}

} // namespace
