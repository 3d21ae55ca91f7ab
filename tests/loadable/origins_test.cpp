// Which value an item stands for, held against what the coverage export says while the pdb is made.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>

#include "loadable_fixture.h"
#include "view_values.h"

namespace
{

/// What a line of the export says: the item, and whose rule it belongs to.
struct coverage_line_t {
    uint32_t item = 0;
    std::string protocol;
    uint32_t rule = 0;
};

/// A working folder of its own, since the export writes into the working folder.
struct working_folder_t {
    std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::path folder;

    working_folder_t()
    {
        char name[] = "/tmp/origins_XXXXXX";
        folder = mkdtemp(name);
        std::filesystem::current_path(folder);
    }
    working_folder_t(const working_folder_t &) = delete;
    working_folder_t &operator=(const working_folder_t &) = delete;
    ~working_folder_t()
    {
        std::filesystem::current_path(before);
        std::filesystem::remove_all(folder);
    }
};

std::vector<coverage_line_t> read_coverage()
{
    std::vector<coverage_line_t> lines;
    std::ifstream file("signature_coverage.data");
    for (std::string text; std::getline(file, text);) {
        std::replace(text.begin(), text.end(), ',', ' ');
        std::istringstream words(text);
        coverage_line_t line;
        uint32_t proto_id = 0;
        words >> line.item >> proto_id >> line.protocol >> line.rule;
        EXPECT_FALSE(words.fail()) << text;
        lines.push_back(line);
    }
    return lines;
}

std::vector<uint32_t> origins_of(const compiled_t &compiled,
                                 std::vector<view_stored_value_t> &values)
{
    pdb_view_t view;
    view_error_t error;
    std::vector<uint32_t> origins;
    EXPECT_TRUE(pdb_view_open(compiled.bytes, view, error) &&
                view_values_read(view, values, error) &&
                view_values_origins(view, values, origins, error))
        << error.text;
    return origins;
}

/// Compiles with the export, and compares. Returns how many items there are.
size_t compare_with_coverage(const pdb_model &model)
{
    const working_folder_t folder;
    auto coverage = pdata_sig_export_init("signature_coverage");
    const compiled_t compiled = compile(make_pdb(model), 1, coverage.get());
    EXPECT_EQ(pdata_sig_export_clean(std::move(coverage)), PDATA_SUCCESS);
    if (compiled.bytes.empty())
        return 0;
    std::vector<view_stored_value_t> values;
    const std::vector<uint32_t> origins = origins_of(compiled, values);
    std::set<uint32_t> items;
    for (const coverage_line_t &line : read_coverage()) {
        items.insert(line.item);
        EXPECT_LT(line.item, origins.size());
        if (line.item >= origins.size())
            continue;
        const view_stored_value_t &value = values[origins[line.item]];
        EXPECT_EQ(value.protocol, line.protocol) << "item " << line.item;
        EXPECT_EQ(value.rule, line.rule) << "item " << line.item;
    }
    EXPECT_EQ(items.size() + 1, origins.size());
    return items.size();
}

const std::vector<std::string> STREAM_VALUES = {
    "alpha.example", "beta(one|two).*", ".*gamma", "a,b", "[ab]cd", "one,two,,three"};
const std::vector<std::string> PORT_VALUES = {"80", "80,8080", "1-9", "443,444-446,9"};

/// A random attribute, of either kind and any direction.
attr_model random_attr(std::mt19937 &random, bool ports)
{
    const auto way = static_cast<csa_attr_way_t>(1 + random() % 3);
    const std::vector<std::string> &choice = ports ? PORT_VALUES : STREAM_VALUES;
    std::vector<std::string> values;
    for (size_t i = 0; i < 1 + random() % 3; ++i)
        values.push_back(choice[random() % choice.size()]);
    return ports ? number_attr("port", values, MATCHER_TYPE_NUMBER_16, way)
                 : stream_attr("common_name", values, way);
}

pdb_model random_model(uint32_t seed)
{
    std::mt19937 random(seed);
    pdb_model model;
    for (uint32_t p = 0; p < 1 + random() % 4; ++p) {
        std::vector<rule_model> rules;
        for (uint32_t r = 0; r < 1 + random() % 4; ++r) {
            std::vector<sub_rule_model> sub_rules;
            for (uint32_t s = 0; s < 1 + random() % 2; ++s) {
                const bool ports = random() % 2 == 0;
                sub_rules.push_back(
                    sub_rule_of(ports ? "tcp" : "ssl", {random_attr(random, ports)}));
            }
            rules.push_back(rule_of(sub_rules));
        }
        model.protocols.push_back(protocol_of(100 + p, "p" + std::to_string(p), rules));
    }
    return model;
}

} // namespace

TEST(origins, the_items_are_those_of_the_coverage_export)
{
    size_t items = 0;
    for (uint32_t seed = 0; seed < 200; ++seed) {
        SCOPED_TRACE(seed);
        items += compare_with_coverage(random_model(seed));
    }
    EXPECT_GT(items, 1000U) << "most of the pdbs must compile";
}

TEST(origins, a_value_of_both_directions_is_one_item_and_the_newest_value_comes_first)
{
    pdb_model model;
    model.protocols = {protocol_of(
        100, "p",
        {simple_rule("ssl", {stream_attr("common_name", {"first", "second"}, ATTR_WAY_BOTH)}),
         simple_rule("tcp", {number_attr("port", {"80,81"})})})};
    const compiled_t compiled = compile(model);
    std::vector<view_stored_value_t> values;
    EXPECT_EQ(origins_of(compiled, values), (std::vector<uint32_t>{VIEW_VALUE_NONE, 2, 1, 0}))
        << "ports were filed last, and of the names the second";
    ASSERT_EQ(values.size(), 3U);
    EXPECT_EQ(values[0].text, "first");
    EXPECT_EQ(values[2].text, "80,81");
    EXPECT_EQ(values[2].rule, 1U);
}

TEST(origins, matchers_of_other_descriptions_are_refused)
{
    pdb_model one;
    one.protocols = {
        protocol_of(100, "p", {simple_rule("ssl", {stream_attr("common_name", {"a"})})})};
    pdb_model other;
    other.protocols = {
        protocol_of(100, "p", {simple_rule("http", {stream_attr("server", {"a"})})})};
    const compiled_t first = compile(one);
    const compiled_t second = compile(other);
    pdb_view_t view;
    pdb_view_t other_view;
    view_error_t error;
    ASSERT_TRUE(pdb_view_open(first.bytes, view, error));
    ASSERT_TRUE(pdb_view_open(second.bytes, other_view, error));
    std::vector<view_stored_value_t> values;
    std::vector<uint32_t> origins;
    ASSERT_TRUE(view_values_read(other_view, values, error));
    EXPECT_FALSE(view_values_origins(view, values, origins, error));
    EXPECT_STREQ(error.text, "the matcher is not that of the descriptions");
}
