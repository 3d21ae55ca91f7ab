#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "captured.h"
#include "failing_alloc.h"
#include "outcome.h"
#include "pdata_sig_export.h"

namespace
{

namespace fs = std::filesystem;

/// Works in a directory of its own, where the coverage file goes.
class sig_export : public testing::Test
{
protected:
    void SetUp() override
    {
        clear_status_slot();
        const std::string pattern = (fs::temp_directory_path() / "sig_export_XXXXXX").string();
        std::vector<char> name(pattern.begin(), pattern.end());
        name.push_back('\0');
        ASSERT_NE(mkdtemp(name.data()), nullptr);
        directory = name.data();
        before = fs::current_path();
        fs::current_path(directory);
    }
    void TearDown() override
    {
        fs::current_path(before);
        fs::remove_all(directory);
    }

    /// Makes a protocol current whose id and name stand at `index` of the mapping.
    static void context(pdata_sig_export_t *exporter, uint32_t index, uint32_t id, const char *name,
                        uint32_t nth_rule)
    {
        EXPECT_EQ(outcome(pdata_sig_export_mapping_add(index, id, csa_str(name))), "0");
        EXPECT_EQ(outcome(pdata_sig_export_set_context(exporter, index, nth_rule)), "0");
    }

    static std::string add(pdata_sig_export_t *exporter, std::string_view value, uint32_t item_id)
    {
        return outcome(pdata_sig_export_element_register(
            exporter, value.data(), static_cast<uint32_t>(value.size()), item_id));
    }

    static std::string coverage_file()
    {
        std::ifstream file("signature_coverage.data");
        std::stringstream text;
        text << file.rdbuf();
        return text.str();
    }

    fs::path directory;
    fs::path before;
};

TEST_F(sig_export, an_export_is_known_by_its_exact_name)
{
    for (const char *name : {"signature_coverage", "pcap_generation"}) {
        const std::unique_ptr<pdata_sig_export_t> exporter = pdata_sig_export_init(name);
        ASSERT_NE(exporter, nullptr);
        EXPECT_STREQ(exporter->name, name);
    }
    for (const char *name : {"Signature_coverage", "signature_coverag", "signature_coverages",
                             "pcap_gen", "PCAP_GENERATION", "", " pcap_generation"})
        EXPECT_EQ(pdata_sig_export_init(name), nullptr) << name;
    EXPECT_EQ(pdata_sig_export_init(nullptr), nullptr);
    EXPECT_EQ(outcome(PDATA_SUCCESS), "0") << "nothing is recorded";
}

TEST_F(sig_export, without_an_export_every_hook_succeeds_and_does_nothing)
{
    const csa_str_t name = csa_str("http");
    EXPECT_EQ(outcome(pdata_sig_export_set_context(nullptr, 0, 0)), "0");
    EXPECT_EQ(outcome(pdata_sig_export_matcher_prepare(nullptr, &name, &name, 1)), "0");
    EXPECT_EQ(add(nullptr, "x", 1), "0");
    EXPECT_EQ(outcome(pdata_sig_export_matcher_finalize(nullptr)), "0");
    EXPECT_EQ(stdout_of([] { EXPECT_EQ(pdata_sig_export_clean(nullptr), PDATA_SUCCESS); }), "");
    EXPECT_TRUE(fs::is_empty(directory));
}

TEST_F(sig_export, the_mapping_holds_16383_protocols)
{
    EXPECT_EQ(outcome(pdata_sig_export_mapping_add(16382, 77, csa_str("last"))), "0");
    EXPECT_EQ(pdata_sig_export_get_proto_id(16382), 77U);
    EXPECT_STREQ(pdata_sig_export_get_proto_name(16382), "last");
    EXPECT_EQ(outcome(pdata_sig_export_mapping_add(16383, 78, csa_str("beyond"))), OUTCOME_OVERFLOW)
        << "no message";
    EXPECT_EQ(outcome(pdata_sig_export_mapping_add(0xFFFFFFFF, 78, csa_str("beyond"))),
              OUTCOME_OVERFLOW);
    EXPECT_EQ(pdata_sig_export_get_proto_id(16383), 0U);
    EXPECT_STREQ(pdata_sig_export_get_proto_name(0xFFFFFFFF), "");
    EXPECT_EQ(pdata_sig_export_get_proto_id(16000), 0U) << "nothing was noted there";
    EXPECT_STREQ(pdata_sig_export_get_proto_name(16000), "");
}

TEST_F(sig_export, a_name_of_the_mapping_is_a_copy_of_at_most_255_bytes)
{
    std::string name(300, 'n');
    EXPECT_EQ(outcome(pdata_sig_export_mapping_add(5, 1, csa_str(name))), "0");
    name.assign(300, 'x');
    EXPECT_EQ(pdata_sig_export_get_proto_name(5), std::string(255, 'n'));
    EXPECT_EQ(outcome(pdata_sig_export_mapping_add(5, 2, csa_str("short"))), "0");
    EXPECT_STREQ(pdata_sig_export_get_proto_name(5), "short");
    EXPECT_EQ(pdata_sig_export_get_proto_id(5), 2U);
    EXPECT_EQ(outcome(pdata_sig_export_mapping_add(5, 2, {})), "0");
    EXPECT_STREQ(pdata_sig_export_get_proto_name(5), "");
}

TEST_F(sig_export, a_name_of_the_mapping_stays_where_it_is)
{
    EXPECT_EQ(outcome(pdata_sig_export_mapping_add(6, 1, csa_str("six"))), "0");
    const char *name = pdata_sig_export_get_proto_name(6);
    for (uint32_t index = 7; index < 3000; ++index)
        EXPECT_EQ(outcome(pdata_sig_export_mapping_add(index, 1, csa_str("other"))), "0");
    EXPECT_EQ(outcome(pdata_sig_export_mapping_add(6, 1, csa_str("a much longer name"))), "0");
    EXPECT_EQ(pdata_sig_export_get_proto_name(6), name);
    EXPECT_STREQ(name, "a much longer name");
}

TEST_F(sig_export, the_coverage_has_one_line_for_every_value_newest_first)
{
    std::unique_ptr<pdata_sig_export_t> exporter = pdata_sig_export_init("signature_coverage");
    const csa_str_t proto = csa_str("http");
    const csa_str_t attr = csa_str("host");
    context(exporter.get(), 0, 1001, "web", 4);
    EXPECT_EQ(outcome(pdata_sig_export_matcher_prepare(exporter.get(), &proto, &attr, 1)), "0");
    EXPECT_EQ(add(exporter.get(), "a", 11), "0");
    EXPECT_EQ(add(exporter.get(), "b", 12), "0");
    EXPECT_EQ(add(exporter.get(), "", 13), "0");
    context(exporter.get(), 1, 1002, "mail", 4);
    EXPECT_EQ(add(exporter.get(), "c", 14), "0");
    EXPECT_EQ(outcome(pdata_sig_export_matcher_finalize(exporter.get())), "0");
    EXPECT_FALSE(fs::exists("signature_coverage.data")) << "it is written at the release";
    EXPECT_EQ(pdata_sig_export_clean(std::move(exporter)), PDATA_SUCCESS);
    EXPECT_EQ(coverage_file(), "14,1002,mail,4,0\n"
                               "13,1001,web,4,2\n"
                               "12,1001,web,4,1\n"
                               "11,1001,web,4,0\n");
}

TEST_F(sig_export, the_numbers_of_values_go_on_from_export_to_export_and_wrap_at_256)
{
    std::unique_ptr<pdata_sig_export_t> exporter = pdata_sig_export_init("signature_coverage");
    context(exporter.get(), 0, 1003, "web", 0);
    for (uint32_t i = 0; i < 257; ++i)
        EXPECT_EQ(add(exporter.get(), "a", i), "0");
    context(exporter.get(), 0, 1003, "web", 1);
    EXPECT_EQ(add(exporter.get(), "a", 900), "0");
    EXPECT_EQ(pdata_sig_export_clean(std::move(exporter)), PDATA_SUCCESS);
    EXPECT_EQ(coverage_file().substr(0, 52), "900,1003,web,1,0\n"
                                             "256,1003,web,0,0\n"
                                             "255,1003,web,0,255");
    exporter = pdata_sig_export_init("signature_coverage");
    context(exporter.get(), 0, 1003, "web", 0);
    EXPECT_EQ(add(exporter.get(), "a", 901), "0");
    EXPECT_EQ(pdata_sig_export_clean(std::move(exporter)), PDATA_SUCCESS);
    EXPECT_EQ(coverage_file(), "901,1003,web,0,1\n") << "the file is replaced";
}

TEST_F(sig_export, the_coverage_has_limits)
{
    std::unique_ptr<pdata_sig_export_t> exporter = pdata_sig_export_init("signature_coverage");
    context(exporter.get(), 0, 65535, "last", 2047);
    EXPECT_EQ(add(exporter.get(), "a", 1), "0");
    context(exporter.get(), 0, 65536, "beyond", 0);
    EXPECT_EQ(add(exporter.get(), "a", 2), OUTCOME_OVERFLOW);
    context(exporter.get(), 0, 0xFFFFFFFF, "beyond", 0);
    EXPECT_EQ(add(exporter.get(), "a", 2), OUTCOME_OVERFLOW);
    context(exporter.get(), 1, 5, "low", 2048);
    EXPECT_EQ(add(exporter.get(), "a", 3), OUTCOME_OVERFLOW);
    EXPECT_EQ(pdata_sig_export_clean(std::move(exporter)), PDATA_SUCCESS);
    EXPECT_EQ(coverage_file(), "1,65535,beyond,2047,0\n")
        << "the name is the mapping's, as it stands at the release";
}

TEST_F(sig_export, a_coverage_file_that_cannot_be_opened_is_status_3)
{
    fs::create_directory("signature_coverage.data");
    std::unique_ptr<pdata_sig_export_t> exporter = pdata_sig_export_init("signature_coverage");
    context(exporter.get(), 0, 1004, "web", 0);
    EXPECT_EQ(add(exporter.get(), "a", 1), "0");
    EXPECT_EQ(outcome(pdata_sig_export_clean(std::move(exporter))), OUTCOME_IO);
    EXPECT_TRUE(fs::is_directory("signature_coverage.data"));
}

TEST_F(sig_export, a_coverage_without_values_is_an_empty_file)
{
    EXPECT_EQ(pdata_sig_export_clean(pdata_sig_export_init("signature_coverage")), PDATA_SUCCESS);
    EXPECT_TRUE(fs::exists("signature_coverage.data"));
    EXPECT_EQ(coverage_file(), "");
}

/// Opens a matcher, registers values and closes it.
void matcher(pdata_sig_export_t *exporter, std::string_view proto, const char *attr,
             std::initializer_list<std::string_view> list)
{
    const csa_str_t proto_name = csa_str(proto);
    const csa_str_t attr_name = csa_str(attr);
    EXPECT_EQ(outcome(pdata_sig_export_matcher_prepare(exporter, &proto_name, &attr_name, 0x101)),
              "0");
    for (const std::string_view value : list)
        EXPECT_EQ(outcome(pdata_sig_export_element_register(
                      exporter, value.data(), static_cast<uint32_t>(value.size()), 0)),
                  "0");
    EXPECT_EQ(outcome(pdata_sig_export_matcher_finalize(exporter)), "0");
}

TEST_F(sig_export, pcap_generation_groups_values_by_protocol_and_rule)
{
    std::unique_ptr<pdata_sig_export_t> exporter = pdata_sig_export_init("pcap_generation");
    context(exporter.get(), 0, 67, "web", 0);
    matcher(exporter.get(), "http", "host", {"a", "b"});
    context(exporter.get(), 0, 67, "web", 1);
    matcher(exporter.get(), "ssl", "common_name", {"c"});
    context(exporter.get(), 1, 68, "mail", 0);
    matcher(exporter.get(), "http", "uri", {"d"});
    context(exporter.get(), 0, 67, "web", 0);
    matcher(exporter.get(), "ssl", "common_name", {"e"});
    EXPECT_EQ(
        stdout_of([&] { EXPECT_EQ(pdata_sig_export_clean(std::move(exporter)), PDATA_SUCCESS); }),
        "mail~~http~~uri~~d\n"
        "web~~ssl~~common_name~~c\n"
        "web~~ssl~~common_name~~e~~http~~host~~b~~http~~host~~a\n");
    EXPECT_TRUE(fs::is_empty(directory));
}

TEST_F(sig_export, pcap_generation_collects_http_and_ssl_only)
{
    std::unique_ptr<pdata_sig_export_t> exporter = pdata_sig_export_init("pcap_generation");
    context(exporter.get(), 0, 67, "web", 0);
    for (const std::string_view proto :
         {std::string_view("HTTP"), std::string_view("http2"), std::string_view("htt"),
          std::string_view("tcp"), std::string_view(""), std::string_view("http\0", 5)})
        matcher(exporter.get(), proto, "host", {"a"});
    EXPECT_EQ(add(exporter.get(), "outside", 1), "0") << "no matcher is open";
    EXPECT_EQ(stdout_of([&] { (void)pdata_sig_export_clean(std::move(exporter)); }), "");
}

TEST_F(sig_export, pcap_generation_takes_empty_values_and_ends_texts_at_a_0_byte)
{
    std::unique_ptr<pdata_sig_export_t> exporter = pdata_sig_export_init("pcap_generation");
    context(exporter.get(), 0, 67, "web", 0);
    matcher(exporter.get(), "http", "host", {"", std::string_view("ab\0cd", 5), {}});
    EXPECT_EQ(stdout_of([&] { (void)pdata_sig_export_clean(std::move(exporter)); }),
              "web~~http~~host~~~~http~~host~~ab~~http~~host~~\n");
}

TEST_F(sig_export, pcap_generation_keeps_the_name_that_a_rule_came_with)
{
    std::unique_ptr<pdata_sig_export_t> exporter = pdata_sig_export_init("pcap_generation");
    context(exporter.get(), 0, 67, "web", 0);
    matcher(exporter.get(), "http", "host", {"a"});
    context(exporter.get(), 0, 67, "other", 0);
    matcher(exporter.get(), "http", "host", {"b"});
    EXPECT_EQ(stdout_of([&] { (void)pdata_sig_export_clean(std::move(exporter)); }),
              "web~~http~~host~~b~~http~~host~~a\n");
}

TEST_F(sig_export, an_export_is_not_made_when_memory_runs_out)
{
    for (const char *name : {"signature_coverage", "pcap_generation"})
        failing_alloc_sweep(
            [&] {
                try {
                    return pdata_sig_export_init(name) == nullptr ? 1 : 0; // an unknown name
                } catch (const std::bad_alloc &) {
                    return -1;
                }
            },
            [](int code) { EXPECT_EQ(code, -1); });
}

TEST_F(sig_export, a_value_that_cannot_be_kept_is_status_101)
{
    const csa_str_t proto = csa_str("http");
    const csa_str_t attr = csa_str("an_attribute_of_some_length");
    for (const char *name : {"signature_coverage", "pcap_generation"}) {
        std::unique_ptr<pdata_sig_export_t> exporter = pdata_sig_export_init(name);
        context(exporter.get(), 0, 1005, "a_protocol_of_some_length", 0);
        EXPECT_EQ(outcome(pdata_sig_export_matcher_prepare(exporter.get(), &proto, &attr, 1)), "0");
        int failures = 0;
        failing_alloc_sweep(
            [&] {
                return static_cast<int>(pdata_sig_export_element_register(
                    exporter.get(), "a value of some length", 22, 1));
            },
            [&](int code) {
                EXPECT_EQ(code, PDATA_ERR_SIG_EXPORT);
                ++failures;
            });
        EXPECT_GT(failures, 0) << name;
        EXPECT_EQ(add(exporter.get(), "a value", 2), "0") << "the next one is kept";
        const std::string printed =
            stdout_of([&] { (void)pdata_sig_export_clean(std::move(exporter)); });
        if (std::string_view(name) == "pcap_generation") {
            EXPECT_EQ(printed, "a_protocol_of_some_length"
                               "~~http~~an_attribute_of_some_length~~a value"
                               "~~http~~an_attribute_of_some_length~~a value of some length\n");
        }
    }
}

} // namespace
