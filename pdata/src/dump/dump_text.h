/// Short texts of bounded size, put together piece by piece without memory.
#pragma once

#include <cstddef>
#include <string_view>

/// Bytes of a text; what goes beyond is left out.
constexpr size_t DUMP_TEXT_DIM = 160;

/// A text.
struct dump_text_t {
    char at[DUMP_TEXT_DIM]; // the first `size` are set
    size_t size = 0;

    std::string_view view() const { return {at, size}; }
};

/// Puts words behind a text, in the manner of printf.
__attribute__((format(printf, 2, 3))) void dump_say(dump_text_t &text, const char *format, ...);

/// Puts bytes behind a text, at most 48 of them and "..." for the others.
void dump_say_bytes(dump_text_t &text, std::string_view bytes);

/// Puts ", " behind a text that is not empty.
inline void dump_say_comma(dump_text_t &text)
{
    if (text.size != 0)
        dump_say(text, ", ");
}

/// Puts a byte behind a text, as a character where it is printable.
void dump_say_byte(dump_text_t &text, unsigned byte);
