#include "match_walk.h"

#include "csa_char.h"

namespace
{

uint8_t folded(uint8_t c, bool icase)
{
    return icase ? static_cast<uint8_t>(char_small(static_cast<char>(c))) : c;
}

uint8_t byte_at(const match_value_t &value, const match_walk_t &walk, size_t i)
{
    return value.data[walk.backwards ? value.data.size() - 1 - i : i];
}

bool pass_chain(const match_value_t &value, match_walk_t &walk, uint32_t number)
{
    const view_radix_chain_t chain = view_radix_chain(walk.tree, number);
    if (value.data.size() - walk.at < chain.bytes.size())
        return false;
    for (size_t i = 0; i < chain.bytes.size(); ++i)
        if (folded(byte_at(value, walk, walk.at + i), walk.icase) != chain.bytes[i])
            return false;
    walk.at += static_cast<uint32_t>(chain.bytes.size());
    walk.row = chain.end;
    return true;
}

} // namespace

bool match_walk_step(const match_value_t &value, match_walk_t &walk)
{
    if (walk.tree.rows.nr_row == 0 || walk.at == value.data.size())
        return false;
    const uint32_t number = view_radix_next(walk.tree, walk.row, byte_at(value, walk, walk.at));
    if (number == 0)
        return false;
    ++walk.at;
    if (view_radix_is_chain(walk.tree, number))
        return pass_chain(value, walk, number);
    walk.row = number;
    return true;
}

void match_walk_report(pdata_flow &flow, const match_value_t &value, const match_walk_t &walk)
{
    if (walk.tree.rows.nr_row == 0)
        return;
    const view_item_record_t record = view_radix_items(walk.tree, walk.row);
    if (record.count == 0 || !match_counts_at(value, record.mindata))
        return;
    const bool whole = walk.at == value.data.size() && !value.more;
    const auto size = static_cast<uint32_t>(value.data.size());
    const pdata_piece piece =
        walk.backwards ? pdata_piece{size - walk.at, size} : pdata_piece{0, walk.at};
    for (uint32_t i = 0; i < record.count; ++i) {
        const uint32_t id = view_item_id(record, i);
        if (whole || !view_radix_is_exact(walk.tree, id))
            match_found(flow, value, id, piece);
    }
}
