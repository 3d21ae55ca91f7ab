/// What a piece of code prints.
#pragma once

#include <gtest/gtest.h>

#include <string>

/// Returns what `operation()` prints on standard error.
template <typename Operation>
std::string stderr_of(Operation &&operation)
{
    testing::internal::CaptureStderr();
    operation();
    return testing::internal::GetCapturedStderr();
}

/// Returns what `operation()` prints on standard output.
template <typename Operation>
std::string stdout_of(Operation &&operation)
{
    testing::internal::CaptureStdout();
    operation();
    return testing::internal::GetCapturedStdout();
}

/// Returns a diagnostic text with the source line of every "[LEVEL  ][line][function]" written "#".
inline std::string mask_lines(const std::string &text)
{
    std::string masked;
    for (size_t at = 0; at < text.size(); ++at) {
        masked += text[at];
        const size_t digits = at + 1;
        const size_t end = text.find_first_not_of("0123456789", digits);
        const bool line = at != 0 && text.compare(at - 1, 2, "][") == 0 && end > digits &&
                          end != std::string::npos && text.compare(end, 2, "][") == 0;
        if (line) {
            masked += '#';
            at = end - 1;
        }
    }
    return masked;
}
