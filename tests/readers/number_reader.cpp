#include "number_reader.h"

#include <tuple>

#include "blob_record.h"
#include "file_format.h"

namespace
{

/// Tells whether word `index` of the item table is a count that its ids follow.
bool is_record(const number_reader &reader, uint32_t index)
{
    const size_t words = reader.items.size() / 4;
    return index < words && blob_record_word(reader.items, index) < words - index;
}

bool open_mapper(number_reader *reader, std::span<const uint8_t> blob, size_t values)
{
    if (!blob_record_take(blob, file_format::MAPPER_TLV_ENDPOINTS, reader->table) ||
        !blob_record_take(blob, file_format::MAPPER_TLV_ITEMS, reader->items) || !blob.empty())
        return false;
    if (reader->table.size() != values * 2 || reader->items.empty())
        return false;
    for (size_t value = 0; value < values; ++value) {
        const uint16_t index = csa_get_be16(reader->table.data() + 2 * value);
        if (index != 0 && !is_record(*reader, index))
            return false;
    }
    return true;
}

/// A value in the order of values: its words, most significant first.
using ordered_value = std::tuple<uint64_t, uint64_t>;

ordered_value order(const number_reader &reader, const transformer_value_t &value)
{
    if (reader.data_size != 16)
        return {0, value.number};
    const auto &words = value.address;
    return {uint64_t{words[0]} << 32 | words[1], uint64_t{words[2]} << 32 | words[3]};
}

bool endpoints_ascend(const number_reader &reader)
{
    for (uint32_t i = 1; i < reader.nr; ++i)
        if (order(reader, number_reader_endpoint(reader, i - 1)) >=
            order(reader, number_reader_endpoint(reader, i)))
            return false;
    return true;
}

bool open_interval(number_reader *reader, std::span<const uint8_t> blob, uint32_t data_size)
{
    std::span<const uint8_t> meta;
    if (!blob_record_take(blob, file_format::INTERVAL_TLV_META, meta) || meta.size() != 8)
        return false;
    reader->data_size = blob_record_word(meta, 0);
    reader->nr = blob_record_word(meta, 1);
    if (!blob_record_take(blob, file_format::INTERVAL_TLV_MSB, reader->msb) ||
        !blob_record_take(blob, file_format::INTERVAL_TLV_ENDPOINTS, reader->endpoints) ||
        !blob_record_take(blob, file_format::INTERVAL_TLV_OFFSETS, reader->offsets) ||
        !blob_record_take(blob, file_format::INTERVAL_TLV_ITEMS, reader->items) || !blob.empty())
        return false;
    if (reader->data_size != data_size || reader->msb.size() != file_format::INTERVAL_MSB_COUNT ||
        reader->endpoints.size() != uint64_t{reader->nr} * data_size ||
        reader->offsets.size() != uint64_t{reader->nr} * 4 || !endpoints_ascend(*reader))
        return false;
    for (uint32_t i = 0; i < reader->nr; ++i)
        if (!is_record(*reader, blob_record_word(reader->offsets, i)))
            return false;
    return true;
}

uint8_t most_significant_byte(const number_reader &reader, const transformer_value_t &value)
{
    if (reader.data_size == 16)
        return static_cast<uint8_t>(value.address[0] >> 24);
    return static_cast<uint8_t>(value.number >> (8 * (reader.data_size - 1)));
}

std::vector<uint32_t> find_interval(const number_reader &reader, const transformer_value_t &value)
{
    if (reader.data_size == 4 && value.number > 0xFFFFFFFFU)
        return {};
    if (reader.msb[most_significant_byte(reader, value)] == 0)
        return {};
    uint32_t low = 0; // number of endpoints at or below the value
    uint32_t high = reader.nr;
    while (low < high) {
        const uint32_t middle = low + (high - low) / 2;
        if (order(reader, number_reader_endpoint(reader, middle)) <= order(reader, value))
            low = middle + 1;
        else
            high = middle;
    }
    if (low == 0)
        return {};
    return number_reader_record(reader, blob_record_word(reader.offsets, low - 1));
}

} // namespace

int number_reader_open(number_reader *reader, std::span<const uint8_t> blob)
{
    *reader = {};
    std::span<const uint8_t> type;
    std::span<const uint8_t> inner;
    if (!blob_record_take(blob, file_format::NUMBER_TLV_TYPE, type) || type.size() != 4)
        return -1;
    reader->type = blob_record_word(type, 0);
    const bool mapper = reader->type == file_format::MATCHER_TYPE_NUMBER_8 ||
                        reader->type == file_format::MATCHER_TYPE_NUMBER_16;
    if (!blob_record_take(
            blob, mapper ? file_format::NUMBER_TLV_MAPPER : file_format::NUMBER_TLV_INTERVAL,
            inner) ||
        !blob.empty())
        return -1;
    bool valid = false;
    switch (reader->type) {
    case file_format::MATCHER_TYPE_NUMBER_8:
        valid = open_mapper(reader, inner, 256);
        break;
    case file_format::MATCHER_TYPE_NUMBER_16:
        valid = open_mapper(reader, inner, 65536);
        break;
    case file_format::MATCHER_TYPE_NUMBER_32:
    case file_format::MATCHER_TYPE_IP_4:
        valid = open_interval(reader, inner, 4);
        break;
    case file_format::MATCHER_TYPE_NUMBER_64:
        valid = open_interval(reader, inner, 8);
        break;
    case file_format::MATCHER_TYPE_IP_6:
        valid = open_interval(reader, inner, 16);
        break;
    default:
        break;
    }
    return valid ? 0 : -1;
}

std::vector<uint32_t> number_reader_find(const number_reader &reader,
                                         const transformer_value_t &value)
{
    if (reader.table.empty())
        return find_interval(reader, value);
    if (value.number >= reader.table.size() / 2)
        return {};
    const uint16_t index = csa_get_be16(reader.table.data() + 2 * value.number);
    return index == 0 ? std::vector<uint32_t>() : number_reader_record(reader, index);
}

transformer_value_t number_reader_endpoint(const number_reader &reader, uint32_t index)
{
    const auto bytes = reader.endpoints.subspan(size_t{index} * reader.data_size, reader.data_size);
    transformer_value_t value;
    if (reader.data_size == 16)
        for (size_t i = 0; i < value.address.size(); ++i)
            value.address[i] = blob_record_word(bytes, i);
    else
        value.number = blob_record_word(bytes, 0);
    if (reader.data_size == 8)
        value.number |= uint64_t{blob_record_word(bytes, 1)} << 32; // the low word comes first
    return value;
}

std::vector<uint32_t> number_reader_record(const number_reader &reader, uint32_t index)
{
    std::vector<uint32_t> ids(blob_record_word(reader.items, index));
    for (size_t i = 0; i < ids.size(); ++i)
        ids[i] = blob_record_word(reader.items, index + 1 + i);
    return ids;
}
