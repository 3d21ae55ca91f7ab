#include <exception>

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

pdata_status_t put_meta(tlv_sink_t &sink, hstring_build_t *hstring, const matcher_key_t &key)
{
    const size_t header = tlv_open_record(sink);
    pdata_status_t status = pdb_push_string(sink, hstring, key.key_proto);
    if (status == PDATA_SUCCESS)
        status = pdb_push_string(sink, hstring, key.key_attr);
    if (status != PDATA_SUCCESS)
        return status;
    tlv_sink_put(sink, key.key_way, 4);
    return tlv_close_record(sink, header, TLV_TYPE_PDB_MATCHER_META);
}

/// Emits the entry of a matcher whose serialized size is known.
pdata_status_t put_entry(tlv_sink_t &sink, hstring_build_t *hstring, const matcher_build &matcher,
                         size_t size, const matcher_key_t &key, const csa_dump_t &dump)
{
    const size_t entry = tlv_open_record(sink);
    pdata_status_t status = put_meta(sink, hstring, key);
    if (status != PDATA_SUCCESS)
        return status;
    const size_t data = tlv_open_record(sink);
    uint8_t *at = tlv_sink_take(sink, size);
    if (at != nullptr) {
        status = matcher_serialize(matcher, {at, size}, dump);
        if (status != PDATA_SUCCESS) {
            pdata_diag_error(PDATA_DIAG_MATCHER_BLOB);
            return status;
        }
    }
    status = tlv_close_record(sink, data, TLV_TYPE_PDB_MATCHER_DATA);
    if (status == PDATA_SUCCESS)
        status = tlv_close_record(sink, entry, TLV_TYPE_PDB_MATCHER);
    return status;
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
                                           const matcher_key_t &key, const csa_dump_t &dump)
{
    hstring_build_t *hstring = &pdb_build->pdb_build_matcher_hstring;
    size_t size = 0;
    pdata_status_t status = matcher_get_size(matcher, &size);
    if (status != PDATA_SUCCESS)
        return status;
    tlv_sink_t counting = tlv_sink_counting();
    status = put_entry(counting, hstring, matcher, size, key, dump);
    pdb_build_matchers_t &matchers = pdb_build->pdb_build_tlv.matchers;
    if (status == PDATA_SUCCESS)
        status = check_length(uint64_t{matchers.root_len} + counting.offset / 4);
    if (status != PDATA_SUCCESS)
        return status;
    csa_buf_t entry;
    if (!csa_buf_alloc(entry, counting.offset))
        return PDATA_ERR_NO_MEMORY;
    tlv_sink_t writing = tlv_sink_writing(entry);
    status = put_entry(writing, hstring, matcher, size, key, dump);
    if (status != PDATA_SUCCESS)
        return status;
    matchers.root_len += static_cast<uint32_t>(entry.size() / 4);
    matchers.pdb_len += static_cast<uint32_t>(entry.size() / 4);
    try {
        matchers.tlv_list.push_back(std::move(entry));
    } catch (const std::exception &) {
        return PDATA_ERR_NO_MEMORY;
    }
    return PDATA_SUCCESS;
}

pdata_status_t pdb_matcher_build_serialize_hstring(pdb_build_t *pdb_build)
{
    const hstring_build_t &hstring = pdb_build->pdb_build_matcher_hstring;
    pdb_build_matchers_t &matchers = pdb_build->pdb_build_tlv.matchers;
    const uint32_t size = hstring_get_size(hstring);
    if (!csa_buf_alloc(matchers.hstring_tlv, size_t{size} + 4))
        return PDATA_ERR_NO_MEMORY;
    tlv_sink_t sink = tlv_sink_writing(matchers.hstring_tlv);
    const size_t header = tlv_open_record(sink);
    const int ret = hstring_serialize(hstring, {tlv_sink_take(sink, size), size});
    if (ret != 0)
        return module_err2pdata_status(PDATA_MODULE_HSTRING, ret);
    matchers.root_len += 2 + size / 4;
    return tlv_close_record(sink, header, TLV_TYPE_PDB_MATCHER_STRING);
}

pdata_status_t pdb_matcher_build_serialize_header(pdb_build_t *pdb_build)
{
    pdb_build_matchers_t &matchers = pdb_build->pdb_build_tlv.matchers;
    uint8_t words[8];
    uint32_t offset = 0;
    pdata_status_t status = check_length(matchers.root_len);
    if (status == PDATA_SUCCESS)
        status = tlv_push_type_len(TLV_TYPE_ROOT_MATCHERS, matchers.root_len, words, &offset);
    if (status == PDATA_SUCCESS)
        status = tlv_push_type_len(TLV_TYPE_PDB_MATCHER_LIST, matchers.pdb_len, words, &offset);
    matchers.root_tlv = tlv_get(words);
    matchers.pdb_tlv = tlv_get(words + 4);
    return status;
}
