#include "protodesc_serializer.h"

#include <cstdio>

#include "protodesc_emission.h"

namespace
{

pdata_status_t emit_string_of(emission_t &out, hstring_build_t *table, csa_str_t str)
{
    uint32_t offset = 0;
    const int ret = out.with_strings ? hstring_get_offset(table, str, &offset) : MODULE_SUCCESS;
    if (ret == MODULE_ERR_INVALID)
        return pdata_fail(module_err2pdata_status(PDATA_MODULE_HSTRING, ret),
                          "Empty string in protocol %.*s.", out.pb.pb_name.str_len,
                          out.pb.pb_name.str_buf);
    PDATA_TRY(module_err2pdata_status(PDATA_MODULE_HSTRING, ret));
    emit_word(out, offset);
    return PDATA_SUCCESS;
}

/// A record that holds nothing but strings.
pdata_status_t emit_strings(emission_t &out, uint32_t type, std::span<const csa_str_t> strings)
{
    const size_t header = tlv_open_record(out.sink);
    for (const csa_str_t &str : strings)
        PDATA_TRY(emit_string(out, str));
    return tlv_close_record(out.sink, header, type);
}

pdata_status_t emit_pairs(emission_t &out, uint32_t type, const name_value_t &pairs)
{
    const size_t header = tlv_open_record(out.sink);
    for (uint32_t i = 0; i < pairs.nv_nr; ++i) {
        PDATA_TRY(emit_string(out, pairs.nv_name[i]));
        PDATA_TRY(emit_string(out, pairs.nv_val[i]));
    }
    return tlv_close_record(out.sink, header, type);
}

pdata_status_t emit_meta(emission_t &out)
{
    const protodesc_build_t &pb = out.pb;
    const size_t header = tlv_open_record(out.sink);
    emit_word(out, pb.pb_id);
    PDATA_TRY(emit_string(out, pb.pb_name));
    // An empty default port is stored as one 0 byte, since the pool holds no empty string.
    // Oddity O81.
    const csa_str_t no_port = csa_str("", 1);
    PDATA_TRY(emit_string(out, pb.pb_default_port.str_len == 0 ? no_port : pb.pb_default_port));
    emit_word(out, pb.pb_max_trans);
    emit_word(out, pb.pb_cacheable);
    emit_word(out, pb.pb_http_reclassify);
    for (const uint32_t version : pb.pb_version)
        emit_word(out, version);
    emit_word(out, pb.pb_implicit_bottom_layer);
    return tlv_close_record(out.sink, header, TLV_TYPE_PROTO_META);
}

pdata_status_t emit_rules(emission_t &out)
{
    const std::span<const ruledesc_build_t> slots =
        std::span(out.pb.pb_rules).first(out.pb.pb_nr_sub_rule);
    offset_list_t list;
    open_offset_list(out, protodesc_get_nr_rule(out.pb), TLV_TYPE_PROTO_RULES_OFFSET, &list);
    for (size_t i = 0; i < slots.size();) {
        size_t end = i + 1;
        while (end < slots.size() && slots[end].rule_id == slots[i].rule_id)
            ++end;
        next_in_list(out, &list);
        PDATA_TRY(ruledesc_emit(out, slots.subspan(i, end - i)));
        i = end;
    }
    return tlv_close_record(out.sink, list.list, TLV_TYPE_PROTO_RULES);
}

pdata_status_t emit_protocol(emission_t &out)
{
    const protodesc_build_t &pb = out.pb;
    const csa_str_t supported = csa_str(PROTO_SUPPORTED_VERSION);
    PDATA_TRY(emit_meta(out));
    PDATA_TRY(emit_pairs(out, TLV_TYPE_PROTO_TAGS, pb.pb_tags));
    PDATA_TRY(emit_pairs(out, TLV_TYPE_PROTO_DESC, pb.pb_desc));
    PDATA_TRY(emit_strings(out, TLV_TYPE_PROTO_COMPAT,
                           std::span(pb.pb_compat.v_val).first(pb.pb_compat.v_nr)));
    // A placeholder: the description's own versions are never stored. Oddity O80.
    PDATA_TRY(emit_strings(out, TLV_TYPE_PROTO_SUPPORTED_VERSION, {&supported, 1}));
    PDATA_TRY(emit_strings(out, TLV_TYPE_PROTO_ALTNAME,
                           std::span(pb.pb_altname.v_val).first(pb.pb_altname.v_nr)));
    return emit_rules(out);
}

} // namespace

pdata_status_t emit_string(emission_t &out, csa_str_t str)
{
    return emit_string_of(out, out.pb.pb_htable, str);
}

pdata_status_t emit_tag_string(emission_t &out, csa_str_t str)
{
    return emit_string_of(out, out.pb.pb_tagtable_hstring, str);
}

void open_offset_list(emission_t &out, uint32_t nr, uint32_t offsets_type, offset_list_t *list)
{
    const size_t header = tlv_open_record(out.sink);
    list->offsets = out.sink.offset;
    (void)tlv_sink_take(out.sink, size_t{nr} * 4); // next_in_list fills them in
    tlv_close_short_record(out.sink, header, offsets_type);
    list->list = tlv_open_record(out.sink);
}

void next_in_list(emission_t &out, offset_list_t *list)
{
    const auto words = static_cast<uint32_t>((out.sink.offset - list->list) / 4 - 1);
    if (out.sink.buf != nullptr && !out.sink.failed)
        tlv_set(out.sink.buf + list->offsets, words);
    list->offsets += 4;
}

pdata_status_t protodesc_path_failed(const protodesc_path_fault_t &fault)
{
    // Misspelt, and no message is recorded. Oddities O49 and O52.
    if (fault.nr_path == 1)
        std::fprintf(stderr, "Signature: <%.*s> : path must be contain two elements at least.\n",
                     fault.protocol.str_len, fault.protocol.str_buf);
    else
        std::fprintf(stderr,
                     "Signature <%.*s>: Last element of the path <(%.*s)> must be the protocol "
                     "itself.\n",
                     fault.protocol.str_len, fault.protocol.str_buf, fault.last.str_len,
                     fault.last.str_buf);
    return PDATA_ERR_INVALID_ARGUMENT;
}

pdata_status_t protodesc_emit(const protodesc_build_t &pb, tlv_sink_t &sink,
                              protodesc_path_fault_t *fault)
{
    emission_t out = {pb, sink, true, fault};
    return emit_protocol(out);
}

size_t protodesc_get_tlv_size(const protodesc_build_t &pb)
{
    tlv_sink_t sink = tlv_sink_counting();
    emission_t out = {pb, sink, false, nullptr};
    (void)emit_protocol(out); // what cannot be stored is reported when it is written
    return sink.offset;
}

pdata_status_t protodesc_serialize(const protodesc_build_t &pb, std::span<uint8_t> buf)
{
    if (buf.size() < protodesc_get_tlv_size(pb))
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Can't serialize protocol %.*s",
                          pb.pb_name.str_len, pb.pb_name.str_buf);
    tlv_sink_t sink = tlv_sink_writing(buf);
    return protodesc_emit(pb, sink);
}
