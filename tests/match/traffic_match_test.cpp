/// The library on the traffic of the example: it agrees with the model on every line, on every
/// line value by value, and on data that arrives bit by bit.
#include <fstream>
#include <iterator>

#include "match_run.h"

#include <gtest/gtest.h>

namespace
{

std::vector<uint8_t> read_file(const char *path)
{
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

/// The flows of both traffic files, which stand in the last column.
std::vector<std::vector<flow_value_t>> read_flows()
{
    std::vector<std::vector<flow_value_t>> flows;
    for (const char *path : {TRAFFIC_DIR "/samples.tsv", TRAFFIC_DIR "/near_misses.tsv"}) {
        std::ifstream file(path);
        std::string error;
        for (std::string line; std::getline(file, line);) {
            if (line.empty() || line[0] == '#')
                continue;
            const std::string text = line.substr(line.rfind('\t') + 1);
            EXPECT_TRUE(runtime_read_flow(text, flows.emplace_back(), error)) << text << error;
        }
    }
    return flows;
}

class traffic_match : public testing::Test
{
protected:
    traffic_match() : bytes(read_file(LOADABLE_PDB)), flows(read_flows())
    {
        std::string error;
        EXPECT_TRUE(loadable_open(bytes, pdb, error)) << error;
        db = std::make_unique<pdata::database>(
            pdata::database::open_memory(bytes.data(), bytes.size()));
        flow = std::make_unique<pdata::flow>(*db);
    }

    void compare(std::span<const flow_value_t> values, const std::string &what)
    {
        match_answer_t expected;
        std::string error;
        ASSERT_TRUE(model_answer(pdb, values, expected, error)) << what << ": " << error;
        EXPECT_EQ(match_answer(*db, *flow, values), expected) << what;
        EXPECT_EQ(flow->best(), expected.rules.empty() ? 0 : expected.rules.front()) << what;
    }

    std::vector<uint8_t> bytes;
    std::vector<std::vector<flow_value_t>> flows;
    loadable_pdb_t pdb;
    std::unique_ptr<pdata::database> db;
    std::unique_ptr<pdata::flow> flow;
};

TEST_F(traffic_match, agrees_with_the_model_on_every_line)
{
    ASSERT_GE(flows.size(), 400U);
    for (size_t i = 0; i < flows.size(); ++i)
        compare(flows[i], "flow " + std::to_string(i));
}

TEST_F(traffic_match, agrees_with_the_model_on_every_beginning_of_data)
{
    for (size_t i = 0; i < flows.size(); ++i)
        for (flow_value_t value : flows[i]) {
            const std::string whole = value.bytes;
            for (size_t size = 0; size < whole.size(); size += 1 + size / 2) {
                value.bytes = whole.substr(0, size);
                value.more = true;
                compare({&value, 1}, "flow " + std::to_string(i) + ", " + std::to_string(size));
            }
        }
}

} // namespace
