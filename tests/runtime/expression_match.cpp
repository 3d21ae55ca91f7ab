#include "expression_match.h"

#include <algorithm>
#include <utility>
#include <vector>

#include "rexpand_parser.h"

namespace
{

/// Positions between the bytes of the data, by number.
using positions = std::vector<bool>;

uint8_t folded(uint8_t c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<uint8_t>(c | 0x20) : c;
}

bool is_digit(uint8_t c)
{
    return c >= '0' && c <= '9';
}

bool is_word_part(uint8_t c)
{
    const uint8_t lower = folded(c);
    return (lower >= 'a' && lower <= 'z') || is_digit(c) || c == '_';
}

bool is_whitespace(uint8_t c)
{
    return c == ' ' || (c >= '\t' && c <= '\r');
}

/// One run of an expression over data.
struct matching {
    const rexpand_tree &tree;
    blob_span_t data;

    const rexpand_node &node(uint32_t index) const { return tree.nodes[index]; }

    /// Returns where a node can end when it starts at any of `from`.
    positions follow(uint32_t index, const positions &from, bool icase) const;

    positions follow_sequence(const rexpand_node &parent, positions from, bool icase) const;
    positions follow_any(const rexpand_node &parent, const positions &from, bool icase) const;
    positions follow_repetition(uint32_t child, positions from, bool icase) const;
    positions follow_literal(std::string_view bytes, const positions &from, bool icase) const;
    positions follow_range(const rexpand_node &range, const positions &from, bool icase) const;
    positions follow_negated(const rexpand_node &node, const positions &from, bool icase) const;

    /// One byte of which `accepts` is true.
    template <typename Accepts>
    positions follow_byte(const positions &from, const Accepts &accepts) const
    {
        positions to(from.size());
        for (size_t at = 0; at < data.size(); ++at)
            to[at + 1] = from[at] && accepts(data[at]);
        return to;
    }
};

void add(positions &to, const positions &more)
{
    for (size_t at = 0; at < to.size(); ++at)
        to[at] = to[at] || more[at];
}

positions matching::follow_sequence(const rexpand_node &parent, positions from, bool icase) const
{
    for (uint32_t child = parent.first_child; child != REXPAND_NO_NODE; child = node(child).next)
        from = follow(child, from, icase);
    return from;
}

positions matching::follow_any(const rexpand_node &parent, const positions &from, bool icase) const
{
    positions to(from.size());
    for (uint32_t child = parent.first_child; child != REXPAND_NO_NODE; child = node(child).next)
        add(to, follow(child, from, icase));
    return to;
}

positions matching::follow_repetition(uint32_t child, positions from, bool icase) const
{
    positions to = from;
    while (std::find(from.begin(), from.end(), true) != from.end()) {
        from = follow(child, from, icase);
        for (size_t at = 0; at < to.size(); ++at) {
            from[at] = from[at] && !to[at];
            to[at] = to[at] || from[at];
        }
    }
    return to;
}

positions matching::follow_literal(std::string_view bytes, const positions &from, bool icase) const
{
    const auto equal = [icase](uint8_t a, char b) {
        const auto other = static_cast<uint8_t>(b);
        return a == other || (icase && folded(a) == folded(other));
    };
    positions to(from.size());
    for (size_t at = 0; at + bytes.size() < from.size(); ++at)
        if (from[at] &&
            std::equal(bytes.begin(), bytes.end(), data.begin() + static_cast<ptrdiff_t>(at),
                       [&](char b, uint8_t a) { return equal(a, b); }))
            to[at + bytes.size()] = true;
    return to;
}

positions matching::follow_range(const rexpand_node &range, const positions &from, bool icase) const
{
    const std::string_view low = rexpand_ast_literal(tree, node(range.first_child));
    const std::string_view high = rexpand_ast_literal(tree, node(range.last_child));
    if (low.size() != 1 || high.size() != 1)
        return positions(from.size());
    const auto first = static_cast<uint8_t>(low[0]);
    const auto last = static_cast<uint8_t>(high[0]);
    return follow_byte(from, [&](uint8_t c) {
        for (uint32_t b = first; b <= last; ++b)
            if (c == b || (icase && folded(c) == folded(static_cast<uint8_t>(b))))
                return true;
        return false;
    });
}

/// One byte that no member of a class is.
positions matching::follow_negated(const rexpand_node &class_node, const positions &from,
                                   bool icase) const
{
    positions to(from.size());
    for (size_t at = 0; at < data.size(); ++at) {
        if (!from[at])
            continue;
        positions here(from.size());
        here[at] = true;
        to[at + 1] = !follow_any(class_node, here, icase)[at + 1];
    }
    return to;
}

positions matching::follow(uint32_t index, const positions &from, bool icase) const
{
    const rexpand_node &at = node(index);
    switch (at.kind) {
    case REXPAND_AST_REGEXP_NODE:
    case REXPAND_AST_GROUP_NODE:
        return follow_sequence(at, from, icase);
    case REXPAND_AST_INSENSITIVE_NODE:
        return follow_sequence(at, from, true);
    case REXPAND_AST_BOL_NODE:
        return follow_literal("^", from, icase);
    case REXPAND_AST_EOL_NODE:
        return follow_literal("$", from, icase);
    case REXPAND_AST_WORD_NODE:
    case REXPAND_AST_NUMBER_NODE:
        return follow_literal(rexpand_ast_literal(tree, at), from, icase);
    case REXPAND_AST_WILDCARD_NODE:
        return follow_byte(from, [](uint8_t) { return true; });
    case REXPAND_AST_PART_OF_WORD_NODE:
        return follow_byte(from, is_word_part);
    case REXPAND_AST_WHITESPACE_NODE:
        return follow_byte(from, is_whitespace);
    case REXPAND_AST_DECIMAL_NODE:
        return follow_byte(from, is_digit);
    case REXPAND_AST_REPETITION_NODE:
        return follow_repetition(at.first_child, from, icase);
    case REXPAND_AST_REPETITION_ONCE_NODE:
        return follow_repetition(at.first_child, follow(at.first_child, from, icase), icase);
    case REXPAND_AST_OPTIONAL_NODE: {
        positions to = follow(at.first_child, from, icase);
        add(to, from);
        return to;
    }
    case REXPAND_AST_CLASS_NODE:
        return at.is_negated ? follow_negated(at, from, icase) : follow_any(at, from, icase);
    case REXPAND_AST_ALTERNATIVE_NODE:
        return follow_any(at, from, icase);
    case REXPAND_AST_RANGE_NODE:
        return follow_range(at, from, icase);
    default:
        return positions(from.size());
    }
}

bool is_too_deep(const rexpand_tree &tree)
{
    std::vector<std::pair<uint32_t, uint32_t>> todo = {{tree.root, 1}}; // node and depth
    while (!todo.empty()) {
        const auto [index, depth] = todo.back();
        todo.pop_back();
        if (depth > EXPRESSION_DEPTH_MAX)
            return true;
        for (uint32_t child = tree.nodes[index].first_child; child != REXPAND_NO_NODE;
             child = tree.nodes[child].next)
            todo.emplace_back(child, depth + 1);
    }
    return false;
}

} // namespace

bool expression_open(std::string_view text, bool icase, expression_t &expression,
                     std::string &error)
{
    expression.icase = icase;
    if (rexpand_parse(text, &expression.tree) != MODULE_SUCCESS)
        return blob_fail(error, "not an expression: " + std::string(text));
    return !is_too_deep(expression.tree) || blob_fail(error, "expression nested too deeply");
}

bool expression_is_open_ended(const expression_t &expression)
{
    const std::vector<rexpand_node> &nodes = expression.tree.nodes;
    for (uint32_t at = expression.tree.root; at != REXPAND_NO_NODE; at = nodes[at].last_child) {
        if (nodes[at].kind == REXPAND_AST_REPETITION_NODE ||
            nodes[at].kind == REXPAND_AST_REPETITION_ONCE_NODE)
            return nodes[nodes[at].first_child].kind == REXPAND_AST_WILDCARD_NODE;
        if (nodes[at].kind != REXPAND_AST_REGEXP_NODE && nodes[at].kind != REXPAND_AST_GROUP_NODE)
            return false;
    }
    return false;
}

bool expression_match(const expression_t &expression, blob_span_t data)
{
    positions from(data.size() + 1);
    from[0] = true;
    const matching run{expression.tree, data};
    return run.follow(expression.tree.root, from, expression.icase)[data.size()];
}
