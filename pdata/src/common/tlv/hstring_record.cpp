#include "hstring_record.h"

pdata_status_t hstring_emit(const hstring_build_t &hstring, uint32_t type, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    const uint32_t size = hstring_get_size(hstring);
    if (uint8_t *at = tlv_sink_take(sink, size); at != nullptr)
        PDATA_TRY(
            module_err2pdata_status(PDATA_MODULE_HSTRING, hstring_serialize(hstring, {at, size})));
    return tlv_close_record(sink, header, type);
}
