#include "decompile_text.h"

#include "lost_text.h"

namespace
{

/// Returns the letter of an escaped byte, 0 for one that stands for itself.
char escape_letter(char byte)
{
    switch (byte) {
    case '"':
    case '\\':
        return byte;
    case '\b':
        return 'b';
    case '\f':
        return 'f';
    case '\n':
        return 'n';
    case '\r':
        return 'r';
    case '\t':
        return 't';
    default:
        return 0;
    }
}

} // namespace

void put_string(bounded_text_t &text, std::string_view bytes)
{
    if (text_is_full(text))
        return;
    text.bytes += '"';
    for (const char byte : bytes) {
        const char letter = escape_letter(byte);
        if (letter != 0)
            text.bytes += '\\';
        text.bytes += letter != 0 ? letter : byte;
    }
    text.bytes += '"';
}

void put_key(bounded_text_t &text, std::string_view key)
{
    if (text.bytes.back() != '{')
        text.bytes += ',';
    put_string(text, key);
    text.bytes += ':';
}

void put_number(bounded_text_t &text, std::string_view key, uint32_t number)
{
    put_key(text, key);
    text.bytes += std::to_string(number);
}

void put_member(bounded_text_t &text, std::string_view key, std::string_view bytes)
{
    put_key(text, key);
    put_string(text, bytes);
}

void put_list(bounded_text_t &text, std::string_view key, std::span<const std::string_view> texts)
{
    if (texts.empty())
        return;
    if (texts.size() == 1)
        return put_member(text, key, texts[0]);
    put_key(text, key);
    text.bytes += '[';
    for (const std::string_view one : texts) {
        if (text.bytes.back() != '[')
            text.bytes += ',';
        put_string(text, one);
    }
    text.bytes += ']';
}

std::string lost_protocol(const model_protocol_t &protocol, std::string_view text)
{
    return "protocol " + std::string(protocol.name.substr(0, LOST_NAME_MAX)) + ": " +
           std::string(text);
}

std::string lost_rule(size_t index, std::string_view text)
{
    return "rule " + std::to_string(index + 1) + ": " + std::string(text);
}
