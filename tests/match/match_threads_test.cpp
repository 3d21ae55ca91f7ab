/// Eight threads classify the traffic of the example while the database is replaced under them; the
/// flows of every second one explain, for which a database makes what they are told from once.
/// The thread sanitizer (preset tsan) watches; what they find is the same all the time.
#include <atomic>
#include <fstream>
#include <iterator>
#include <thread>

#include "match_run.h"
#include "rounds.h"

#include <gtest/gtest.h>

namespace
{

std::vector<std::vector<flow_value_t>> read_flows()
{
    std::vector<std::vector<flow_value_t>> flows;
    std::ifstream file(TRAFFIC_DIR "/samples.tsv");
    std::string error;
    for (std::string line; std::getline(file, line);)
        if (!line.empty() && line[0] != '#' &&
            !runtime_read_flow(line.substr(line.rfind('\t') + 1), flows.emplace_back(), error))
            ADD_FAILURE() << line << error;
    return flows;
}

/// Classifies all flows once; returns how many rules matched, or one too many for a mistake.
size_t classify(pdata_flow *flow, pdata_source *source,
                const std::vector<std::vector<flow_value_t>> &flows)
{
    size_t nr_rule = 0;
    for (const std::vector<flow_value_t> &values : flows) {
        if (pdata_flow_renew(flow, source, nullptr) != PDATA_R_OK)
            return SIZE_MAX;
        const pdata::database db(pdata_db_hold(pdata_flow_db(flow)));
        for (const flow_value_t &value : values) {
            const pdata_attribute attribute =
                db.attribute(value.protocol.c_str(), value.attribute.c_str(),
                             static_cast<pdata_direction>(value.way));
            (void)pdata_flow_add_bytes(flow, attribute, value.bytes.data(), value.bytes.size(), 0);
            (void)pdata_flow_add_number(flow, attribute, value.number.number);
        }
        nr_rule += pdata_flow_rules(flow, nullptr, 0);
        pdata_item_info info;
        if (pdata_db_item(db.get(), 1, &info) != PDATA_R_OK)
            return SIZE_MAX;
    }
    return nr_rule;
}

pdata_db *open_example()
{
    pdata_db *db = nullptr;
    EXPECT_EQ(pdata_db_open(LOADABLE_PDB, 0, &db, nullptr), PDATA_R_OK);
    return db;
}

TEST(match_threads, a_database_is_replaced_under_running_flows)
{
    const std::vector<std::vector<flow_value_t>> flows = read_flows();
    pdata_db *first = open_example();
    pdata_source *source = nullptr;
    ASSERT_EQ(pdata_source_new(first, &source), PDATA_R_OK);
    pdata_db_release(first);
    std::atomic<bool> done = false;
    std::atomic<size_t> wrong = 0;
    std::atomic<size_t> expected = 0;
    std::vector<std::thread> threads;
    const uint32_t nr_round = rounds(40);
    for (int i = 0; i < 8; ++i)
        threads.emplace_back([&, flags = i % 2 == 0 ? 0U : uint32_t{PDATA_FLOW_EXPLAIN}] {
            pdata_db *db = pdata_source_db(source);
            pdata_flow *flow = nullptr;
            if (pdata_flow_new(db, flags, &flow) != PDATA_R_OK)
                ++wrong;
            pdata_db_release(db);
            for (uint32_t round = 0; round < nr_round; ++round) {
                const size_t found = classify(flow, source, flows);
                size_t none = 0;
                if (!expected.compare_exchange_strong(none, found) && none != found)
                    ++wrong;
            }
            pdata_flow_free(flow);
        });
    std::thread replacing([&] {
        while (!done) {
            pdata_db *next = open_example();
            if (pdata_source_replace(source, next) != PDATA_R_OK)
                ++wrong;
            pdata_db_release(next);
        }
    });
    for (std::thread &thread : threads)
        thread.join();
    done = true;
    replacing.join();
    pdata_source_free(source);
    EXPECT_EQ(wrong, 0U);
    EXPECT_GT(expected, 100U);
}

} // namespace
