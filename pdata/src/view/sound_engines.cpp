#include "sound_items.h"

#include <new>

namespace
{

/// A walk over the rows of an engine: those that were reached, and those yet to be left.
struct sound_walk_t {
    std::vector<bool> reached;
    std::vector<uint32_t> open;
    view_item_marks_t marks; ///< the records of rows that were reached

    explicit sound_walk_t(uint32_t nr_row) : reached(nr_row)
    {
        if (nr_row != 0)
            reach(0);
    }

    void reach(uint32_t row)
    {
        if (reached[row])
            return;
        reached[row] = true;
        open.push_back(row);
    }

    /// Takes a row to be left; false when there is none.
    bool next(uint32_t &row)
    {
        if (open.empty())
            return false;
        row = open.back();
        open.pop_back();
        return true;
    }
};

/// Passes the record of a row.
bool pass_record(sound_layout_t &layout, const view_rows_t &rows, uint32_t row, uint32_t column,
                 view_error_t &error)
{
    return sound_pass_record(layout, view_row_word(rows, row, column),
                             view_row_offset(rows, row, column), error) ||
           view_within(error, "row %u", row);
}

/// Checks that some byte has each code that is not reserved.
bool check_codes_used(const view_alphabet_t &alphabet, uint32_t nr_reserved,
                      const view_rows_t &rows, view_error_t &error)
{
    bool used[ALPHABET_MAP_COUNT] = {};
    uint32_t nr_used = 0;
    for (uint32_t byte = 0; byte < ALPHABET_MAP_COUNT; ++byte) {
        bool &code = used[alphabet.code[byte]];
        nr_used += alphabet.code[byte] >= nr_reserved && !code ? 1 : 0;
        code = true;
    }
    return nr_used == alphabet.size - nr_reserved ||
           view_fail(error, VIEW_LOST, rows.area.offset,
                     "alphabet: bytes have %u of %u codes, the others stand for none", nr_used,
                     alphabet.size - nr_reserved);
}

/// Tells whether a row has a number that was left out, and which no node has.
bool is_hole(const view_radix_t &view, uint32_t row)
{
    if (view_radix_is_chain(view, row))
        return true;
    for (uint32_t column = 0; column < view.rows.width; ++column)
        if (view_row_word(view.rows, row, column) != 0)
            return false;
    return true;
}

/// Checks that every row is reached. A tree, which is null for the other engines, may have holes.
bool check_reached(const view_rows_t &rows, const view_radix_t *tree, const sound_walk_t &walk,
                   view_error_t &error)
{
    uint32_t first = 0;
    size_t count = 0;
    for (uint32_t row = rows.nr_row; row-- != 0;)
        if (!walk.reached[row] && (tree == nullptr || !is_hole(*tree, row))) {
            first = row;
            ++count;
        }
    return count == 0 || view_fail(error, VIEW_LOST, view_row_offset(rows, first, 0),
                                   "row %u of %u: nothing leads to it, nor to %zu others", first,
                                   rows.nr_row, count - 1);
}

/// Tells whether a transition says of its target what the target says: that patterns end there.
/// One that leads nowhere says nothing of the start, at which an empty pattern may end.
bool tells_end(const view_aho_corasick_t &view, uint16_t word)
{
    const bool ends =
        view_row_word(view.rows, word >> 1, AHO_CORASICK_ITEM_COLUMN) != PATTERN_NO_ITEM_WORD;
    return word >> 1 == 0 || ends == ((word & 1) != 0);
}

/// Goes through an automaton; `error` is the first transition that misleads.
bool walk_automaton(const view_aho_corasick_t &view, sound_walk_t &walk, sound_given_t &given,
                    view_error_t &error)
{
    bool sound = true;
    for (uint32_t row = 0; walk.next(row);) {
        const view_item_record_t record = view_aho_corasick_items(view, row);
        if (record.first != nullptr)
            (void)view_item_mark(walk.marks, view.items,
                                 view_row_word(view.rows, row, AHO_CORASICK_ITEM_COLUMN));
        else if (record.count == 1)
            sound_give(given, record.inline_id);
        for (uint32_t column = AHO_CORASICK_NR_META; column < view.rows.width; ++column) {
            const uint16_t word = view_row_word(view.rows, row, column);
            if (sound && !tells_end(view, word))
                sound = view_fail(error, VIEW_LOST, view_row_offset(view.rows, row, column),
                                  "row %u, code %u: a pattern %s row %u", row, column,
                                  (word & 1) != 0 ? "ends but has no items at" : "has items at",
                                  word >> 1);
            walk.reach(word >> 1);
        }
    }
    return sound;
}

bool is_inline(const view_aho_corasick_t &view, uint16_t word)
{
    return !view.ahoff && (word & AHO_CORASICK_INLINE) != 0;
}

bool check_automaton_records(const view_aho_corasick_t &view, view_error_t &error)
{
    sound_layout_t layout = {view.items};
    for (uint32_t row = 0; row < view.rows.nr_row; ++row) {
        const uint16_t word = view_row_word(view.rows, row, AHO_CORASICK_ITEM_COLUMN);
        if (word != PATTERN_NO_ITEM_WORD && !is_inline(view, word) &&
            !pass_record(layout, view.rows, row, AHO_CORASICK_ITEM_COLUMN, error))
            return false;
    }
    return sound_end_records(layout, "rows", error);
}

bool automaton_fits(const view_aho_corasick_t &view, sound_given_t &given, view_error_t &error)
{
    sound_walk_t walk(view.rows.nr_row);
    if (!view_item_marks_init(walk.marks, view.items, error))
        return false;
    const bool told = walk_automaton(view, walk, given, error);
    sound_give_marked(view.items, walk.marks, given);
    return told && check_reached(view.rows, nullptr, walk, error) &&
           check_automaton_records(view, error) &&
           (view.rows.nr_row == 0 ||
            check_codes_used(view.alphabet, AHO_CORASICK_NR_META, view.rows, error));
}

/// Goes to the row behind a number, on its compressed edge where it names one.
void reach_number(const view_radix_t &view, uint32_t number, std::vector<bool> &chains,
                  sound_walk_t &walk)
{
    if (number == 0)
        return;
    if (!view_radix_is_chain(view, number)) {
        walk.reach(number);
        return;
    }
    chains[number] = true;
    walk.reach(view_radix_chain(view, number).end);
}

void walk_tree(const view_radix_t &view, sound_walk_t &walk, std::vector<bool> &chains)
{
    for (uint32_t row = 0; walk.next(row);) {
        const uint16_t word = view_row_word(view.rows, row, RADIX_ITEM_COLUMN);
        if (word != PATTERN_NO_ITEM_WORD)
            (void)view_item_mark(walk.marks, view.items, word);
        for (uint32_t column = RADIX_NR_META; column < view.rows.width; ++column)
            reach_number(view, view_row_word(view.rows, row, column), chains, walk);
    }
}

bool check_tree_records(const view_radix_t &view, const sound_walk_t &walk, view_error_t &error)
{
    sound_layout_t layout = {view.items};
    for (uint32_t row = 0; row < view.rows.nr_row; ++row)
        if (walk.reached[row] &&
            view_row_word(view.rows, row, RADIX_ITEM_COLUMN) != PATTERN_NO_ITEM_WORD &&
            !pass_record(layout, view.rows, row, RADIX_ITEM_COLUMN, error))
            return false;
    return sound_end_records(layout, "rows", error);
}

/// Checks the compressed edges: back to back from word 1, and each with a row that leads to it.
bool check_tree_chains(const view_radix_t &view, const std::vector<bool> &reached,
                       view_error_t &error)
{
    size_t due = 1;
    for (uint32_t number = 1; number < reached.size(); ++number) {
        if (!view_bitmap_test(view.chains, number))
            continue;
        const size_t offset = view.c_edges.offset + size_t{number} * 4;
        if (number != due)
            return view_fail(error, VIEW_LOST, offset,
                             "compressed edges: one at word %u where the one before ends at %zu",
                             number, due);
        if (!reached[number])
            return view_fail(error, VIEW_LOST, offset,
                             "compressed edges: no row leads to the one at word %u", number);
        due = number + (view_radix_chain(view, number).bytes.size() + 2) / 4 + 1;
    }
    return due >= view_words(view.c_edges) ||
           view_fail(error, VIEW_LOST, view.c_edges.offset + due * 4,
                     "compressed edges: they end at word %zu of %zu", due,
                     view_words(view.c_edges));
}

bool tree_fits(const view_radix_t &view, sound_given_t &given, view_error_t &error)
{
    sound_walk_t walk(view.rows.nr_row);
    std::vector<bool> chains(view.chains.bits == nullptr ? 0 : size_t{view.chains.last} + 1);
    if (!view_item_marks_init(walk.marks, view.items, error))
        return false;
    walk_tree(view, walk, chains);
    sound_give_marked(view.items, walk.marks, given);
    return check_tree_chains(view, chains, error) && check_reached(view.rows, &view, walk, error) &&
           check_tree_records(view, walk, error) &&
           (view.rows.nr_row == 0 ||
            check_codes_used(view.alphabet, RADIX_NR_META, view.rows, error));
}

void walk_dot_prefix(const view_dot_prefix_t &view, sound_walk_t &walk)
{
    for (uint32_t row = 0; walk.next(row);) {
        const uint16_t word = view_row_word(view.rows, row, DOT_PREFIX_ITEM_COLUMN);
        if (word != PATTERN_NO_ITEM_WORD)
            (void)view_item_mark(walk.marks, view.items, word);
        for (uint32_t column = DOT_PREFIX_WILDCARD_COLUMN; column < view.rows.width; ++column)
            walk.reach(view_row_word(view.rows, row, column));
    }
}

bool check_dot_prefix_records(const view_dot_prefix_t &view, view_error_t &error)
{
    sound_layout_t layout = {view.items};
    for (uint32_t row = 0; row < view.rows.nr_row; ++row)
        if (view_row_word(view.rows, row, DOT_PREFIX_ITEM_COLUMN) != PATTERN_NO_ITEM_WORD &&
            !pass_record(layout, view.rows, row, DOT_PREFIX_ITEM_COLUMN, error))
            return false;
    return sound_end_records(layout, "rows", error);
}

bool dot_prefix_fits(const view_dot_prefix_t &view, sound_given_t &given, view_error_t &error)
{
    sound_walk_t walk(view.rows.nr_row);
    if (!view_item_marks_init(walk.marks, view.items, error))
        return false;
    walk_dot_prefix(view, walk);
    sound_give_marked(view.items, walk.marks, given);
    return check_reached(view.rows, nullptr, walk, error) &&
           check_dot_prefix_records(view, error) &&
           check_codes_used(view.alphabet, DOT_PREFIX_NR_META, view.rows, error);
}

} // namespace

bool sound_automaton(const view_aho_corasick_t &view, sound_given_t &given, view_error_t &error)
try {
    return automaton_fits(view, given, error);
} catch (const std::bad_alloc &) {
    return view_fail(error, VIEW_MEMORY, view.rows.area.offset, "no memory for the states");
}

bool sound_tree(const view_radix_t &view, sound_given_t &given, view_error_t &error)
try {
    return tree_fits(view, given, error);
} catch (const std::bad_alloc &) {
    return view_fail(error, VIEW_MEMORY, view.rows.area.offset, "no memory for the rows");
}

bool sound_dot_prefix(const view_dot_prefix_t &view, sound_given_t &given, view_error_t &error)
try {
    return view.rows.nr_row == 0 || dot_prefix_fits(view, given, error);
} catch (const std::bad_alloc &) {
    return view_fail(error, VIEW_MEMORY, view.rows.area.offset, "no memory for the nodes");
}
