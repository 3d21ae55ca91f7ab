#include "dump_state.h"

#include "format_types.h"

namespace
{

/// How the rows of an engine are laid out.
struct row_form_t {
    format_kind_t kind;
    format_kind_t items;
    const char *row;        ///< what a row is
    uint32_t nr_meta;       ///< words in front of those of the codes
    const char *columns[4]; ///< names of these words
    void (*say_meta)(const dump_walk_t &walk, const row_form_t &form, uint32_t column,
                     uint32_t word, uint32_t nr_row, dump_words_t &words);
    void (*say_target)(const dump_walk_t &walk, uint32_t word, uint32_t nr_row,
                       dump_words_t &words);
};

void say_row(const char *row, uint32_t number, uint32_t nr_row, dump_words_t &words)
{
    dump_say(words.meaning, "%s %u", row, number);
    if (number >= nr_row)
        dump_say(words.damage, "there are %u rows", nr_row);
}

void say_items(const dump_walk_t &walk, const row_form_t &form, uint32_t word, dump_words_t &words)
{
    if (word == PATTERN_NO_ITEM_WORD)
        dump_say(words.meaning, "no items");
    else
        dump_say_item_record(walk, form.items, word, words);
}

void say_state_meta(const dump_walk_t &walk, const row_form_t &form, uint32_t column, uint32_t word,
                    uint32_t, dump_words_t &words)
{
    if (column != AHO_CORASICK_ITEM_COLUMN)
        return;
    if (walk.ahoff || word == PATTERN_NO_ITEM_WORD || (word & AHO_CORASICK_INLINE) == 0)
        return say_items(walk, form, word, words);
    const uint32_t id = word & (AHO_CORASICK_INLINE_IDS - 1);
    const bool is_private = (word & AHO_CORASICK_INLINE_PRIVATE) != 0;
    dump_say_item(walk, id | (is_private ? MATCHER_PRIVATE_ID : 0), words);
}

void say_state(const dump_walk_t &, uint32_t word, uint32_t nr_row, dump_words_t &words)
{
    say_row("state", word >> 1, nr_row, words);
    if ((word & 1) != 0)
        dump_say(words.meaning, ", a pattern ends there");
}

void say_tree_meta(const dump_walk_t &walk, const row_form_t &form, uint32_t, uint32_t word,
                   uint32_t, dump_words_t &words)
{
    say_items(walk, form, word, words);
}

/// Tells whether a number names a compressed edge of the tree that the walk is in.
bool is_chain(const dump_walk_t &walk, size_t number)
{
    const view_area_t &bitmap = walk.found[FORMAT_RADIX_C_EDGES_BITMAP];
    return number <= dump_found_word(walk, FORMAT_RADIX_C_EDGES_BITMAP, 0) &&
           bitmap.size > 4 + number / 8 && (bitmap.data[4 + number / 8] >> (number & 7) & 1) != 0;
}

void say_edge(const dump_walk_t &walk, uint32_t word, uint32_t nr_row, dump_words_t &words)
{
    if (!is_chain(walk, word))
        return say_row("row", word, nr_row, words);
    dump_say(words.meaning, "compressed edge %u", word);
    if (word >= view_words(walk.found[FORMAT_RADIX_C_EDGES]))
        dump_say(words.damage, "the table of compressed edges ends before");
}

void say_node_meta(const dump_walk_t &walk, const row_form_t &form, uint32_t column, uint32_t word,
                   uint32_t nr_row, dump_words_t &words)
{
    if (column == DOT_PREFIX_ITEM_COLUMN)
        say_items(walk, form, word, words);
    else if (column == DOT_PREFIX_PROPAGATION_COLUMN && word == DOT_PREFIX_NO_PROPAGATION)
        dump_say(words.meaning, "none");
    else if (column != 0 && (column != DOT_PREFIX_WILDCARD_COLUMN || word != 0))
        say_row("node", word, nr_row, words);
}

void say_node(const dump_walk_t &, uint32_t word, uint32_t nr_row, dump_words_t &words)
{
    say_row("node", word, nr_row, words);
}

constexpr row_form_t row_forms[] = {
    {FORMAT_AHO_CORASICK_TRANSITIONS,
     FORMAT_AHO_CORASICK_ITEMS,
     "state",
     AHO_CORASICK_NR_META,
     {"unused", "items"},
     say_state_meta,
     say_state},
    {FORMAT_RADIX_TRANSITIONS,
     FORMAT_RADIX_ITEMS,
     "row",
     RADIX_NR_META,
     {"items"},
     say_tree_meta,
     say_edge},
    {FORMAT_DOT_PREFIX_TRANSITIONS,
     FORMAT_DOT_PREFIX_ITEMS,
     "node",
     DOT_PREFIX_NR_META,
     {"unused", "propagation", "items", "wildcard"},
     say_node_meta,
     say_node},
};

const row_form_t &form_of(format_kind_t kind)
{
    const row_form_t *form = row_forms;
    while (form->kind != kind)
        ++form;
    return *form;
}

/// A row of a table.
struct row_t {
    const row_form_t &form;
    view_area_t area;
    uint32_t number;
    uint32_t nr_row;
};

void put_meta(dump_walk_t &walk, const row_t &row, uint32_t column)
{
    dump_words_t words;
    const uint32_t word = dump_number(row.area, size_t{column} * 2, 2);
    dump_say(words.name, "%s %u %s", row.form.row, row.number, row.form.columns[column]);
    dump_say(words.value, "%u", word);
    row.form.say_meta(walk, row.form, column, word, row.nr_row, words);
    dump_put(walk, row.area, size_t{column} * 2, 2, words);
}

/// Says the bytes of a code.
void say_code(const dump_alphabet_t &alphabet, size_t code, dump_text_t &text)
{
    dump_say(text, " code %zu", code);
    if (code > 255)
        return;
    for (size_t i = alphabet.first[code]; i < alphabet.first[code + 1]; ++i) {
        dump_say(text, " ");
        dump_say_byte(text, alphabet.bytes[i]);
    }
}

void put_target(dump_walk_t &walk, const row_t &row, size_t code)
{
    dump_words_t words;
    const uint32_t word = dump_number(row.area, code * 2, 2);
    dump_say(words.name, "%s %u", row.form.row, row.number);
    say_code(walk.alphabet, code, words.name);
    dump_say(words.value, "%u", word);
    row.form.say_target(walk, word, row.nr_row, words);
    dump_put(walk, row.area, code * 2, 2, words);
}

/// Hands out codes without a transition as one range; returns how many there are.
size_t put_no_targets(dump_walk_t &walk, const row_t &row, size_t code)
{
    const size_t count = dump_zero_run(row.area, code * 2, row.area.size, 2) / 2;
    dump_words_t words;
    dump_say(words.name, "%s %u", row.form.row, row.number);
    if (count == 1)
        say_code(walk.alphabet, code, words.name);
    else
        dump_say(words.name, " codes %zu to %zu", code, code + count - 1);
    dump_say(words.value, "0");
    if (count != 0)
        dump_put(walk, row.area, code * 2, count * 2, words);
    return count;
}

void put_row(dump_walk_t &walk, const row_t &row)
{
    for (uint32_t column = 0; column < row.form.nr_meta; ++column)
        put_meta(walk, row, column);
    const size_t width = row.area.size / 2;
    for (size_t code = row.form.nr_meta; code < width;) {
        const size_t none = put_no_targets(walk, row, code);
        code += none;
        if (none == 0)
            put_target(walk, row, code++);
    }
}

/// Returns the byte at which the next compressed edge begins, at or behind the word of `at`.
size_t next_chain(const dump_walk_t &walk, const view_area_t &value, size_t at)
{
    size_t next = (at + 3) / 4 * 4;
    while (next + 4 <= value.size && !is_chain(walk, next / 4))
        next += 4;
    return next + 4 <= value.size ? next : value.size;
}

/// Hands out what stands behind the bytes of an edge up to the next one: padding, or bytes of an
/// edge of more than 255, whose length is kept modulo 256.
size_t put_more(dump_walk_t &walk, const view_area_t &value, size_t edge, size_t at)
{
    const size_t next = next_chain(walk, value, at);
    if (next - at < 4 && dump_zero_run(value, at, next, 1) == next - at) {
        dump_put_bytes(walk, value, at, next - at, "padding");
        return next;
    }
    dump_words_t words;
    dump_say(words.name, "edge %zu bytes beyond its length", edge / 4);
    words.has_text = true;
    words.text = {reinterpret_cast<const char *>(value.data + at), next - at};
    dump_put(walk, value, at, next - at, words);
    return next;
}

/// Hands out a compressed edge, which begins at byte `at`: its end, its length and its bytes.
/// Returns where the next one begins.
size_t put_chain(dump_walk_t &walk, const view_area_t &value, size_t at)
{
    const size_t nr_row = walk.alphabet.size == 0 ? 0
                                                  : walk.found[FORMAT_RADIX_TRANSITIONS].size /
                                                        (size_t{walk.alphabet.size} * 2);
    dump_words_t end;
    dump_say(end.name, "edge %zu end", at / 4);
    dump_say(end.value, "%u", dump_number(value, at, 2));
    say_row("row", dump_number(value, at, 2), static_cast<uint32_t>(nr_row), end);
    dump_put(walk, value, at, 2, end);
    const size_t length = value.data[at + 2];
    const size_t left = value.size - at - 3;
    const size_t size = length < left ? length : left;
    dump_words_t count;
    dump_say(count.name, "edge %zu length", at / 4);
    dump_say(count.value, "%zu", length);
    if (size != length)
        dump_say(count.damage, "%zu bytes are left", left);
    dump_put(walk, value, at + 2, 1, count);
    dump_words_t bytes;
    dump_say(bytes.name, "edge %zu bytes", at / 4);
    bytes.has_text = true;
    bytes.text = {reinterpret_cast<const char *>(value.data + at + 3), size};
    if (size != 0)
        dump_put(walk, value, at + 3, size, bytes);
    return put_more(walk, value, at, at + 3 + size);
}

} // namespace

void dump_rows(dump_walk_t &walk, format_kind_t kind, const view_area_t &value)
{
    const row_form_t &form = form_of(kind);
    const size_t width = size_t{walk.alphabet.size} * 2;
    if (width < size_t{form.nr_meta} * 2) {
        if (value.size != 0)
            dump_put_damaged(walk, value, 0, "rows without an alphabet");
        return;
    }
    const auto nr_row = static_cast<uint32_t>(value.size / width);
    for (uint32_t number = 0; number < nr_row; ++number)
        put_row(walk, {form, view_part(value, number * width, width), number, nr_row});
    dump_put_padding(walk, value, nr_row * width);
}

void dump_chains(dump_walk_t &walk, format_kind_t, const view_area_t &value)
{
    size_t at = next_chain(walk, value, 0);
    dump_put_bytes(walk, value, 0, at, "no edge");
    while (at < value.size)
        at = put_chain(walk, value, at);
}
