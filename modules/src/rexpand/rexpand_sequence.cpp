/// The rules of a sequence: which type each of its elements sees, and when permutations are
/// marked as needing the second-level check.
#include "rexpand_expander.h"

namespace
{

using node_t = rexpand_node;
using context_t = rexpand_expander_context_t;

bool is_repetition(uint32_t kind)
{
    return kind == REXPAND_AST_REPETITION_NODE || kind == REXPAND_AST_REPETITION_ONCE_NODE;
}

uint32_t kind_of(const rexpand_tree &tree, uint32_t node)
{
    return node == REXPAND_NO_NODE ? uint32_t{REXPAND_AST_NODE_COUNT} : tree.nodes[node].kind;
}

/// Tells whether an element of this kind leaves the type of its sequence alone.
bool keeps_type(uint32_t kind)
{
    return kind == REXPAND_AST_REGEXP_NODE || kind == REXPAND_AST_WORD_NODE ||
           kind == REXPAND_AST_OPTIONAL_NODE;
}

/// Where an element stands among its neighbours.
struct element_place {
    uint32_t kind, previous_kind, next_kind;
    bool is_first, is_last, is_next_to_last;
};

element_place place_of(const rexpand_tree &tree, const rexpand_frame &frame)
{
    const node_t &element = tree.nodes[frame.child];
    const bool is_last = element.next == REXPAND_NO_NODE;
    return {
        .kind = element.kind,
        .previous_kind = frame.previous_kind,
        .next_kind = kind_of(tree, element.next),
        .is_first = frame.previous_kind == REXPAND_AST_NODE_COUNT,
        .is_last = is_last,
        .is_next_to_last = !is_last && tree.nodes[element.next].next == REXPAND_NO_NODE,
    };
}

/// Returns the type that an element sees, from that of its copy of the context, `type`, and that
/// of the sequence with the element taken into account, `sequence`. A number in front of a
/// repetition differs from a word: oddity O148.
rexpand_pattern_type_t element_type(const element_place &place, rexpand_pattern_type_t type,
                                    rexpand_pattern_type_t sequence)
{
    const bool is_word = place.kind == REXPAND_AST_WORD_NODE;
    const bool is_optional = place.kind == REXPAND_AST_OPTIONAL_NODE;
    if (place.is_next_to_last && place.next_kind == REXPAND_AST_OPTIONAL_NODE &&
        type != REXPAND_TYPE_EXACT)
        type = REXPAND_TYPE_SUFFIX;
    if (place.is_first && is_word && type != REXPAND_TYPE_EXACT && sequence != REXPAND_TYPE_REGULAR)
        type = REXPAND_TYPE_PREFIX;
    if (place.previous_kind == REXPAND_AST_WORD_NODE && place.kind == REXPAND_AST_NUMBER_NODE &&
        is_repetition(place.next_kind) && type == REXPAND_TYPE_EXACT &&
        sequence == REXPAND_TYPE_REGULAR)
        type = REXPAND_TYPE_PREFIX;
    if (place.is_last && (is_word || is_optional)) {
        const bool anchored = type == REXPAND_TYPE_PREFIX || type == REXPAND_TYPE_SUFFIX ||
                              type == REXPAND_TYPE_EXACT;
        type = anchored ? REXPAND_TYPE_EXACT : REXPAND_TYPE_SUFFIX;
    }
    return type;
}

void enter_element(rexpand_expander &expander, rexpand_frame &frame)
{
    const element_place place = place_of(expander.tree, frame);
    context_t copy = frame.context;
    if (!keeps_type(place.kind))
        frame.context.type = REXPAND_TYPE_REGULAR; // seen by the elements that follow
    copy.type = element_type(place, copy.type, frame.context.type);
    rexpand_expander_enter(expander, frame.child, copy);
}

/// Takes over what the element that is done has left behind. A repeated wildcard clears the marks.
/// Oddity O147.
void leave_element(rexpand_expander &expander, rexpand_frame &frame)
{
    const context_t &copy = expander.returned_context;
    context_t &own = frame.context;
    const uint32_t kind = kind_of(expander.tree, frame.child);
    own.wildcard_flag = own.wildcard_flag || copy.wildcard_flag;
    if (copy.wildcard_flag && is_repetition(kind)) {
        rexpand_permutation_mark(expander.permutations, own.permutation_list, REXPAND_FLAG_NONE);
        own.wildcard_flag = false;
        frame.marked = false;
    } else if (copy.flag || copy.wildcard_flag) {
        rexpand_permutation_mark(expander.permutations, own.permutation_list,
                                 REXPAND_FLAG_L2_REQUIRED);
        frame.marked = true;
    }
    frame.previous_kind = kind;
}

} // namespace

int rexpand_expander_visit_regexp_node(rexpand_expander &expander, rexpand_frame &frame)
{
    const node_t &node = expander.tree.nodes[frame.node];
    if (frame.step == 0) {
        frame.child = node.first_child;
        if (is_repetition(kind_of(expander.tree, node.last_child)))
            frame.context.last_repetition = true;
    } else {
        leave_element(expander, frame);
        frame.child = expander.tree.nodes[frame.child].next;
    }
    if (frame.child != REXPAND_NO_NODE)
        enter_element(expander, frame);
    else if (frame.marked)
        frame.context.flag = true;
    return MODULE_SUCCESS;
}
