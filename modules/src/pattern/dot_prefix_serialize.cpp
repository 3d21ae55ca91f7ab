#include "csa_endian.h"
#include "dot_prefix.h"
#include "pattern_tlv.h"

namespace
{

/// Words that the node takes in the item table.
size_t item_words(const dp_node &node)
{
    const size_t items = node.l_item.nr == 0 ? 0 : size_t{node.l_item.nr} + 1;
    return items + (node.is_preempt != 0 ? 2 : 0);
}

void write_row(const dp_build &build, const dp_node &node, uint8_t *row, size_t cursor)
{
    const uint32_t propagation = node.propagation == PATTERN_NONE
                                     ? PATTERN_NONE
                                     : build.dp_propagation_pool[node.propagation].node;
    csa_set_be16(row + 2, static_cast<uint16_t>(propagation));
    csa_set_be16(row + 4,
                 node.l_item.nr == 0 ? PATTERN_NO_ITEM_WORD : static_cast<uint16_t>(cursor));
    for (uint32_t t = node.trans; t != PATTERN_NONE; t = build.dp_trans_pool[t].next) {
        const dp_trans &trans = build.dp_trans_pool[t];
        const uint32_t column =
            trans.c == DP_WILDCARD
                ? 3
                : pattern_alphabet_column(build.alphabet, static_cast<uint8_t>(trans.c));
        if (column != 0)
            csa_set_be16(row + 2 * size_t{column}, static_cast<uint16_t>(trans.node));
    }
}

void emit_transitions(const dp_build &build, tlv_sink_t &sink)
{
    const size_t row_size = size_t{pattern_alphabet_width(build.alphabet)} * 2;
    uint8_t *row = tlv_sink_take(sink, row_size * build.dp_l_node.size());
    if (row == nullptr)
        return;
    size_t cursor = 0;
    for (const dp_node &node : build.dp_l_node) {
        write_row(build, node, row, cursor);
        cursor += item_words(node);
        row += row_size;
    }
}

void emit_items(const dp_build &build, tlv_sink_t &sink)
{
    size_t words = 0;
    for (const dp_node &node : build.dp_l_node)
        words += item_words(node);
    uint8_t *at = tlv_sink_take(sink, words * 4);
    if (at == nullptr)
        return;
    for (const dp_node &node : build.dp_l_node) {
        if (node.is_preempt != 0) {
            at = tlv_write_4B(at, PATTERN_MINDATA_MARK);
            at = tlv_write_4B(at, node.mindata);
        }
        if (node.l_item.nr != 0)
            at = tlv_write_4B(at, node.l_item.nr);
        for (uint32_t i = node.l_item.first; i != PATTERN_NONE; i = build.dp_item[i].next)
            at = tlv_write_4B(at, build.dp_item[i].id);
    }
}

} // namespace

void dot_prefix_emit(const dp_build &build, tlv_sink_t &sink)
{
    const size_t alphabet = tlv_sink_open_blob(sink, DOT_PREFIX_TLV_ALPHABET);
    pattern_alphabet_emit(build.alphabet, sink);
    tlv_sink_close_blob(sink, alphabet);

    const size_t transitions = tlv_sink_open_blob(sink, DOT_PREFIX_TLV_TRANSITIONS);
    emit_transitions(build, sink);
    tlv_sink_close_blob(sink, transitions);

    const size_t items = tlv_sink_open_blob(sink, DOT_PREFIX_TLV_ITEMS);
    emit_items(build, sink);
    tlv_sink_close_blob(sink, items);
}

size_t dot_prefix_get_size(const dp_build &build)
{
    return tlv_sink_count([&](tlv_sink_t &sink) { dot_prefix_emit(build, sink); });
}

uint8_t *dot_prefix_serialize(const dp_build &build, std::span<uint8_t> buf)
{
    return tlv_sink_write(buf, [&](tlv_sink_t &sink) { dot_prefix_emit(build, sink); });
}
