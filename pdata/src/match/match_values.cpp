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

} // namespace

pdata_result pdata_flow_add_bytes(pdata_flow *flow, pdata_attribute number, const void *data,
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
