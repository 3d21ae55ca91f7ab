#include <algorithm>

#include "lint_rules.h"
#include "lint_words.h"
#include "rexpand.h"
#include "rexpand_parser.h"

namespace
{

/// Deepest nesting that is looked into; the walk recurses.
constexpr int DEPTH_MAX = 64;

/// A walk over the tree of an expression that counts permutations as the expansion does.
struct choice_walk_t {
    const rexpand_tree &tree;
    bool glued = false; ///< a choice was left out, and what stands beside it is one piece now
};

const rexpand_node &node_at(const choice_walk_t &walk, uint32_t index)
{
    return walk.tree.nodes[index];
}

bool is_literal(const choice_walk_t &walk, uint32_t index)
{
    const uint32_t kind =
        index == REXPAND_NO_NODE ? uint32_t{REXPAND_AST_NODE_COUNT} : node_at(walk, index).kind;
    return kind == REXPAND_AST_WORD_NODE || kind == REXPAND_AST_NUMBER_NODE;
}

uint64_t count(choice_walk_t &walk, uint32_t index, uint64_t before, bool literal, int depth);

/// The permutations of all children, each beginning with `before`.
uint64_t count_branches(choice_walk_t &walk, const rexpand_node &node, uint64_t before, int depth)
{
    uint64_t all = 0;
    for (uint32_t child = node.first_child; child != REXPAND_NO_NODE;
         child = node_at(walk, child).next)
        all += count(walk, child, before, false, depth);
    return all;
}

/// The permutations of elements one behind the other.
uint64_t count_sequence(choice_walk_t &walk, const rexpand_node &node, uint64_t before, int depth)
{
    bool literal = false;
    for (uint32_t child = node.first_child; child != REXPAND_NO_NODE;
         child = node_at(walk, child).next) {
        before = count(walk, child, before, literal && is_literal(walk, node_at(walk, child).next),
                       depth);
        literal = is_literal(walk, child);
    }
    return before;
}

/// Leaves a choice out where it is too many; `literal`: between two literal elements.
uint64_t leave_out(choice_walk_t &walk, uint64_t before, bool literal)
{
    walk.glued |= literal;
    return before;
}

uint64_t count(choice_walk_t &walk, uint32_t index, uint64_t before, bool literal, int depth)
{
    const rexpand_node &node = node_at(walk, index);
    if (depth == 0)
        return before;
    switch (node.kind) {
    case REXPAND_AST_REGEXP_NODE:
        return count_sequence(walk, node, before, depth - 1);
    case REXPAND_AST_GROUP_NODE:
        return count(walk, node.first_child, before, literal, depth - 1);
    case REXPAND_AST_OPTIONAL_NODE:
        return 2 * before > MATCHER_PERMUTATION_MAX
                   ? leave_out(walk, before, literal)
                   : before + count(walk, node.first_child, before, false, depth - 1);
    case REXPAND_AST_ALTERNATIVE_NODE:
        return node.nb_child * before > MATCHER_PERMUTATION_MAX
                   ? leave_out(walk, before, literal)
                   : count_branches(walk, node, before, depth - 1);
    case REXPAND_AST_CLASS_NODE:
        return node.is_negated || node.nb_child * before > MATCHER_PERMUTATION_MAX
                   ? before
                   : before * std::max(node.nb_child, 1U);
    default:
        return before;
    }
}

void look_choices(const lint_look_t &look)
{
    const std::string &value = look.value->decoded;
    rexpand_tree tree;
    if (value.find_first_of("|?") == value.npos || rexpand_parse(value, &tree) != 0)
        return;
    choice_walk_t walk = {tree};
    (void)count(walk, tree.root, 1, false, DEPTH_MAX);
    if (walk.glued)
        lint_report(look, FINDING_TOO_MANY_CHOICES,
                    "a choice beyond 32 is left out, and the texts beside it become one",
                    "write several values, each in a rule of its own, with 32 choices at most");
}

/// Tells whether ".*" or ".+" stands at a byte.
bool is_open(std::string_view value, size_t at)
{
    return value[at] == '.' && at + 1 < value.size() &&
           (value[at + 1] == '*' || value[at + 1] == '+');
}

/// Where a value has an open part outside of all groups and sets.
struct open_parts_t {
    bool any = false;
    bool front = false;
    bool back = false;
    bool alternatives = false; ///< outside of all groups: each is a value of its own
};

open_parts_t open_parts(std::string_view value)
{
    open_parts_t parts;
    int depth = 0;
    bool in_class = false;
    for (size_t at = 0; at < value.size(); ++at) {
        const char c = value[at];
        if (c == '\\') {
            ++at;
        } else if (in_class) {
            in_class = c != ']';
        } else if (depth == 0 && is_open(value, at)) {
            parts.any = true;
            parts.front |= at == 0;
            parts.back |= at + 2 == value.size();
            ++at;
        } else {
            in_class = c == '[';
            depth += c == '(' ? 1 : c == ')' ? -1 : 0;
            parts.alternatives |= c == '|' && depth == 0;
        }
    }
    return parts;
}

/// An optional part that is open itself, at the beginning or at the end.
bool is_open_optional(std::string_view value)
{
    if (value.find('?') == value.npos)
        return false;
    for (const std::string_view part : {".?", "\\d?", "\\w?", "\\s?"})
        if (value.starts_with(part) || value.ends_with(part))
            return true;
    const size_t set = value.find(']');
    const bool front =
        value.starts_with("[^") && value.substr(std::min(set, value.size())).starts_with("]?");
    const size_t last = value.rfind("[^");
    return front || (value.ends_with("]?") && last != value.npos &&
                     value.find(']', last) == value.size() - 2);
}

bool is_whole(const rexpand_pattern_t &piece)
{
    return piece.type == REXPAND_TYPE_EXACT;
}

/// Tells whether any permutation that nothing checks further says more than the value: it begins
/// where the value is open in front, or ends where it is open behind.
struct lost_parts_t {
    bool front = false;
    bool back = false;
    bool whole = false; ///< one piece that is the whole of the data
    bool checked = false;
};

lost_parts_t lost_parts(const rexpand_permutation_list &list)
{
    lost_parts_t lost;
    for (const rexpand_permutation &permutation : list) {
        if ((permutation.flag & REXPAND_FLAG_L2_REQUIRED) != 0 || permutation.patterns.empty()) {
            lost.checked = true;
            continue;
        }
        const rexpand_pattern_t &first = permutation.patterns.front();
        const rexpand_pattern_t &last = permutation.patterns.back();
        lost.front |= is_whole(first) || first.type == REXPAND_TYPE_PREFIX;
        lost.back |= is_whole(last) || last.type == REXPAND_TYPE_SUFFIX;
        lost.whole |= is_whole(first);
    }
    return lost;
}

void look_open(const lint_look_t &look)
{
    const std::string &value = look.value->decoded;
    const open_parts_t open = open_parts(value);
    const bool optional = !open.any && is_open_optional(value);
    rexpand_permutation_list list;
    if ((!open.any && !optional) || open.alternatives ||
        rexpand_process(value, MATCHER_PERMUTATION_MAX, nullptr, &list) != 0)
        return;
    const lost_parts_t lost = lost_parts(list);
    if (open.back && lost.back)
        lint_report(look, FINDING_SINGLE_CLASS_END,
                    "the open end is lost: the value is taken as the whole of the data",
                    "let a plain byte stand in front of \".*\", or write [bc] for [b-c]");
    else if (open.front && lost.front)
        lint_report(look, FINDING_OPEN_BEGINNING_LOST,
                    "the open beginning is lost: the value is taken as the beginning of the data",
                    "write a rule for each of the forms, with the last part and without it");
    else if (lost.whole && (open.any || !lost.checked))
        lint_report(look, FINDING_OPTIONAL_LOST, "data with or without the optional part is lost",
                    "write a rule with the optional part and one without it");
}

constexpr lint_row_t rows[] = {{look_choices}, {look_open}};

} // namespace

std::span<const lint_row_t> lint_choice_rows()
{
    return rows;
}
