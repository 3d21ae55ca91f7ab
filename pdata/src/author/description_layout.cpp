#include "description_layout.h"

#include <limits>

namespace
{

/// What a value is, as far as the layout goes.
enum role_t {
    ROLE_DOCUMENT,
    ROLE_PROTOCOLS,
    ROLE_PROTOCOL,
    ROLE_RULES,
    ROLE_RULE,
    ROLE_SUB_RULES,
    ROLE_OTHER, ///< one line where it fits
};

/// A container that is being written as a block.
struct block_t {
    size_t end; ///< the token that closes it
    role_t role;
    bool first = true;
};

/// Blocks within blocks; what is deeper stays on its line, so that a text of a million brackets is
/// not indented by a million columns.
constexpr size_t MAX_BLOCKS = 64;

/// Wider than any line: what holds a line feed never stands on one.
constexpr size_t NO_LINE = std::numeric_limits<uint32_t>::max();

struct printer_t {
    const description_text_t &description;
    std::vector<size_t> widths; ///< columns of tokens 0 to n on one line
    std::string text;
    size_t line = 0; ///< where the line begins in `text`
    std::vector<block_t> blocks;
};

/// Columns of a token on a line, with the blank behind a colon or a comma.
size_t token_width(const description_text_t &description, size_t token)
{
    const std::string_view bytes = text_token_bytes(description, token);
    const text_token_kind_t kind = description.tokens[token].kind;
    if (bytes.find('\n') != std::string_view::npos)
        return NO_LINE;
    return text_characters(bytes) + (kind == TEXT_COLON || kind == TEXT_COMMA ? 1 : 0);
}

/// Columns of the tokens from `begin` to `end` on one line.
size_t width_of(const printer_t &printer, size_t begin, size_t end)
{
    return printer.widths[end] - printer.widths[begin];
}

size_t column(const printer_t &printer)
{
    return text_characters(std::string_view(printer.text).substr(printer.line));
}

void new_line(printer_t &printer)
{
    printer.text += '\n';
    printer.line = printer.text.size();
    printer.text.append(2 * printer.blocks.size(), ' ');
}

/// Writes tokens behind what the line has.
void print_tokens(printer_t &printer, size_t begin, size_t end)
{
    for (size_t i = begin; i < end; ++i) {
        printer.text += text_token_bytes(printer.description, i);
        const text_token_kind_t kind = printer.description.tokens[i].kind;
        if (kind == TEXT_COLON || (kind == TEXT_COMMA && i + 1 < end))
            printer.text += ' ';
    }
}

/// Returns the role of a value from that of what holds it and from its key.
role_t role_of(role_t holder, std::string_view key, text_token_kind_t kind)
{
    if (kind == TEXT_ARRAY) {
        if (holder == ROLE_DOCUMENT)
            return ROLE_PROTOCOLS;
        if (holder == ROLE_PROTOCOL && key == "\"rules\"")
            return ROLE_RULES;
        return holder == ROLE_RULE && key == "\"rule\"" ? ROLE_SUB_RULES : ROLE_OTHER;
    }
    if (holder == ROLE_PROTOCOLS)
        return ROLE_PROTOCOL;
    return holder == ROLE_RULES && kind == TEXT_OBJECT ? ROLE_RULE : ROLE_OTHER;
}

/// Tells whether tokens fit behind `used` columns, with the comma behind them.
bool fits_line(const printer_t &printer, size_t used, size_t begin, size_t end)
{
    const bool comma = printer.description.tokens[end].kind == TEXT_COMMA;
    return used + width_of(printer, begin, end) + (comma ? 1 : 0) <= LAYOUT_COLUMNS;
}

/// Tells whether a member goes behind the one before it: the short keys of a rule do.
bool shares_line(const printer_t &printer, const block_t &block, role_t role, size_t begin,
                 size_t end)
{
    return block.role == ROLE_RULE && !block.first && role == ROLE_OTHER &&
           fits_line(printer, column(printer) + 1, begin, end);
}

/// Writes the member at `begin`, or opens a block for it. Returns the next token to be written.
size_t print_member(printer_t &printer, size_t begin)
{
    block_t &block = printer.blocks.back();
    const std::vector<text_token_t> &tokens = printer.description.tokens;
    const bool pair = tokens[block.end].kind == TEXT_OBJECT_END;
    const size_t value = pair ? begin + 2 : begin;
    const size_t end = text_value_end(printer.description, value);
    const role_t role = role_of(
        block.role, pair ? text_token_bytes(printer.description, begin) : "", tokens[value].kind);
    if (shares_line(printer, block, role, begin, end))
        printer.text += ' ';
    else
        new_line(printer);
    block.first = false;
    const bool fits = fits_line(printer, column(printer), begin, end);
    const bool deep = printer.blocks.size() >= MAX_BLOCKS;
    if (end - value <= 2 || deep || (role == ROLE_OTHER && fits)) {
        print_tokens(printer, begin, end);
        return end;
    }
    print_tokens(printer, begin, value + 1);
    printer.blocks.push_back({end - 1, role});
    return value + 1;
}

/// Closes the blocks that end at `token`, and writes the comma behind. Returns the next token.
size_t print_ends(printer_t &printer, size_t token)
{
    while (!printer.blocks.empty() && printer.blocks.back().end == token) {
        printer.blocks.pop_back();
        new_line(printer);
        print_tokens(printer, token, token + 1);
        ++token;
    }
    if (!printer.blocks.empty() && printer.description.tokens[token].kind == TEXT_COMMA) {
        print_tokens(printer, token, token + 1);
        ++token;
    }
    return token;
}

} // namespace

std::string description_layout(const description_text_t &description)
{
    printer_t printer = {description, {0}, {}, 0, {}};
    const size_t nr_token = description.tokens.size();
    printer.widths.reserve(nr_token + 1);
    for (size_t i = 0; i < nr_token; ++i)
        printer.widths.push_back(printer.widths.back() + token_width(description, i));
    print_tokens(printer, 0, 1);
    printer.blocks.push_back({nr_token - 1, ROLE_DOCUMENT});
    for (size_t token = 1; token < nr_token;)
        token = print_ends(printer, print_member(printer, token));
    printer.text += '\n';
    return printer.text;
}
