#include "pdb_version.h"

#include "tlv_description.h"

namespace
{

const char *pdata_pdb_version = "";

/// Length of the record's value in words, for a version text of `n` bytes.
uint32_t version_words(size_t n)
{
    const auto bytes = static_cast<uint32_t>(n + 12);
    // The words are rounded down before they are rounded up to a multiple of 4:
    // oddity O23. A text that would not fit gets the next multiple.
    const uint32_t words = 4 * ((bytes / 4 - 1) / 4 + 1);
    return words * 4 < bytes ? words + 4 : words;
}

} // namespace

void pdata_pdb_version_set(const char *version)
{
    pdata_pdb_version = version;
}

pdb_versions_t pdata_pdb_version_get()
{
    return {pdata_engine_version_major, pdata_engine_version_minor, pdata_pdb_version};
}

pdata_status_t pdb_version_serialize(csa_buf_t *buf, const pdb_versions_t &versions, bool empty_pdb)
{
    const uint32_t words = empty_pdb ? 0 : version_words(versions.text.size());
    if (!csa_buf_alloc(*buf, (size_t{words} + 1) * 4))
        return PDATA_ERR_NO_MEMORY;
    tlv_sink_t sink = tlv_sink_writing(*buf);
    const size_t header = tlv_open_record(sink);
    if (empty_pdb)
        return tlv_close_record(sink, header, TLV_TYPE_ROOT_DEFAULT_LOADED);
    tlv_sink_put(sink, versions.major, 4);
    tlv_sink_put(sink, versions.minor, 4);
    tlv_sink_put(sink, static_cast<uint32_t>(versions.text.size()), 4);
    tlv_sink_put_bytes(sink, versions.text);
    (void)tlv_sink_take(sink, buf->size() - sink.offset); // zeros
    return tlv_close_record(sink, header, TLV_TYPE_ROOT_VERSION);
}
