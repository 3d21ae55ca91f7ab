#include "prove_form.h"

#include <algorithm>

#include "format_limits.h"
#include "matcher_pieces.h"
#include "pdata_memory_watch.h"
#include "prove_bytes.h"
#include "rexpand_expander.h"

namespace
{

prove_place_t place_of(uint32_t type)
{
    switch (type) {
    case REXPAND_TYPE_PREFIX:
        return PROVE_AT_BEGIN;
    case REXPAND_TYPE_SUFFIX:
        return PROVE_AT_END;
    case REXPAND_TYPE_EXACT:
        return PROVE_WHOLE;
    default:
        return PROVE_ANYWHERE;
    }
}

/// One construction.
struct forming_t {
    prove_form_t &form;
    size_t left; ///< bytes that further pieces may have
};

bool add_piece(forming_t &forming, const std::string &bytes, prove_place_t place)
{
    const size_t cost = bytes.size() + sizeof(prove_piece_t);
    if (cost > forming.left)
        return false;
    forming.left -= cost;
    prove_piece_t piece{bytes, place};
    if (forming.form.icase)
        for (char &c : piece.bytes)
            c = static_cast<char>(prove_small(static_cast<uint8_t>(c)));
    forming.form.pieces.push_back(std::move(piece));
    ++forming.form.ways.back().nr;
    return true;
}

bool add_way(forming_t &forming, const rexpand_permutation &permutation)
{
    forming.form.ways.push_back({static_cast<uint32_t>(forming.form.pieces.size()), 0});
    if (matcher_is_marked(permutation))
        return add_piece(forming, matcher_longest_piece(permutation)->str, PROVE_ANYWHERE);
    return std::all_of(permutation.patterns.begin(), permutation.patterns.end(),
                       [&](const rexpand_pattern_t &piece) {
                           return add_piece(forming, piece.str, place_of(piece.type));
                       });
}

/// Tells whether a permutation makes the complete value be tried on all data.
bool asks_nothing(const rexpand_permutation &permutation)
{
    return matcher_is_marked(permutation) ? matcher_longest_piece(permutation) == nullptr
                                          : permutation.patterns.empty();
}

/// Tells whether the pieces of a permutation have numbers that wrap: what they lead to is no way to
/// be found.
bool wraps(const rexpand_permutation &permutation)
{
    return !matcher_is_marked(permutation) && permutation.patterns.size() > UINT8_MAX;
}

} // namespace

prove_formed_t prove_form_make(const rexpand_tree &tree, size_t size, bool icase,
                               prove_form_t &form)
{
    form = {};
    form.icase = icase;
    rexpand_permutation_list list;
    const pdata_memory_watch_t memory;
    const int expanded = rexpand_expander_visit(tree, MATCHER_PERMUTATION_MAX, nullptr, &list);
    pdata_memory_watch_expect(memory);
    if (expanded != MODULE_SUCCESS)
        return PROVE_NO_FORM;
    form.checks_all = std::any_of(list.begin(), list.end(), asks_nothing);
    if (form.checks_all)
        return PROVE_FORMED;
    if (std::any_of(list.begin(), list.end(), wraps))
        return PROVE_FORM_WRAPS;
    forming_t forming{form, PROVE_PIECES_BASE + PROVE_PIECES_PER_BYTE * size};
    for (const rexpand_permutation &permutation : list)
        if (!add_way(forming, permutation))
            return PROVE_FORM_LARGE;
    return PROVE_FORMED;
}
