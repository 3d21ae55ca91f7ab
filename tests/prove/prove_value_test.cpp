/// Values whose fate was worked out by hand.
#include "prove_value.h"

#include "prove_decide.h"

#include <gtest/gtest.h>

#include "pdata_error.h"
#include "rounds.h"

namespace
{

/// "whole", "lossy LOST", "dead LOST" or "refused", with "?" where it is not decided.
std::string told(const prove_verdict_t &verdict)
{
    static constexpr const char *NAMES[] = {"whole", "lossy ", "dead ", "refused"};
    if (verdict.is_contradicted)
        return "contradicted";
    const bool open = !verdict.is_decided && verdict.outcome != PROVE_REFUSED;
    return NAMES[verdict.outcome] + verdict.lost + (open ? "?" : "");
}

std::string proved(const char *attribute, std::string_view text)
{
    return told(prove_value({"http", attribute, text}));
}

TEST(prove_value, plain_forms_lose_nothing)
{
    for (const char *text :
         {"word", ".*word.*", "word.*", ".*word", "(.*\\.)?example\\.org", "(GET|POST) .*",
          "220.*FTP.*", "<\\d+>.*", "ab.cd", "a[bc].*", ".*", "a\\[bc\\]d", "\\x00\\x00.*", "[^a]",
          "\\w+", "(a|b|c)+x.*", "a,b", "a\nb\x01"}) {
        EXPECT_EQ(proved("uri_decoded", text), "whole") << text;
        EXPECT_EQ(proved("server", text), "whole") << text;
    }
}

TEST(prove_value, a_range_in_front_of_open_data_is_taken_as_whole_data)
{
    EXPECT_EQ(proved("uri_decoded", "a[b-c].*"), "lossy abx");
    EXPECT_EQ(proved("uri_decoded", "[0-9].*"), "lossy 0x");
    EXPECT_EQ(proved("uri_decoded", "\\x05.*"), "lossy \x05x");
}

TEST(prove_value, what_cannot_be_found_at_all_is_dead)
{
    EXPECT_EQ(proved("uri_decoded", "[b-c]..*"), "dead bx");
    EXPECT_EQ(proved("uri_decoded", ",,"), "dead ,,");
    EXPECT_EQ(proved("uri_decoded", std::string_view(",,\0", 3)), "whole");
    EXPECT_EQ(proved("uri_decoded", "a[^\\x00\\x-\\xff\\x].*"), "dead ");
}

TEST(prove_value, what_the_compiler_refuses_is_not_judged)
{
    EXPECT_EQ(proved("uri_decoded", "(a"), "refused");
    EXPECT_EQ(proved("uri_decoded", "[c-a]"), "refused");
    EXPECT_EQ(proved("uri_decoded", ""), "refused");
    EXPECT_EQ(proved("no_such_attribute", "a"), "refused");
    EXPECT_EQ(told(prove_value({"tcp", "stream", ".*word"})), "refused");
}

TEST(prove_value, minimum_data_of_a_preempt_rule)
{
    EXPECT_EQ(told(prove_value({"tcp", "stream", "CHTR/[12] .*", 0, 16})), "whole");
    EXPECT_EQ(told(prove_value({"tcp", "stream", "CHTR/1", 0, 6})), "whole");
    EXPECT_EQ(told(prove_value({"tcp", "stream", "CHTR/1", 0, 7})), "dead ");
    EXPECT_EQ(told(prove_value({"tcp", "stream", "ab[c-d].*", 0, 5})), "dead abcxx");
    EXPECT_EQ(told(prove_value({"tcp", "stream", "abc?d?", 0, 5})), "dead ");
    EXPECT_EQ(told(prove_value({"tcp", "stream", "ab.*", 0, 60000})), "whole");
    EXPECT_EQ(told(prove_value({"tcp", "stream", "ab[c-d].*", 0, 60000})), "whole?");
}

TEST(prove_value, texts_at_an_offset)
{
    EXPECT_EQ(told(prove_value({"tcp", "stream", "\\x21\\x12\\xa4B", 4})), "whole");
    EXPECT_EQ(told(prove_value({"udp", "stream", ".*", 40})), "whole");
    EXPECT_EQ(told(prove_value({"udp", "stream", "a\\x4", 40})), "refused");
    EXPECT_EQ(told(prove_value({"http", "server", "a", 40})), "refused");
}

TEST(prove_value, escapes_of_texts_at_an_offset)
{
    const auto at_offset = [](std::string_view text) {
        return told(prove_value({"tcp", "stream", text, 4}));
    };
    EXPECT_EQ(at_offset("a\\"), "refused") << "guards nothing";
    EXPECT_EQ(at_offset("\\n\\d\\\\"), "whole");
    EXPECT_EQ(at_offset("\\xAf"), "whole");
    for (const char *text : {"\\xg4", "\\x4g", "\\x4@", "\\x"})
        EXPECT_EQ(at_offset(text), "refused") << text;
}

TEST(prove_value, alike_texts_of_other_offsets_are_other_values)
{
    const prove_value_t values[] = {{"tcp", "stream", "abcd", 4},
                                    {"tcp", "stream", "abcd", 5},
                                    {"tcp", "stream", "abcd", 0, 4},
                                    {"tcp", "stream", "abcd", 0, 5},
                                    {"tcp", "stream", "abcd", 0, 5}};
    std::string all;
    for (const prove_verdict_t &verdict : prove_values(values))
        all += told(verdict) + ",";
    EXPECT_EQ(all, "whole,whole,whole,dead ,dead ,");
}

// Ways that are left out for want of room, or all samples shorter than what counts.
TEST(prove_value, minimum_data_of_what_is_not_looked_at_as_a_whole)
{
    std::string optional;
    for (uint32_t i = 0; i < 20000; ++i)
        optional += "a?";
    EXPECT_EQ(told(prove_value({"tcp", "stream", optional, 0, 30000})), "whole?");
    EXPECT_EQ(told(prove_value({"tcp", "stream", "(ab|c)(ab|c)(ab|c)(ab|c)", 0, 8})), "whole");
    // More parts of rows than are spelled out, the last of them a range.
    std::string parts = "(a|b)(c|d)(e|f)";
    for (uint32_t i = 0; i < 63; ++i)
        parts += ".x";
    EXPECT_EQ(proved("uri_decoded", parts + "[b-c]"), "whole");
}

TEST(prove_value, what_nobody_can_decide)
{
    // A text of 65536 bytes is stored as none.
    EXPECT_EQ(proved("uri_decoded", std::string(65536, 'a')), "refused");
    // More pieces than their number has bits for.
    std::string pieces;
    for (uint32_t i = 0; i < 256; ++i)
        pieces += "a.*";
    EXPECT_FALSE(prove_value({"http", "uri_decoded", pieces}).is_decided);
    const std::string open(1001, '(');
    EXPECT_EQ(proved("uri_decoded", open + "a" + std::string(1001, ')')), "whole?") << "too deep";
    EXPECT_TRUE(prove_data({"http", "no_such_attribute", "a"}).empty());
}

// Samples, and what the comparison says, as verdicts.
TEST(prove_case, of_answers_that_agree_or_do_not)
{
    const pdb_attr_properties_t *text = pdb_get_attr_properties(csa_str(std::string_view("http")),
                                                                csa_str(std::string_view("uri")));
    const auto verdict = [&](const prove_comparison_t &comparison, std::vector<uint8_t> found,
                             bool lost_is_found, bool is_literal = false) {
        prove_case_t at;
        at.properties = text;
        at.comparison = comparison;
        at.lost_is_found = lost_is_found;
        at.is_literal = is_literal;
        at.is_found = std::move(found);
        for (size_t i = 0; i < at.is_found.size(); ++i)
            at.samples.push_back(std::string(3 - i, 's'));
        return told(prove_case_close(at));
    };
    const prove_comparison_t all = {true, true, false, {}};
    const prove_comparison_t some = {true, true, true, "l"};
    const prove_comparison_t none = {true, false, true, "l"};
    const prove_comparison_t open = {false, false, true, "l"};
    EXPECT_EQ(verdict(all, {1, 1}, false), "whole");
    EXPECT_EQ(verdict(all, {1, 0}, false), "contradicted") << "a sample is not found";
    EXPECT_EQ(verdict(some, {1, 1}, false), "lossy l");
    EXPECT_EQ(verdict(some, {1, 0}, false), "lossy l");
    EXPECT_EQ(verdict(some, {1, 1}, true), "contradicted") << "what is lost is found";
    EXPECT_EQ(verdict(none, {0, 0}, false), "dead l");
    EXPECT_EQ(verdict(none, {0, 1}, false), "contradicted") << "some is found";
    EXPECT_EQ(verdict(none, {}, true), "contradicted");
    EXPECT_EQ(verdict(open, {1, 1}, false), "lossy l?");
    EXPECT_EQ(verdict({}, {1, 0}, false), "lossy ss?") << "the sample that is not found";
    EXPECT_EQ(verdict({}, {}, false), "whole?");
    EXPECT_EQ(verdict({}, {}, false, true), "whole?") << "its one text is too long for a sample";
    EXPECT_EQ(verdict({}, {0}, false, true), "dead sss?");
    EXPECT_EQ(verdict({}, {1}, false, true), "whole?");
}

TEST(prove_value, of_what_is_too_large_samples_decide)
{
    std::string optional;
    for (uint32_t i = 0; i < 1000; ++i)
        optional += "a?";
    const prove_verdict_t verdict = prove_value({"http", "uri_decoded", "word" + optional});
    EXPECT_FALSE(verdict.is_decided);
    EXPECT_EQ(verdict.outcome, PROVE_WHOLE_VALUE);
    EXPECT_NE(verdict.nr_sample, 0U);
}

/// Returns so many pieces, all different, with open data between them.
std::string pieces(uint32_t nr, size_t size)
{
    std::string text;
    for (uint32_t i = 0; i < nr; ++i)
        text += (i == 0 ? "" : ".*") + std::to_string(1000 + i) + std::string(size - 4, 'a');
    return text;
}

// Numbers of pieces have 8 bits: what more of them lead to is nothing that samples could tell.
TEST(prove_value, of_pieces_whose_numbers_wrap_nothing_is_tried)
{
    const std::string many = pieces(256, 5);
    EXPECT_EQ(proved("uri_decoded", pieces(255, 5)), "whole");
    EXPECT_EQ(proved("uri_decoded", many), "whole?");
    EXPECT_EQ(prove_value({"http", "uri_decoded", many}).nr_sample, 0U);
}

TEST(prove_value, a_choice_is_not_one_text)
{
    EXPECT_EQ(prove_value({"http", "uri_decoded", std::string(300, 'a') + "(b|c)"}).outcome,
              PROVE_LOSSY);
    EXPECT_EQ(prove_value({"http", "uri_decoded", std::string(300, 'a') + "[bB]"}).outcome,
              PROVE_DEAD);
}

TEST(prove_value, hostile_values_end)
{
    std::string nested = "x";
    for (uint32_t i = 0; i < rounds(400); ++i)
        nested = "(" + nested + "*|y)+";
    std::string classes;
    for (uint32_t i = 0; i < rounds(6000); ++i)
        classes += "[a-z]?";
    const std::string dead(rounds(30000), 'a');
    const std::string open(rounds(60000), '(');
    const std::string any = "(" + std::string(rounds(60000), '.') + ")*";
    for (const std::string &text : {nested, classes, open, any, dead})
        EXPECT_EQ(prove_value({"http", "uri_decoded", text}).outcome == PROVE_DEAD, text == dead);
}

TEST(prove_value, samples_have_the_last_word)
{
    // The tree of whole values cuts a run of more than 255 bytes.
    EXPECT_EQ(proved("uri_decoded", std::string(257, 'a')), "whole");
    const prove_verdict_t verdict = prove_value({"http", "uri_decoded", std::string(258, 'a')});
    EXPECT_TRUE(verdict.is_contradicted);
    EXPECT_EQ(verdict.outcome, PROVE_DEAD);
    EXPECT_EQ(verdict.lost, std::string(258, 'a'));
    EXPECT_EQ(prove_value({"http", "uri_decoded", std::string(300, 'a') + "b?"}).outcome,
              PROVE_LOSSY);
}

TEST(prove_value, the_status_slot_stays_as_it_was)
{
    pdata_status_code_set(PDATA_ERR_PSA);
    pdata_status_msg_set("before");
    (void)prove_value({"http", "uri_decoded", "a"});
    EXPECT_EQ(pdata_status_code_get(), PDATA_ERR_PSA);
    EXPECT_STREQ(pdata_status_msg_get(), "before");
    pdata_status_code_set(PDATA_SUCCESS);
    pdata_status_msg_set("");
}

} // namespace
