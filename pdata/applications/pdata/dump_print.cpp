#include "dump_print.h"

#include <algorithm>

#include "escape.h"

namespace
{

constexpr size_t line_bytes = 16;

std::string_view chars_of(std::span<const uint8_t> bytes)
{
    return {reinterpret_cast<const char *>(bytes.data()), bytes.size()};
}

/// The bytes of a line in pairs of digits, filled up to the width of a whole line.
std::string line_hex(std::span<const uint8_t> bytes)
{
    constexpr char digits[] = "0123456789abcdef";
    std::string text(line_bytes * 3 - 1, ' ');
    for (size_t i = 0; i < bytes.size(); ++i) {
        text[i * 3] = digits[bytes[i] >> 4];
        text[i * 3 + 1] = digits[bytes[i] & 15];
    }
    return text;
}

/// What stands behind the bytes of the first line.
std::string words_of(const console_t &console, const dump_range_t &range)
{
    std::string text(size_t{range.depth} * 2, ' ');
    text += range.name;
    if (!range.value.empty())
        text.append(": ").append(range.value);
    if (!range.meaning.empty())
        text.append(range.value.empty() ? ": " : ", ").append(escape_terminal(range.meaning));
    if (range.has_text)
        text.append(" \"")
            .append(escape_terminal(range.text))
            .append(range.text_cut ? "\"..." : "\"");
    if (!range.damage.empty())
        text.append("; ").append(colour_text(console.out_colour, COLOUR_ERROR,
                                             "damaged: " + escape_terminal(range.damage)));
    return text;
}

/// Prints the lines of a range behind its first one.
void print_lines(console_t &console, const dump_range_t &range)
{
    bool starred = false;
    for (size_t at = line_bytes; at < range.bytes.size(); at += line_bytes) {
        const bool last = range.bytes.size() - at <= line_bytes;
        const auto line = range.bytes.subspan(at, last ? range.bytes.size() - at : line_bytes);
        if (!last && std::equal(line.begin(), line.end(), &range.bytes[at - line_bytes])) {
            if (!starred)
                console_write(console, "*\n");
            starred = true;
            continue;
        }
        starred = false;
        std::string text = line_hex(line);
        text.erase(line.size() * 3 - 1);
        console_print(console, "{:08x}  {}\n", range.offset + at, text);
    }
}

} // namespace

void dump_print_text(console_t &console, const dump_range_t &range)
{
    const size_t first = std::min(range.bytes.size(), line_bytes);
    console_print(console, "{:08x}  {}  {}\n", range.offset, line_hex(range.bytes.first(first)),
                  words_of(console, range));
    print_lines(console, range);
}

json_document_t dump_document(const dump_range_t &range)
{
    json_document_t document = json_document("dump");
    document["offset"] = range.offset;
    document["size"] = range.bytes.size();
    document["bytes"] = escape_hex(chars_of(range.bytes));
    document["depth"] = range.depth;
    document["record"] = range.record;
    document["header"] = range.header;
    document["name"] = range.name;
    if (!range.value.empty())
        document["value"] = range.value;
    if (!range.meaning.empty())
        document["meaning"] = json_text(range.meaning);
    if (range.has_text)
        document["text"] = json_text(range.text);
    if (range.text_cut)
        document["text_cut"] = true;
    if (!range.damage.empty())
        document["damage"] = json_text(range.damage);
    return document;
}
