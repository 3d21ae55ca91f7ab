/// Byte fields of 1 to 4 bytes, always most significant byte first.
///
/// The lowest layer of every serialized structure: a field is written at a moving byte pointer
/// and the pointer behind it is returned. A refused field returns null, and so does every field
/// that follows it, so a caller may check once at the end. The sink of tlv_sink.h, which both
/// sizes and writes a format, is built on it.
#pragma once

#include <cstdint>

/// Stores the low 24 bits of `value` at `buf` (3 bytes) in the byte order of the host. Only a
/// big-endian host stores anything; elsewhere the three bytes stay as they are. Oddity O27.
void dpi_set_unaligned_24(uint8_t *buf, uint32_t value);

/// The per-size cases of tlv_write; `buf` is not null. tlv_write_3B returns null for a value of
/// 2^24 or more, the others never fail.
uint8_t *tlv_write_1B(uint8_t *buf, uint32_t data);
uint8_t *tlv_write_2B(uint8_t *buf, uint32_t data);
uint8_t *tlv_write_3B(uint8_t *buf, uint32_t data);
uint8_t *tlv_write_4B(uint8_t *buf, uint32_t data);

/// Writes `data` into `data_size` bytes at `buf` and returns the pointer behind them. A 1-byte
/// and a 2-byte value are cut to their low bits.
///
/// Returns null, and writes nothing, when `buf` is null, when `data_size` is not 1 to 4, or when
/// a 3-byte value is 2^24 or more. Oddity O28.
uint8_t *tlv_write(uint8_t *buf, uint32_t data, uint32_t data_size);

/// The per-size cases of tlv_read; `buf` is not null. With `data` null the field is converted in
/// place to host order.
uint8_t *tlv_read_1B(uint8_t *buf, uint32_t *data);
uint8_t *tlv_read_2B(uint8_t *buf, uint32_t *data);
uint8_t *tlv_read_3B(uint8_t *buf, uint32_t *data);
uint8_t *tlv_read_4B(uint8_t *buf, uint32_t *data);

/// Returns the big-endian field of `data_size` bytes (1 to 4) at `buf`.
uint32_t tlv_do_read(const uint8_t *buf, uint32_t data_size);

/// Reads the field of `data_size` bytes at `buf` into `*data`, which is cleared first, and
/// returns the pointer behind the field; null for a null `buf` or a size other than 1 to 4.
///
/// With `data` null the field is converted in place instead: a 1-byte field is unchanged, a
/// 2-byte and a 4-byte field are stored back as host integers, and a 3-byte field changes on a
/// big-endian host only. Oddity O27.
uint8_t *tlv_read(uint8_t *buf, uint32_t *data, uint32_t data_size);
