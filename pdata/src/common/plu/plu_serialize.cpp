#include "hstring_record.h"
#include "plu_priv.h"
#include "tlv_description.h"

namespace
{

/// The protocols were found to fit into their list one by one.
void emit_protos(const pdata_update_pg_t &pg, tlv_sink_t &sink)
{
    const size_t list = tlv_open_record(sink);
    for (const seria_proto &proto : pg.pg_seria_protos) {
        const size_t header = tlv_open_record(sink);
        tlv_sink_put_bytes(
            sink, {reinterpret_cast<const char *>(proto.proto_tlv.data()), proto.proto_tlv.size()});
        tlv_close_short_record(sink, header, TLV_TYPE_PROTO);
    }
    tlv_close_short_record(sink, list, TLV_TYPE_PROTOGROUP_PROTOS);
}

pdata_status_t emit_group(const pdata_update_pg_t &pg, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    emit_protos(pg, sink);
    PDATA_TRY(hstring_emit(pg.pg_hstring, TLV_TYPE_PROTOGROUP_STRING, sink));
    return tlv_close_record(sink, header, TLV_TYPE_PROTOGROUP);
}

/// The result, as plu.h shows it: a root record, `with_group` or empty.
pdata_status_t emit_result(const pdata_update_pg_t &pg, bool with_group, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    if (with_group)
        PDATA_TRY(emit_group(pg, sink));
    return tlv_close_record(sink, header, TLV_TYPE_ROOT_PROTODESCS);
}

bool is_finalized(const pdata_commit &commit)
{
    return commit.ci_priv != nullptr && (commit.ci_priv->ci_finalized & PLU_FINALIZED) != 0;
}

} // namespace

size_t pdata_update_get_size(const pdata_commit &commit)
{
    if (!is_finalized(commit))
        return PDATA_UPDATE_NO_SIZE;
    // An empty result is sized with the headers of a group.
    tlv_sink_t sink = tlv_sink_counting();
    (void)emit_result(commit.ci_priv->ci_pg, true, sink); // what is too long, writing refuses
    return sink.offset;
}

pdata_status_t pdata_update_serialize(const pdata_commit &commit, std::span<uint8_t> buf,
                                      size_t *size)
{
    *size = 0;
    if (!is_finalized(commit))
        return pdata_fail(PDATA_ERR_INVALID_OPERATION,
                          "Cannot serialize, commit is not finalized\n");
    if (buf.size() < PLU_FIXED_SIZE)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "Cannot serialize, buffer is less than four words\n");
    tlv_sink_t sink = tlv_sink_writing(buf);
    const pdata_update_pg_t &pg = commit.ci_priv->ci_pg;
    PDATA_TRY(emit_result(pg, !pg.pg_seria_protos.empty(), sink));
    if (sink.failed)
        return pdata_fail(PDATA_ERR_OVERFLOW, "Cannot serialize, buffer is too small\n");
    *size = sink.offset;
    return PDATA_SUCCESS;
}
