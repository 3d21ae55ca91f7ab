#include "ipbt_reader.h"

#include "blob_record.h"
#include "file_format.h"

namespace
{

constexpr uint32_t ADDRESS_BITS = 32;

uint32_t nodes_of(const ipbt_reader &reader)
{
    return static_cast<uint32_t>(reader.nodes.size() / (4 * file_format::IPBT_NODE_WORDS));
}

uint32_t node_word(const ipbt_reader &reader, uint32_t node, uint32_t word)
{
    return blob_record_word(reader.nodes, size_t{node} * file_format::IPBT_NODE_WORDS + word);
}

bool is_list(const ipbt_reader &reader, uint32_t offset)
{
    if (offset % 4 != 0 || offset >= reader.data.size())
        return false;
    return blob_record_word(reader.data, offset / 4) < reader.data.size() / 4 - offset / 4;
}

} // namespace

int ipbt_reader_open(ipbt_reader *reader, std::span<const uint8_t> blob)
{
    *reader = {};
    if (!blob_record_take(blob, file_format::IPBT_TLV_NODES, reader->nodes) ||
        !blob_record_take(blob, file_format::IPBT_TLV_DATA, reader->data) || !blob.empty())
        return -1;
    const uint32_t count = nodes_of(*reader);
    if (count == 0 || reader->nodes.size() % (4 * file_format::IPBT_NODE_WORDS) != 0 ||
        reader->data.empty())
        return -1;
    uint32_t next_child = 1; // breadth-first: children are numbered as their parents come
    for (uint32_t node = 0; node < count; ++node) {
        for (uint32_t bit = 0; bit < 2; ++bit) {
            const uint32_t child = node_word(*reader, node, bit);
            if (child != 0 && (child != next_child++ || child >= count))
                return -1;
        }
        const uint32_t offset = node_word(*reader, node, 2);
        if (offset != 0 && !is_list(*reader, offset))
            return -1;
    }
    return next_child == count ? 0 : -1;
}

std::vector<uint32_t> ipbt_reader_find(const ipbt_reader &reader, uint32_t address)
{
    std::vector<uint32_t> protocols;
    uint32_t node = 0;
    for (uint32_t depth = 0;; ++depth) {
        const uint32_t offset = node_word(reader, node, 2);
        const uint32_t list_len = offset == 0 ? 0 : blob_record_word(reader.data, offset / 4);
        for (uint32_t i = 0; i < list_len; ++i)
            protocols.push_back(blob_record_word(reader.data, offset / 4 + 1 + i));
        if (depth == ADDRESS_BITS)
            return protocols;
        node = node_word(reader, node, address >> (31 - depth) & 1);
        if (node == 0)
            return protocols;
    }
}
