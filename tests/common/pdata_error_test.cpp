#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>

#include "captured.h"
#include "outcome.h"
#include "pdata_diag.h"

namespace
{

constexpr const char *NO_NAME = "error doesn't have a corresponding string.";

class pdata_error : public testing::Test
{
protected:
    void SetUp() override { clear_status_slot(); }
    void TearDown() override { clear_status_slot(); }
};

struct status_row {
    uint32_t code;
    pdata_status_t status;
    const char *name;
};

const status_row statuses[] = {
    {0, PDATA_SUCCESS, "PDATA_SUCCESS"},
    {1, PDATA_ERR_NO_MEMORY, "PDATA_ERR_NO_MEMORY"},
    {2, PDATA_ERR_INVALID_ARGUMENT, "PDATA_ERR_INVALID_ARGUMENT"},
    {3, PDATA_ERR_IO, "PDATA_ERR_IO"},
    {4, PDATA_ERR_INVALID_OPERATION, "PDATA_ERR_INVALID_OPERATION"},
    {50, PDATA_ERR_REGEX, "PDATA_ERR_REGEX"},
    {51, PDATA_ERR_JSON_BAD_SYNTAX, "PDATA_ERR_JSON_BAD_SYNTAX"},
    {52, PDATA_ERR_JSON_BAD_SEMANTIC, "PDATA_ERR_JSON_BAD_SEMANTIC"},
    {53, PDATA_ERR_PROTODESC_ATTR, "PDATA_ERR_PROTODESC_ATTR"},
    {54, PDATA_ERR_PROTODESC_ID_OR_NAME_OR_NS, "PDATA_ERR_PROTODESC_ID_OR_NAME_OR_NS"},
    {55, PDATA_ERR_INVALID_PDB, NO_NAME},
    {56, PDATA_ERR_PRAGMAR, "PDATA_ERR_PRAGMAR"},
    {100, PDATA_ERR_OVERFLOW, "PDATA_ERR_OVERFLOW"},
    {101, PDATA_ERR_SIG_EXPORT, "PDATA_ERR_SIG_EXPORT"},
    {102, PDATA_ERR_TLV_NOT_FOUND, "PDATA_ERR_TLV_NOT_FOUND"},
    {103, PDATA_ERR_RULE_ENGINE, "PDATA_ERR_RULE_ENGINE"},
    {104, PDATA_ERR_ZLIB, "PDATA_ERR_ZLIB"},
    {105, PDATA_ERR_PDB, "PDATA_ERR_PDB"},
    {106, PDATA_ERR_PLU, "PDATA_ERR_PLU"},
    {107, PDATA_ERR_ENGINE, "PDATA_ERR_ENGINE"},
    {108, PDATA_ERR_PROTODESC_TAG, "PDATA_ERR_PROTODESC_TAG"},
    {109, PDATA_ERR_CSM, NO_NAME},
    {110, PDATA_ERR_PSA, NO_NAME},
    {111, PDATA_ERR_IPBT, NO_NAME},
    {200, PDATA_STATUS_ENGINE_CLASSIFIED, "PDATA_STATUS_ENGINE_CLASSIFIED"},
    {201, PDATA_STATUS_ENGINE_FASTPASS, NO_NAME},
    {202, PDATA_STATUS_ENGINE_CDN_RULE_CLASSIFIED, NO_NAME},
};

TEST_F(pdata_error, every_status_has_its_number_and_its_name_text)
{
    for (const status_row &row : statuses) {
        EXPECT_EQ(uint32_t{row.status}, row.code) << row.name;
        EXPECT_STREQ(pdata_status_code2str(row.code), row.name) << row.code;
    }
}

TEST_F(pdata_error, a_code_that_is_no_status_has_the_fallback_text)
{
    for (const uint32_t code : {5U, 49U, 57U, 99U, 112U, 199U, 203U, 999U, 0xFFFFFFFFU})
        EXPECT_STREQ(pdata_status_code2str(code), NO_NAME) << code;
}

TEST_F(pdata_error, the_slot_keeps_what_was_recorded_last)
{
    EXPECT_EQ(pdata_status_code_get(), PDATA_SUCCESS);
    EXPECT_STREQ(pdata_status_msg_get(), "");
    pdata_status_code_set(PDATA_ERR_IO);
    pdata_status_msg_set("a long first message");
    pdata_status_code_set(PDATA_ERR_PLU);
    pdata_status_msg_set("second");
    EXPECT_EQ(pdata_status_code_get(), PDATA_ERR_PLU);
    EXPECT_STREQ(pdata_status_msg_get(), "second");
}

TEST_F(pdata_error, a_message_keeps_at_most_1023_characters)
{
    for (const size_t len : {0UL, 1UL, 1022UL, 1023UL, 1024UL, 1025UL, 2000UL, 100000UL}) {
        const std::string msg(len, 'm');
        pdata_status_msg_set(msg.c_str());
        EXPECT_EQ(pdata_status_msg_get(), msg.substr(0, 1023)) << len;
    }
}

TEST_F(pdata_error, a_message_may_be_recorded_from_the_slot_itself)
{
    pdata_status_msg_set("message");
    pdata_status_msg_set(pdata_status_msg_get());
    EXPECT_STREQ(pdata_status_msg_get(), "message");
}

TEST_F(pdata_error, a_failure_records_its_formatted_message_and_returns_its_code)
{
    EXPECT_EQ(pdata_fail(PDATA_ERR_IO, "Cannot open %s (%u)", "x.pdb", 7U), PDATA_ERR_IO);
    EXPECT_EQ(pdata_status_code_get(), PDATA_ERR_IO);
    EXPECT_STREQ(pdata_status_msg_get(), "Cannot open x.pdb (7)");
    const std::string name(3000, 'n');
    (void)pdata_fail(PDATA_ERR_IO, "%s", name.c_str()); // only the message is looked at
    EXPECT_EQ(pdata_status_msg_get(), name.substr(0, 1023));
}

struct module_row {
    uint32_t module;
    int code;
    pdata_status_t status;
};

TEST_F(pdata_error, module_codes_become_statuses)
{
    const module_row rows[] = {
        {1, 0, PDATA_SUCCESS},
        {9, 0, PDATA_SUCCESS},
        {2, -5, PDATA_ERR_NO_MEMORY},
        {6, -5, PDATA_ERR_NO_MEMORY},
        {3, -11, PDATA_ERR_INVALID_OPERATION},
        {0, -11, PDATA_ERR_INVALID_OPERATION},
        {1, -27, PDATA_ERR_OVERFLOW},
        {9, -27, PDATA_ERR_OVERFLOW},
        {0, -1, PDATA_ERR_ENGINE},
        {1, -1, PDATA_ERR_REGEX},
        {2, -1, PDATA_ERR_REGEX},
        {3, -13, PDATA_ERR_REGEX},
        {4, 1, PDATA_ERR_REGEX},
        {5, -1000, PDATA_ERR_REGEX},
        {6, -1, PDATA_ERR_ENGINE},
        {7, -13, PDATA_ERR_ENGINE},
    };
    for (const module_row &row : rows)
        EXPECT_EQ(module_err2pdata_status(row.module, row.code), row.status)
            << row.module << " " << row.code;
}

TEST_F(pdata_error, diagnostic_lines_name_level_line_and_function)
{
    EXPECT_EQ(stderr_of([] {
                  pdata_diag_error({PDATA_DIAG_NO_ROOT, 17});
              }),
              "[ERROR  ][17][pdb_builder_serialize] failed to find TLV_TYPE_ROOT_PROTODESCS.\n");
    EXPECT_EQ(stderr_of([] {
                  pdata_diag_warning({PDATA_DIAG_RULE_TAG_VALUE, 4}, 3, "tags");
              }),
              "[WARNING][4][pdb_ruletag_map_serialize] Failed to resolve rule tag name(tag).\n");
    const std::string line = std::to_string(__LINE__ + 1);
    const auto report = [] { pdata_diag_error(PDATA_DIAG_NO_GROUP, 2u, 0u); };
    const std::string site = "[ERROR  ][" + line + "][pdb_builder_serialize] ";
    EXPECT_EQ(stderr_of(report), site + "Unexpected TLV type: 2 at offset: 0\n\n");
    EXPECT_EQ(outcome(PDATA_SUCCESS), "0") << "the slot stays as it was";
}

pdata_status_t third_step(pdata_status_t first, pdata_status_t second)
{
    PDATA_TRY(first);
    PDATA_TRY([&] {
        PDATA_TRY(second);
        return PDATA_SUCCESS;
    }());
    return PDATA_ERR_PLU;
}

TEST_F(pdata_error, a_failure_is_passed_up_and_success_goes_on)
{
    EXPECT_EQ(third_step(PDATA_ERR_IO, PDATA_ERR_PSA), PDATA_ERR_IO);
    EXPECT_EQ(third_step(PDATA_SUCCESS, PDATA_ERR_PSA), PDATA_ERR_PSA);
    EXPECT_EQ(third_step(PDATA_SUCCESS, PDATA_SUCCESS), PDATA_ERR_PLU);
}

TEST_F(pdata_error, memory_that_runs_out_becomes_a_status)
{
    EXPECT_EQ(pdata_guard([]() -> pdata_status_t { throw std::bad_alloc(); }), PDATA_ERR_NO_MEMORY);
    EXPECT_EQ(pdata_guard([]() -> pdata_status_t { throw std::length_error("vector"); }),
              PDATA_ERR_NO_MEMORY);
    EXPECT_EQ(pdata_guard([] { return PDATA_ERR_IO; }), PDATA_ERR_IO);
}

TEST_F(pdata_error, a_diagnostic_accompanies_only_a_failure)
{
    pdata_status_t status = PDATA_ERR_PLU;
    EXPECT_EQ(stderr_of([&] { status = pdata_diag_failed(PDATA_SUCCESS, PDATA_DIAG_RULES); }), "");
    EXPECT_EQ(status, PDATA_SUCCESS);
    EXPECT_EQ(stderr_of([&] {
                  status = pdata_diag_failed(PDATA_ERR_IO, {PDATA_DIAG_RULES, 5});
              }),
              "[ERROR  ][5][pdb_builder_serialize] pdb_builder: rule build failed.\n");
    EXPECT_EQ(status, PDATA_ERR_IO);
}

TEST(pdata_error_outcome, the_names_of_the_tests_are_those_of_the_statuses)
{
    clear_status_slot();
    EXPECT_EQ(outcome(PDATA_ERR_NO_MEMORY), OUTCOME_NO_MEMORY);
    EXPECT_EQ(outcome(PDATA_ERR_INVALID_ARGUMENT), OUTCOME_INVALID_ARGUMENT);
    EXPECT_EQ(outcome(PDATA_ERR_IO), OUTCOME_IO);
    EXPECT_EQ(outcome(PDATA_ERR_INVALID_OPERATION), OUTCOME_INVALID_OPERATION);
    EXPECT_EQ(outcome(PDATA_ERR_REGEX), OUTCOME_REGEX);
    EXPECT_EQ(outcome(PDATA_ERR_JSON_BAD_SYNTAX), OUTCOME_JSON_BAD_SYNTAX);
    EXPECT_EQ(outcome(PDATA_ERR_JSON_BAD_SEMANTIC), OUTCOME_JSON_BAD_SEMANTIC);
    EXPECT_EQ(outcome(PDATA_ERR_PROTODESC_ATTR), OUTCOME_PROTODESC_ATTR);
    EXPECT_EQ(outcome(PDATA_ERR_PROTODESC_ID_OR_NAME_OR_NS), OUTCOME_PROTODESC_ID_OR_NAME_OR_NS);
    EXPECT_EQ(outcome(PDATA_ERR_PRAGMAR), OUTCOME_PRAGMAR);
    EXPECT_EQ(outcome(PDATA_ERR_OVERFLOW), OUTCOME_OVERFLOW);
    EXPECT_EQ(outcome(PDATA_ERR_SIG_EXPORT), OUTCOME_SIG_EXPORT);
    EXPECT_EQ(outcome(PDATA_ERR_TLV_NOT_FOUND), OUTCOME_TLV_NOT_FOUND);
    EXPECT_EQ(outcome(PDATA_ERR_RULE_ENGINE), OUTCOME_RULE_ENGINE);
    EXPECT_EQ(outcome(PDATA_ERR_PLU), OUTCOME_PLU);
    EXPECT_EQ(outcome(PDATA_ERR_ENGINE), OUTCOME_ENGINE);
    EXPECT_EQ(outcome(PDATA_ERR_PROTODESC_TAG), OUTCOME_PROTODESC_TAG);
    EXPECT_EQ(outcome(PDATA_ERR_PSA), OUTCOME_PSA);
    EXPECT_EQ(outcome(PDATA_ERR_IPBT), OUTCOME_IPBT);
}

} // namespace
