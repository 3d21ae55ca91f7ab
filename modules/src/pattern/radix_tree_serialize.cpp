#include <array>
#include <cstring>

#include "csa_endian.h"
#include "pattern_tlv.h"
#include "radix_tree.h"

namespace
{

bool is_terminal(const rt_state &node)
{
    return (node.rt_status & RT_STATUS_TERMINAL) != 0;
}

/// Tells whether the node has a row: all but the further nodes of chains have.
bool has_row(const rt_state &node)
{
    return (node.rt_status & (RT_STATUS_CHAIN | RT_STATUS_CHAIN_FIRST)) != RT_STATUS_CHAIN;
}

/// Words that the node takes in the item table.
uint32_t item_words(const rt_state &node)
{
    const uint32_t mindata = (node.rt_status & RT_STATUS_MINDATA) != 0 ? 1 : 0;
    return mindata + (is_terminal(node) ? node.rt_l_item.nr + 1 : 0);
}

/// Size in bytes of the transition table. The number of words is taken modulo 2^32.
/// Oddity O153.
size_t transitions_size(const rt_build &build)
{
    if (build.rt_last_state_id == 0)
        return 0;
    return size_t{pattern_alphabet_width(build.rt_alphabet) * (build.rt_last_state_id + 1)} * 2;
}

void write_row(const rt_build &build, const rt_state &node, uint8_t *row, uint32_t cursor)
{
    const uint32_t word = is_terminal(node) ? cursor : PATTERN_NO_ITEM_WORD;
    csa_set_be16(row, static_cast<uint16_t>(word));
    for (uint32_t e = node.rt_l_oe.first; e != PATTERN_NONE; e = build.rt_oe.edge[e].next) {
        const oe &edge = build.rt_oe.edge[e];
        const uint32_t column = pattern_alphabet_column(build.rt_alphabet, edge.oe_char);
        if (column != 0)
            csa_set_be16(row + 2 * size_t{column},
                         static_cast<uint16_t>(build.rt_l_state[edge.state].rt_id));
    }
}

void emit_transitions(const rt_build &build, tlv_sink_t &sink)
{
    const size_t size = transitions_size(build);
    const size_t row_size = size_t{pattern_alphabet_width(build.rt_alphabet)} * 2;
    uint8_t *table = tlv_sink_take(sink, size);
    if (table == nullptr)
        return;
    uint32_t cursor = 0;
    for (const rt_state &node : build.rt_l_state) {
        // A table whose size was cut has no room for its last rows.
        if (has_row(node) && (node.rt_id + size_t{1}) * row_size <= size)
            write_row(build, node, table + node.rt_id * row_size, cursor);
        cursor += item_words(node);
    }
}

void emit_c_edges(const rt_build &build, tlv_sink_t &sink)
{
    uint8_t *table = tlv_sink_take(sink, size_t{build.rt_c_edges_length} * 4);
    if (table == nullptr)
        return;
    for (const rt_ce &chain : build.rt_l_c_edges) {
        const rt_state *node = &build.rt_l_state[chain.ce_first];
        uint8_t *record = table + size_t{node->rt_id} * 4;
        csa_set_be16(record, static_cast<uint16_t>(build.rt_l_state[chain.ce_endstate].rt_id));
        record[2] = static_cast<uint8_t>(chain.ce_len);
        for (uint32_t i = 0; i < chain.ce_len; ++i) {
            const oe &edge = build.rt_oe.edge[node->rt_l_oe.first];
            record[3 + i] = edge.oe_char;
            node = &build.rt_l_state[edge.state];
        }
    }
}

void emit_items(const rt_build &build, tlv_sink_t &sink)
{
    size_t words = 0;
    for (const rt_state &node : build.rt_l_state)
        words += item_words(node);
    uint8_t *at = tlv_sink_take(sink, words * 4);
    if (at == nullptr)
        return;
    for (const rt_state &node : build.rt_l_state) {
        if ((node.rt_status & RT_STATUS_MINDATA) != 0)
            at = tlv_write_4B(at, node.rt_mindata | PATTERN_MINDATA_MARK);
        if (!is_terminal(node))
            continue;
        at = tlv_write_4B(at, node.rt_l_item.nr);
        for (uint32_t i = node.rt_l_item.first; i != PATTERN_NONE; i = build.rt_item[i].next)
            at = tlv_write_4B(at, build.rt_item[i].id);
    }
}

void emit_alphabet(const rt_build &build, tlv_sink_t &sink)
{
    pattern_alphabet_emit(build.rt_alphabet, sink);
}

void emit_exact_bitmap(const rt_build &build, tlv_sink_t &sink)
{
    bitmap_build_emit(build.rt_exact_bitmap, sink);
}

void emit_c_edges_bitmap(const rt_build &build, tlv_sink_t &sink)
{
    bitmap_build_emit(build.rt_c_edges_bitmap, sink);
}

void emit_meta(const rt_build &build, tlv_sink_t &sink)
{
    tlv_sink_put(sink, build.rt_nr_item_max, 4);
}

/// One record of the blob.
struct radix_record {
    radix_tlv_t type;
    void (*emit)(const rt_build &build, tlv_sink_t &sink);
};

constexpr radix_record RADIX_RECORDS[] = {
    {RADIX_TLV_TRANSITIONS, emit_transitions},
    {RADIX_TLV_C_EDGES, emit_c_edges},
    {RADIX_TLV_ITEMS, emit_items},
    {RADIX_TLV_EXACT_BITMAP, emit_exact_bitmap},
    {RADIX_TLV_C_EDGES_BITMAP, emit_c_edges_bitmap},
    {RADIX_TLV_ALPHABET, emit_alphabet},
    {RADIX_TLV_META, emit_meta},
};

} // namespace

void radix_tree_emit(const rt_build &build, tlv_sink_t &sink)
{
    if (build.rt_nr_pattern == 0)
        return;
    for (const radix_record &record : RADIX_RECORDS) {
        const size_t header = tlv_sink_open_blob(sink, record.type);
        record.emit(build, sink);
        tlv_sink_close_blob(sink, header);
    }
}

size_t radix_tree_get_size(const rt_build &build)
{
    return tlv_sink_count([&](tlv_sink_t &sink) { radix_tree_emit(build, sink); });
}

uint8_t *radix_tree_serialize(const rt_build &build, std::span<uint8_t> buf)
{
    return tlv_sink_write(buf, [&](tlv_sink_t &sink) { radix_tree_emit(build, sink); });
}
