#include "capture_file.h"

#include <cstring>

namespace
{

/// Largest packet or block that is taken, in bytes.
constexpr uint32_t block_max = uint32_t{16} << 20;
/// Bytes of the header beyond which further blocks are not repeated in every piece.
constexpr size_t header_max = size_t{1} << 20;

constexpr uint32_t magic_microseconds = 0xA1B2C3D4;
constexpr uint32_t magic_nanoseconds = 0xA1B23C4D;
constexpr uint32_t section_block = 0x0A0D0D0A;
constexpr uint32_t section_order = 0x1A2B3C4D;
constexpr size_t file_header_size = 24;
constexpr size_t packet_header_size = 16;

uint32_t number_at(std::string_view bytes, size_t at, bool swapped)
{
    uint32_t number;
    std::memcpy(&number, bytes.data() + at, sizeof number);
    return swapped ? __builtin_bswap32(number) : number;
}

bool is_packet(uint32_t type)
{
    return type == 6 || type == 3 || type == 2; // enhanced, simple, the old one
}

/// Interfaces, names and secrets are what later packets need.
bool is_for_header(uint32_t type)
{
    return type == 1 || type == 4 || type == 10;
}

capture_block_t next_packet(byte_source_t &source, const capture_file_t &file,
                            std::string_view &bytes)
{
    const std::string_view head = byte_source_peek(source, packet_header_size);
    if (head.empty())
        return CAPTURE_END;
    if (head.size() < packet_header_size)
        return CAPTURE_DAMAGED;
    const uint32_t length = number_at(head, 8, file.swapped);
    if (length > block_max)
        return CAPTURE_DAMAGED;
    bytes = byte_source_peek(source, packet_header_size + length);
    if (bytes.size() < packet_header_size + length)
        return CAPTURE_DAMAGED;
    source.at += bytes.size();
    return CAPTURE_PACKET;
}

/// Reads the byte order of a section; a section begins the header anew.
bool begin_section(std::string_view head, capture_file_t &file)
{
    const uint32_t order = number_at(head, 8, false);
    file.swapped = order != section_order;
    file.header.clear();
    return !file.swapped || number_at(head, 8, true) == section_order;
}

capture_block_t next_block(byte_source_t &source, capture_file_t &file, std::string_view &bytes)
{
    const std::string_view head = byte_source_peek(source, 12);
    if (head.empty())
        return CAPTURE_END;
    if (head.size() < 12)
        return CAPTURE_DAMAGED;
    const bool section = number_at(head, 0, false) == section_block;
    if (section && !begin_section(head, file))
        return CAPTURE_DAMAGED;
    const uint32_t type = number_at(head, 0, file.swapped);
    const uint32_t length = number_at(head, 4, file.swapped);
    if (length < 12 || length % 4 != 0 || length > block_max)
        return CAPTURE_DAMAGED;
    bytes = byte_source_peek(source, length);
    if (bytes.size() < length)
        return CAPTURE_DAMAGED;
    source.at += length;
    if (section || (is_for_header(type) && file.header.size() + length <= header_max))
        file.header += bytes;
    return is_packet(type) ? CAPTURE_PACKET : CAPTURE_OTHER;
}

} // namespace

bool capture_file_open(byte_source_t &source, capture_file_t &file)
{
    const std::string_view head = byte_source_peek(source, file_header_size);
    if (head.size() < file_header_size)
        return false;
    file = {};
    if (number_at(head, 0, false) == section_block) {
        file.next_generation = true;
        return true;
    }
    for (const bool swapped : {false, true}) {
        const uint32_t magic = number_at(head, 0, swapped);
        if (magic != magic_microseconds && magic != magic_nanoseconds)
            continue;
        file.swapped = swapped;
        file.header = head;
        byte_source_skip(source, file_header_size);
        return true;
    }
    return false;
}

capture_block_t capture_file_next(byte_source_t &source, capture_file_t &file,
                                  std::string_view &bytes)
{
    return file.next_generation ? next_block(source, file, bytes)
                                : next_packet(source, file, bytes);
}
