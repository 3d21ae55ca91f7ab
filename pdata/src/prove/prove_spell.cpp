#include "prove_spell.h"

#include <algorithm>
#include <string>
#include <vector>

#include "prove_bytes.h"

namespace
{

/// A part of a row: literal bytes, or a gap.
struct part_t {
    std::string bytes{}; ///< none of a gap
    bool is_gap = false;
};

/// At least one part, the first of them bytes.
using row_t = std::vector<part_t>;

/// One spelling out.
struct spelling_t {
    const rexpand_tree &tree;
    bool icase;
    std::vector<row_t> rows = {};
    size_t nr_part = 0;

    const rexpand_node &node(uint32_t index) const { return tree.nodes[index]; }
};

/// Nesting beyond this is left to the comparison.
constexpr uint32_t DEPTH_MAX = 16;

bool spell(spelling_t &spelling, uint32_t index, uint32_t depth);

/// Adds bytes to the end of a row.
void add_bytes(row_t &row, std::string_view bytes, bool icase)
{
    if (row.back().is_gap)
        row.push_back({});
    for (const char c : bytes)
        row.back().bytes += icase ? static_cast<char>(prove_small(static_cast<uint8_t>(c))) : c;
}

bool add_literal(spelling_t &spelling, std::string_view bytes)
{
    for (row_t &row : spelling.rows)
        add_bytes(row, bytes, spelling.icase);
    spelling.nr_part += spelling.rows.size();
    return spelling.nr_part <= PROVE_ROW_PARTS_MAX;
}

bool add_gap(spelling_t &spelling)
{
    for (row_t &row : spelling.rows)
        if (!row.back().is_gap)
            row.push_back({{}, true});
    spelling.nr_part += spelling.rows.size();
    return spelling.nr_part <= PROVE_ROW_PARTS_MAX;
}

bool spell_children(spelling_t &spelling, const rexpand_node &parent, uint32_t depth)
{
    for (uint32_t child = parent.first_child; child != REXPAND_NO_NODE;
         child = spelling.node(child).next)
        if (!spell(spelling, child, depth + 1))
            return false;
    return true;
}

/// Each of the rows so far goes on with each of the children; with `or_none` also without.
bool spell_choice(spelling_t &spelling, const rexpand_node &parent, bool or_none, uint32_t depth)
{
    const std::vector<row_t> before = spelling.rows;
    std::vector<row_t> all;
    if (or_none)
        all = before;
    for (uint32_t child = parent.first_child; child != REXPAND_NO_NODE;
         child = spelling.node(child).next) {
        spelling.rows = before;
        if (!spell(spelling, child, depth + 1))
            return false;
        all.insert(all.end(), spelling.rows.begin(), spelling.rows.end());
        if (all.size() > PROVE_ROWS_MAX)
            return false;
    }
    spelling.rows = std::move(all);
    return !spelling.rows.empty();
}

/// A range of few bytes is a choice of them.
bool spell_range(spelling_t &spelling, const rexpand_node &range)
{
    const auto low = static_cast<uint8_t>(
        rexpand_ast_literal(spelling.tree, spelling.node(range.first_child))[0]);
    const auto high = static_cast<uint8_t>(
        rexpand_ast_literal(spelling.tree, spelling.node(range.last_child))[0]);
    const std::vector<row_t> before = spelling.rows;
    std::vector<row_t> all;
    if (before.size() * (high - low + size_t{1}) > PROVE_ROWS_MAX)
        return add_gap(spelling);
    for (uint32_t c = low; c <= high; ++c) {
        const char byte = static_cast<char>(c);
        spelling.rows = before;
        if (!add_literal(spelling, std::string_view(&byte, 1)))
            return false;
        all.insert(all.end(), spelling.rows.begin(), spelling.rows.end());
    }
    spelling.rows = std::move(all);
    return true;
}

bool spell(spelling_t &spelling, uint32_t index, uint32_t depth)
{
    if (depth > DEPTH_MAX)
        return false;
    const rexpand_node &at = spelling.node(index);
    switch (at.kind) {
    case REXPAND_AST_REGEXP_NODE:
    case REXPAND_AST_GROUP_NODE:
        return spell_children(spelling, at, depth);
    case REXPAND_AST_BOL_NODE:
        return add_literal(spelling, "^");
    case REXPAND_AST_EOL_NODE:
        return add_literal(spelling, "$");
    case REXPAND_AST_WORD_NODE:
    case REXPAND_AST_NUMBER_NODE:
        return add_literal(spelling, rexpand_ast_literal(spelling.tree, at));
    case REXPAND_AST_ALTERNATIVE_NODE:
        return spell_choice(spelling, at, false, depth);
    case REXPAND_AST_OPTIONAL_NODE:
        return spell_choice(spelling, at, true, depth);
    case REXPAND_AST_CLASS_NODE:
        return at.is_negated ? add_gap(spelling) : spell_choice(spelling, at, false, depth);
    case REXPAND_AST_RANGE_NODE:
        return spell_range(spelling, at);
    default: // any data at all, which is more than the node describes
        return add_gap(spelling);
    }
}

/// Where a search for pieces stands in a row.
struct reached_t {
    size_t part = 0; ///< whose bytes up to `end` the pieces so far end in
    size_t end = 0;
};

/// Finds the first place behind `reached` where a piece that may stand anywhere ends.
bool find_anywhere(const row_t &row, std::string_view piece, reached_t &reached)
{
    for (; reached.part < row.size(); reached = {reached.part + 1, 0}) {
        const std::string_view bytes = row[reached.part].bytes;
        const size_t from = reached.end + 1 > piece.size() ? reached.end + 1 - piece.size() : 0;
        if (const size_t at = bytes.find(piece, from); at != bytes.npos) {
            reached.end = at + piece.size();
            return true;
        }
    }
    return false;
}

bool find_at_begin(const row_t &row, std::string_view piece, reached_t &reached)
{
    reached = {0, piece.size()};
    return row.front().bytes.starts_with(piece);
}

bool find_at_end(const row_t &row, std::string_view piece, reached_t &reached)
{
    const size_t last = row.size() - 1;
    if (!row.back().bytes.ends_with(piece))
        return false;
    const bool behind = reached.part < last || reached.end < row.back().bytes.size();
    reached = {last, row.back().bytes.size()};
    return behind;
}

bool is_found(const row_t &row, const prove_form_t &form, const prove_way_t &way)
{
    reached_t reached;
    for (uint32_t i = 0; i < way.nr; ++i) {
        const prove_piece_t &piece = form.pieces[way.first + i];
        bool found = false;
        if (piece.place == PROVE_ANYWHERE)
            found = find_anywhere(row, piece.bytes, reached);
        else if (piece.place == PROVE_AT_BEGIN)
            found = find_at_begin(row, piece.bytes, reached);
        else if (piece.place == PROVE_AT_END)
            found = find_at_end(row, piece.bytes, reached);
        else
            found = row.size() == 1 && row.front().bytes == piece.bytes;
        if (!found)
            return false;
    }
    return true;
}

} // namespace

bool prove_spelled(const rexpand_tree &tree, const prove_form_t &form)
{
    if (form.checks_all)
        return true;
    spelling_t spelling{tree, form.icase};
    spelling.rows.push_back({part_t{}});
    if (!spell(spelling, tree.root, 1))
        return false;
    return std::all_of(spelling.rows.begin(), spelling.rows.end(), [&](const row_t &row) {
        return std::any_of(form.ways.begin(), form.ways.end(),
                           [&](const prove_way_t &way) { return is_found(row, form, way); });
    });
}
