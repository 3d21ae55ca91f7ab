#include "view_overfull.h"

#include "format_loadable.h"

namespace
{

/// Rows that 16 bits tell apart.
constexpr uint64_t NODES = 1U << 16;

/// The tables of one matcher on their way to who takes those that are overfull.
struct noting_t {
    const view_overfull_sink_t &sink;
    const view_matcher_t &matcher;

    void note(const char *table, const view_area_t &area, uint64_t nr, uint64_t limit) const
    {
        if (nr > limit)
            sink.put(sink.context, {matcher, table, area, nr, limit});
    }
    void note(const view_rows_t &rows, uint64_t nr_row_max, const view_items_t &items,
              uint64_t nr_word_max) const
    {
        note("states", rows.area, rows.nr_row, nr_row_max);
        note("items", items.area, view_words(items.area), nr_word_max);
    }
};

void note_automaton(const noting_t &noting, const view_aho_corasick_t &engine)
{
    noting.note(engine.rows, AHO_CORASICK_STATES, engine.items,
                engine.ahoff ? PATTERN_NO_ITEM_WORD : AHO_CORASICK_ITEM_WORDS);
}

void note_matcher(const noting_t &noting)
{
    const view_pattern_t &pattern = noting.matcher.pattern;
    note_automaton(noting, pattern.aho_corasick);
    note_automaton(noting, pattern.ahoff_corasick);
    noting.note(pattern.prefix_tree.rows, NODES, pattern.prefix_tree.items, PATTERN_NO_ITEM_WORD);
    noting.note(pattern.suffix_tree.rows, NODES, pattern.suffix_tree.items, PATTERN_NO_ITEM_WORD);
    noting.note(pattern.dot_prefix.rows, NODES, pattern.dot_prefix.items, PATTERN_NO_ITEM_WORD);
    const view_number_t &number = noting.matcher.number;
    if (number.data_size == 0) // a mapper
        noting.note("items", number.items.area, view_words(number.items.area), NODES);
}

} // namespace

void view_overfull(const pdb_view_t &pdb, const view_overfull_sink_t &sink)
{
    view_cursor_t cursor = view_walk(pdb.matchers.list);
    for (view_record_t record; view_next(cursor, record);) {
        view_matcher_t matcher;
        view_error_t error;
        if (!view_matcher_open(record, pdb.matchers.names, matcher, error))
            return;
        note_matcher({sink, matcher});
    }
}
