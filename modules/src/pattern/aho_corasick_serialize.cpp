#include <array>
#include <cstring>
#include <vector>

#include "aho_corasick.h"
#include "csa_endian.h"
#include "pattern_tlv.h"

namespace
{

bool is_terminal(const ac_state &state)
{
    return (state.ac_status & AC_STATUS_TERMINAL) != 0;
}

/// Tells whether the only item of a terminal state stands in its item word.
bool is_inline(const ac_build &build, const ac_state &state, bool ahoff)
{
    return !ahoff && state.ac_l_item.nr == 1 &&
           (build.ac_item[state.ac_l_item.first].id & 0x7FFFFFFFU) < AHO_CORASICK_INLINE_IDS;
}

/// Words that the state takes in the item table.
size_t item_words(const ac_build &build, const ac_state &state, bool ahoff)
{
    size_t words = (state.ac_status & AC_STATUS_MINDATA) != 0 ? 1 : 0;
    if (is_terminal(state) && !is_inline(build, state, ahoff))
        words += 1 + size_t{state.ac_l_item.nr} * (ahoff ? 2 : 1);
    return words;
}

/// The item word of a state whose record lies, or would lie, at `cursor` of the item table.
uint16_t item_word(const ac_build &build, const ac_state &state, bool ahoff, size_t cursor)
{
    if (!is_terminal(state))
        return PATTERN_NO_ITEM_WORD;
    if (!is_inline(build, state, ahoff))
        return static_cast<uint16_t>(cursor);
    const uint32_t id = build.ac_item[state.ac_l_item.first].id;
    const uint32_t mark =
        AHO_CORASICK_INLINE | ((id >> 31) != 0 ? uint32_t{AHO_CORASICK_INLINE_PRIVATE} : 0U);
    return static_cast<uint16_t>(mark | (id & (AHO_CORASICK_INLINE_IDS - 1)));
}

/// Where a transition table is written.
struct ac_table {
    uint8_t *buf;                     ///< the first row
    size_t row_size;                  ///< bytes
    std::array<uint16_t, 256> column; ///< by byte: its word in a row, 0 outside the alphabet
    std::vector<bool> finished;       ///< by state: its transitions stand there
    std::vector<uint32_t> chain;      ///< states of a failure chain that wait for their rows
};

/// Writes the words 2 and up of a row: those of the failure state's row, which must be finished,
/// overlaid with the state's own edges. The row of the start state begins all zero.
void aho_corasick_merge_failure(const ac_build &build, const ac_table &table, uint32_t at)
{
    const ac_state &state = build.ac_l_state[at];
    uint8_t *row = table.buf + at * table.row_size;
    if (at != 0)
        std::memcpy(row + 4, table.buf + state.ac_failure * table.row_size + 4, table.row_size - 4);
    for (uint32_t e = state.ac_l_oe.first; e != PATTERN_NONE; e = build.ac_oe.edge[e].next) {
        const oe &edge = build.ac_oe.edge[e];
        const uint16_t column = table.column[edge.oe_char];
        const uint32_t terminal = is_terminal(build.ac_l_state[edge.state]) ? 1 : 0;
        if (column != 0)
            csa_set_be16(row + 2 * column, static_cast<uint16_t>(edge.state * 2 + terminal));
    }
}

/// Writes the transitions of a state, after those of the states of its failure chain that have
/// none yet. Rows are so written nearly in the order in which they lie, which is far faster than
/// by depth.
void finish_row(const ac_build &build, ac_table &table, uint32_t at)
{
    for (; !table.finished[at]; at = build.ac_l_state[at].ac_failure) {
        table.chain.push_back(at);
        table.finished[at] = true;
    }
    for (; !table.chain.empty(); table.chain.pop_back())
        aho_corasick_merge_failure(build, table, table.chain.back());
}

void emit_transitions(const ac_build &build, tlv_sink_t &sink, bool ahoff)
{
    const size_t row_size = size_t{pattern_alphabet_width(build.ac_alphabet)} * 2;
    const auto nr_state = static_cast<uint32_t>(build.ac_l_state.size());
    ac_table table{tlv_sink_take(sink, row_size * nr_state), row_size, {}, {}, {}};
    if (table.buf == nullptr)
        return;
    table.finished.resize(nr_state);
    for (unsigned c = 0; c < 256; ++c)
        table.column[c] = static_cast<uint16_t>(
            pattern_alphabet_column(build.ac_alphabet, static_cast<uint8_t>(c)));
    size_t cursor = 0;
    for (uint32_t at = 0; at < nr_state; ++at) {
        const ac_state &state = build.ac_l_state[at];
        csa_set_be16(table.buf + at * row_size + 2, item_word(build, state, ahoff, cursor));
        cursor += item_words(build, state, ahoff);
        finish_row(build, table, at);
    }
}

void emit_items(const ac_build &build, tlv_sink_t &sink, bool ahoff)
{
    size_t words = 0;
    for (const ac_state &state : build.ac_l_state)
        words += item_words(build, state, ahoff);
    uint8_t *at = tlv_sink_take(sink, words * 4);
    if (at == nullptr)
        return;
    for (const ac_state &state : build.ac_l_state) {
        if ((state.ac_status & AC_STATUS_MINDATA) != 0)
            at = tlv_write_4B(at, state.ac_mindata | PATTERN_MINDATA_MARK);
        if (!is_terminal(state) || is_inline(build, state, ahoff))
            continue;
        at = tlv_write_4B(at, state.ac_l_item.nr);
        for (uint32_t i = state.ac_l_item.first; i != PATTERN_NONE; i = build.ac_item[i].next) {
            at = tlv_write_4B(at, build.ac_item[i].id);
            if (ahoff)
                at = tlv_write_4B(at, build.ac_item[i].offset);
        }
    }
}

} // namespace

void aho_corasick_emit(const ac_build &build, tlv_sink_t &sink, uint8_t ahoff)
{
    if (build.ac_nr_pattern == 0)
        return;
    const size_t transitions = tlv_sink_open_blob(sink, AHO_CORASICK_TLV_TRANSITIONS);
    emit_transitions(build, sink, ahoff != 0);
    tlv_sink_close_blob(sink, transitions);

    const size_t items = tlv_sink_open_blob(sink, AHO_CORASICK_TLV_ITEMS);
    emit_items(build, sink, ahoff != 0);
    tlv_sink_close_blob(sink, items);

    const size_t alphabet = tlv_sink_open_blob(sink, AHO_CORASICK_TLV_ALPHABET);
    pattern_alphabet_emit(build.ac_alphabet, sink);
    tlv_sink_close_blob(sink, alphabet);

    const size_t meta = tlv_sink_open_blob(sink, AHO_CORASICK_TLV_META);
    tlv_sink_put(sink, build.ac_nr_item_max, 4);
    tlv_sink_put(sink, build.ac_item_length, 4);
    tlv_sink_close_blob(sink, meta);
}

size_t aho_corasick_get_size(const ac_build &build, uint8_t ahoff)
{
    return tlv_sink_count([&](tlv_sink_t &sink) { aho_corasick_emit(build, sink, ahoff); });
}

uint8_t *aho_corasick_serialize(const ac_build &build, std::span<uint8_t> buf, uint8_t ahoff)
{
    return tlv_sink_write(buf, [&](tlv_sink_t &sink) { aho_corasick_emit(build, sink, ahoff); });
}
