#include <algorithm>
#include <new>

#include "csa_char.h"
#include "match_expression.h"
#include "rexpand_parser.h"

namespace
{

/// One compilation.
struct compiling_t {
    const rexpand_tree &tree;
    match_expression_t &out;
    std::vector<uint32_t> bytes = std::vector<uint32_t>(2 * 256, UINT32_MAX); ///< sets of one byte

    const rexpand_node &node(uint32_t index) const { return tree.nodes[index]; }
    uint32_t here() const { return static_cast<uint32_t>(out.steps.size()); }
};

uint8_t folded(uint8_t c)
{
    return static_cast<uint8_t>(char_small(static_cast<char>(c)));
}

/// Puts a byte, and with `icase` the same letter in the other case, into a set.
void add_byte(match_byte_set_t &set, uint8_t c, bool icase)
{
    const uint8_t lower = folded(c);
    const bool both = icase && lower >= 'a' && lower <= 'z';
    set[c / 64] |= uint64_t{1} << (c & 63);
    if (both)
        set[(c ^ 0x20U) / 64] |= uint64_t{1} << ((c ^ 0x20U) & 63);
}

void add_range(match_byte_set_t &set, uint32_t low, uint32_t high, bool icase)
{
    for (uint32_t c = low; c <= high; ++c)
        add_byte(set, static_cast<uint8_t>(c), icase);
}

void emit(compiling_t &compiling, match_step_kind_t kind, uint32_t to)
{
    compiling.out.steps.push_back({kind, to});
}

void emit_set(compiling_t &compiling, const match_byte_set_t &set)
{
    emit(compiling, MATCH_STEP_BYTE, static_cast<uint32_t>(compiling.out.sets.size()));
    compiling.out.sets.push_back(set);
}

void emit_literal(compiling_t &compiling, std::string_view text, bool icase)
{
    for (const char character : text) {
        const auto c = static_cast<uint8_t>(character);
        uint32_t &known = compiling.bytes[(icase ? 256U : 0U) + c];
        if (known != UINT32_MAX) {
            emit(compiling, MATCH_STEP_BYTE, known);
            continue;
        }
        known = static_cast<uint32_t>(compiling.out.sets.size());
        match_byte_set_t set{};
        add_byte(set, c, icase);
        emit_set(compiling, set);
    }
}

/// Puts the bytes of a range into a set. A range of anything but bytes stands for none.
void add_ends(const compiling_t &compiling, const rexpand_node &range, bool icase,
              match_byte_set_t &set)
{
    const auto end = [&](uint32_t index) {
        return rexpand_ast_literal(compiling.tree, compiling.node(index));
    };
    const std::string_view low = end(range.first_child);
    const std::string_view high = end(range.last_child);
    if (low.size() == 1 && high.size() == 1)
        add_range(set, static_cast<uint8_t>(low[0]), static_cast<uint8_t>(high[0]), icase);
}

/// Puts the bytes that a node stands for into `set`; false for one that is not a single byte.
bool add_member(const compiling_t &compiling, const rexpand_node &member, bool icase,
                match_byte_set_t &set)
{
    switch (member.kind) {
    case REXPAND_AST_WILDCARD_NODE:
        set.fill(UINT64_MAX);
        return true;
    case REXPAND_AST_DECIMAL_NODE:
        add_range(set, '0', '9', false);
        return true;
    case REXPAND_AST_PART_OF_WORD_NODE:
        add_range(set, '0', '9', false);
        add_range(set, 'a', 'z', true);
        add_byte(set, '_', false);
        return true;
    case REXPAND_AST_WHITESPACE_NODE:
        add_byte(set, ' ', false);
        add_range(set, '\t', '\r', false);
        return true;
    case REXPAND_AST_WORD_NODE:
    case REXPAND_AST_NUMBER_NODE: // in a class, one byte each
        add_byte(set, static_cast<uint8_t>(rexpand_ast_literal(compiling.tree, member).front()),
                 icase);
        return true;
    case REXPAND_AST_RANGE_NODE:
        add_ends(compiling, member, icase, set);
        return true;
    default:
        return false;
    }
}

bool compile(compiling_t &compiling, uint32_t index, bool icase, uint32_t depth);

bool compile_sequence(compiling_t &compiling, const rexpand_node &parent, bool icase,
                      uint32_t depth)
{
    for (uint32_t child = parent.first_child; child != REXPAND_NO_NODE;
         child = compiling.node(child).next)
        if (!compile(compiling, child, icase, depth + 1))
            return false;
    return true;
}

/// Any one of the children of a node, one at least: splits in front, jumps behind.
bool compile_any(compiling_t &compiling, const rexpand_node &parent, bool icase, uint32_t depth)
{
    std::vector<uint32_t> jumps;
    for (uint32_t child = parent.first_child;; child = compiling.node(child).next) {
        const uint32_t split = compiling.here();
        const bool is_last = compiling.node(child).next == REXPAND_NO_NODE;
        if (!is_last)
            emit(compiling, MATCH_STEP_SPLIT, 0);
        if (!compile(compiling, child, icase, depth + 1))
            return false;
        if (is_last)
            break;
        jumps.push_back(compiling.here());
        emit(compiling, MATCH_STEP_JUMP, 0);
        compiling.out.steps[split].to = compiling.here();
    }
    for (const uint32_t jump : jumps)
        compiling.out.steps[jump].to = compiling.here();
    return true;
}

/// Puts the bytes into a set that are, alone, what any one of the children of a node describes.
bool add_choice(const compiling_t &compiling, const rexpand_node &parent, bool icase,
                uint32_t depth, match_byte_set_t &set)
{
    match_expression_t choice;
    compiling_t inner{compiling.tree, choice};
    if (!compile_any(inner, parent, icase, depth))
        return false;
    emit(inner, MATCH_STEP_END, 0);
    match_expression_room_t room;
    match_expression_reserve(choice, room);
    for (uint32_t c = 0; c <= UINT8_MAX; ++c) {
        const auto byte = static_cast<uint8_t>(c);
        if (match_expression_run(choice, {&byte, 1}, room))
            add_byte(set, byte, false);
    }
    return true;
}

/// A class: one byte of its set. Members that are more than a byte make it a choice; of them, a
/// negated one leaves out what is a byte alone.
bool compile_class(compiling_t &compiling, const rexpand_node &parent, bool icase, uint32_t depth)
{
    match_byte_set_t set{};
    bool single = true;
    for (uint32_t child = parent.first_child; child != REXPAND_NO_NODE;
         child = compiling.node(child).next)
        single = add_member(compiling, compiling.node(child), icase, set) && single;
    if (!single && !parent.is_negated)
        return compile_any(compiling, parent, icase, depth);
    if (!single && !add_choice(compiling, parent, icase, depth, set))
        return false;
    if (parent.is_negated)
        for (uint64_t &word : set)
            word = ~word;
    emit_set(compiling, set);
    return true;
}

/// "*", or with `once` "+".
bool compile_repetition(compiling_t &compiling, const rexpand_node &parent, bool once, bool icase,
                        uint32_t depth)
{
    const uint32_t start = compiling.here();
    if (!once)
        emit(compiling, MATCH_STEP_SPLIT, 0);
    if (!compile(compiling, parent.first_child, icase, depth + 1))
        return false;
    if (once) {
        emit(compiling, MATCH_STEP_SPLIT, start);
        return true;
    }
    emit(compiling, MATCH_STEP_JUMP, start);
    compiling.out.steps[start].to = compiling.here();
    return true;
}

bool compile_optional(compiling_t &compiling, const rexpand_node &parent, bool icase,
                      uint32_t depth)
{
    const uint32_t start = compiling.here();
    emit(compiling, MATCH_STEP_SPLIT, 0);
    if (!compile(compiling, parent.first_child, icase, depth + 1))
        return false;
    compiling.out.steps[start].to = compiling.here();
    return true;
}

/// Compiles a node. Its depth counts from 1.
bool compile(compiling_t &compiling, uint32_t index, bool icase, uint32_t depth)
{
    if (depth > MATCH_EXPRESSION_DEPTH_MAX)
        return false;
    const rexpand_node &at = compiling.node(index);
    switch (at.kind) {
    case REXPAND_AST_REGEXP_NODE:
    case REXPAND_AST_GROUP_NODE:
        return compile_sequence(compiling, at, icase, depth);
    case REXPAND_AST_INSENSITIVE_NODE:
        return compile_sequence(compiling, at, true, depth);
    case REXPAND_AST_BOL_NODE:
        emit_literal(compiling, "^", icase);
        return true;
    case REXPAND_AST_EOL_NODE:
        emit_literal(compiling, "$", icase);
        return true;
    case REXPAND_AST_WORD_NODE:
    case REXPAND_AST_NUMBER_NODE:
        emit_literal(compiling, rexpand_ast_literal(compiling.tree, at), icase);
        return true;
    case REXPAND_AST_REPETITION_NODE:
    case REXPAND_AST_REPETITION_ONCE_NODE:
        return compile_repetition(compiling, at, at.kind == REXPAND_AST_REPETITION_ONCE_NODE, icase,
                                  depth);
    case REXPAND_AST_OPTIONAL_NODE:
        return compile_optional(compiling, at, icase, depth);
    case REXPAND_AST_CLASS_NODE:
        return compile_class(compiling, at, icase, depth);
    case REXPAND_AST_ALTERNATIVE_NODE:
        return compile_any(compiling, at, icase, depth);
    default: {
        match_byte_set_t set{};
        (void)add_member(compiling, at, icase, set);
        emit_set(compiling, set);
        return true;
    }
    }
}

/// Tells whether the last part of the whole sequence is ".*" or ".+".
bool is_open_ended(const rexpand_tree &tree)
{
    uint32_t index = tree.root;
    while (index != REXPAND_NO_NODE && (tree.nodes[index].kind == REXPAND_AST_REGEXP_NODE ||
                                        tree.nodes[index].kind == REXPAND_AST_GROUP_NODE))
        index = tree.nodes[index].last_child;
    if (index == REXPAND_NO_NODE || (tree.nodes[index].kind != REXPAND_AST_REPETITION_NODE &&
                                     tree.nodes[index].kind != REXPAND_AST_REPETITION_ONCE_NODE))
        return false;
    const uint32_t child = tree.nodes[index].first_child;
    return tree.nodes[child].kind == REXPAND_AST_WILDCARD_NODE;
}

} // namespace

bool match_expression_compile(std::string_view text, bool icase, match_expression_t &expression)
{
    expression = {};
    rexpand_tree tree;
    const int parsed = rexpand_parse(text, &tree);
    if (parsed == MODULE_ERR_NO_MEMORY)
        throw std::bad_alloc();
    if (parsed != MODULE_SUCCESS)
        return false;
    compiling_t compiling{tree, expression};
    // As many as a text without repetitions takes; more are rare.
    expression.steps.reserve(text.size() + 1);
    expression.sets.reserve(std::min<size_t>(text.size(), MATCH_EXPRESSION_WORD));
    if (!compile(compiling, tree.root, icase, 1))
        return false;
    emit(compiling, MATCH_STEP_END, 0);
    expression.open_ended = is_open_ended(tree);
    const auto is_byte = [](const match_step_t &step) { return step.kind == MATCH_STEP_BYTE; };
    if (std::count_if(expression.steps.begin(), expression.steps.end(), is_byte) <=
        static_cast<ptrdiff_t>(MATCH_EXPRESSION_WORD))
        match_places_make(expression);
    return true;
}
