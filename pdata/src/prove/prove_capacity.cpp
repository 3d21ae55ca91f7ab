#include "prove_capacity.h"

#include <new>

#include "format_loadable.h"
#include "pdb_view.h"

namespace
{

/// Rows that 16 bits tell apart.
constexpr uint64_t NODES = 1U << 16;

/// Collects the tables of one matcher.
struct collecting_t {
    std::vector<prove_overfull_t> &found;
    const view_matcher_t &matcher;

    void note(const char *table, uint64_t nr, uint64_t nr_max) const
    {
        if (nr > nr_max)
            found.push_back({std::string(matcher.protocol), std::string(matcher.attribute),
                             matcher.way, table, nr, nr_max});
    }
};

void note_automaton(const collecting_t &collecting, const view_aho_corasick_t &engine)
{
    collecting.note("states", engine.rows.nr_row, AHO_CORASICK_STATES);
    collecting.note("items", view_words(engine.items.area),
                    engine.ahoff ? PATTERN_NO_ITEM_WORD : AHO_CORASICK_ITEM_WORDS);
}

void note_rows(const collecting_t &collecting, const view_rows_t &rows, const view_items_t &items)
{
    collecting.note("states", rows.nr_row, NODES);
    collecting.note("items", view_words(items.area), PATTERN_NO_ITEM_WORD);
}

void note_matcher(const collecting_t &collecting)
{
    const view_pattern_t &pattern = collecting.matcher.pattern;
    note_automaton(collecting, pattern.aho_corasick);
    note_automaton(collecting, pattern.ahoff_corasick);
    note_rows(collecting, pattern.prefix_tree.rows, pattern.prefix_tree.items);
    note_rows(collecting, pattern.suffix_tree.rows, pattern.suffix_tree.items);
    note_rows(collecting, pattern.dot_prefix.rows, pattern.dot_prefix.items);
    if (collecting.matcher.number.data_size == 0) // a mapper
        collecting.note("items", view_words(collecting.matcher.number.items.area), NODES);
}

} // namespace

std::vector<prove_overfull_t> prove_overfull(std::span<const uint8_t> pdb)
{
    std::vector<prove_overfull_t> found;
    pdb_view_t view;
    view_error_t error;
    bool good = pdb_view_open(pdb, view, error) && view.compiled;
    view_cursor_t cursor = view_walk(view.matchers.list);
    for (view_record_t record; good && view_next(cursor, record);) {
        view_matcher_t matcher;
        good = view_matcher_open(record, view.matchers.names, matcher, error);
        if (good)
            note_matcher({found, matcher});
    }
    if (error.fault == VIEW_MEMORY)
        throw std::bad_alloc();
    return found;
}
