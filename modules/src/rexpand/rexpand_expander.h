/// The expander: walks the tree of an expression and spells its permutations out.
///
/// One visitor function per kind of node, in a table. A visitor is called when its node is
/// entered and again after each child that it asked for; the nodes in progress are frames on a
/// stack of the expander's own, so that the depth of a tree is bounded by memory alone.
#pragma once

#include <cstdint>
#include <memory_resource>
#include <vector>

#include "rexpand_ast.h"
#include "rexpand_permutation.h"

/// What a node knows about the part in front of it. Handed down by value: a child's changes reach
/// its parent where the parent takes them over.
struct rexpand_expander_context_t {
    /// The first permutation that the current step works on; all newer ones belong to the step.
    size_t permutation_list = 0;
    bool flag = false;          ///< something was left out that only a second-level check can prove
    bool wildcard_flag = false; ///< a wildcard was met that no repetition has taken in yet
    bool last_repetition = false; ///< the sequence ends with a repetition
    rexpand_pattern_type_t type = REXPAND_TYPE_EXACT;
};

/// A node in progress.
struct rexpand_frame {
    uint32_t node;
    rexpand_expander_context_t context; ///< the node's own; its parent sees it when it is done
    uint32_t step = 0;                  ///< how often the visitor has been called before
    uint32_t child = REXPAND_NO_NODE;   ///< the child entered last
    uint32_t previous_kind = REXPAND_AST_NODE_COUNT; ///< sequence: kind of the element before
    bool marked = false; ///< sequence: its permutations were last left marked
    size_t copied = 0;   ///< choices: number of permutations each branch starts from
};

struct rexpand_expander {
    const rexpand_tree &tree;
    uint64_t max_permutation_nb;            ///< the limit at which choices are left out
    rexpand_permutation_stack permutations; ///< the result so far
    rexpand_permutation_stack saved; ///< what the next branch of each open choice starts from
    std::pmr::vector<rexpand_frame> frames;
    uint32_t entered = REXPAND_NO_NODE;          ///< set by a visitor: the child to enter
    rexpand_expander_context_t entered_context;  ///< and the child's context
    rexpand_expander_context_t returned_context; ///< the context of the child that is done
    rexpand_budget budget;
};

/// A visitor: takes its node one step on. It returns 0, having asked for a child or being done
/// with the node, or a module code that ends the expansion.
using rexpand_visit_fct = int (*)(rexpand_expander &expander, rexpand_frame &frame);

/// Expands `tree` into `*list` with the limits of rexpand_process; `*nb`, when not null, receives
/// the number of permutations. Returns 0, or with an empty list: MODULE_ERR_NO_MEMORY and
/// MODULE_ERR_RANGE as rexpand_process, MODULE_ERR_OVERFLOW for a kind of node outside the table.
[[nodiscard]] int rexpand_expander_visit(const rexpand_tree &tree, uint32_t permutation_limit,
                                         uint32_t *nb, rexpand_permutation_list *list,
                                         uint64_t max_bytes = REXPAND_MAX_BYTES);

/// Makes `child` the node that is visited next, with a copy of `context`.
void rexpand_expander_enter(rexpand_expander &expander, uint32_t child,
                            const rexpand_expander_context_t &context);

/// The visitor of sequences, which holds the rules on types and marks.
[[nodiscard]] int rexpand_expander_visit_regexp_node(rexpand_expander &expander,
                                                     rexpand_frame &frame);
