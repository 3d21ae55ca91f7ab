#include "protodesc_group.h"

#include "hstring_record.h"
#include "json_lexer.h"

namespace
{

/// One walk over the protocols of a text: a fresh record and a fresh string table.
struct protodesc_walk_t {
    protodesc_group_t *group;
    std::string_view rest; ///< the text behind what was consumed
    hstring_build_t hstring;
    protodesc_build_t pb;
};

/// Consumes one token of that type; a text that goes on otherwise stays as it is.
pdata_status_t protodesc_skip_token(std::string_view *rest, json_token_type_t type)
{
    json_token_t token;
    if (json_lexer_token_fill(rest->data(), static_cast<uint32_t>(rest->size()), &token) != 0 ||
        token.type != type)
        return PDATA_ERR_JSON_BAD_SEMANTIC;
    rest->remove_prefix(token.offset_end);
    return PDATA_SUCCESS;
}

/// Consumes what stands in front of the first protocol. Whatever the key says is accepted.
pdata_status_t protodesc_seek_first_protocol(std::string_view *rest)
{
    for (const json_token_type_t type : {JSON_TOKEN_OPENING_BRACE, JSON_TOKEN_STRING,
                                         JSON_TOKEN_COLON, JSON_TOKEN_OPENING_BRACKET})
        PDATA_TRY(protodesc_skip_token(rest, type));
    return PDATA_SUCCESS;
}

/// Consumes what stands behind a protocol and tells whether another one follows.
pdata_status_t protodesc_seek_next_protocol(std::string_view *rest, bool *more)
{
    constexpr size_t tail_max = 3;
    *more = protodesc_skip_token(rest, JSON_TOKEN_COMMA) == PDATA_SUCCESS;
    if (*more)
        return PDATA_SUCCESS;
    if (protodesc_skip_token(rest, JSON_TOKEN_CLOSING_BRACKET) != PDATA_SUCCESS ||
        rest->size() > tail_max)
        return PDATA_ERR_JSON_BAD_SYNTAX;
    return PDATA_SUCCESS;
}

pdata_status_t protodesc_serialize_init(protodesc_group_t *group, protodesc_walk_t *walk)
{
    walk->group = group;
    walk->rest = group->json_text;
    protodesc_bounds_t bounds;
    protodesc_populate_bounds(&bounds);
    if (hstring_init(&walk->hstring, 0) != 0 ||
        !protodesc_init(&walk->pb, bounds, &walk->hstring, group->main_hstring))
        return PDATA_ERR_NO_MEMORY;
    // A text that begins otherwise fails in its first protocol. Oddity O69.
    (void)protodesc_seek_first_protocol(&walk->rest);
    return PDATA_SUCCESS;
}

/// Frees what the walk has built; what it has emitted stays.
void protodesc_serialize_cleanup(protodesc_walk_t *walk)
{
    protodesc_clean(&walk->pb);
    hstring_clean(&walk->hstring);
}

/// Keeps what a protocol said, up to the one whose path fails.
void keep_remarks(protodesc_group_t *group, const protodesc_build_t &pb)
{
    if (group->fault.nr_path == 0)
        group->remarks.insert(group->remarks.end(), pb.pb_remarks.begin(), pb.pb_remarks.end());
}

/// Builds the next protocol and emits it.
pdata_status_t emit_next_protocol(protodesc_walk_t *walk, tlv_sink_t &sink)
{
    protodesc_group_t *group = walk->group;
    uint32_t consumed = 0;
    PDATA_TRY(json_to_protodesc(&group->json, walk->rest, &consumed, &walk->pb));
    walk->rest.remove_prefix(consumed);
    keep_remarks(group, walk->pb);
    matcher_alias_change_proto(&walk->pb, group->aliases);
    const size_t header = tlv_open_record(sink);
    PDATA_TRY(protodesc_emit(walk->pb, sink, &group->fault));
    return tlv_close_record(sink, header, TLV_TYPE_PROTO);
}

pdata_status_t emit_protocols(protodesc_walk_t *walk, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    for (bool more = true; more;) {
        PDATA_TRY(emit_next_protocol(walk, sink));
        PDATA_TRY(protodesc_seek_next_protocol(&walk->rest, &more));
    }
    return tlv_close_record(sink, header, TLV_TYPE_PROTOGROUP_PROTOS);
}

} // namespace

size_t protodesc_group_expected(const protodesc_group_t &group)
{
    return group.json_text.size() + group.json_text.size() / 8;
}

pdata_status_t protodesc_group_emit(protodesc_group_t *group, tlv_sink_t &sink)
{
    group->remarks.clear();
    group->fault = {};
    protodesc_walk_t walk;
    PDATA_TRY(protodesc_serialize_init(group, &walk));
    pdata_status_t status = emit_protocols(&walk, sink);
    if (status == PDATA_SUCCESS)
        status = hstring_emit(walk.hstring, TLV_TYPE_PROTOGROUP_STRING, sink);
    protodesc_serialize_cleanup(&walk);
    return status;
}

protodesc_headers_t protodesc_open_root(tlv_sink_t &sink)
{
    const size_t root = tlv_open_record(sink);
    return {root, tlv_open_record(sink)};
}

pdata_status_t protodesc_close_root(tlv_sink_t &sink, const protodesc_headers_t &headers)
{
    PDATA_TRY(tlv_close_record(sink, headers.group, TLV_TYPE_PROTOGROUP));
    return tlv_close_record(sink, headers.root, TLV_TYPE_ROOT_PROTODESCS);
}

pdata_status_t protodesc_group_finish(const protodesc_group_t &group)
{
    for (const protodesc_remark_t &remark : group.remarks)
        remark.say(remark);
    return group.fault.nr_path == 0 ? PDATA_SUCCESS : protodesc_path_failed(group.fault);
}

pdata_status_t protodesc_json_get_tlv_size(protodesc_group_t *group, size_t *size)
{
    tlv_sink_t sink = tlv_sink_growing(group->value, protodesc_group_expected(*group));
    const pdata_status_t status = protodesc_group_emit(group, sink);
    *size = sink.offset;
    PDATA_TRY(status);
    if (sink.failed)
        return PDATA_ERR_NO_MEMORY;
    tlv_sink_finish(sink);
    return PDATA_SUCCESS;
}

pdata_status_t protodesc_json_serialize(protodesc_group_t *group, std::span<uint8_t> buf,
                                        size_t *written)
{
    tlv_sink_t sink = tlv_sink_writing(buf);
    tlv_sink_put_bytes(sink,
                       {reinterpret_cast<const char *>(group->value.data()), group->value.size()});
    *written = sink.offset;
    PDATA_TRY(protodesc_group_finish(*group));
    return sink.failed ? PDATA_ERR_INVALID_ARGUMENT : PDATA_SUCCESS;
}
