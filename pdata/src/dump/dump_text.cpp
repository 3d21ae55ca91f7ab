#include "dump_text.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>

void dump_say(dump_text_t &text, const char *format, ...)
{
    const size_t left = DUMP_TEXT_DIM - text.size; // never 0: a terminator stands behind
    va_list arguments;
    va_start(arguments, format);
    const int size = std::vsnprintf(text.at + text.size, left, format, arguments);
    va_end(arguments);
    if (size > 0)
        text.size += std::min(static_cast<size_t>(size), left - 1);
}

void dump_say_bytes(dump_text_t &text, std::string_view bytes)
{
    constexpr size_t most = 48;
    const size_t left = DUMP_TEXT_DIM - 1 - text.size;
    const size_t size = std::min({bytes.size(), most, left});
    (void)bytes.copy(text.at + text.size, size);
    text.size += size;
    if (size < bytes.size())
        dump_say(text, "...");
}

void dump_say_byte(dump_text_t &text, unsigned byte)
{
    if (byte > ' ' && byte < 0x7F)
        dump_say(text, "'%c'", static_cast<char>(byte));
    else
        dump_say(text, "0x%02x", byte);
}
