#include "protodesc_serializer.h"

#include <cstdio>

#include "tlv_description.h"

namespace
{

constexpr std::string_view SUPPORTED_VERSION = "See atlas for details";

/// A description being emitted.
struct emission_t {
    const protodesc_build_t &pb;
    tlv_sink_t &sink;
    bool with_strings; ///< else only sizes matter: a string word is 0 and nothing is refused
};

int shown(csa_str_t str)
{
    return str.str_len;
}

void put_word(emission_t &out, uint32_t value)
{
    tlv_sink_put(out.sink, value, 4);
}

pdata_status_t put_string_of(emission_t &out, hstring_build_t *table, csa_str_t str)
{
    uint32_t offset = 0;
    if (out.with_strings && hstring_get_offset(table, str, &offset) != 0)
        return pdata_fail(module_err2pdata_status(PDATA_MODULE_HSTRING, -1),
                          "Empty string in protocol %.*s.", shown(out.pb.pb_name),
                          out.pb.pb_name.str_buf);
    put_word(out, offset);
    return PDATA_SUCCESS;
}

pdata_status_t put_string(emission_t &out, csa_str_t str)
{
    return put_string_of(out, out.pb.pb_htable, str);
}

/// A record that holds nothing but strings.
pdata_status_t put_strings(emission_t &out, uint32_t type, std::span<const csa_str_t> strings)
{
    const size_t header = tlv_open_record(out.sink);
    for (const csa_str_t &str : strings)
        if (const pdata_status_t status = put_string(out, str); status != PDATA_SUCCESS)
            return status;
    return tlv_close_record(out.sink, header, type);
}

pdata_status_t put_pairs(emission_t &out, uint32_t type, const name_value_t &pairs)
{
    const size_t header = tlv_open_record(out.sink);
    for (uint32_t i = 0; i < pairs.nv_nr; ++i) {
        pdata_status_t status = put_string(out, pairs.nv_name[i]);
        if (status == PDATA_SUCCESS)
            status = put_string(out, pairs.nv_val[i]);
        if (status != PDATA_SUCCESS)
            return status;
    }
    return tlv_close_record(out.sink, header, type);
}

pdata_status_t put_meta(emission_t &out)
{
    const protodesc_build_t &pb = out.pb;
    const size_t header = tlv_open_record(out.sink);
    put_word(out, pb.pb_id);
    pdata_status_t status = put_string(out, pb.pb_name);
    if (status != PDATA_SUCCESS)
        return status;
    // An empty default port is stored as one 0 byte, since the pool holds no empty string.
    const csa_str_t no_port = csa_str("", 1);
    status = put_string(out, pb.pb_default_port.str_len == 0 ? no_port : pb.pb_default_port);
    if (status != PDATA_SUCCESS)
        return status;
    put_word(out, pb.pb_max_trans);
    put_word(out, pb.pb_cacheable);
    put_word(out, pb.pb_http_reclassify);
    for (const uint32_t version : pb.pb_version)
        put_word(out, version);
    put_word(out, pb.pb_implicit_bottom_layer);
    return tlv_close_record(out.sink, header, TLV_TYPE_PROTO_META);
}

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

/// The two directions are stored the other way round. Part of the format.
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
                      shown(slot.rule_protocol), slot.rule_protocol.str_buf, shown(attr.attr_name),
                      attr.attr_name.str_buf);
}

/// The values of an attribute, in slot order, and for a stream their offsets.
pdata_status_t put_attr_values(emission_t &out, const attrdesc_build_t &attr)
{
    for (const csa_str_t &value : attr.attr_val) {
        if (value.str_buf == nullptr)
            continue;
        if (const pdata_status_t status = put_string(out, value); status != PDATA_SUCCESS)
            return status;
    }
    if (attr.attr_type != MATCHER_TYPE_STREAM)
        return PDATA_SUCCESS;
    for (size_t i = 0; i < attr.attr_val.size(); ++i)
        if (attr.attr_val[i].str_buf != nullptr)
            put_word(out, attr.attr_offset[i]);
    return PDATA_SUCCESS;
}

pdata_status_t put_attr(emission_t &out, const ruledesc_build_t &slot, const attrdesc_build_t &attr)
{
    const uint32_t type = attr_tlv_type(attr.attr_type);
    if (type == 0 && out.with_strings)
        return attr_failure("matcher type", slot, attr);
    const uint32_t way = attr_way_word(attr);
    if (way == 0 && out.with_strings)
        return attr_failure("way", slot, attr);
    const size_t header = tlv_open_record(out.sink);
    put_word(out, way);
    pdata_status_t status = PDATA_SUCCESS;
    if (attr.attr_name.str_buf != nullptr)
        status = put_string(out, attr.attr_name);
    if (status == PDATA_SUCCESS)
        status = put_attr_values(out, attr);
    if (status != PDATA_SUCCESS)
        return status;
    return tlv_close_record(out.sink, header, type);
}

/// A list of `nr` records and, in front of it, the list of their word offsets.
struct offset_list_t {
    size_t offsets; ///< where the next offset goes
    size_t list;    ///< header of the list
};

pdata_status_t open_offset_list(emission_t &out, uint32_t nr, uint32_t offsets_type,
                                offset_list_t *list)
{
    const size_t header = tlv_open_record(out.sink);
    list->offsets = out.sink.offset;
    for (uint32_t i = 0; i < nr; ++i)
        put_word(out, 0);
    const pdata_status_t status = tlv_close_record(out.sink, header, offsets_type);
    list->list = tlv_open_record(out.sink);
    return status;
}

/// Notes where the next record of the list begins.
void next_in_list(emission_t &out, offset_list_t *list)
{
    const auto words = static_cast<uint32_t>((out.sink.offset - list->list) / 4 - 1);
    if (out.sink.buf != nullptr && !out.sink.failed)
        tlv_set(out.sink.buf + list->offsets, words);
    list->offsets += 4;
}

pdata_status_t put_sub_rule_meta(emission_t &out, const ruledesc_build_t &slot)
{
    const size_t header = tlv_open_record(out.sink);
    pdata_status_t status = put_string(out, slot.rule_protocol);
    if (status == PDATA_SUCCESS)
        status = put_string(out, slot.rule_bottom_protocol);
    if (status != PDATA_SUCCESS)
        return status;
    put_word(out, slot.rule_stc_mindata);
    put_word(out, slot.rule_cts_mindata);
    return tlv_close_record(out.sink, header, TLV_TYPE_PROTO_SUB_RULE_META_V2);
}

pdata_status_t put_sub_rule(emission_t &out, const ruledesc_build_t &slot)
{
    const size_t header = tlv_open_record(out.sink);
    pdata_status_t status = put_sub_rule_meta(out, slot);
    if (status != PDATA_SUCCESS)
        return status;
    offset_list_t list;
    status = open_offset_list(out, slot.rule_nr_attr, TLV_TYPE_PROTO_SUB_RULE_ATTRS_OFFSET, &list);
    for (uint32_t i = 0; i < slot.rule_nr_attr && status == PDATA_SUCCESS; ++i) {
        next_in_list(out, &list);
        status = put_attr(out, slot, slot.rule_attr[i]);
    }
    if (status == PDATA_SUCCESS)
        status = tlv_close_record(out.sink, list.list, TLV_TYPE_PROTO_SUB_RULE_ATTRS);
    if (status == PDATA_SUCCESS)
        status = tlv_close_record(out.sink, header, TLV_TYPE_PROTO_SUB_RULE);
    return status;
}

/// A path is empty, or has two elements at least and ends with the protocol itself.
pdata_status_t check_path(const protodesc_build_t &pb, const ruledesc_build_t &slot)
{
    if (slot.rule_nr_path == 0)
        return PDATA_SUCCESS;
    const csa_str_t last = slot.rule_path[slot.rule_nr_path - 1];
    if (slot.rule_nr_path == 1)
        std::fprintf(stderr, "Signature: <%.*s> : path must be contain two elements at least.\n",
                     shown(pb.pb_name), pb.pb_name.str_buf);
    else if (!csa_str_equal(last, pb.pb_name))
        std::fprintf(stderr,
                     "Signature <%.*s>: Last element of the path <(%.*s)> must be the protocol "
                     "itself.\n",
                     shown(pb.pb_name), pb.pb_name.str_buf, shown(last), last.str_buf);
    else
        return PDATA_SUCCESS;
    return PDATA_ERR_INVALID_ARGUMENT;
}

pdata_status_t put_rule_path_and_tags(emission_t &out, const ruledesc_build_t &slot)
{
    put_word(out, slot.rule_nr_path);
    for (uint32_t i = 0; i < slot.rule_nr_path; ++i)
        if (const pdata_status_t status = put_string(out, slot.rule_path[i]);
            status != PDATA_SUCCESS)
            return status;
    if (out.sink.buf != nullptr)
        if (const pdata_status_t status = check_path(out.pb, slot); status != PDATA_SUCCESS)
            return status;
    put_word(out, slot.rule_nr_tags);
    for (uint32_t i = 0; i < slot.rule_nr_tags; ++i)
        if (const pdata_status_t status =
                put_string_of(out, out.pb.pb_tagtable_hstring, slot.rule_tags[i]);
            status != PDATA_SUCCESS)
            return status;
    return PDATA_SUCCESS;
}

/// The meta of a rule, taken from its first slot.
pdata_status_t put_rule_meta(emission_t &out, const ruledesc_build_t &slot)
{
    const bool has_vid = slot.rule_vid != RULE_VID_NONE;
    const size_t header = tlv_open_record(out.sink);
    put_word(out, slot.rule_order);
    put_word(out, 0);
    put_word(out, slot.rule_scope);
    if (has_vid)
        put_word(out, slot.rule_vid);
    put_word(out, slot.rule_fastpass == 1 ? 1 : 0);
    put_word(out, slot.rule_preempt == 1 ? 1 : 0);
    const pdata_status_t status = put_rule_path_and_tags(out, slot);
    if (status != PDATA_SUCCESS)
        return status;
    return tlv_close_record(out.sink, header,
                            has_vid ? TLV_TYPE_PROTO_RULE_META_V6 : TLV_TYPE_PROTO_RULE_META_V5);
}

/// A rule: the run of slots from `slots[0]` on.
pdata_status_t put_rule(emission_t &out, std::span<const ruledesc_build_t> slots)
{
    const size_t header = tlv_open_record(out.sink);
    pdata_status_t status = put_rule_meta(out, slots[0]);
    if (status != PDATA_SUCCESS)
        return status;
    offset_list_t list;
    // The status of this list is not looked at; its length is far below any limit.
    (void)open_offset_list(out, static_cast<uint32_t>(slots.size()),
                           TLV_TYPE_PROTO_SUB_RULES_OFFSET, &list);
    for (const ruledesc_build_t &slot : slots) {
        next_in_list(out, &list);
        status = put_sub_rule(out, slot);
        if (status != PDATA_SUCCESS)
            return status;
    }
    status = tlv_close_record(out.sink, list.list, TLV_TYPE_PROTO_SUB_RULES);
    if (status != PDATA_SUCCESS)
        return status;
    return tlv_close_record(out.sink, header,
                            slots[0].rule_ruleorder ? TLV_TYPE_PROTO_RULE_ORDER
                                                    : TLV_TYPE_PROTO_RULE);
}

pdata_status_t put_rules(emission_t &out)
{
    const std::span<const ruledesc_build_t> slots =
        std::span(out.pb.pb_rules).first(out.pb.pb_nr_sub_rule);
    offset_list_t list;
    pdata_status_t status =
        open_offset_list(out, protodesc_get_nr_rule(out.pb), TLV_TYPE_PROTO_RULES_OFFSET, &list);
    for (size_t i = 0; i < slots.size() && status == PDATA_SUCCESS;) {
        size_t end = i + 1;
        while (end < slots.size() && slots[end].rule_id == slots[i].rule_id)
            ++end;
        next_in_list(out, &list);
        status = put_rule(out, slots.subspan(i, end - i));
        i = end;
    }
    if (status != PDATA_SUCCESS)
        return status;
    return tlv_close_record(out.sink, list.list, TLV_TYPE_PROTO_RULES);
}

pdata_status_t put_protocol(emission_t &out)
{
    const protodesc_build_t &pb = out.pb;
    const csa_str_t supported = csa_str(SUPPORTED_VERSION);
    pdata_status_t status = put_meta(out);
    if (status == PDATA_SUCCESS)
        status = put_pairs(out, TLV_TYPE_PROTO_TAGS, pb.pb_tags);
    if (status == PDATA_SUCCESS)
        status = put_pairs(out, TLV_TYPE_PROTO_DESC, pb.pb_desc);
    if (status == PDATA_SUCCESS)
        status = put_strings(out, TLV_TYPE_PROTO_COMPAT,
                             std::span(pb.pb_compat.v_val).first(pb.pb_compat.v_nr));
    // A placeholder: the description's own versions are never stored. Part of the format.
    if (status == PDATA_SUCCESS)
        status = put_strings(out, TLV_TYPE_PROTO_SUPPORTED_VERSION, {&supported, 1});
    if (status == PDATA_SUCCESS)
        status = put_strings(out, TLV_TYPE_PROTO_ALTNAME,
                             std::span(pb.pb_altname.v_val).first(pb.pb_altname.v_nr));
    if (status == PDATA_SUCCESS)
        status = put_rules(out);
    return status;
}

} // namespace

pdata_status_t protodesc_emit(const protodesc_build_t &pb, tlv_sink_t &sink)
{
    emission_t out = {pb, sink, true};
    return put_protocol(out);
}

size_t protodesc_get_tlv_size(const protodesc_build_t &pb)
{
    tlv_sink_t sink = tlv_sink_counting();
    emission_t out = {pb, sink, false};
    (void)put_protocol(out); // what cannot be stored is reported when it is written
    return sink.offset;
}

pdata_status_t protodesc_serialize(const protodesc_build_t &pb, std::span<uint8_t> buf)
{
    if (buf.size() < protodesc_get_tlv_size(pb))
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Can't serialize protocol %.*s",
                          shown(pb.pb_name), pb.pb_name.str_buf);
    tlv_sink_t sink = tlv_sink_writing(buf);
    return protodesc_emit(pb, sink);
}
