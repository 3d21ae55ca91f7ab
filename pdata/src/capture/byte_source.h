/// An input that is read as it comes: a file, a pipe, standard input. Lines and blocks of it.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// Longest line that is read, in bytes; a longer one is left out and counted as bad.
constexpr size_t BYTE_SOURCE_LINE_MAX = size_t{16} << 20;

/// What is read of a descriptor, which is not owned. `buffer` holds what is not yet taken, from
/// `at` on.
struct byte_source_t {
    int fd = -1;
    std::string buffer = {};
    size_t at = 0;
    bool ended = false;
    int system_error = 0; ///< errno of a failed read, which ends the input
    /// Called, where there is one, before more is read, which may have to be waited for.
    void (*before_read)(void *context) = nullptr;
    void *context = nullptr;
};

/// Sees to it that `count` bytes can be looked at, and returns what there is: fewer only at the
/// end. The bytes stay where they are until the next call.
std::string_view byte_source_peek(byte_source_t &source, size_t count);

/// Lets go of the first bytes of what was looked at.
void byte_source_skip(byte_source_t &source, size_t count);

enum line_result_t {
    LINE_READ,
    LINE_TOO_LONG, ///< and left out
    LINE_NONE,     ///< the input has ended
};

/// Takes a line, without its end. It stays where it is until the next call.
line_result_t byte_source_line(byte_source_t &source, std::string_view &line);
