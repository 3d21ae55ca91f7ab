#include "rexpand_expander.h"

#include <array>
#include <cstddef>

namespace
{

/// Nodes in progress of nearly every expression; more are made room for as they come.
constexpr size_t FRAMES_OF_A_VALUE = 8;

/// Bytes of an expansion's own lists that those take; more come from the heap.
constexpr size_t ROOM_OF_A_VALUE = 1024;

using context_t = rexpand_expander_context_t;
using frame_t = rexpand_frame;

const rexpand_node &node_of(const rexpand_expander &expander, const frame_t &frame)
{
    return expander.tree.nodes[frame.node];
}

/// Number of permutations that a step on `context` works on.
uint64_t permutation_nb(const rexpand_expander &expander, const context_t &context)
{
    return expander.permutations.permutations.size() - context.permutation_list;
}

void break_pieces(rexpand_expander &expander, const context_t &context)
{
    rexpand_permutation_break_pattern(expander.permutations, context.permutation_list);
}

int append(rexpand_expander &expander, const context_t &context, std::string_view bytes)
{
    return rexpand_permutation_insert_pattern(
        expander.permutations, context.permutation_list, bytes,
        context.flag ? REXPAND_FLAG_L2_REQUIRED : REXPAND_FLAG_NONE, context.type, expander.budget);
}

int visit_bol_node(rexpand_expander &expander, frame_t &frame)
{
    return append(expander, frame.context, "^");
}

int visit_eol_node(rexpand_expander &expander, frame_t &frame)
{
    return append(expander, frame.context, "$");
}

int visit_word_node(rexpand_expander &expander, frame_t &frame)
{
    rexpand_pattern_type_t &type = frame.context.type;
    if (frame.context.last_repetition)
        type = type == REXPAND_TYPE_EXACT || type == REXPAND_TYPE_PREFIX ? REXPAND_TYPE_PREFIX
                                                                         : REXPAND_TYPE_REGULAR;
    return append(expander, frame.context,
                  rexpand_ast_literal(expander.tree, node_of(expander, frame)));
}

int visit_number_node(rexpand_expander &expander, frame_t &frame)
{
    return append(expander, frame.context,
                  rexpand_ast_literal(expander.tree, node_of(expander, frame)));
}

int visit_wildcard_node(rexpand_expander &expander, frame_t &frame)
{
    frame.context.flag = true;
    frame.context.wildcard_flag = true;
    break_pieces(expander, frame.context);
    return MODULE_SUCCESS;
}

/// Decimal, whitespace and part-of-word escapes, and the case-insensitive group, whose content is
/// not expanded. Oddity O145.
int visit_unspelled_node(rexpand_expander &expander, frame_t &frame)
{
    frame.context.flag = true;
    break_pieces(expander, frame.context);
    return MODULE_SUCCESS;
}

int visit_repetition_node(rexpand_expander &expander, frame_t &frame)
{
    if (frame.step == 0) {
        frame.context.flag = true;
        break_pieces(expander, frame.context);
        rexpand_expander_enter(expander, node_of(expander, frame).first_child, frame.context);
        return MODULE_SUCCESS;
    }
    frame.context = expander.returned_context;
    break_pieces(expander, frame.context);
    return MODULE_SUCCESS;
}

int visit_group_node(rexpand_expander &expander, frame_t &frame)
{
    if (frame.step == 0)
        rexpand_expander_enter(expander, node_of(expander, frame).first_child, frame.context);
    else
        frame.context = expander.returned_context;
    return MODULE_SUCCESS;
}

/// The permutations in front of the element stay without it; the copies behind them get it.
int visit_optional_node(rexpand_expander &expander, frame_t &frame)
{
    if (frame.step != 0)
        return MODULE_SUCCESS;
    const uint64_t nb = permutation_nb(expander, frame.context);
    if (2 * nb > expander.max_permutation_nb) {
        frame.context.flag = true;
        return MODULE_SUCCESS;
    }
    context_t copies = frame.context;
    copies.permutation_list += nb;
    const int error =
        rexpand_permutation_copy(expander.permutations, frame.context.permutation_list, nb,
                                 expander.permutations, expander.budget);
    rexpand_expander_enter(expander, node_of(expander, frame).first_child, copies);
    return error;
}

/// Puts what the branches of a choice start from aside: the first one works on the permutations
/// themselves, so that a choice of one branch needs nothing.
int open_choice(rexpand_expander &expander, frame_t &frame)
{
    const rexpand_node &node = node_of(expander, frame);
    frame.child = node.first_child;
    frame.copied = permutation_nb(expander, frame.context);
    if (node.nb_child < 2)
        return MODULE_SUCCESS;
    return rexpand_permutation_copy(expander.permutations, frame.context.permutation_list,
                                    frame.copied, expander.saved, expander.budget);
}

/// Pushes what was put aside for the next branch, which for the last one is taken away.
int start_branch(rexpand_expander &expander, const frame_t &frame, bool is_last)
{
    const size_t first = expander.saved.permutations.size() - frame.copied;
    if (!is_last)
        return rexpand_permutation_copy(expander.saved, first, frame.copied, expander.permutations,
                                        expander.budget);
    rexpand_permutation_move(expander.saved, first, expander.permutations);
    return MODULE_SUCCESS;
}

/// Takes the alternatives of a choice one after the other, each behind the results of the last.
int expand_branches(rexpand_expander &expander, frame_t &frame)
{
    context_t branch = frame.context;
    if (frame.step == 0) {
        const int error = open_choice(expander, frame);
        if (error != MODULE_SUCCESS)
            return error;
    } else {
        frame.child = expander.tree.nodes[frame.child].next;
        if (frame.child == REXPAND_NO_NODE)
            return MODULE_SUCCESS;
        branch.permutation_list = expander.permutations.permutations.size();
        const bool is_last = expander.tree.nodes[frame.child].next == REXPAND_NO_NODE;
        const int error = start_branch(expander, frame, is_last);
        if (error != MODULE_SUCCESS)
            return error;
    }
    if (frame.child != REXPAND_NO_NODE)
        rexpand_expander_enter(expander, frame.child, branch);
    return MODULE_SUCCESS;
}

bool exceeds_limit(const rexpand_expander &expander, const frame_t &frame)
{
    return node_of(expander, frame).nb_child * permutation_nb(expander, frame.context) >
           expander.max_permutation_nb;
}

int visit_alternative_node(rexpand_expander &expander, frame_t &frame)
{
    if (frame.step == 0 && exceeds_limit(expander, frame)) {
        frame.context.flag = true;
        return MODULE_SUCCESS;
    }
    return expand_branches(expander, frame);
}

int visit_class_node(rexpand_expander &expander, frame_t &frame)
{
    if (node_of(expander, frame).is_negated ||
        (frame.step == 0 && exceeds_limit(expander, frame))) {
        frame.context.flag = true;
        break_pieces(expander, frame.context);
        return MODULE_SUCCESS;
    }
    return expand_branches(expander, frame);
}

/// Returns the byte that an end of a range stands for, or -1 when it is a class of bytes. Words and
/// numbers within brackets have one byte.
int range_end(const rexpand_tree &tree, uint32_t end)
{
    const rexpand_node &node = tree.nodes[end];
    const bool is_literal =
        node.kind == REXPAND_AST_WORD_NODE || node.kind == REXPAND_AST_NUMBER_NODE;
    if (!is_literal)
        return -1;
    return static_cast<uint8_t>(rexpand_ast_literal(tree, node).front());
}

/// Spells out the bytes from `low` to `high`, the block of each behind that of the one before.
int expand_range(rexpand_expander &expander, const context_t &context, int low, int high)
{
    rexpand_permutation_stack &permutations = expander.permutations;
    const size_t nb = permutation_nb(expander, context);
    rexpand_permutation_stack original;
    int error = low == high ? int{MODULE_SUCCESS}
                            : rexpand_permutation_copy(permutations, context.permutation_list, nb,
                                                       original, expander.budget);
    context_t step = context;
    for (int byte = low; error == MODULE_SUCCESS; ++byte) { // up to high
        const char c = static_cast<char>(byte);
        error = append(expander, step, {&c, 1});
        if (error != MODULE_SUCCESS || byte == high)
            break;
        step.permutation_list = permutations.permutations.size();
        if (byte + 1 < high)
            error = rexpand_permutation_copy(original, 0, nb, permutations, expander.budget);
        else
            rexpand_permutation_move(original, 0, permutations);
    }
    return error;
}

int visit_range_node(rexpand_expander &expander, frame_t &frame)
{
    const rexpand_node &node = node_of(expander, frame);
    const int low = range_end(expander.tree, node.first_child);
    const int high = range_end(expander.tree, node.last_child);
    if (low < 0 || high < 0 || low > high)
        return MODULE_ERR_RANGE;
    const uint64_t nb = permutation_nb(expander, frame.context);
    if (nb + static_cast<uint64_t>(high - low) <= expander.max_permutation_nb)
        return expand_range(expander, frame.context, low, high);
    frame.context.flag = true;
    break_pieces(expander, frame.context);
    rexpand_permutation_mark(expander.permutations, frame.context.permutation_list,
                             REXPAND_FLAG_L2_REQUIRED);
    return MODULE_SUCCESS;
}

constexpr std::array<rexpand_visit_fct, REXPAND_AST_NODE_COUNT> VISITORS = {
    rexpand_expander_visit_regexp_node, // REXPAND_AST_REGEXP_NODE
    visit_bol_node,                     // REXPAND_AST_BOL_NODE
    visit_eol_node,                     // REXPAND_AST_EOL_NODE
    visit_word_node,                    // REXPAND_AST_WORD_NODE
    visit_wildcard_node,                // REXPAND_AST_WILDCARD_NODE
    visit_unspelled_node,               // REXPAND_AST_PART_OF_WORD_NODE
    visit_unspelled_node,               // REXPAND_AST_WHITESPACE_NODE
    visit_unspelled_node,               // REXPAND_AST_DECIMAL_NODE
    visit_number_node,                  // REXPAND_AST_NUMBER_NODE
    visit_unspelled_node,               // REXPAND_AST_INSENSITIVE_NODE
    visit_repetition_node,              // REXPAND_AST_REPETITION_NODE
    visit_repetition_node,              // REXPAND_AST_REPETITION_ONCE_NODE
    visit_optional_node,                // REXPAND_AST_OPTIONAL_NODE
    visit_group_node,                   // REXPAND_AST_GROUP_NODE
    visit_alternative_node,             // REXPAND_AST_ALTERNATIVE_NODE
    visit_class_node,                   // REXPAND_AST_CLASS_NODE
    visit_range_node,                   // REXPAND_AST_RANGE_NODE
};

/// Takes the innermost node one step on.
int step(rexpand_expander &expander)
{
    frame_t &frame = expander.frames.back();
    const uint32_t kind = node_of(expander, frame).kind;
    if (kind >= VISITORS.size())
        return MODULE_ERR_OVERFLOW;
    expander.entered = REXPAND_NO_NODE;
    const int error = VISITORS[kind](expander, frame);
    if (error != MODULE_SUCCESS)
        return error;
    ++frame.step;
    if (expander.entered != REXPAND_NO_NODE) {
        expander.frames.push_back({expander.entered, expander.entered_context});
    } else {
        expander.returned_context = frame.context;
        expander.frames.pop_back();
    }
    return MODULE_SUCCESS;
}

rexpand_permutation_stack stack_in(std::pmr::memory_resource &room)
{
    return {{}, std::pmr::vector<uint8_t>(&room), std::pmr::vector<uint8_t>(&room)};
}

int expand(rexpand_expander &expander)
{
    rexpand_permutation_list_init(expander.permutations);
    expander.frames.reserve(FRAMES_OF_A_VALUE);
    expander.frames.push_back({expander.tree.root, {}});
    while (!expander.frames.empty()) {
        const int error = step(expander);
        if (error != MODULE_SUCCESS)
            return error;
    }
    return MODULE_SUCCESS;
}

} // namespace

void rexpand_expander_enter(rexpand_expander &expander, uint32_t child,
                            const rexpand_expander_context_t &context)
{
    expander.entered = child;
    expander.entered_context = context;
}

int rexpand_expander_visit(const rexpand_tree &tree, uint32_t permutation_limit, uint32_t *nb,
                           rexpand_permutation_list *list, uint64_t max_bytes)
{
    list->clear();
    if (nb != nullptr)
        *nb = 0;
    return module_guard([&]() -> int {
        alignas(std::max_align_t) std::byte bytes[ROOM_OF_A_VALUE];
        std::pmr::monotonic_buffer_resource room(bytes, sizeof bytes);
        rexpand_expander expander{tree,
                                  permutation_limit,
                                  stack_in(room),
                                  stack_in(room),
                                  std::pmr::vector<rexpand_frame>(&room),
                                  REXPAND_NO_NODE,
                                  {},
                                  {},
                                  {0, max_bytes}};
        const int error = expand(expander);
        if (error != MODULE_SUCCESS)
            return error;
        rexpand_permutation_list_finalize(expander.permutations, list);
        if (nb != nullptr)
            *nb = static_cast<uint32_t>(list->size());
        return MODULE_SUCCESS;
    });
}
