#include <gtest/gtest.h>

#include <optional>
#include <string>

#include "csa_types.h"
#include "failing_alloc.h"
#include "prove_catalog.h"
#include "prove_compile.h"
#include "prove_rule.h"

namespace
{

constexpr const char *DESCRIPTION =
    "{\"protocols\":[{\"name\":\"a\",\"id\":16777221,\"rules\":[{\"order\":\"1:1\",\"rule\":["
    "{\"protocol\":\"http\",\"cts-server\":\"(b|c)d.*e\"},{\"protocol\":\"tcp\",\"port\":\"7-9\"}"
    "]}]}]}";

/// Compiles the description while the `nth` allocation fails. Returns nothing where that is told.
std::optional<prove_compiled_t> compile(size_t nth, const pdata_cfg_t &cfg, bool &has_failed)
{
    std::optional<prove_compiled_t> compiled;
    failing_alloc_arm(nth);
    try {
        compiled = prove_compile(DESCRIPTION, cfg);
    } catch (const std::bad_alloc &) {
        compiled.reset();
    }
    has_failed = failing_alloc_disarm();
    return compiled;
}

TEST(prove_memory, that_runs_out_is_never_a_status)
{
    const pdata_cfg_t cfg = prove_least_configuration();
    bool has_failed = true;
    const std::optional<prove_compiled_t> whole = compile(0, cfg, has_failed);
    ASSERT_TRUE(whole && !has_failed);
    EXPECT_EQ(whole->status, PDATA_SUCCESS) << whole->message;
    size_t nth = 1;
    for (;; ++nth) {
        const std::optional<prove_compiled_t> compiled = compile(nth, cfg, has_failed);
        if (!has_failed)
            break;
        // What sorts can do with less.
        EXPECT_TRUE(!compiled ||
                    (compiled->status == PDATA_SUCCESS && compiled->bytes == whole->bytes))
            << "allocation " << nth << " ends with " << compiled->status;
    }
    EXPECT_GT(nth, 100u);
}

TEST(prove_memory, that_runs_out_is_never_a_verdict)
{
    const prove_value_t text = {"http", "server", "(b|c)d.*e"};
    const prove_value_t ports = {"tcp", "port", "7-9"};
    const std::vector<uint8_t> pdb = prove_compile(DESCRIPTION, prove_least_configuration()).bytes;
    const prove_rule_t rule = {"a",
                               0,
                               {{text, "http", "server", ATTR_WAY_CTS, {"bde", {}}, true},
                                {ports, "tcp", "port", ATTR_WAY_BOTH, {"", {0, 7}}, true}}};
    const auto ends_well = [](auto &&prove) {
        size_t runs = 0;
        failing_alloc_sweep(
            [&] {
                try {
                    return prove() ? 0 : 1;
                } catch (const std::bad_alloc &) {
                    return 2;
                }
            },
            [&](int outcome) {
                ++runs; // what sorts can do with less is whole
                EXPECT_NE(outcome, 1) << "allocation " << runs;
            });
        EXPECT_TRUE(prove());
        EXPECT_GT(runs, 20u);
    };
    ends_well([&] { return prove_value(text).outcome == PROVE_WHOLE_VALUE; });
    ends_well([&] {
        prove_catalog_t catalog;
        return prove_catalog_open(pdb, catalog) &&
               prove_rules(catalog, {&rule, 1})[0].outcome == PROVE_RULE_WINS;
    });
    ends_well([&] {
        const prove_value_t values[] = {ports, {"tcp", "port", "8-10"}};
        return prove_values(values)[1].outcome == PROVE_WHOLE_VALUE;
    });
}

TEST(prove_memory, what_is_too_costly_has_the_status_of_no_memory)
{
    std::string nested;
    for (int depth = 0; depth < 2400; ++depth)
        nested += "([0-?][0-?]|aaaaaaaaaaaaaa";
    nested += std::string(2400, ')');
    const std::string text =
        "{\"protocols\":[{\"name\":\"a\",\"id\":16777221,\"rules\":[{\"order\":\"1:1\",\"rule\":["
        "{\"protocol\":\"http\",\"cts-server\":\"" +
        nested + "\"}]}]}]}";
    EXPECT_EQ(prove_compile(text, prove_least_configuration()).status, PDATA_ERR_NO_MEMORY);
}

} // namespace
