/// The signature exports, as a compile feeds them.
#include <filesystem>
#include <fstream>
#include <sstream>

#include "builder_fixture.h"

namespace
{

/// A working directory of its own, as the coverage file lies in the working directory.
struct scratch_dir_t {
    std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::path dir = before / ("export_hooks." + std::to_string(getpid()));

    scratch_dir_t()
    {
        std::filesystem::create_directory(dir);
        std::filesystem::current_path(dir);
    }
    ~scratch_dir_t()
    {
        std::filesystem::current_path(before);
        std::filesystem::remove_all(dir);
    }
    scratch_dir_t(const scratch_dir_t &) = delete;
    scratch_dir_t &operator=(const scratch_dir_t &) = delete;
};

std::string file_text(const char *name)
{
    std::ostringstream text;
    text << std::ifstream(name).rdbuf();
    return text.str();
}

/// Compiles with an export and lets it write. Returns the outcome of the compile.
std::string compile_with(const char *name, const pdb_model &model)
{
    std::unique_ptr<pdata_sig_export_t> sig_export = pdata_sig_export_init(name);
    EXPECT_NE(sig_export, nullptr);
    const compiled_t compiled = compile(make_pdb(model), 1, sig_export.get());
    EXPECT_EQ(outcome(pdata_sig_export_clean(std::move(sig_export))), "0");
    return compiled.outcome;
}

TEST(export_hooks, coverage_has_a_line_for_every_registration_newest_first)
{
    const scratch_dir_t scratch;
    // A protocol id of its own: the counters are never cleared.
    const pdb_model model = {{protocol_of(901, "first", {}),
                              protocol_of(902, "web",
                                          {simple_rule("tcp", {number_attr("port", {"1"})}),
                                           simple_rule("http", {stream_attr("server", {"a", "b,c"}),
                                                                number_attr("port", {"9"})})})},
                             {}};
    pdb_model with_port = model;
    with_port.protocols[1].rules[1].sub_rules.push_back(
        sub_rule_of("tcp", {number_attr("port", {"5,6"}, MATCHER_TYPE_NUMBER_16, ATTR_WAY_BOTH)}));
    with_port.protocols[1].rules[1].sub_rules[0].attrs.pop_back();
    EXPECT_EQ(compile_with("signature_coverage", with_port), "0");
    // In the order of registration: tcp:port stc 5 and 6 (item 1), http:server "b,c" twice (2 and
    // 3) and "a" (4), tcp:port cts 5 and 6 again (1), 1 (5).
    EXPECT_EQ(file_text("signature_coverage.data"), "5,902,web,0,0\n"
                                                    "1,902,web,1,6\n"
                                                    "1,902,web,1,5\n"
                                                    "4,902,web,1,4\n"
                                                    "3,902,web,1,3\n"
                                                    "2,902,web,1,2\n"
                                                    "1,902,web,1,1\n"
                                                    "1,902,web,1,0\n");
}

TEST(export_hooks, three_values_of_one_rule_are_numbered_two_one_zero)
{
    const scratch_dir_t scratch;
    EXPECT_EQ(
        compile_with("signature_coverage",
                     {{protocol_of(903, "web",
                                   {simple_rule("tcp", {number_attr("port", {"1", "2", "3"})})})},
                      {}}),
        "0");
    EXPECT_EQ(file_text("signature_coverage.data"),
              "3,903,web,0,2\n2,903,web,0,1\n1,903,web,0,0\n");
}

TEST(export_hooks, a_protocol_id_beyond_the_coverage_fails_the_compile)
{
    const scratch_dir_t scratch;
    const pdb_model model = {
        {protocol_of(65536, "web", {simple_rule("tcp", {number_attr("port", {"1"})})})}, {}};
    EXPECT_EQ(compile_with("signature_coverage", model), OUTCOME_SIG_EXPORT);
    EXPECT_EQ(file_text("signature_coverage.data"), "");
}

TEST(export_hooks, a_rule_index_beyond_the_coverage_fails_the_compile)
{
    const scratch_dir_t scratch;
    std::vector<rule_model> rules(2048, simple_rule("tcp", {}));
    rules.back() = simple_rule("tcp", {number_attr("port", {"1"})});
    EXPECT_EQ(compile_with("signature_coverage", {{protocol_of(904, "web", rules)}, {}}), "0");
    rules.insert(rules.begin(), simple_rule("tcp", {}));
    EXPECT_EQ(compile_with("signature_coverage", {{protocol_of(904, "web", rules)}, {}}),
              OUTCOME_SIG_EXPORT);
}

TEST(export_hooks, values_of_http_and_ssl_are_collected_by_rule)
{
    const pdb_model model = {
        {protocol_of(
             7, "shop",
             {simple_rule("http", {stream_attr("server", {"a.b", "c"}), stream_attr("uri", {"d"})}),
              simple_rule("ssl", {stream_attr("common_name", {"e"}, ATTR_WAY_BOTH)})}),
         protocol_of(8, "talk",
                     {simple_rule("sip", {stream_attr("domain", {"f"})}),
                      simple_rule("tcp", {number_attr("port", {"1"})})})},
        {}};
    std::string status;
    // The lists come newest first, and so do entries and values: the entry of the second rule is
    // made first (ssl is the newer list) and printed last.
    EXPECT_EQ(stdout_of([&] { status = compile_with("pcap_generation", model); }),
              "shop~~http~~server~~a.b~~http~~server~~c~~http~~uri~~d\n"
              "shop~~ssl~~common_name~~e~~ssl~~common_name~~e\n");
    EXPECT_EQ(status, "0");
}

TEST(export_hooks, without_an_export_nothing_is_written)
{
    const scratch_dir_t scratch;
    const pdb_model model = {
        {protocol_of(7, "web", {simple_rule("http", {stream_attr("uri", {"a"})})})}, {}};
    EXPECT_EQ(stdout_of([&] { EXPECT_EQ(compile(model).outcome, "0"); }), "");
    EXPECT_FALSE(std::filesystem::exists("signature_coverage.data"));
}

TEST(export_hooks, protocols_are_mapped_by_their_index_in_the_compile)
{
    const pdb_model model = {{protocol_of(31, "one", {}), protocol_of(32, "two", {})}, {}};
    EXPECT_EQ(compile(model).outcome, "0");
    EXPECT_EQ(pdata_sig_export_get_proto_id(0), 31U);
    EXPECT_STREQ(pdata_sig_export_get_proto_name(1), "two");
}

} // namespace
