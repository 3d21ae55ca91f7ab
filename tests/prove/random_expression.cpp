#include "random_expression.h"

#include "rexpand_parser.h"

namespace
{

constexpr const char *CLASSES[] = {"[abc]", "[a-c]", "[^ab]", "[a-z]",    "[b-c]",
                                   "[-a]",  "[0-9]", "[^.]",  "[A-Za-z]", "[a-zA-Z0-9]"};
constexpr const char *ESCAPES[] = {"\\d",      "\\w",      "\\s",           "\\.",
                                   "\\x41\\x", "\\x05\\x", "\\x41\\x42\\x", "\\\\",
                                   "\\-",      "\\0101",   "\\x00\\x00\\x"};

template <typename Row, size_t N>
Row any_of(random_expression_t &random, const Row (&rows)[N])
{
    return rows[random.below(N)];
}

std::string letters(random_expression_t &random)
{
    std::string text;
    for (uint32_t i = 1 + random.below(3); i != 0; --i)
        text += "aabbcABd-"[random.below(9)];
    return text;
}

std::string choices(random_expression_t &random, uint32_t depth);

std::string atom(random_expression_t &random, uint32_t depth)
{
    switch (random.below(depth < 3 ? 8 : 6)) {
    case 0:
    case 1:
    case 2:
        return letters(random);
    case 3:
        return random.one_in(2) ? "." : letters(random);
    case 4:
        return any_of(random, CLASSES);
    case 5:
        return random.one_in(4) ? "\\[" + letters(random) + "\\]" : any_of(random, ESCAPES);
    default:
        return "(" + choices(random, depth + 1) + ")";
    }
}

std::string sequence(random_expression_t &random, uint32_t depth)
{
    std::string text;
    for (uint32_t i = 1 + random.below(4); i != 0; --i) {
        text += atom(random, depth);
        if (random.one_in(4))
            text += "*+?*"[random.below(4)];
    }
    return text;
}

std::string choices(random_expression_t &random, uint32_t depth)
{
    std::string text = sequence(random, depth);
    while (random.one_in(4))
        text += "|" + sequence(random, depth);
    return text;
}

/// One writing of data.
struct writing_t {
    random_expression_t &random;
    const rexpand_tree &tree;
    std::string text = {};

    const rexpand_node &node(uint32_t index) const { return tree.nodes[index]; }
};

void write(writing_t &writing, uint32_t index, bool icase);

void write_children(writing_t &writing, const rexpand_node &parent, bool icase)
{
    for (uint32_t child = parent.first_child; child != REXPAND_NO_NODE;
         child = writing.node(child).next)
        write(writing, child, icase);
}

void write_one_child(writing_t &writing, const rexpand_node &parent, bool icase)
{
    uint32_t child = parent.first_child;
    for (uint32_t skip = writing.random.below(parent.nb_child); skip != 0; --skip)
        child = writing.node(child).next;
    write(writing, child, icase);
}

void write_literal(writing_t &writing, std::string_view bytes, bool icase)
{
    for (char c : bytes) {
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        if (letter && icase && writing.random.one_in(4))
            c = static_cast<char>(c ^ 0x20);
        writing.text += c;
    }
}

/// Any byte but those that the negated classes of this page exclude.
void write_excluded(writing_t &writing)
{
    writing.text += "xyz/\xE9\n0"[writing.random.below(7)];
}

void write_range(writing_t &writing, const rexpand_node &range, bool icase)
{
    const auto low =
        static_cast<uint8_t>(rexpand_ast_literal(writing.tree, writing.node(range.first_child))[0]);
    const auto high =
        static_cast<uint8_t>(rexpand_ast_literal(writing.tree, writing.node(range.last_child))[0]);
    const char c = static_cast<char>(low + writing.random.below(high - low + 1U));
    write_literal(writing, std::string_view(&c, 1), icase);
}

void write(writing_t &writing, uint32_t index, bool icase)
{
    const rexpand_node &at = writing.node(index);
    random_expression_t &random = writing.random;
    switch (at.kind) {
    case REXPAND_AST_WORD_NODE:
    case REXPAND_AST_NUMBER_NODE:
        return write_literal(writing, rexpand_ast_literal(writing.tree, at), icase);
    case REXPAND_AST_WILDCARD_NODE:
        writing.text +=
            random.one_in(2) ? static_cast<char>(random.below(256)) : "abcABd-."[random.below(8)];
        return;
    case REXPAND_AST_DECIMAL_NODE:
        writing.text += static_cast<char>('0' + random.below(10));
        return;
    case REXPAND_AST_PART_OF_WORD_NODE:
        writing.text += "abzAZ09_"[random.below(8)];
        return;
    case REXPAND_AST_WHITESPACE_NODE:
        writing.text += " \t\n\v\f\r"[random.below(6)];
        return;
    case REXPAND_AST_INSENSITIVE_NODE:
        return write_children(writing, at, true);
    case REXPAND_AST_REPETITION_NODE:
    case REXPAND_AST_REPETITION_ONCE_NODE:
        for (uint32_t i = (at.kind == REXPAND_AST_REPETITION_NODE ? 0 : 1) + random.below(3);
             i != 0; --i)
            write(writing, at.first_child, icase);
        return;
    case REXPAND_AST_OPTIONAL_NODE:
        if (random.one_in(2))
            write(writing, at.first_child, icase);
        return;
    case REXPAND_AST_ALTERNATIVE_NODE:
        return write_one_child(writing, at, icase);
    case REXPAND_AST_CLASS_NODE:
        return at.is_negated ? write_excluded(writing) : write_one_child(writing, at, icase);
    case REXPAND_AST_RANGE_NODE:
        return write_range(writing, at, icase);
    default:
        return write_children(writing, at, icase);
    }
}

} // namespace

std::string make_expression(random_expression_t &random)
{
    const bool begins = random.one_in(2);
    const bool ends = random.one_in(2);
    const std::string text = random.one_in(3) ? letters(random) : choices(random, 0);
    return (begins ? ".*" : "") + text + (ends ? ".*" : "");
}

std::string make_described(random_expression_t &random, std::string_view text, bool icase)
{
    rexpand_tree tree;
    if (rexpand_parse(text, &tree) != 0)
        return {};
    writing_t writing{random, tree};
    write(writing, tree.root, icase);
    return writing.text;
}
