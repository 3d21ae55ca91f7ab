#include "tlv.h"

#include <cstring>

#include "csa_endian.h"

namespace
{

constexpr uint32_t TLV_3B_LIMIT = 1U << 24;

uint8_t *write_field(uint8_t *buf, uint32_t data, uint32_t data_size)
{
    for (uint32_t i = 0; i < data_size; ++i)
        buf[i] = static_cast<uint8_t>(data >> (8 * (data_size - 1 - i)));
    return buf + data_size;
}

uint8_t *read_field(uint8_t *buf, uint32_t *data, uint32_t data_size)
{
    if (data != nullptr)
        *data = tlv_do_read(buf, data_size);
    return buf + data_size;
}

} // namespace

void dpi_set_unaligned_24(uint8_t *buf, uint32_t value)
{
    if constexpr (csa_is_big_endian() != 0)
        write_field(buf, value, 3);
}

uint8_t *tlv_write_1B(uint8_t *buf, uint32_t data)
{
    return write_field(buf, data, 1);
}

uint8_t *tlv_write_2B(uint8_t *buf, uint32_t data)
{
    return write_field(buf, data, 2);
}

uint8_t *tlv_write_3B(uint8_t *buf, uint32_t data)
{
    return data >= TLV_3B_LIMIT ? nullptr : write_field(buf, data, 3);
}

uint8_t *tlv_write_4B(uint8_t *buf, uint32_t data)
{
    return write_field(buf, data, 4);
}

uint8_t *tlv_write(uint8_t *buf, uint32_t data, uint32_t data_size)
{
    if (buf == nullptr)
        return nullptr;
    switch (data_size) {
    case 1:
        return tlv_write_1B(buf, data);
    case 2:
        return tlv_write_2B(buf, data);
    case 3:
        return tlv_write_3B(buf, data);
    case 4:
        return tlv_write_4B(buf, data);
    default:
        return nullptr;
    }
}

uint32_t tlv_do_read(const uint8_t *buf, uint32_t data_size)
{
    uint32_t data = 0;
    for (uint32_t i = 0; i < data_size; ++i)
        data = data << 8 | buf[i];
    return data;
}

uint8_t *tlv_read_1B(uint8_t *buf, uint32_t *data)
{
    return read_field(buf, data, 1);
}

uint8_t *tlv_read_2B(uint8_t *buf, uint32_t *data)
{
    if (data == nullptr) {
        const auto host = static_cast<uint16_t>(tlv_do_read(buf, 2));
        std::memcpy(buf, &host, sizeof(host));
    }
    return read_field(buf, data, 2);
}

uint8_t *tlv_read_3B(uint8_t *buf, uint32_t *data)
{
    if (data == nullptr)
        dpi_set_unaligned_24(buf, tlv_do_read(buf, 3));
    return read_field(buf, data, 3);
}

uint8_t *tlv_read_4B(uint8_t *buf, uint32_t *data)
{
    if (data == nullptr) {
        const uint32_t host = tlv_do_read(buf, 4);
        std::memcpy(buf, &host, sizeof(host));
    }
    return read_field(buf, data, 4);
}

uint8_t *tlv_read(uint8_t *buf, uint32_t *data, uint32_t data_size)
{
    if (buf == nullptr)
        return nullptr;
    if (data != nullptr)
        *data = 0;
    switch (data_size) {
    case 1:
        return tlv_read_1B(buf, data);
    case 2:
        return tlv_read_2B(buf, data);
    case 3:
        return tlv_read_3B(buf, data);
    case 4:
        return tlv_read_4B(buf, data);
    default:
        return nullptr;
    }
}
