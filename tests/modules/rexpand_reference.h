/// A second expander, for comparison: recursive, on a linked list, one rule after the other.
///
/// It keeps the empty piece under construction, inserts copies in the middle of the list, and
/// takes no care of cost or depth.
#pragma once

#include <cstdint>
#include <iterator>
#include <list>
#include <string>
#include <vector>

#include "rexpand.h"
#include "rexpand_ast.h"

namespace rexpand_reference
{

struct permutation {
    std::vector<rexpand_pattern_t> patterns{1}; ///< the last one is under construction
    bool flag = false;
};

using permutations = std::list<permutation>;

struct context {
    permutations::iterator first;
    uint64_t nb = 1;
    bool flag = false;
    bool wildcard_flag = false;
    bool last_repetition = false;
    rexpand_pattern_type_t type = REXPAND_TYPE_EXACT;
};

class expander
{
public:
    expander(const rexpand_tree &syntax, uint64_t permutation_limit)
        : tree(syntax), limit(permutation_limit)
    {
    }

    /// Returns the module code; `list` holds the result.
    int run()
    {
        list.assign(1, {});
        context root{list.begin()};
        visit(tree.root, root);
        for (permutation &one : list)
            finalize(one.patterns);
        return error;
    }

    permutations list;

private:
    const rexpand_tree &tree;
    uint64_t limit;
    int error = 0;

    template <typename Step>
    void each(const context &ctx, Step &&step)
    {
        auto at = ctx.first;
        for (uint64_t i = 0; i < ctx.nb; ++i, ++at)
            step(*at);
    }

    std::vector<uint32_t> children(uint32_t node) const
    {
        std::vector<uint32_t> all;
        for (uint32_t at = tree.nodes[node].first_child; at != REXPAND_NO_NODE;
             at = tree.nodes[at].next)
            all.push_back(at);
        return all;
    }

    uint32_t kind(uint32_t node) const { return tree.nodes[node].kind; }

    bool repetition(uint32_t node) const { return kind(node) == 10 || kind(node) == 11; }

    void append(const context &ctx, std::string_view bytes)
    {
        each(ctx, [&](permutation &one) {
            rexpand_pattern_t &piece = one.patterns.back();
            if (piece.str.empty()) {
                piece = {std::string(bytes), ctx.flag, ctx.type};
                return;
            }
            piece.str += bytes;
            piece.flag = ctx.flag;
            const auto in = ctx.type;
            const bool ends = in == REXPAND_TYPE_EXACT || in == REXPAND_TYPE_SUFFIX;
            switch (piece.type) {
            case REXPAND_TYPE_REGULAR:
                piece.type = ends ? REXPAND_TYPE_SUFFIX : REXPAND_TYPE_REGULAR;
                break;
            case REXPAND_TYPE_PREFIX:
                piece.type = ends ? REXPAND_TYPE_EXACT : REXPAND_TYPE_PREFIX;
                break;
            case REXPAND_TYPE_EXACT:
                piece.type = ends ? REXPAND_TYPE_EXACT : REXPAND_TYPE_PREFIX;
                break;
            default:
                piece.type = ends ? REXPAND_TYPE_SUFFIX : REXPAND_TYPE_REGULAR;
                break;
            }
        });
    }

    void break_pieces(const context &ctx)
    {
        each(ctx, [](permutation &one) {
            if (!one.patterns.back().str.empty())
                one.patterns.emplace_back();
        });
    }

    void mark(const context &ctx, bool flag)
    {
        each(ctx, [&](permutation &one) { one.flag = flag; });
    }

    /// Copies `nb` permutations directly behind them and returns the first copy.
    permutations::iterator duplicate(permutations::iterator first, uint64_t nb)
    {
        const auto end = std::next(first, static_cast<long>(nb));
        const permutations copies(first, end);
        return list.insert(end, copies.begin(), copies.end());
    }

    void leave_out(context &ctx, bool breaks)
    {
        ctx.flag = true;
        if (breaks)
            break_pieces(ctx);
    }

    void choose(const std::vector<uint32_t> &branches, context &ctx)
    {
        uint64_t total = branches.empty() ? ctx.nb : 0;
        auto current = ctx.first;
        for (size_t i = 0; i < branches.size(); ++i) {
            const bool last = i + 1 == branches.size();
            const auto next = last ? list.end() : duplicate(current, ctx.nb);
            context branch = ctx;
            branch.first = current;
            visit(branches[i], branch);
            total += branch.nb;
            current = next;
        }
        ctx.nb = total;
    }

    void visit_range(uint32_t node, context &ctx)
    {
        const auto ends = children(node);
        for (uint32_t end : ends) {
            if ((kind(end) != REXPAND_AST_WORD_NODE && kind(end) != REXPAND_AST_NUMBER_NODE) ||
                tree.nodes[end].length != 1) {
                error = error == 0 ? -13 : error;
                return;
            }
        }
        const auto low = static_cast<uint8_t>(rexpand_ast_literal(tree, tree.nodes[ends[0]])[0]);
        const auto high = static_cast<uint8_t>(rexpand_ast_literal(tree, tree.nodes[ends[1]])[0]);
        if (low > high) {
            error = error == 0 ? -13 : error;
        } else if (ctx.nb + high - low > limit) {
            leave_out(ctx, true);
            mark(ctx, true);
        } else {
            context step = ctx;
            for (int byte = low; byte <= high; ++byte) {
                const auto next = byte == high ? list.end() : duplicate(step.first, step.nb);
                append(step, std::string(1, static_cast<char>(byte)));
                step.first = next;
            }
            ctx.nb *= static_cast<uint64_t>(high - low + 1);
        }
    }

    void visit_sequence(uint32_t node, context &ctx)
    {
        const auto elements = children(node);
        bool set_last_repetition = false, other = false, marked = false;
        if (!elements.empty() && repetition(elements.back())) {
            ctx.last_repetition = true;
            set_last_repetition = true;
        }
        for (size_t i = 0; i < elements.size(); ++i) {
            const uint32_t element = elements[i];
            const bool word = kind(element) == REXPAND_AST_WORD_NODE;
            const bool optional = kind(element) == REXPAND_AST_OPTIONAL_NODE;
            const bool last = i + 1 == elements.size();
            context copy = ctx;
            if (!word && !optional && kind(element) != REXPAND_AST_REGEXP_NODE) {
                ctx.type = REXPAND_TYPE_REGULAR;
                other = true;
            }
            if (i + 2 == elements.size() && kind(elements.back()) == REXPAND_AST_OPTIONAL_NODE &&
                copy.type != REXPAND_TYPE_EXACT)
                copy.type = REXPAND_TYPE_SUFFIX;
            if (i == 0 && word && copy.type != REXPAND_TYPE_EXACT &&
                ctx.type != REXPAND_TYPE_REGULAR)
                copy.type = REXPAND_TYPE_PREFIX;
            if (i > 0 && !last && kind(elements[i - 1]) == REXPAND_AST_WORD_NODE &&
                kind(element) == REXPAND_AST_NUMBER_NODE && repetition(elements[i + 1]) &&
                copy.type == REXPAND_TYPE_EXACT && ctx.type == REXPAND_TYPE_REGULAR)
                copy.type = REXPAND_TYPE_PREFIX;
            if (last && (word || optional))
                copy.type =
                    copy.type == REXPAND_TYPE_REGULAR ? REXPAND_TYPE_SUFFIX : REXPAND_TYPE_EXACT;
            visit(element, copy);
            ctx.nb = copy.nb;
            if (copy.wildcard_flag)
                ctx.wildcard_flag = true;
            if (copy.wildcard_flag && repetition(element)) {
                mark(ctx, false);
                ctx.wildcard_flag = false;
                marked = false;
            } else if (copy.flag || copy.wildcard_flag) {
                mark(ctx, true);
                marked = true;
            }
        }
        if (set_last_repetition)
            ctx.last_repetition = false;
        if (other)
            ctx.type = REXPAND_TYPE_PREFIX;
        if (marked)
            ctx.flag = true;
    }

    void visit_optional(uint32_t node, context &ctx)
    {
        if (2 * ctx.nb > limit) {
            leave_out(ctx, false);
            return;
        }
        context copies = ctx;
        copies.first = duplicate(ctx.first, ctx.nb);
        visit(children(node)[0], copies);
        ctx.nb += copies.nb;
    }

    void visit(uint32_t node, context &ctx)
    {
        const std::string_view literal = rexpand_ast_literal(tree, tree.nodes[node]);
        const auto below = children(node);
        switch (kind(node)) {
        case REXPAND_AST_REGEXP_NODE:
            return visit_sequence(node, ctx);
        case REXPAND_AST_BOL_NODE:
            return append(ctx, "^");
        case REXPAND_AST_EOL_NODE:
            return append(ctx, "$");
        case REXPAND_AST_WORD_NODE:
            if (ctx.last_repetition)
                ctx.type = ctx.type == REXPAND_TYPE_EXACT || ctx.type == REXPAND_TYPE_PREFIX
                               ? REXPAND_TYPE_PREFIX
                               : REXPAND_TYPE_REGULAR;
            return append(ctx, literal);
        case REXPAND_AST_NUMBER_NODE:
            return append(ctx, literal);
        case REXPAND_AST_WILDCARD_NODE:
            ctx.wildcard_flag = true;
            return leave_out(ctx, true);
        case REXPAND_AST_REPETITION_NODE:
        case REXPAND_AST_REPETITION_ONCE_NODE:
            leave_out(ctx, true);
            visit(below[0], ctx);
            return break_pieces(ctx);
        case REXPAND_AST_OPTIONAL_NODE:
            return visit_optional(node, ctx);
        case REXPAND_AST_GROUP_NODE:
            return visit(below[0], ctx);
        case REXPAND_AST_ALTERNATIVE_NODE:
            if (below.size() * ctx.nb > limit)
                return leave_out(ctx, false);
            return choose(below, ctx);
        case REXPAND_AST_CLASS_NODE:
            if (tree.nodes[node].is_negated || below.size() * ctx.nb > limit)
                return leave_out(ctx, true);
            return choose(below, ctx);
        case REXPAND_AST_RANGE_NODE:
            return visit_range(node, ctx);
        default: // decimal, whitespace, part of a word, without case
            return leave_out(ctx, true);
        }
    }

    static void finalize(std::vector<rexpand_pattern_t> &patterns)
    {
        if (patterns.back().str.empty())
            patterns.pop_back();
        for (size_t i = 0; i < patterns.size() && patterns.size() > 1; ++i) {
            const bool first = i == 0, last = i + 1 == patterns.size();
            auto &type = patterns[i].type;
            if (first && type == REXPAND_TYPE_EXACT)
                type = REXPAND_TYPE_PREFIX;
            else if (first && type == REXPAND_TYPE_SUFFIX)
                type = REXPAND_TYPE_REGULAR;
            else if (last && type == REXPAND_TYPE_EXACT)
                type = REXPAND_TYPE_SUFFIX;
            else if (last && type == REXPAND_TYPE_PREFIX)
                type = REXPAND_TYPE_REGULAR;
            else if (!first && !last)
                type = REXPAND_TYPE_REGULAR;
        }
    }
};

} // namespace rexpand_reference
