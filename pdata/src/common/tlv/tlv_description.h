/// Records: the tree of type-length-value words that every pdb is made of.
///
/// A record is one header word, type in the top 8 bits and length in the low 24, followed by as
/// many value words as the length says; the header is not counted. The value holds words, bytes
/// padded with zeros, or further records packed one after another. Every word is stored most
/// significant byte first. There is no checksum and no count of children.
///
/// Positions and lengths are in 32-bit words unless said otherwise.
#pragma once

#include <cstdint>
#include <span>

#include "format_limits.h"
#include "format_types.h"
#include "pdata_error.h"
#include "tlv_sink.h"

/// Every root type, ascending.
extern const uint32_t pdb_root_tlv_type_available[13];

/// Stores a word at `buf` (4 bytes, any alignment), most significant byte first.
void tlv_set(uint8_t *buf, uint32_t value);

/// Returns the word stored at `buf`.
uint32_t tlv_get(const uint8_t *buf);

/// Returns the header word of a record of `len` words, at most TLV_LEN_FIELD_MAX.
constexpr uint32_t tlv_header(uint32_t type, uint32_t len)
{
    return type << 24 | len;
}

/// Stores a header at word `*buf_offset` of `buf` and advances the offset. Returns PDATA_SUCCESS,
/// or PDATA_ERR_OVERFLOW, with a message and nothing written, for a length beyond TLV_LEN_MAX or
/// a type beyond TLV_TYPE_MAX. A length that passes and exceeds the 24 bits of its field
/// (TLV_LEN_FIELD_MAX) spills into the stored type: it is the caller's duty never to produce one.
/// Oddity O25.
[[nodiscard]] pdata_status_t tlv_push_type_len(uint32_t type, uint32_t len, uint8_t *buf,
                                               uint32_t *buf_offset);

/// Stores a word at word `*buf_offset` of `buf` and advances the offset; tlv_direct_push_val
/// stores it in the byte order of the host. Both return PDATA_SUCCESS.
pdata_status_t tlv_push_val(uint32_t value, uint8_t *buf, uint32_t *buf_offset);
pdata_status_t tlv_direct_push_val(uint32_t value, uint8_t *buf, uint32_t *buf_offset);

/// Reads the header at word `*buf_offset` and advances the offset. Returns PDATA_SUCCESS.
pdata_status_t tlv_pop_type_len(const uint8_t *buf, uint32_t *buf_offset, uint32_t *type,
                                uint32_t *len);

/// Converts the word at `*buf_offset` to host order where it stands, advances the offset and
/// returns the word. tlv_pop_nval does it for `n` consecutive words and returns `buf`.
uint32_t tlv_pop_val(uint8_t *buf, uint32_t *buf_offset);
uint8_t *tlv_pop_nval(uint8_t *buf, uint32_t *buf_offset, uint32_t n);

/// Finds the first record of `type` among the siblings packed in the `max_len` bytes at `buf`,
/// in stream order, never among their children. Gives the value's position and its length in
/// bytes.
///
/// Returns PDATA_ERR_TLV_NOT_FOUND, without a message, when there is none or when a header on the
/// way claims more words than the whole area has. A record that claims more words than remain in
/// the area is found all the same; tlv_value_search refuses it. Oddity O26.
[[nodiscard]] pdata_status_t tlv_type_search(uint32_t type, const uint8_t *buf, uint32_t max_len,
                                             const uint8_t **out_tlv_buf, uint32_t *out_tlv_len);

/// The same for whole records: on success `*record` covers the header and the value.
[[nodiscard]] pdata_status_t tlv_record_search(uint32_t type, std::span<const uint8_t> area,
                                               std::span<const uint8_t> *record);

/// tlv_type_search for readers that trust nothing: on success `*value` lies within `area`; a
/// record that does not end within it counts as not found.
[[nodiscard]] pdata_status_t tlv_value_search(uint32_t type, std::span<const uint8_t> area,
                                              std::span<const uint8_t> *value);

/// Opens a record in a sink: leaves room for its header and returns the offset of the header,
/// which tlv_close_record wants back. Records start at a multiple of 4.
inline size_t tlv_open_record(tlv_sink_t &sink)
{
    const size_t header = sink.offset;
    tlv_sink_put(sink, 0, 4);
    return header;
}

/// Closes the record opened at `header`: pads its value to whole words and fills its header in.
/// Returns PDATA_SUCCESS, or PDATA_ERR_OVERFLOW, with a message, for a value that a header cannot
/// state, also from a sink that only counts.
[[nodiscard]] pdata_status_t tlv_close_record(tlv_sink_t &sink, size_t header, uint32_t type);

/// The same for a record that the limits of its content keep far below what a header can state.
void tlv_close_short_record(tlv_sink_t &sink, size_t header, uint32_t type);
