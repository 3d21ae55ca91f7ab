/// Traffic, end to end: the shipped description is made loadable by the whole program, and every
/// line of the sample traffic is classified by the model of the run-time engine.
#include <fstream>

#include "loadable_reader.h"
#include "runtime_model.h"
#include "verified.h"
#include "whole_run.h"
#include "work_folder.h"

namespace
{

/// A line of a traffic file.
struct traffic_line_t {
    std::string place;    ///< "name:line"
    std::string best;     ///< the protocol of the best rule, or "-"
    std::string excluded; ///< a protocol none of whose rules fires; empty for none
    std::string flow;
};

/// Reads a traffic file; empty lines and those that begin with "#" are none.
std::vector<traffic_line_t> read_traffic(const std::string &name)
{
    std::ifstream file(TRAFFIC_DIR "/" + name);
    EXPECT_TRUE(file) << name;
    std::vector<traffic_line_t> lines;
    std::string line;
    for (size_t number = 1; std::getline(file, line); ++number) {
        if (line.empty() || line[0] == '#')
            continue;
        const size_t tab = line.find('\t');
        const size_t mark = line.substr(0, tab).find(" !");
        const std::string place = name + ":" + std::to_string(number);
        EXPECT_NE(tab, std::string::npos) << place;
        lines.push_back({place, line.substr(0, std::min(mark, tab)),
                         mark == std::string::npos ? "" : line.substr(mark + 2, tab - mark - 2),
                         line.substr(tab + 1)});
    }
    return lines;
}

/// The loadable pdb of the example, as the program writes it.
class example_traffic : public work_folder
{
protected:
    void SetUp() override
    {
        command_line line({"--pdd", EXAMPLES_DIR "/protocols.pdd", "--cfg-path",
                           EXAMPLES_DIR "/cfg", "--loadable", "--pdb-out", "out.pdb"});
        int code;
        {
            silence nothing_printed;
            code = line.run();
        }
        command_line::forget_run();
        ASSERT_EQ(code, 0);
        bytes = get_bytes("out.pdb");
        ASSERT_EQ(loadable_verify(bytes), "");
        ASSERT_EQ(verify_text(bytes), "");
        std::string error;
        ASSERT_TRUE(loadable_open(bytes, pdb, error)) << error;
    }

    /// The protocols that a flow matches, the best first.
    std::vector<std::string> classify(const std::string &flow_line) const
    {
        std::vector<flow_value_t> flow;
        runtime_result_t result;
        std::string error;
        if (!runtime_read_flow(flow_line, flow, error) ||
            !runtime_classify(pdb, flow, result, error))
            return {"error: " + error};
        std::vector<std::string> protocols;
        for (const runtime_match_t &match : result.matches)
            protocols.emplace_back(runtime_protocol(*match.rule));
        return protocols;
    }

    std::vector<uint8_t> bytes;
    loadable_pdb_t pdb;
};

std::string best_of(const std::vector<std::string> &protocols)
{
    return protocols.empty() ? "-" : protocols.front();
}

TEST_F(example_traffic, samples_are_classified)
{
    const std::vector<traffic_line_t> lines = read_traffic("samples.tsv");
    EXPECT_GE(lines.size(), 100U);
    for (const traffic_line_t &line : lines)
        EXPECT_EQ(best_of(classify(line.flow)), line.best) << line.place << ": " << line.flow;
}

TEST_F(example_traffic, near_misses_are_not)
{
    const std::vector<traffic_line_t> lines = read_traffic("near_misses.tsv");
    EXPECT_GE(lines.size(), 100U);
    for (const traffic_line_t &line : lines) {
        const std::vector<std::string> found = classify(line.flow);
        EXPECT_NE(line.excluded, "") << line.place;
        EXPECT_EQ(best_of(found), line.best) << line.place << ": " << line.flow;
        EXPECT_EQ(std::count(found.begin(), found.end(), line.excluded), 0)
            << line.place << ": " << line.flow;
    }
}

// A flow names attributes by their text: a slip of the pen would be a near miss of anything.
TEST_F(example_traffic, every_attribute_of_the_traffic_is_one_that_rules_test)
{
    for (const char *name : {"samples.tsv", "near_misses.tsv"}) {
        for (const traffic_line_t &line : read_traffic(name)) {
            std::vector<flow_value_t> flow;
            std::string error;
            ASSERT_TRUE(runtime_read_flow(line.flow, flow, error)) << line.place << ": " << error;
            for (const flow_value_t &value : flow) {
                const auto has = [&](uint32_t way) {
                    flow_value_t other = value;
                    other.way = way;
                    return runtime_has_attribute(pdb, other);
                };
                EXPECT_TRUE(value.attribute.empty() || has(ATTR_WAY_CTS) || has(ATTR_WAY_STC))
                    << line.place << ": " << value.protocol << ":" << value.attribute;
            }
        }
    }
}

/// The paths of the rules that a flow matches, the best first, each as "ssl/youtube".
std::vector<std::string> paths_of(const loadable_pdb_t &pdb, const std::string &flow_line)
{
    std::vector<flow_value_t> flow;
    runtime_result_t result;
    std::string error;
    EXPECT_TRUE(runtime_read_flow(flow_line, flow, error)) << error;
    EXPECT_TRUE(runtime_classify(pdb, flow, result, error)) << error;
    std::vector<std::string> paths;
    for (const runtime_match_t &match : result.matches) {
        std::string &path = paths.emplace_back();
        for (const std::string_view name : match.rule->path)
            path.append(path.empty() ? "" : "/").append(name);
    }
    return paths;
}

TEST_F(example_traffic, one_name_in_two_protocols_gives_two_paths)
{
    using paths = std::vector<std::string>;
    EXPECT_EQ(paths_of(pdb, "ssl:common_name cts \"www.youtube.com\""), paths{"ssl/youtube"});
    EXPECT_EQ(paths_of(pdb, "quic:server_name cts \"www.youtube.com\""), paths{"quic/youtube"});
    EXPECT_EQ(paths_of(pdb, "dtls:common_name cts \"www.youtube.com\""), paths{});
}

} // namespace
