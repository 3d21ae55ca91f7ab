#include "prove_automaton.h"

#include <algorithm>
#include <cstddef>
#include <memory_resource>
#include <new>

#include "prove_bytes.h"
#include "rexpand_parser.h"

namespace
{

/// Bytes of lists that nearly every expression makes do with; more come from the heap.
constexpr size_t ROOM_OF_A_VALUE = 8192;

using numbers_t = std::pmr::vector<uint32_t>;

/// What a part of an expression shows of itself to its neighbours.
struct part_t {
    explicit part_t(std::pmr::memory_resource *room) : first(room), last(room) {}

    numbers_t first;
    numbers_t last;
    bool may_be_empty = true;
};

/// A position and one that may follow it.
struct edge_t {
    uint32_t from;
    uint32_t to;

    auto operator<=>(const edge_t &) const = default;
};

/// One construction. The operations on it return false for what nests too deeply.
struct making_t {
    const rexpand_tree &tree;
    prove_automaton_t &out;
    size_t limit; ///< of edges, and of the entries of the lists that parts show
    std::pmr::memory_resource *room;
    size_t used = 0;
    std::pmr::vector<edge_t> edges{room};

    const rexpand_node &node(uint32_t index) const { return tree.nodes[index]; }
    std::string_view literal(uint32_t index) const
    {
        return rexpand_ast_literal(tree, node(index));
    }
};

/// Takes room for entries of lists. Without it ways are left out, and those that stay are still
/// ways of the expression.
bool take(making_t &making, size_t nr)
{
    making.used += nr;
    making.out.is_partial = making.out.is_partial || making.used > making.limit;
    return making.used <= making.limit;
}

uint32_t add_position(making_t &making, const prove_set_t &set)
{
    making.out.sets.push_back(set);
    return static_cast<uint32_t>(making.out.sets.size() - 1);
}

part_t make_position(making_t &making, const prove_set_t &set)
{
    part_t part(making.room);
    part.first.push_back(add_position(making, set));
    part.last = part.first;
    part.may_be_empty = false;
    return part;
}

/// Every position of `from` may be followed by every one of `to`.
void connect(making_t &making, const numbers_t &from, const numbers_t &to)
{
    if (from.empty() || to.empty())
        return;
    if (!take(making, from.size() * to.size())) {
        making.edges.push_back({from.back(), to.front()});
        return;
    }
    for (const uint32_t one : from)
        for (const uint32_t other : to)
            making.edges.push_back({one, other});
}

void add(making_t &making, numbers_t &to, const numbers_t &more)
{
    if (to.empty() || take(making, more.size()))
        to.insert(to.end(), more.begin(), more.end());
}

/// Puts `next` behind `part`.
void append(making_t &making, part_t &part, part_t next)
{
    if (part.first.empty()) { // nothing was put there yet
        part = std::move(next);
        return;
    }
    connect(making, part.last, next.first);
    if (part.may_be_empty)
        add(making, part.first, next.first);
    if (next.may_be_empty)
        add(making, next.last, part.last);
    part.last = std::move(next.last);
    part.may_be_empty = part.may_be_empty && next.may_be_empty;
}

/// Makes `part` a choice between itself and `other`.
void choose(making_t &making, part_t &part, const part_t &other)
{
    add(making, part.first, other.first);
    add(making, part.last, other.last);
    part.may_be_empty = part.may_be_empty || other.may_be_empty;
}

/// A row of positions.
void make_literal(making_t &making, std::string_view bytes, bool icase, part_t &part)
{
    for (const char c : bytes) {
        const prove_set_t set = prove_byte_set(static_cast<uint8_t>(c), icase);
        if (part.last.empty()) {
            part = make_position(making, set);
            continue;
        }
        (void)take(making, 1); // as connect() does, which a single follower never exceeds
        const uint32_t next = add_position(making, set);
        making.edges.push_back({part.last.front(), next});
        part.last.front() = next;
    }
}

bool make(making_t &making, uint32_t index, bool icase, uint32_t depth, part_t &part);

bool make_sequence(making_t &making, const rexpand_node &parent, bool icase, uint32_t depth,
                   part_t &part)
{
    for (uint32_t child = parent.first_child; child != REXPAND_NO_NODE;
         child = making.node(child).next) {
        part_t next(making.room);
        if (!make(making, child, icase, depth + 1, next))
            return false;
        append(making, part, std::move(next));
    }
    return true;
}

bool make_choice(making_t &making, const rexpand_node &parent, bool icase, uint32_t depth,
                 part_t &part)
{
    part.may_be_empty = false;
    for (uint32_t child = parent.first_child; child != REXPAND_NO_NODE;
         child = making.node(child).next) {
        part_t branch(making.room);
        if (!make(making, child, icase, depth + 1, branch))
            return false;
        choose(making, part, branch);
    }
    return true;
}

/// A class of single bytes is one position. With a member of several bytes, "[\x41 42\x]", it is a
/// choice; a negated one is any byte that no single member is.
bool make_class(making_t &making, const rexpand_node &parent, bool icase, uint32_t depth,
                part_t &part)
{
    prove_set_t all{};
    bool single = true;
    for (uint32_t child = parent.first_child; child != REXPAND_NO_NODE;
         child = making.node(child).next) {
        prove_set_t set{};
        single = prove_node_set(making.tree, child, icase, set) && single;
        prove_set_unite(all, set);
    }
    if (!single && !parent.is_negated)
        return make_choice(making, parent, icase, depth, part);
    part = make_position(making, parent.is_negated ? prove_set_without(all) : all);
    return true;
}

/// "*", "+" or "?".
bool make_postfix(making_t &making, const rexpand_node &parent, bool icase, uint32_t depth,
                  part_t &part)
{
    if (!make(making, parent.first_child, icase, depth + 1, part))
        return false;
    if (parent.kind != REXPAND_AST_REPETITION_ONCE_NODE)
        part.may_be_empty = true;
    if (parent.kind != REXPAND_AST_OPTIONAL_NODE)
        connect(making, part.last, part.first);
    return true;
}

bool make(making_t &making, uint32_t index, bool icase, uint32_t depth, part_t &part)
{
    if (depth > PROVE_DEPTH_MAX)
        return false;
    const rexpand_node &at = making.node(index);
    switch (at.kind) {
    case REXPAND_AST_REGEXP_NODE:
    case REXPAND_AST_GROUP_NODE:
        return make_sequence(making, at, icase, depth, part);
    case REXPAND_AST_INSENSITIVE_NODE:
        return make_sequence(making, at, true, depth, part);
    case REXPAND_AST_BOL_NODE:
    case REXPAND_AST_EOL_NODE:
        make_literal(making, at.kind == REXPAND_AST_BOL_NODE ? "^" : "$", icase, part);
        return true;
    case REXPAND_AST_WORD_NODE:
    case REXPAND_AST_NUMBER_NODE:
        make_literal(making, making.literal(index), icase, part);
        return true;
    case REXPAND_AST_REPETITION_NODE:
    case REXPAND_AST_REPETITION_ONCE_NODE:
    case REXPAND_AST_OPTIONAL_NODE:
        return make_postfix(making, at, icase, depth, part);
    case REXPAND_AST_ALTERNATIVE_NODE:
        return make_choice(making, at, icase, depth, part);
    case REXPAND_AST_CLASS_NODE:
        return make_class(making, at, icase, depth, part);
    default: {
        prove_set_t set{};
        (void)prove_node_set(making.tree, index, icase, set);
        part = make_position(making, set);
        return true;
    }
    }
}

/// Writes the followers down by position.
void settle(making_t &making, const part_t &whole)
{
    prove_automaton_t &out = making.out;
    if (!std::is_sorted(making.edges.begin(), making.edges.end()))
        std::sort(making.edges.begin(), making.edges.end());
    const auto end = std::unique(making.edges.begin(), making.edges.end());
    making.edges.erase(end, making.edges.end());
    out.follow_begin.assign(out.sets.size() + 1, 0);
    out.followers.reserve(making.edges.size());
    for (const edge_t &edge : making.edges) {
        out.followers.push_back(edge.to);
        ++out.follow_begin[edge.from + 1];
    }
    for (size_t at = 1; at < out.follow_begin.size(); ++at)
        out.follow_begin[at] += out.follow_begin[at - 1];
    out.first.assign(whole.first.begin(), whole.first.end());
    std::sort(out.first.begin(), out.first.end());
    out.is_last.assign(out.sets.size(), 0);
    for (const uint32_t at : whole.last)
        out.is_last[at] = 1;
    out.takes_nothing = whole.may_be_empty;
}

} // namespace

// Every position is on a way: with one to begin, one to end and a step fewer than positions they
// are a row.
bool prove_is_row(const prove_automaton_t &automaton)
{
    return !automaton.is_partial && !automaton.takes_nothing && automaton.first.size() == 1 &&
           std::ranges::count(automaton.is_last, uint8_t{1}) == 1 &&
           automaton.followers.size() + 1 == automaton.sets.size();
}

bool prove_parse(std::string_view text, rexpand_tree &tree)
{
    const int parsed = rexpand_parse(text, &tree);
    if (parsed == MODULE_ERR_NO_MEMORY)
        throw std::bad_alloc();
    return parsed == MODULE_SUCCESS;
}

prove_made_t prove_automaton_make(const rexpand_tree &tree, size_t size, bool icase,
                                  prove_automaton_t &automaton)
{
    automaton = {};
    alignas(std::max_align_t) std::byte bytes[ROOM_OF_A_VALUE];
    std::pmr::monotonic_buffer_resource room(bytes, sizeof bytes);
    making_t making{tree, automaton, PROVE_FOLLOWERS_BASE + PROVE_FOLLOWERS_PER_BYTE * size, &room};
    part_t whole(&room);
    automaton.sets.reserve(size);
    if (!make(making, tree.root, icase, 1, whole))
        return PROVE_TOO_DEEP;
    settle(making, whole);
    return PROVE_MADE;
}

prove_made_t prove_automaton_make(std::string_view text, bool icase, prove_automaton_t &automaton)
{
    automaton = {};
    rexpand_tree tree;
    return prove_parse(text, tree) ? prove_automaton_make(tree, text.size(), icase, automaton)
                                   : PROVE_NO_EXPRESSION;
}
