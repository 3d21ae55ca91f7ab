#include "match_flow.h"
#include "match_guard.h"

namespace
{

/// Gives the attribute of a value, null for the one that no rule tests.
pdata_result find_attribute(const pdata_flow *flow, pdata_attribute number, pdata_kind kind,
                            const match_attribute_t **attribute)
{
    *attribute = nullptr;
    if (flow == nullptr || number > flow->db->attributes.size())
        return PDATA_R_ARGUMENT;
    if (number == 0)
        return PDATA_R_OK;
    *attribute = &flow->db->attributes[number - 1];
    return (*attribute)->kind == kind ? PDATA_R_OK : PDATA_R_KIND;
}

/// Begins a value: its number, and the protocol that it is one of.
void begin_value(pdata_flow &flow, const match_attribute_t *attribute)
{
    if (flow.room.explained != nullptr)
        ++flow.room.explained->nr_value;
    if (attribute != nullptr)
        match_set_protocol(flow.room, attribute->number);
}

/// Calls `run` with every matcher of an attribute that holds values of its kind.
template <typename Run>
void each_matcher(const pdata_db &db, const match_attribute_t &attribute, Run &&run)
{
    for (uint32_t i = 0; i < attribute.nr; ++i) {
        const match_matcher_t &matcher = *db.leads[attribute.first + i];
        if (matcher.kind == attribute.kind)
            run(matcher);
    }
}

pdata_result add_value(pdata_flow *flow, pdata_attribute number, pdata_kind kind,
                       const view_value_t &value)
{
    const match_attribute_t *attribute = nullptr;
    const pdata_result result = find_attribute(flow, number, kind, &attribute);
    if (result != PDATA_R_OK)
        return result;
    begin_value(*flow, attribute);
    if (attribute == nullptr)
        return PDATA_R_OK;
    each_matcher(*flow->db, *attribute, [&](const match_matcher_t &matcher) {
        const view_item_record_t record = view_number_find(matcher.view.number, value);
        for (uint32_t i = 0; i < record.count; ++i) {
            const uint32_t item = view_item_id(record, i);
            const pdata_outcome outcome = match_count(*flow, *attribute, item);
            if (flow->room.explained != nullptr)
                match_note(*flow, *attribute, item, outcome, {}, {});
        }
    });
    return PDATA_R_OK;
}

uint64_t half_of(const uint8_t *address)
{
    return uint64_t{csa_get_be32(address)} << 32 | csa_get_be32(address + 4);
}

/// Adds any value of bytes. Not inlined: what most values take has few registers to save.
[[gnu::noinline]] pdata_result add_bytes(pdata_flow *flow, pdata_attribute number, const void *data,
                                         size_t size, uint32_t flags)
{
    const match_attribute_t *attribute = nullptr;
    const pdata_result result = find_attribute(flow, number, PDATA_BYTES, &attribute);
    if (result != PDATA_R_OK)
        return result;
    if ((data == nullptr && size != 0) || size >= UINT32_MAX)
        return PDATA_R_ARGUMENT;
    begin_value(*flow, attribute);
    if (attribute == nullptr)
        return PDATA_R_OK;
    const std::span<const uint8_t> bytes(static_cast<const uint8_t *>(data), size);
    const bool more = (flags & PDATA_MORE) != 0;
    if (attribute->suffix_tree == nullptr)
        each_matcher(*flow->db, *attribute, [=](const match_matcher_t &matcher) {
            match_scan(*flow, {bytes, *attribute, matcher, more});
        });
    else if (!more)
        match_suffixes(*flow, {bytes, *attribute, *attribute->suffix_tree});
    return PDATA_R_OK;
}

/// Returns an attribute whose only matcher is a suffix tree with a table, if the flow need not
/// explain what it finds; null for any other, and where there is none.
inline const match_attribute_t *quick_attribute(const pdata_flow *flow, pdata_attribute number)
{
    if (flow == nullptr || flow->room.explained != nullptr ||
        number - 1 >= flow->room.attributes.size())
        return nullptr;
    const match_attribute_t &attribute = flow->room.attributes[number - 1];
    const match_matcher_t *matcher = attribute.suffix_tree;
    return matcher != nullptr && matcher->suffix_jump.length != 0 ? &attribute : nullptr;
}

/// Goes on with a value where one look at the table does not tell all.
[[gnu::noinline]] pdata_result look_on(pdata_flow &flow, const match_attribute_t &attribute,
                                       const uint8_t *data, size_t size,
                                       const match_jump_entry_t *entry)
{
    match_suffixes_from(flow, {{data, size}, attribute, *attribute.suffix_tree}, entry);
    return PDATA_R_OK;
}

/// Looks a value of a word or more up in the table of a suffix tree. Most values end there: no
/// pattern has their last bytes, or one item ends behind them and nothing goes on.
inline pdata_result look_up(pdata_flow &flow, const match_attribute_t &attribute,
                            const uint8_t *data, size_t size)
{
    const match_jump_t &jump = attribute.suffix_tree->suffix_jump;
    const uint64_t word = match_jump_load(data + size - MATCH_JUMP_WORD);
    const uint64_t key = match_jump_folded(word, jump.letters) & jump.mask;
    const match_jump_entry_t &entry = match_jump_look(jump, key, jump.length);
    if (!match_jump_has_key(entry, key, jump.length))
        return jump.short_lengths == 0 ? PDATA_R_OK : look_on(flow, attribute, data, size, nullptr);
    if (!match_jump_has_front(entry) || !match_end_is_final(entry.end))
        return look_on(flow, attribute, data, size, &entry);
    if (size >= match_jump_bytes_of(entry) && match_jump_fits_front(jump, entry, {data, size}))
        match_count_admitted(flow.room, entry.end & MATCH_END_ITEM);
    return PDATA_R_OK;
}

} // namespace

pdata_result pdata_flow_add_bytes(pdata_flow *flow, pdata_attribute number, const void *data,
                                  size_t size, uint32_t flags)
{
    const match_attribute_t *attribute = quick_attribute(flow, number);
    if (attribute == nullptr || data == nullptr || (flags & PDATA_MORE) != 0 ||
        size < MATCH_JUMP_WORD || size >= UINT32_MAX)
        return add_bytes(flow, number, data, size, flags);
    match_set_protocol(flow->room, attribute->number);
    return look_up(*flow, *attribute, static_cast<const uint8_t *>(data), size);
}

pdata_result pdata_flow_add_number(pdata_flow *flow, pdata_attribute attribute, uint64_t number)
{
    return add_value(flow, attribute, PDATA_NUMBER, {0, number});
}

pdata_result pdata_flow_add_ipv4(pdata_flow *flow, pdata_attribute attribute,
                                 const uint8_t address[4])
{
    if (address == nullptr)
        return PDATA_R_ARGUMENT;
    return add_value(flow, attribute, PDATA_IPV4, {0, csa_get_be32(address)});
}

pdata_result pdata_flow_add_ipv6(pdata_flow *flow, pdata_attribute attribute,
                                 const uint8_t address[16])
{
    if (address == nullptr)
        return PDATA_R_ARGUMENT;
    return add_value(flow, attribute, PDATA_IPV6, {half_of(address), half_of(address + 8)});
}

pdata_result pdata_flow_add_protocol(pdata_flow *flow, pdata_protocol protocol)
{
    if (flow == nullptr || protocol > flow->db->protocols.size())
        return PDATA_R_ARGUMENT;
    match_set_protocol(flow->room, protocol);
    flow->room.protocols_said = true;
    return PDATA_R_OK;
}
