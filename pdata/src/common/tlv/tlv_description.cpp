#include "tlv_description.h"

#include <cstring>

#include "csa_endian.h"
#include "view_cursor.h"

const uint32_t pdb_root_tlv_type_available[13] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};

void tlv_set(uint8_t *buf, uint32_t value)
{
    csa_set_be32(buf, value);
}

uint32_t tlv_get(const uint8_t *buf)
{
    return csa_get_be32(buf);
}

pdata_status_t tlv_push_type_len(uint32_t type, uint32_t len, uint8_t *buf, uint32_t *buf_offset)
{
    // The message names the type where the length is meant. Oddity O39.
    if (len > TLV_LEN_MAX)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_TLV_LEN, static_cast<int>(type),
                          static_cast<int>(TLV_LEN_MAX));
    if (type > TLV_TYPE_MAX)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_TLV_TYPE, static_cast<int>(type),
                          static_cast<int>(TLV_TYPE_MAX));
    return tlv_push_val(tlv_header(type, len), buf, buf_offset);
}

pdata_status_t tlv_push_val(uint32_t value, uint8_t *buf, uint32_t *buf_offset)
{
    tlv_set(buf + size_t{*buf_offset} * 4, value);
    ++*buf_offset;
    return PDATA_SUCCESS;
}

pdata_status_t tlv_direct_push_val(uint32_t value, uint8_t *buf, uint32_t *buf_offset)
{
    std::memcpy(buf + size_t{*buf_offset} * 4, &value, sizeof(value));
    ++*buf_offset;
    return PDATA_SUCCESS;
}

pdata_status_t tlv_pop_type_len(const uint8_t *buf, uint32_t *buf_offset, uint32_t *type,
                                uint32_t *len)
{
    const uint32_t header = tlv_get(buf + size_t{*buf_offset} * 4);
    *type = view_record_type(header);
    *len = view_record_length(header);
    ++*buf_offset;
    return PDATA_SUCCESS;
}

uint32_t tlv_pop_val(uint8_t *buf, uint32_t *buf_offset)
{
    const uint32_t value = tlv_get(buf + size_t{*buf_offset} * 4);
    (void)tlv_direct_push_val(value, buf, buf_offset); // never fails
    return value;
}

uint8_t *tlv_pop_nval(uint8_t *buf, uint32_t *buf_offset, uint32_t n)
{
    for (uint32_t i = 0; i < n; ++i)
        tlv_pop_val(buf, buf_offset);
    return buf;
}

pdata_status_t tlv_type_search(uint32_t type, const uint8_t *buf, uint32_t max_len,
                               const uint8_t **out_tlv_buf, uint32_t *out_tlv_len)
{
    const uint32_t words = max_len / 4;
    view_cursor_t cursor = view_walk({buf, size_t{words} * 4, 0});
    view_record_t record;
    bool found = false;
    while (!found && view_next(cursor, record))
        found = record.type == type;
    // A record that claims more than is left, but not more than the whole area, is taken as well.
    if (cursor.end == VIEW_WALK_OVERLONG && record.length <= words)
        found = record.type == type;
    if (!found)
        return PDATA_ERR_TLV_NOT_FOUND;
    *out_tlv_buf = record.value.data;
    *out_tlv_len = record.length * 4;
    return PDATA_SUCCESS;
}

pdata_status_t tlv_value_search(uint32_t type, std::span<const uint8_t> area,
                                std::span<const uint8_t> *value)
{
    view_record_t record;
    if (!view_find(view_file(area), type, record))
        return PDATA_ERR_TLV_NOT_FOUND;
    *value = view_bytes(record.value);
    return PDATA_SUCCESS;
}

pdata_status_t tlv_record_search(uint32_t type, std::span<const uint8_t> area,
                                 std::span<const uint8_t> *record)
{
    view_record_t found;
    if (!view_find(view_file(area), type, found))
        return PDATA_ERR_TLV_NOT_FOUND;
    *record = area.subspan(found.offset, found.value.size + 4);
    return PDATA_SUCCESS;
}

pdata_status_t tlv_close_record(tlv_sink_t &sink, size_t header, uint32_t type)
{
    tlv_sink_align(sink);
    if ((sink.offset - header) / 4 - 1 > TLV_LEN_FIELD_MAX)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_TLV_LEN, static_cast<int>(type),
                          static_cast<int>(TLV_LEN_FIELD_MAX));
    tlv_close_short_record(sink, header, type);
    return PDATA_SUCCESS;
}

void tlv_close_short_record(tlv_sink_t &sink, size_t header, uint32_t type)
{
    tlv_sink_align(sink);
    if (sink.buf != nullptr && !sink.failed)
        tlv_set(sink.buf + header,
                tlv_header(type, static_cast<uint32_t>((sink.offset - header) / 4 - 1)));
}
