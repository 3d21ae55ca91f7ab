#include <gtest/gtest.h>

#include <memory>
#include <random>
#include <string>

#include "transformer.h"

namespace
{

constexpr int INVALID = MODULE_ERR_INVALID;
constexpr int OUT_OF_RANGE = MODULE_ERR_OVERFLOW;

/// What a transformer makes of a text: its code, and the bounds when it succeeds.
struct outcome {
    int code;
    uint64_t lower = 0;
    uint64_t upper = 0;

    bool operator==(const outcome &) const = default;
};

void PrintTo(const outcome &result, std::ostream *out)
{
    *out << result.code << " [" << result.lower << ", " << result.upper << "]";
}

/// Runs `fct` on a copy of `text` that ends where its memory ends.
int run(transformer_fct fct, std::string_view text, uint32_t inequation, transformer_value_t &lower,
        transformer_value_t &upper)
{
    const auto copy = std::make_unique<char[]>(text.size());
    std::copy(text.begin(), text.end(), copy.get());
    return fct(csa_str(copy.get(), text.size()), inequation, lower, upper);
}

outcome run(transformer_fct fct, std::string_view text, uint32_t inequation = INEQUATION_NONE)
{
    transformer_value_t lower;
    transformer_value_t upper;
    const int code = run(fct, text, inequation, lower, upper);
    return code != 0 ? outcome{code} : outcome{0, lower.number, upper.number};
}

/// What the two integer forms have in common, by their largest value.
struct integer_form {
    const char *name;
    transformer_fct fct;
    uint64_t max;
    int upper_error;
};

class transformer_integer_form : public testing::TestWithParam<integer_form>
{
};

INSTANTIATE_TEST_SUITE_P(widths, transformer_integer_form,
                         testing::Values(integer_form{"bits8", transformer_8, 255, INVALID},
                                         integer_form{"bits16", transformer_range16, 65535,
                                                      OUT_OF_RANGE}),
                         [](const auto &row) { return row.param.name; });

TEST_P(transformer_integer_form, reads_values_and_ranges)
{
    const auto fct = GetParam().fct;
    EXPECT_EQ(run(fct, "12"), (outcome{0, 12, 12}));
    EXPECT_EQ(run(fct, "0"), (outcome{0, 0, 0}));
    EXPECT_EQ(run(fct, "007"), (outcome{0, 7, 7}));
    EXPECT_EQ(run(fct, "12-200"), (outcome{0, 12, 200}));
    EXPECT_EQ(run(fct, "5-5"), (outcome{0, 5, 5}));
    EXPECT_EQ(run(fct, "[5-9]"), (outcome{0, 5, 9}));
}

TEST_P(transformer_integer_form, refuses_absent_and_empty_texts)
{
    transformer_value_t lower;
    transformer_value_t upper;
    EXPECT_EQ(GetParam().fct({}, 0, lower, upper), INVALID);
    EXPECT_EQ(GetParam().fct({3, nullptr}, 0, lower, upper), INVALID);
    EXPECT_EQ(run(GetParam().fct, ""), outcome{INVALID});
}

TEST_P(transformer_integer_form, needs_a_digit_first)
{
    for (const char *text : {" 5", "+5", "-5", "x", "-", "[", "]", "[]", "[x-9]", "[ 5-9]", "[-9]"})
        EXPECT_EQ(run(GetParam().fct, text), outcome{INVALID}) << text;
}

TEST_P(transformer_integer_form, blanks_in_front_of_the_second_number_are_passed_over)
{
    const auto fct = GetParam().fct;
    for (const char *blank : {" ", "\t", "\n", "\v", "\f", "\r", " \t "})
        EXPECT_EQ(run(fct, std::string("5-") + blank + "9"), (outcome{0, 5, 9})) << blank;
    for (const char *other : {"\b", "\x0e", "x", "!"})
        EXPECT_EQ(run(fct, std::string("0-") + other + "9"), (outcome{0, 0, 0})) << other;
}

TEST_P(transformer_integer_form, brackets_need_a_range_and_each_other)
{
    const auto fct = GetParam().fct;
    EXPECT_EQ(run(fct, "[5]"), outcome{INVALID});
    EXPECT_EQ(run(fct, "[5-9"), outcome{INVALID});
    EXPECT_EQ(run(fct, "5-9]"), (outcome{0, 5, 9}));
    EXPECT_EQ(run(fct, "5]"), (outcome{0, 5, 5}));
    EXPECT_EQ(run(fct, "[300000-9]"), outcome{OUT_OF_RANGE});
}

TEST_P(transformer_integer_form, a_number_ends_at_the_first_other_byte)
{
    const auto fct = GetParam().fct;
    EXPECT_EQ(run(fct, "5abc"), (outcome{0, 5, 5}));
    EXPECT_EQ(run(fct, "5 6"), (outcome{0, 5, 5}));
    EXPECT_EQ(run(fct, "5 -9x-1"), (outcome{0, 5, 9}));
    EXPECT_EQ(run(fct, std::string_view("5\0-9", 4)), (outcome{0, 5, 9}));
}

TEST_P(transformer_integer_form, the_second_number_takes_blanks_and_a_sign)
{
    const auto fct = GetParam().fct;
    EXPECT_EQ(run(fct, "5- 9"), (outcome{0, 5, 9}));
    EXPECT_EQ(run(fct, "5-\t \n9"), (outcome{0, 5, 9}));
    EXPECT_EQ(run(fct, "5-+9"), (outcome{0, 5, 9}));
    EXPECT_EQ(run(fct, "5- +9"), (outcome{0, 5, 9}));
    EXPECT_EQ(run(fct, "0--0"), (outcome{0, 0, 0}));
    EXPECT_EQ(run(fct, "5--3"), outcome{GetParam().upper_error});
}

TEST_P(transformer_integer_form, a_second_number_without_digits_is_zero)
{
    const auto fct = GetParam().fct;
    EXPECT_EQ(run(fct, "0-"), (outcome{0, 0, 0}));
    EXPECT_EQ(run(fct, "0-x9"), (outcome{0, 0, 0}));
    EXPECT_EQ(run(fct, "5-"), outcome{INVALID});
    EXPECT_EQ(run(fct, "[5-]"), outcome{INVALID});
    EXPECT_EQ(run(fct, "0-+-7"), (outcome{0, 0, 0}));
}

TEST_P(transformer_integer_form, refuses_a_range_that_runs_backwards)
{
    EXPECT_EQ(run(GetParam().fct, "9-5"), outcome{INVALID});
}

TEST_P(transformer_integer_form, numbers_beyond_the_width_are_out_of_range)
{
    const auto &form = GetParam();
    const std::string max = std::to_string(form.max);
    const std::string beyond = std::to_string(form.max + 1);
    EXPECT_EQ(run(form.fct, max), (outcome{0, form.max, form.max}));
    EXPECT_EQ(run(form.fct, beyond), outcome{OUT_OF_RANGE});
    EXPECT_EQ(run(form.fct, beyond + "-1"), outcome{OUT_OF_RANGE});
    EXPECT_EQ(run(form.fct, "1-" + max), (outcome{0, 1, form.max}));
    EXPECT_EQ(run(form.fct, "1-" + beyond), outcome{form.upper_error});
}

// 4294967297 is 1 in 32 bits, 18446744073709551617 is 1 in 64 bits.
TEST_P(transformer_integer_form, numbers_saturate_instead_of_wrapping)
{
    const auto &form = GetParam();
    for (const char *huge : {"2147483648", "4294967297", "18446744073709551617",
                             "100000000000000000000000000000000000000000"}) {
        EXPECT_EQ(run(form.fct, huge), outcome{OUT_OF_RANGE}) << huge;
        EXPECT_EQ(run(form.fct, std::string("1-") + huge), outcome{form.upper_error}) << huge;
        EXPECT_EQ(run(form.fct, std::string("1--") + huge), outcome{form.upper_error}) << huge;
    }
    EXPECT_EQ(run(form.fct, std::string(60000, '0') + "9"), (outcome{0, 9, 9}));
    EXPECT_EQ(run(form.fct, std::string(65535, '9')), outcome{OUT_OF_RANGE});
}

TEST_P(transformer_integer_form, inequations_give_the_rest_of_the_width)
{
    const auto &form = GetParam();
    EXPECT_EQ(run(form.fct, "5", INEQUATION_LESS), (outcome{0, 0, 4}));
    EXPECT_EQ(run(form.fct, "5", INEQUATION_LESS_OR_EQUAL), (outcome{0, 0, 5}));
    EXPECT_EQ(run(form.fct, "5", INEQUATION_GREATER), (outcome{0, 6, form.max}));
    EXPECT_EQ(run(form.fct, "5", INEQUATION_GREATER_OR_EQUAL), (outcome{0, 5, form.max}));
    EXPECT_EQ(run(form.fct, "5", 5), (outcome{0, 5, 5}));
    EXPECT_EQ(run(form.fct, "5-9", 0xFFFFFFFF), (outcome{0, 5, 9}));
}

TEST_P(transformer_integer_form, inequations_refuse_an_empty_interval)
{
    const auto &form = GetParam();
    const std::string max = std::to_string(form.max);
    EXPECT_EQ(run(form.fct, "0", INEQUATION_LESS), outcome{INVALID});
    EXPECT_EQ(run(form.fct, "0", INEQUATION_LESS_OR_EQUAL), (outcome{0, 0, 0}));
    EXPECT_EQ(run(form.fct, max, INEQUATION_GREATER), outcome{INVALID});
    EXPECT_EQ(run(form.fct, max, INEQUATION_GREATER_OR_EQUAL), (outcome{0, form.max, form.max}));
    EXPECT_EQ(run(form.fct, "1", INEQUATION_LESS), (outcome{0, 0, 0}));
}

TEST_P(transformer_integer_form, inequations_refuse_ranges_but_look_at_the_number_first)
{
    const auto fct = GetParam().fct;
    for (uint32_t inequation = 1; inequation <= 4; ++inequation) {
        EXPECT_EQ(run(fct, "5-9", inequation), outcome{INVALID});
        EXPECT_EQ(run(fct, "[5-9]", inequation), outcome{INVALID});
        EXPECT_EQ(run(fct, "70000-9", inequation), outcome{OUT_OF_RANGE});
    }
}

TEST(transformer_8, a_range_beyond_255_is_invalid)
{
    EXPECT_EQ(run(transformer_8, "256"), outcome{OUT_OF_RANGE});
    EXPECT_EQ(run(transformer_8, "12-300"), outcome{INVALID});
}

TEST(transformer_range16, a_range_beyond_65535_is_out_of_range)
{
    EXPECT_EQ(run(transformer_range16, "1000-70000"), outcome{OUT_OF_RANGE});
    EXPECT_EQ(run(transformer_range16, "1000-60000"), (outcome{0, 1000, 60000}));
}

TEST(transformer_ipv4, reads_addresses_prefixes_and_ranges)
{
    EXPECT_EQ(run(transformer_ipv4, "10.1.2.3"), (outcome{0, 0x0A010203, 0x0A010203}));
    EXPECT_EQ(run(transformer_ipv4, "255.255.255.255"), (outcome{0, 0xFFFFFFFF, 0xFFFFFFFF}));
    EXPECT_EQ(run(transformer_ipv4, "001.02.3.000"), (outcome{0, 0x01020300, 0x01020300}));
    EXPECT_EQ(run(transformer_ipv4, "10.0.0.0/8"), (outcome{0, 0x0A000000, 0x0AFFFFFF}));
    EXPECT_EQ(run(transformer_ipv4, "10.1.2.3/8"), (outcome{0, 0x0A000000, 0x0AFFFFFF}));
    EXPECT_EQ(run(transformer_ipv4, "192.168.1.7/31"), (outcome{0, 0xC0A80106, 0xC0A80107}));
    EXPECT_EQ(run(transformer_ipv4, "200.1.1.1/1"), (outcome{0, 0x80000000, 0xFFFFFFFF}));
    EXPECT_EQ(run(transformer_ipv4, "1.2.3.4/32"), (outcome{0, 0x01020304, 0x01020304}));
    EXPECT_EQ(run(transformer_ipv4, "1.2.3.4-1.2.3.9"), (outcome{0, 0x01020304, 0x01020309}));
}

TEST(transformer_ipv4, ignores_the_inequation)
{
    EXPECT_EQ(run(transformer_ipv4, "1.2.3.4", INEQUATION_GREATER),
              (outcome{0, 0x01020304, 0x01020304}));
}

// Oddity O177: the shift that makes the host mask is taken modulo 32.
TEST(transformer_ipv4, a_prefix_of_length_0_is_the_single_address)
{
    EXPECT_EQ(run(transformer_ipv4, "10.1.2.3/0"), (outcome{0, 0x0A010203, 0x0A010203}));
}

// Oddity O178: an upper address of 0 counts as none.
TEST(transformer_ipv4, a_range_up_to_0_is_its_first_address)
{
    EXPECT_EQ(run(transformer_ipv4, "1.2.3.4-0.0.0.0"), (outcome{0, 0x01020304, 0x01020304}));
    EXPECT_EQ(run(transformer_ipv4, "1.2.3.4-0.0.0.1"), (outcome{0, 0x01020304, 1}));
}

TEST(transformer_ipv4, a_prefix_length_may_have_leading_zeros_and_saturates)
{
    EXPECT_EQ(run(transformer_ipv4, "10.0.0.0/0000000008"), (outcome{0, 0x0A000000, 0x0AFFFFFF}));
    for (const char *text :
         {"1.2.3.4/33", "1.2.3.4/100", "1.2.3.4/4294967304", "1.2.3.4/18446744073709551624"})
        EXPECT_EQ(run(transformer_ipv4, text), outcome{INVALID}) << text;
}

TEST(transformer_ipv4, refuses_everything_else)
{
    for (const char *text : {"",
                             "1",
                             "1.2.3",
                             "1.2.3.",
                             "1.2.3.4.",
                             "1.2.3.4.5",
                             ".1.2.3.4",
                             "1..2.3",
                             "256.1.1.1",
                             "1.2.3.256",
                             "1.2.3.0001",
                             "1.2.3.x",
                             "1.2.3.4x",
                             " 1.2.3.4",
                             "1.2.3.4 ",
                             "1.2.3.4/",
                             "1.2.3.4/x",
                             "1.2.3.4/8x",
                             "1.2.3.4/8.",
                             "1.2.3.4/8/8",
                             "1.2.3/8",
                             "/8",
                             "1.2.3.4/-1",
                             "1.2.3.4/ 8",
                             "1.2.3.4-",
                             "1.2.3.4-5",
                             "1.2-3.4",
                             "1.2.3.4-1.2.3",
                             "-1.2.3.4",
                             "1.2.3.4--1.2.3.4",
                             "1.2.3.4/8-",
                             "a.b.c.d",
                             "1.2.3.4-1.2.3.4-1.2.3.4",
                             "1.2.3.4/8-1.2.3.9",
                             "1.2.3.4-1.2.3.9/8",
                             "1.2.3.4-1.2.3.9.1",
                             "1.2.3.4-1.2.3.999"})
        EXPECT_EQ(run(transformer_ipv4, text), outcome{INVALID}) << text;
    transformer_value_t lower;
    transformer_value_t upper;
    EXPECT_EQ(transformer_ipv4({}, 0, lower, upper), INVALID);
}

using words = std::array<uint32_t, 4>;

void expect_ipv6(std::string_view text, words lower_words, words upper_words)
{
    transformer_value_t lower;
    transformer_value_t upper;
    ASSERT_EQ(run(transformer_ipv6, text, 0, lower, upper), 0) << text;
    EXPECT_EQ(lower.address, lower_words) << text;
    EXPECT_EQ(upper.address, upper_words) << text;
}

void expect_ipv6(std::string_view text, words address)
{
    expect_ipv6(text, address, address);
}

TEST(transformer_ipv6, reads_full_addresses_most_significant_word_first)
{
    expect_ipv6("1:2:3:4:5:6:7:8", {0x00010002, 0x00030004, 0x00050006, 0x00070008});
    expect_ipv6("FFFF:abcd:0:00:000:0000:Ef01:1", {0xFFFFABCD, 0x00000000, 0x00000000, 0xEF010001});
}

TEST(transformer_ipv6, reads_every_digit)
{
    expect_ipv6("0123:4567:89ab:cdef:0a0f:0A0F:9:F", {0x01234567, 0x89ABCDEF, 0x0A0F0A0F, 0x9000F});
}

TEST(transformer_ipv6, fills_the_gap_with_zeros)
{
    expect_ipv6("::1", {0, 0, 0, 1});
    expect_ipv6("1::", {0x00010000, 0, 0, 0});
    expect_ipv6("1::8", {0x00010000, 0, 0, 8});
    expect_ipv6("1:2::7:8", {0x00010002, 0, 0, 0x00070008});
    expect_ipv6("1:2:3:4:5:6:7::", {0x00010002, 0x00030004, 0x00050006, 0x00070000});
    expect_ipv6("::2:3:4:5:6:7:8", {0x00000002, 0x00030004, 0x00050006, 0x00070008});
    expect_ipv6("1:2:3::5:6:7:8", {0x00010002, 0x00030000, 0x00050006, 0x00070008});
}

TEST(transformer_ipv6, prefixes_cover_their_hosts)
{
    expect_ipv6("2001:db8::/32", {0x20010DB8, 0, 0, 0},
                {0x20010DB8, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF});
    expect_ipv6("2001:db8::1/32", {0x20010DB8, 0, 0, 0},
                {0x20010DB8, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF});
    expect_ipv6("2001:db8::/29", {0x20010DB8, 0, 0, 0},
                {0x20010DBF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF});
    expect_ipv6("::1/127", {0, 0, 0, 0}, {0, 0, 0, 1});
    expect_ipv6("fe80::/64", {0xFE800000, 0, 0, 0}, {0xFE800000, 0, 0xFFFFFFFF, 0xFFFFFFFF});
    expect_ipv6("1::2/0", {0, 0, 0, 0}, {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF});
    expect_ipv6("8000::/1", {0x80000000, 0, 0, 0},
                {0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF});
    expect_ipv6("1::/007", {0, 0, 0, 0}, {0x01FFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF});
}

TEST(transformer_ipv6, refuses_everything_else)
{
    for (const char *text : {"",
                             ":",
                             "::",
                             "1",
                             "12",
                             "1:",
                             ":1:2:3",
                             ":::",
                             "1:::2",
                             "1::2::3",
                             "::1::",
                             "12345::",
                             "1::12345",
                             "g::1",
                             "1::g",
                             "1:2:3:4:5:6:7",
                             "1:2:3:4:5:6:7:",
                             "1:2:3:4:5:6:7:8:",
                             "1:2:3:4:5:6:7:8::",
                             "1:2:3:4:5:6:7:8:9",
                             "::1:2:3:4:5:6:7:8",
                             "1:2:3:4::5:6:7:8",
                             "::1.2.3.4",
                             "::ffff:1.2.3.4",
                             " ::1",
                             "::1 ",
                             "::1/",
                             "::1/128",
                             "::1/129",
                             "::1/999",
                             "::1/0128",
                             "::1/0064",
                             "::1/-1",
                             "::1/x",
                             "::1/6x",
                             "::1/64/64",
                             "::/0",
                             "/64",
                             "::1//64",
                             "1/64",
                             "::1%1"})
        EXPECT_EQ(run(transformer_ipv6, text).code, INVALID) << text;
    transformer_value_t lower;
    transformer_value_t upper;
    EXPECT_EQ(transformer_ipv6({}, 0, lower, upper), INVALID);
}

// Random texts over the bytes that mean something: nothing is read beyond the text (the
// sanitizers watch), and what succeeds lies within its width.
TEST(transformer, survives_any_text)
{
    std::mt19937 random(7);
    const std::string_view alphabet = "0123456789.-/[]: abcdefF+x";
    for (int round = 0; round < 200000; ++round) {
        std::string text(random() % 20, ' ');
        for (char &c : text)
            c = alphabet[random() % alphabet.size()];
        const uint32_t inequation = static_cast<uint32_t>(random() % 6);
        const outcome bits8 = run(transformer_8, text, inequation);
        const outcome bits16 = run(transformer_range16, text, inequation);
        (void)run(transformer_ipv4, text, inequation);
        (void)run(transformer_ipv6, text, inequation);
        EXPECT_TRUE(bits8.lower <= bits8.upper && bits8.upper <= 255) << text;
        EXPECT_TRUE(bits16.lower <= bits16.upper && bits16.upper <= 65535) << text;
    }
}

} // namespace
