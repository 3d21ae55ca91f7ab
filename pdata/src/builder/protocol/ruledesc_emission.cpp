#include "protodesc_emission.h"

namespace
{

/// A stream always has the form with offsets. Oddity O98.
uint32_t attr_tlv_type(matcher_type_t type)
{
    switch (type) {
    case MATCHER_TYPE_STREAM:
        return TLV_TYPE_PROTO_ATTR_STREAM_OFFSET;
    case MATCHER_TYPE_NUMBER_8:
        return TLV_TYPE_PROTO_ATTR_NUMBER_8;
    case MATCHER_TYPE_NUMBER_16:
        return TLV_TYPE_PROTO_ATTR_NUMBER_16;
    case MATCHER_TYPE_IP_4:
        return TLV_TYPE_PROTO_ATTR_IP_4;
    case MATCHER_TYPE_IP_6:
        return TLV_TYPE_PROTO_ATTR_IP_6;
    default:
        return 0;
    }
}

/// The two directions are stored the other way round. Oddity O97.
uint32_t attr_way_word(const attrdesc_build_t &attr)
{
    uint32_t proto = 0;
    if (attr.attr_proto == ATTR_PROTO_TCP)
        proto = TLV_TYPE_PROTO_ATTR_PROTO_TCP;
    else if (attr.attr_proto == ATTR_PROTO_UDP)
        proto = TLV_TYPE_PROTO_ATTR_PROTO_UDP;
    switch (attr.attr_way) {
    case ATTR_WAY_STC:
        return TLV_TYPE_PROTO_ATTR_WAY_STC | proto;
    case ATTR_WAY_CTS:
        return TLV_TYPE_PROTO_ATTR_WAY_CTS | proto;
    case ATTR_WAY_BOTH:
        return TLV_TYPE_PROTO_ATTR_WAY_BOTH | proto;
    default:
        return 0;
    }
}

pdata_status_t attr_failure(const char *what, const ruledesc_build_t &slot,
                            const attrdesc_build_t &attr)
{
    return pdata_fail(PDATA_ERR_PROTODESC_ATTR, "Unknown %s for %.*s:%.*s", what,
                      slot.rule_protocol.str_len, slot.rule_protocol.str_buf,
                      attr.attr_name.str_len, attr.attr_name.str_buf);
}

/// The values of an attribute, in slot order, and for a stream their offsets.
pdata_status_t emit_attr_values(emission_t &out, const attrdesc_build_t &attr)
{
    for (const csa_str_t &value : attr.attr_val)
        if (value.str_buf != nullptr)
            PDATA_TRY(emit_string(out, value));
    if (attr.attr_type != MATCHER_TYPE_STREAM)
        return PDATA_SUCCESS;
    for (size_t i = 0; i < attr.attr_val.size(); ++i)
        if (attr.attr_val[i].str_buf != nullptr)
            emit_word(out, attr.attr_offset[i]);
    return PDATA_SUCCESS;
}

pdata_status_t attrdesc_emit(emission_t &out, const ruledesc_build_t &slot,
                             const attrdesc_build_t &attr)
{
    const uint32_t type = attr_tlv_type(attr.attr_type);
    if (type == 0 && out.with_strings)
        return attr_failure("matcher type", slot, attr);
    const uint32_t way = attr_way_word(attr);
    if (way == 0 && out.with_strings)
        return attr_failure("way", slot, attr);
    const size_t header = tlv_open_record(out.sink);
    emit_word(out, way);
    if (attr.attr_name.str_buf != nullptr)
        PDATA_TRY(emit_string(out, attr.attr_name));
    PDATA_TRY(emit_attr_values(out, attr));
    tlv_close_short_record(out.sink, header, type);
    return PDATA_SUCCESS;
}

pdata_status_t emit_sub_rule_meta(emission_t &out, const ruledesc_build_t &slot)
{
    const size_t header = tlv_open_record(out.sink);
    PDATA_TRY(emit_string(out, slot.rule_protocol));
    PDATA_TRY(emit_string(out, slot.rule_bottom_protocol));
    emit_word(out, slot.rule_stc_mindata);
    emit_word(out, slot.rule_cts_mindata);
    tlv_close_short_record(out.sink, header, TLV_TYPE_PROTO_SUB_RULE_META_V2);
    return PDATA_SUCCESS;
}

pdata_status_t sub_ruledesc_emit(emission_t &out, const ruledesc_build_t &slot)
{
    const size_t header = tlv_open_record(out.sink);
    PDATA_TRY(emit_sub_rule_meta(out, slot));
    offset_list_t list;
    open_offset_list(out, slot.rule_nr_attr, TLV_TYPE_PROTO_SUB_RULE_ATTRS_OFFSET, &list);
    for (uint32_t i = 0; i < slot.rule_nr_attr; ++i) {
        next_in_list(out, &list);
        PDATA_TRY(attrdesc_emit(out, slot, slot.rule_attr[i]));
    }
    tlv_close_short_record(out.sink, list.list, TLV_TYPE_PROTO_SUB_RULE_ATTRS);
    tlv_close_short_record(out.sink, header, TLV_TYPE_PROTO_SUB_RULE);
    return PDATA_SUCCESS;
}

/// A path is empty, or has two elements at least and ends with the protocol itself.
pdata_status_t check_path(emission_t &out, const ruledesc_build_t &slot)
{
    const bool looked_at = out.fault != nullptr || out.sink.buf != nullptr;
    if (slot.rule_nr_path == 0 || !looked_at)
        return PDATA_SUCCESS;
    const csa_str_t last = slot.rule_path[slot.rule_nr_path - 1];
    if (slot.rule_nr_path != 1 && csa_str_equal(last, out.pb.pb_name))
        return PDATA_SUCCESS;
    const protodesc_path_fault_t fault = {slot.rule_nr_path, out.pb.pb_name, last};
    if (out.fault == nullptr)
        return protodesc_path_failed(fault);
    if (out.fault->nr_path == 0)
        *out.fault = fault;
    return PDATA_SUCCESS;
}

pdata_status_t emit_path_and_tags(emission_t &out, const ruledesc_build_t &slot)
{
    emit_word(out, slot.rule_nr_path);
    for (uint32_t i = 0; i < slot.rule_nr_path; ++i)
        PDATA_TRY(emit_string(out, slot.rule_path[i]));
    PDATA_TRY(check_path(out, slot));
    emit_word(out, slot.rule_nr_tags);
    for (uint32_t i = 0; i < slot.rule_nr_tags; ++i)
        PDATA_TRY(emit_tag_string(out, slot.rule_tags[i]));
    return PDATA_SUCCESS;
}

/// The meta of a rule, taken from its first slot.
pdata_status_t emit_rule_meta(emission_t &out, const ruledesc_build_t &slot)
{
    const bool has_vid = slot.rule_vid != RULE_VID_NONE;
    const size_t header = tlv_open_record(out.sink);
    emit_word(out, slot.rule_order);
    emit_word(out, 0);
    emit_word(out, slot.rule_scope);
    if (has_vid)
        emit_word(out, slot.rule_vid);
    emit_word(out, slot.rule_fastpass == 1 ? 1 : 0);
    emit_word(out, slot.rule_preempt == 1 ? 1 : 0);
    PDATA_TRY(emit_path_and_tags(out, slot));
    tlv_close_short_record(out.sink, header,
                           has_vid ? TLV_TYPE_PROTO_RULE_META_V6 : TLV_TYPE_PROTO_RULE_META_V5);
    return PDATA_SUCCESS;
}

} // namespace

pdata_status_t ruledesc_emit(emission_t &out, std::span<const ruledesc_build_t> slots)
{
    const size_t header = tlv_open_record(out.sink);
    PDATA_TRY(emit_rule_meta(out, slots[0]));
    offset_list_t list;
    open_offset_list(out, static_cast<uint32_t>(slots.size()), TLV_TYPE_PROTO_SUB_RULES_OFFSET,
                     &list);
    for (const ruledesc_build_t &slot : slots) {
        next_in_list(out, &list);
        PDATA_TRY(sub_ruledesc_emit(out, slot));
    }
    tlv_close_short_record(out.sink, list.list, TLV_TYPE_PROTO_SUB_RULES);
    tlv_close_short_record(out.sink, header,
                           slots[0].rule_ruleorder ? TLV_TYPE_PROTO_RULE_ORDER
                                                   : TLV_TYPE_PROTO_RULE);
    return PDATA_SUCCESS;
}
