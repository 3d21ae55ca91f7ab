#include "rule_builder.h"
#include "tlv_description.h"

namespace
{

constexpr uint32_t SLOT_SIZE = 16;

/// Writes the slots of one rule.
pdata_status_t rule_serialize(const rule_builder_t &rule_builder, const rule_builder_entry &entry,
                              uint8_t *slots)
{
    for (uint32_t i = 0; i < entry.nb_items; ++i) {
        const rule_item &item = rule_builder.items[entry.first_item + i];
        if (item.id >= rule_builder.nb_items)
            return pdata_fail(PDATA_ERR_RULE_ENGINE, "Internal bug, bad item id.\n");
        if (item.id == 0)
            continue;
        uint8_t *slot = slots + size_t{item.id} * SLOT_SIZE;
        tlv_set(slot, entry.id);
        tlv_set(slot + 4, entry.priority);
        tlv_set(slot + 8, entry.scope);
        tlv_set(slot + 12, entry.bitset_full | static_cast<uint32_t>(item.bitset_pos) << 16);
    }
    return PDATA_SUCCESS;
}

} // namespace

pdata_status_t rule_builder_emit(const rule_builder_t &rule_builder, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    uint8_t *slots = tlv_sink_take(sink, size_t{rule_builder.nb_items} * SLOT_SIZE);
    // Newest first: of two rules that claim one id, the older one stays.
    for (auto entry = rule_builder.rules.rbegin(); entry != rule_builder.rules.rend(); ++entry) {
        if (slots == nullptr)
            break;
        PDATA_TRY(rule_serialize(rule_builder, *entry, slots));
    }
    return tlv_close_record(sink, header, TLV_TYPE_RULE_TABLE);
}

size_t rule_builder_get_size(const rule_builder_t &rule_builder)
{
    tlv_sink_t sink = tlv_sink_counting();
    (void)rule_builder_emit(rule_builder, sink); // what cannot be stored is reported when written
    return sink.offset;
}

pdata_status_t rule_builder_serialize(const rule_builder_t &rule_builder, std::span<uint8_t> buf)
{
    if (buf.size() != rule_builder_get_size(rule_builder))
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Rule builder len failure \n");
    tlv_sink_t sink = tlv_sink_writing(buf);
    return rule_builder_emit(rule_builder, sink);
}
