// Edits against their definition: a text is taken apart byte by byte, a diff is applied line by
// line by a reader that knows the format alone.
#include "lint_edit.h"

#include <gtest/gtest.h>

#include <random>
#include <sstream>

namespace
{

finding_t finding_with(uint32_t begin, uint32_t end, std::string text)
{
    finding_t finding;
    finding.place = {0, begin, end};
    finding.edits = {{{0, begin, end}, std::move(text)}};
    return finding;
}

std::vector<finding_edit_t> all_edits(const std::vector<finding_t> &findings)
{
    return lint_edits(findings, 0, [](const finding_t &) { return true; });
}

/// Applies the hunks of a unified diff to the lines of a text.
std::string patched(const std::string &text, const std::string &diff)
{
    std::istringstream old(text);
    std::istringstream hunks(diff);
    std::string line;
    std::string now;
    size_t at = 1; // of the next line of the old text
    std::getline(hunks, line);
    std::getline(hunks, line);
    while (std::getline(hunks, line)) {
        if (line.starts_with("@@ -")) {
            const size_t first = std::stoul(line.substr(4));
            for (std::string kept; at < first && std::getline(old, kept); ++at)
                now += kept + '\n';
            continue;
        }
        if (line.front() == '\\')
            continue;
        if (line.front() != '-')
            now += line.substr(1) + '\n';
        if (line.front() != '+') {
            std::string expected;
            std::getline(old, expected);
            EXPECT_EQ(expected, line.substr(1));
            ++at;
        }
    }
    while (std::getline(old, line))
        now += line + '\n';
    return now;
}

TEST(Edit, TextTakesThePlaceOfBytes)
{
    const std::vector<finding_t> findings = {finding_with(1, 3, "XYZ"), finding_with(5, 5, "-")};
    EXPECT_EQ(lint_edited("abcdef", all_edits(findings)), "aXYZde-f");
}

TEST(Edit, WhatMeetsAnEarlierEditStaysOut)
{
    std::vector<finding_t> findings = {finding_with(2, 4, "X"), finding_with(3, 5, "Y"),
                                       finding_with(2, 2, "Z"), finding_with(4, 5, "W")};
    findings[3].edits.push_back({{0, 3, 4}, "V"}); // one of two meets: both stay out
    EXPECT_EQ(lint_edited("abcdef", all_edits(findings)), "abXef");
}

TEST(Edit, DiffSaysWhatTheEditsDo)
{
    const std::string text = "one\ntwo\nthree\nfour\nfive\nsix\nseven\neight\nnine\n";
    const std::vector<finding_t> findings = {finding_with(4, 7, "2")};
    EXPECT_EQ(lint_edit_diff("a.pdd", text, all_edits(findings)),
              "--- a.pdd\n+++ a.pdd\n@@ -1,5 +1,5 @@\n one\n-two\n+2\n three\n four\n five\n");
    EXPECT_EQ(lint_edit_diff("a.pdd", text, {}), "");
}

TEST(Edit, TheLastLineMayHaveNoEnd)
{
    EXPECT_EQ(lint_edit_diff("t", "a\nb\n", all_edits({finding_with(2, 4, "c")})),
              "--- t\n+++ t\n@@ -1,2 +1,2 @@\n a\n-b\n+c\n\\ No newline at end of file\n");
    EXPECT_EQ(lint_edit_diff("t", "a\nb", all_edits({finding_with(2, 3, "c\n")})),
              "--- t\n+++ t\n@@ -1,2 +1,2 @@\n a\n-b\n\\ No newline at end of file\n+c\n");
    EXPECT_EQ(lint_edit_diff("t", "a\nb\n", all_edits({finding_with(1, 4, "")})),
              "--- t\n+++ t\n@@ -1,2 +1,1 @@\n-a\n-b\n+a\n\\ No newline at end of file\n");
    EXPECT_EQ(lint_edit_diff("t", "", all_edits({finding_with(0, 0, "c")})), "");
}

TEST(Edit, AreThoseOfOneFileThatAreWanted)
{
    std::vector<finding_t> findings = {finding_with(0, 1, "X"), finding_with(4, 5, "Z"),
                                       finding_with(2, 3, "Y")};
    findings[1].id = FINDING_BLANK_AT_END;
    findings[2].place.file = findings[2].edits[0].place.file = 1;
    const auto wanted = [](const finding_t &finding) { return finding.id != FINDING_BLANK_AT_END; };
    EXPECT_EQ(lint_edited("abcdef", lint_edits(findings, 0, wanted)), "Xbcdef");
    EXPECT_EQ(lint_edited("abcdef", lint_edits(findings, 1, wanted)), "abYdef");
}

TEST(Edit, AnAppliedDiffIsTheEditedText)
{
    std::mt19937 random(7);
    for (int round = 0; round < 2000; ++round) {
        std::string text;
        for (size_t i = random() % 40 + 1; i > 0; --i)
            text += std::string(random() % 4, static_cast<char>('a' + random() % 26)) + '\n';
        std::vector<finding_t> findings;
        for (size_t i = random() % 5; i > 0; --i) {
            const auto begin = static_cast<uint32_t>(random() % text.size());
            const auto end =
                static_cast<uint32_t>(std::min<size_t>(begin + random() % 9, text.size() - 1));
            const std::string words[] = {"", "X", "Y\nZ", "\n"};
            findings.push_back(finding_with(std::min(begin, end), end, words[random() % 4]));
        }
        const auto edits = all_edits(findings);
        const std::string now = lint_edited(text, edits);
        if (!edits.empty()) {
            ASSERT_EQ(patched(text, lint_edit_diff("t", text, edits)), now) << text;
        }
    }
}

} // namespace
