/// Texts read as a check does, and what is said of them.
#pragma once

#include <gtest/gtest.h>

#include "lint_text.h"

using names_t = std::vector<std::string>;

struct reading_t {
    std::vector<std::string> protocols; ///< the first value of each
    std::vector<finding_t> findings;
};

inline reading_t read(std::string_view text)
{
    reading_t reading;
    std::unique_ptr<std::string> mended;
    lint_read_text(
        text, 0, mended,
        [&](const description_text_t &tokens) {
            reading.protocols.emplace_back(text_token_bytes(tokens, 3));
        },
        reading.findings);
    return reading;
}

/// Reads a text with a '@' in front of each byte that a fault is expected at, and expects those.
inline reading_t read_marked(std::string_view marked)
{
    std::string text;
    std::vector<size_t> expected;
    for (const char c : marked)
        if (c == '@')
            expected.push_back(text.size());
        else
            text += c;
    reading_t reading = read(text);
    std::vector<size_t> found;
    for (const finding_t &finding : reading.findings)
        found.push_back(finding.place.begin);
    EXPECT_EQ(found, expected) << marked;
    return reading;
}

inline names_t hints_of(const reading_t &reading)
{
    names_t hints;
    for (const finding_t &finding : reading.findings)
        hints.push_back(finding.hint);
    return hints;
}
