#include "escape.h"
#include "graph_engine.h"

namespace
{

/// One byte as people write it.
std::string byte_text(size_t byte)
{
    const char c = static_cast<char>(byte);
    const std::string_view text(&c, 1);
    return byte > 0x20 && byte < 0x7F ? std::string(text)
                                      : std::string("\\x").append(escape_hex(text));
}

/// A set of bytes as people write it; a letter that stands in both cases is the small one.
std::string bytes_text(graph_bytes_t bytes)
{
    for (size_t byte = 'a'; byte <= 'z'; ++byte)
        if (bytes.test(byte))
            bytes.reset(byte - 'a' + 'A');
    std::string text;
    for (size_t byte = 0; byte < bytes.size(); ++byte) {
        if (!bytes.test(byte))
            continue;
        size_t last = byte;
        while (last + 1 < bytes.size() && bytes.test(last + 1))
            ++last;
        text += byte_text(byte);
        if (last > byte + 1)
            text += '-';
        if (last > byte)
            text += byte_text(last);
        byte = last;
    }
    return bytes.count() == 1 ? text : '[' + text + ']';
}

} // namespace

std::string graph_step_label(const graph_engine_row_t &row, const graph_step_t &step)
{
    if (step.kind == GRAPH_PROPAGATION)
        return "also";
    if (step.kind == GRAPH_WILDCARD)
        return "any byte";
    std::string label = bytes_text(step.bytes);
    std::string chain;
    for (const uint8_t byte : step.chain)
        chain = row.backward ? byte_text(byte) + chain : chain + byte_text(byte);
    return row.backward ? chain + label : label + chain;
}
