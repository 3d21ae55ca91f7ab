#include "json_lexer.h"
#include "protodesc_serializer.h"
#include "tlv_description.h"

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
                                         JSON_TOKEN_COLON, JSON_TOKEN_OPENING_BRACKET}) {
        const pdata_status_t status = protodesc_skip_token(rest, type);
        if (status != PDATA_SUCCESS)
            return status;
    }
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
    // A text that begins otherwise fails in its first protocol. Part of the format.
    (void)protodesc_seek_first_protocol(&walk->rest);
    return PDATA_SUCCESS;
}

void protodesc_serialize_cleanup(protodesc_walk_t *walk)
{
    protodesc_clean(&walk->pb);
    hstring_clean(&walk->hstring);
}

/// Builds the next protocol and emits it.
pdata_status_t emit_next_protocol(protodesc_walk_t *walk, tlv_sink_t &sink)
{
    protodesc_group_t *group = walk->group;
    uint32_t consumed = 0;
    pdata_status_t status = json_to_protodesc(&group->json, walk->rest, &consumed, &walk->pb);
    if (status != PDATA_SUCCESS)
        return status;
    walk->rest.remove_prefix(consumed);
    matcher_alias_change_proto(&walk->pb, group->aliases);
    const size_t header = tlv_open_record(sink);
    status = protodesc_emit(walk->pb, sink);
    if (status != PDATA_SUCCESS)
        return status;
    return tlv_close_record(sink, header, TLV_TYPE_PROTO);
}

pdata_status_t emit_protocols(protodesc_walk_t *walk, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    for (bool more = true; more;) {
        pdata_status_t status = emit_next_protocol(walk, sink);
        if (status == PDATA_SUCCESS)
            status = protodesc_seek_next_protocol(&walk->rest, &more);
        if (status != PDATA_SUCCESS)
            return status;
    }
    return tlv_close_record(sink, header, TLV_TYPE_PROTOGROUP_PROTOS);
}

pdata_status_t emit_hstring(const hstring_build_t &hstring, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    const uint32_t size = hstring_get_size(hstring);
    if (uint8_t *at = tlv_sink_take(sink, size); at != nullptr)
        if (const int ret = hstring_serialize(hstring, {at, size}); ret != 0)
            return module_err2pdata_status(PDATA_MODULE_HSTRING, ret);
    return tlv_close_record(sink, header, TLV_TYPE_PROTOGROUP_STRING);
}

/// Emits the value of a group.
pdata_status_t emit_group(protodesc_group_t *group, tlv_sink_t &sink)
{
    protodesc_walk_t walk;
    pdata_status_t status = protodesc_serialize_init(group, &walk);
    if (status == PDATA_SUCCESS)
        status = emit_protocols(&walk, sink);
    if (status == PDATA_SUCCESS)
        status = emit_hstring(walk.hstring, sink);
    protodesc_serialize_cleanup(&walk);
    return status;
}

} // namespace

pdata_status_t protodesc_json_get_tlv_size(protodesc_group_t *group, size_t *size)
{
    tlv_sink_t sink = tlv_sink_counting();
    const pdata_status_t status = emit_group(group, sink);
    *size = sink.offset;
    return status;
}

pdata_status_t protodesc_json_serialize(protodesc_group_t *group, std::span<uint8_t> buf,
                                        size_t *written)
{
    tlv_sink_t sink = tlv_sink_writing(buf);
    const pdata_status_t status = emit_group(group, sink);
    *written = sink.offset;
    if (status != PDATA_SUCCESS)
        return status;
    return sink.failed ? PDATA_ERR_INVALID_ARGUMENT : PDATA_SUCCESS;
}
