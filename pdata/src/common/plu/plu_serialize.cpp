#include "plu_priv.h"
#include "tlv_description.h"

namespace
{

pdata_status_t emit_protos(const pdata_update_pg_t &pg, tlv_sink_t &sink)
{
    const size_t list = tlv_open_record(sink);
    for (const seria_proto &proto : pg.pg_seria_protos) {
        const size_t header = tlv_open_record(sink);
        tlv_sink_put_bytes(
            sink, {reinterpret_cast<const char *>(proto.proto_tlv.data()), proto.proto_tlv.size()});
        const pdata_status_t status = tlv_close_record(sink, header, TLV_TYPE_PROTO);
        if (status != PDATA_SUCCESS)
            return status;
    }
    return tlv_close_record(sink, list, TLV_TYPE_PROTOGROUP_PROTOS);
}

pdata_status_t emit_hstring(const pdata_update_pg_t &pg, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    const uint32_t size = hstring_get_size(pg.pg_hstring);
    if (uint8_t *at = tlv_sink_take(sink, size); at != nullptr)
        if (const int ret = hstring_serialize(pg.pg_hstring, {at, size}); ret != 0)
            return module_err2pdata_status(PDATA_MODULE_HSTRING, ret);
    return tlv_close_record(sink, header, TLV_TYPE_PROTOGROUP_STRING);
}

pdata_status_t emit_group(const pdata_update_pg_t &pg, tlv_sink_t &sink)
{
    if (pg.pg_seria_protos.empty())
        return PDATA_SUCCESS;
    const size_t header = tlv_open_record(sink);
    pdata_status_t status = emit_protos(pg, sink);
    if (status == PDATA_SUCCESS)
        status = emit_hstring(pg, sink);
    if (status != PDATA_SUCCESS)
        return status;
    return tlv_close_record(sink, header, TLV_TYPE_PROTOGROUP);
}

/// The result, as plu.h shows it.
pdata_status_t emit_result(const pdata_update_pg_t &pg, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    const pdata_status_t status = emit_group(pg, sink);
    if (status != PDATA_SUCCESS)
        return status;
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
    const pdata_commit_priv &priv = *commit.ci_priv;
    return hstring_get_size(priv.ci_pg.pg_hstring) + priv.ci_proto_size + PLU_FIXED_SIZE;
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
    const pdata_status_t status = emit_result(commit.ci_priv->ci_pg, sink);
    if (status != PDATA_SUCCESS)
        return status;
    if (sink.failed)
        return pdata_fail(PDATA_ERR_OVERFLOW, "Cannot serialize, buffer is too small\n");
    *size = sink.offset;
    return PDATA_SUCCESS;
}
