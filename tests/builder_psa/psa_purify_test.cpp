#include "psa_fixture.h"

namespace
{

std::string purified(std::string_view name)
{
    std::string out = "what was there";
    clear_status_slot();
    EXPECT_EQ(outcome(psa_purify_string(name, &out, PSA_NAME_SIZE)), "0");
    return out;
}

TEST(psa_purify, capitals_and_digits_stay)
{
    EXPECT_EQ(purified("AZ09"), "AZ09");
}

TEST(psa_purify, small_letters_become_capitals)
{
    EXPECT_EQ(purified("http_proxy"), "HTTP_PROXY");
    EXPECT_EQ(purified("az"), "AZ");
}

TEST(psa_purify, a_digit_in_front_becomes_an_underscore)
{
    EXPECT_EQ(purified("2fa-token"), "_FA_TOKEN");
    EXPECT_EQ(purified("42"), "_2") << "only the first one";
    EXPECT_EQ(purified("_42"), "_42");
}

TEST(psa_purify, every_other_byte_becomes_an_underscore)
{
    for (int byte = 0; byte < 256; ++byte) {
        const char c = static_cast<char>(byte);
        const bool kept = (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
        const bool raised = c >= 'a' && c <= 'z';
        const std::string name = {'A', c};
        const char expected = kept ? c : raised ? static_cast<char>(c - 32) : '_';
        EXPECT_EQ(purified(name), std::string({'A', expected})) << byte;
    }
}

TEST(psa_purify, an_empty_name_is_an_empty_identifier)
{
    EXPECT_EQ(purified(""), "");
}

TEST(psa_purify, a_name_must_be_shorter_than_the_output)
{
    EXPECT_EQ(purified(std::string(254, 'a')), std::string(254, 'A'));
    std::string out;
    clear_status_slot();
    const char *message =
        OUTCOME_PSA ": PSA : unable to purify string because the size of the output is "
                    "too small.\n";
    EXPECT_EQ(outcome(psa_purify_string(std::string(255, 'a'), &out, PSA_NAME_SIZE)), message);
    EXPECT_EQ(outcome(psa_purify_string("abc", &out, 3)), message);
    EXPECT_EQ(outcome(psa_purify_string("abc", &out, 4)), "0");
    EXPECT_EQ(outcome(psa_purify_string("", &out, 0)), message);
}

TEST(psa_purify, an_absent_argument_is_refused)
{
    std::string out;
    clear_status_slot();
    EXPECT_EQ(outcome(psa_purify_string({}, &out, 255)),
              OUTCOME_PSA ": PSA : unable to purify null strings.\n");
    EXPECT_EQ(outcome(psa_purify_string("a", nullptr, 255)),
              OUTCOME_PSA ": PSA : unable to purify null strings.\n");
}

} // namespace
