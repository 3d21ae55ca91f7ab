#include "hstring_record.h"
#include "pdata_diag.h"
#include "pdb_matcher_build.h"
#include "tlv_description.h"

namespace
{

/// Emits the offset of a text in the string table, where it is interned.
pdata_status_t pdb_push_string(tlv_sink_t &sink, hstring_build_t *hstring, csa_str_t text)
{
    uint32_t offset = 0;
    const int ret = hstring_get_offset(hstring, text, &offset);
    tlv_sink_put(sink, offset, 4);
    return module_err2pdata_status(PDATA_MODULE_HSTRING, ret);
}

pdata_status_t put_meta(const matcher_key_t &key, hstring_build_t *hstring, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    PDATA_TRY(pdb_push_string(sink, hstring, key.key_proto));
    PDATA_TRY(pdb_push_string(sink, hstring, key.key_attr));
    tlv_sink_put(sink, key.key_way, 4);
    tlv_close_short_record(sink, header, TLV_TYPE_PDB_MATCHER_META);
    return PDATA_SUCCESS;
}

/// Emits the record of a matcher.
pdata_status_t pdb_build_matcher_emit(const matcher_build &matcher, const matcher_key_t &key,
                                      hstring_build_t *hstring, tlv_sink_t &sink)
{
    const size_t entry = tlv_open_record(sink);
    PDATA_TRY(put_meta(key, hstring, sink));
    const size_t data = tlv_open_record(sink);
    const pdata_status_t status = matcher_emit(matcher, sink);
    if (status != PDATA_SUCCESS && sink.buf != nullptr)
        pdata_diag_error(PDATA_DIAG_MATCHER_BLOB);
    PDATA_TRY(status);
    PDATA_TRY(tlv_close_record(sink, data, TLV_TYPE_PDB_MATCHER_DATA));
    return tlv_close_record(sink, entry, TLV_TYPE_PDB_MATCHER);
}

/// A section that is too long for a header is refused where the field of a length ends, not at the
/// limit of a pushed one.
pdata_status_t check_length(uint64_t root_len)
{
    if (root_len > TLV_LEN_FIELD_MAX)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_TLV_LEN,
                          static_cast<int>(TLV_TYPE_ROOT_MATCHERS),
                          static_cast<int>(TLV_LEN_FIELD_MAX));
    return PDATA_SUCCESS;
}

} // namespace

pdata_status_t pdb_matcher_build_serialize(pdb_build_t *pdb_build, const matcher_build &matcher,
                                           const matcher_key_t &key, const csa_dump_t &)
{
    hstring_build_t *hstring = &pdb_build->pdb_build_matcher_hstring;
    pdb_build_matchers_t &matchers = pdb_build->pdb_build_tlv.matchers;
    tlv_sink_t counting = tlv_sink_counting();
    PDATA_TRY(pdb_build_matcher_emit(matcher, key, hstring, counting));
    PDATA_TRY(check_length(uint64_t{matchers.root_len} + counting.offset / 4));
    csa_buf_t &entry = matchers.tlv_list.emplace_back().matcher_tlv_entry;
    if (!csa_buf_alloc(entry, counting.offset))
        return PDATA_ERR_NO_MEMORY;
    tlv_sink_t writing = tlv_sink_writing(entry);
    PDATA_TRY(pdb_build_matcher_emit(matcher, key, hstring, writing));
    matchers.root_len += static_cast<uint32_t>(entry.size() / 4);
    matchers.pdb_len += static_cast<uint32_t>(entry.size() / 4);
    return PDATA_SUCCESS;
}

pdata_status_t pdb_matcher_build_serialize_hstring(pdb_build_t *pdb_build)
{
    const hstring_build_t &hstring = pdb_build->pdb_build_matcher_hstring;
    pdb_build_matchers_t &matchers = pdb_build->pdb_build_tlv.matchers;
    const size_t size = size_t{hstring_get_size(hstring)} + 4;
    if (!csa_buf_alloc(matchers.hstring_tlv, size))
        return PDATA_ERR_NO_MEMORY;
    tlv_sink_t sink = tlv_sink_writing(matchers.hstring_tlv);
    matchers.root_len += static_cast<uint32_t>(size / 4) + 1;
    return hstring_emit(hstring, TLV_TYPE_PDB_MATCHER_STRING, sink);
}

pdata_status_t pdb_matcher_build_serialize_header(pdb_build_t *pdb_build)
{
    pdb_build_matchers_t &matchers = pdb_build->pdb_build_tlv.matchers;
    PDATA_TRY(check_length(matchers.root_len));
    matchers.root_tlv = tlv_header(TLV_TYPE_ROOT_MATCHERS, matchers.root_len);
    matchers.pdb_tlv = tlv_header(TLV_TYPE_PDB_MATCHER_LIST, matchers.pdb_len); // part of the root
    return PDATA_SUCCESS;
}
