// What flows are by pdbs that are put together by hand, and what another pdb says of them.
#include <gtest/gtest.h>

#include <algorithm>

#include "classify.h"
#include "failing_alloc.h"
#include "flow_replay.h"
#include "view_sections.h"

namespace
{

struct release_t {
    void operator()(pdata_db *db) const { pdata_db_release(db); }
};
using database_t = std::unique_ptr<pdata_db, release_t>;

database_t opened(const std::vector<uint8_t> &bytes)
{
    pdata_db *db = nullptr;
    pdata_failure failure;
    EXPECT_EQ(pdata_db_open_memory(bytes.data(), bytes.size(), PDATA_OPEN_COPY, &db, &failure),
              PDATA_R_OK)
        << failure.text;
    return database_t(db);
}

/// A rule of any scope that any value of tcp:host fires.
parts_t any_host()
{
    parts_t parts;
    parts.slots = {0, 0, 0, 0, 1, 7, PDATA_SCOPE_ALL, 1};
    return parts;
}

/// The same, of a matcher of tcp:stream that wants to see this many bytes first.
std::vector<uint8_t> with_minimum(uint32_t minimum)
{
    parts_t parts;
    parts.names = {0x00037463, 0x70000006, 0x73747265, 0x616D0000};
    std::vector<uint8_t> bytes = pdb_of(parts);
    const std::vector<uint8_t> meta = stored({1, 40});
    const std::vector<uint8_t> other = stored({1, minimum});
    const auto at = std::search(bytes.begin(), bytes.end(), meta.begin(), meta.end());
    std::copy(other.begin(), other.end(), at);
    return bytes;
}

TEST(classify, as_much_payload_is_kept_as_matchers_want)
{
    const std::pair<uint32_t, size_t> rows[] = {
        {40, 256}, {300, 300}, {65535, 65535}, {65536, 256}}; // the last one stands for none
    for (const auto &[minimum, bytes] : rows)
        EXPECT_EQ(classify_payload_bytes(opened(with_minimum(minimum)).get()), bytes) << minimum;
    EXPECT_EQ(classify_payload_bytes(opened(pdb_of(any_host())).get()), 256u) << "of no payload";
}

/// A flow that the server told its host.
flow_record_t record_with(flow_kind_t kind)
{
    flow_record_t record;
    for (flow_end_t &end : record.ends)
        end.kind = FLOW_IP4;
    flow_seen_t seen;
    seen.value = {"tcp", "host", FLOW_WAY_STC, kind, "a"};
    flow_record_add(record, seen);
    return record;
}

TEST(classify, a_rule_may_have_no_path_and_an_item_no_matcher)
{
    parts_t parts = any_host();
    parts.map = word_list(8, ~0U);
    parts.slots = join({parts.slots, {0, 0, 0, 0}});
    const database_t db = opened(pdb_of(parts));
    classifier_t classifier;
    classifier_open(db.get(), false, classifier);
    const classified_t one = classify(classifier, record_with(FLOW_BYTES));
    EXPECT_EQ(one.rule, 1u);
    EXPECT_EQ(one.protocol, "unknown");
    EXPECT_TRUE(one.path.empty());
    EXPECT_EQ(one.basis, BASIS_NAME);
    EXPECT_EQ(classifier.refused, 0u);
    EXPECT_EQ(classify(classifier, record_with(FLOW_NUMBER)).rule, 0u);
    EXPECT_EQ(classifier.refused, 1u) << "a number is no host";
}

/// The same attribute, of numbers; there are none.
parts_t number_host()
{
    parts_t parts = any_host();
    parts.numbers = join(
        {record(1, {3, 0}),
         record(2,
                join({blob(15, {3}), blob(16, join({blob(13, word_list(128)), blob(14, {0})}))}))});
    return parts;
}

/// Runs lines through two pdbs.
flow_replay_t replayed(const parts_t &before, const parts_t &after,
                       const std::vector<std::string> &lines)
{
    flow_replay_t replay;
    flow_replay_open(opened(pdb_of(before)).get(), opened(pdb_of(after)).get(), replay);
    flow_error_t error;
    for (size_t i = 0; i < lines.size(); ++i)
        EXPECT_TRUE(flow_replay_line(replay, lines[i], std::to_string(i + 1), error)) << lines[i];
    return replay;
}

// Logs say which protocols a flow has, in words of strangers.
TEST(classify, names_from_outside_are_forgotten)
{
    classifier_t classifier;
    classifier_open(opened(pdb_of(any_host())).get(), false, classifier);
    for (int i = 0; i < 10000; ++i) {
        flow_record_t record = record_with(FLOW_BYTES);
        flow_record_add_protocol(record, "p" + std::to_string(i));
        EXPECT_EQ(classify(classifier, record).rule, 1u) << i;
    }
    EXPECT_LE(classifier.runner.protocols.size(), FLOW_RUNNER_NAMES + 1);
}

TEST(flow_replay, both_runners_need_memory)
{
    const database_t db = opened(pdb_of(any_host()));
    size_t failures = 0;
    failing_alloc_sweep(
        [&] {
            flow_replay_t replay;
            try {
                flow_replay_open(db.get(), db.get(), replay);
                return 0;
            } catch (const std::bad_alloc &) {
                return 1;
            }
        },
        [&](int) { ++failures; });
    EXPECT_GT(failures, 10u);
}

TEST(flow_replay, a_rule_without_a_path_is_unknown)
{
    parts_t pathless = any_host();
    pathless.map = word_list(8, ~0U);
    const std::string line = "tcp:host stc \"a\"";
    const flow_replay_t same = replayed(pathless, pathless, {line});
    EXPECT_EQ(same.changed, 0u);
    const std::string longer = "tcp:host stc \"" + std::string(REPLAY_EXAMPLE_MAX, 'a') + '"';
    const flow_replay_t replay = replayed(pathless, any_host(), {longer, line, line});
    const auto changes = flow_replay_changes(replay);
    ASSERT_EQ(changes.size(), 1u);
    EXPECT_EQ(*changes[0].first, replay_pair_t("unknown", "web"));
    EXPECT_EQ(changes[0].second->flows, 3u);
    EXPECT_EQ(changes[0].second->example, line) << "the first one is too long";
    EXPECT_EQ(changes[0].second->place, "2");
}

TEST(flow_replay, flows_that_either_pdb_refuses_are_counted)
{
    const std::vector<std::string> lines = {"tcp:host stc \"a\"", "tcp:host stc 5",
                                            "tcp:host stc \"a\"; tcp:host stc 5"};
    EXPECT_EQ(replayed(any_host(), number_host(), lines).refused, 3u);
    EXPECT_EQ(replayed(any_host(), any_host(), lines).refused, 2u);
}

TEST(flow_replay, names_from_outside_are_forgotten)
{
    std::vector<std::string> lines;
    for (int i = 0; i < 5000; ++i)
        lines.push_back("p" + std::to_string(i) + ":a cts 1; has p" + std::to_string(i));
    lines.push_back("tcp:host stc \"a\"");
    const flow_replay_t replay = replayed(any_host(), number_host(), lines);
    EXPECT_LT(replay.before.attributes.size(), 1000u);
    EXPECT_LT(replay.before.protocols.size(), 1000u);
    EXPECT_EQ(replay.changed, 1u);
}

TEST(flow_replay, pairs_are_two_names_and_an_arrow)
{
    struct row_t {
        const char *line;
        bool read;
        replay_pair_t pair;
    };
    const row_t rows[] = {{"", true, {}},
                          {" # nothing", true, {}},
                          {"a -> b", true, {"a", "b"}},
                          {" a->b 12 # of them", true, {"a", "b"}},
                          {"a -> b12", true, {"a", "b12"}},
                          {"a -> 12", true, {"a", "12"}},
                          {"-> b", false, {"", "b"}},
                          {"a ->", false, {"a", ""}},
                          {"a b", false, {}}};
    for (const row_t &row : rows) {
        replay_pair_t pair;
        EXPECT_EQ(replay_pair_read(row.line, pair), row.read) << row.line;
        EXPECT_EQ(pair, row.pair) << row.line;
    }
}

} // namespace
