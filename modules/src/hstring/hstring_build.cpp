#include <algorithm>
#include <cstring>

#include "hstring.h"

namespace
{

/// What equality looks at: the bytes up to and including the first 0 byte.
struct string_key {
    size_t len;    ///< bytes that are compared
    uint64_t hash; ///< hash of the key, and of the line where a 0 byte ends it
};

uint32_t line_of(const string_htable &table, uint64_t hash)
{
    return static_cast<uint32_t>(hash) & (table.hb_nr_line - 1);
}

string_key key_of(const string_htable &table, csa_str_t string, uint64_t hash)
{
    const void *zero = std::memchr(string.str_buf, 0, string.str_len);
    if (zero == nullptr)
        return {string.str_len, hash};
    const auto len = static_cast<size_t>(static_cast<const char *>(zero) - string.str_buf) + 1;
    return {len, djb2_hashk(string.str_buf, len) * 31 + line_of(table, hash)};
}

uint32_t chain_of(const string_htable &table, uint64_t key_hash)
{
    // The low bits of the hash are close to the last bytes; fold the rest in.
    const uint64_t mixed = key_hash * 0x9E3779B97F4A7C15ULL;
    return static_cast<uint32_t>(mixed >> 32) & static_cast<uint32_t>(table.hb_index.size() - 1);
}

const hs_elt *find(const string_htable &table, csa_str_t string, uint64_t hash,
                   const string_key &key)
{
    // Strings that are compared whole are equal only when their hashes are.
    const uint64_t compared = key.len == string.str_len ? ~uint64_t{0} : table.hb_nr_line - 1;
    uint32_t at = table.hb_index[chain_of(table, key.hash)];
    while (at != HSTRING_NO_ELT) {
        const hs_elt &elt = table.hb_tab[at];
        if (((elt.hse_hash ^ hash) & compared) == 0 && elt.hse_len == string.str_len &&
            std::memcmp(elt.hse_str, string.str_buf, key.len) == 0)
            return &elt;
        at = elt.hse_next;
    }
    return nullptr;
}

void link(string_htable &table, uint32_t at)
{
    hs_elt &elt = table.hb_tab[at];
    const csa_str_t string = csa_str(elt.hse_str, elt.hse_len);
    uint32_t &head = table.hb_index[chain_of(table, key_of(table, string, elt.hse_hash).hash)];
    elt.hse_next = head;
    head = at;
}

/// Keeps the chains short: doubles the index once there are half as many strings as chains.
void grow_index(string_htable &table)
{
    if (table.hb_tab.size() * 2 < table.hb_index.size())
        return;
    std::vector<uint32_t> index(table.hb_index.size() * 2, HSTRING_NO_ELT);
    table.hb_index.swap(index);
    for (uint32_t at = 0; at < table.hb_tab.size(); ++at)
        link(table, at);
}

/// Stores a string that is not in the pool and returns its offset. Throws std::bad_alloc, which
/// leaves the pool as it was.
uint32_t insert(string_htable &table, csa_str_t string, uint64_t hash)
{
    grow_index(table);
    const uint32_t offset = table.hb_offset;
    table.hb_tab.push_back({string.str_buf, string.str_len, offset, hash, HSTRING_NO_ELT});
    link(table, static_cast<uint32_t>(table.hb_tab.size() - 1));
    table.hb_offset += (string.str_len + 3U) & ~1U;
    return offset;
}

} // namespace

uint64_t djb2_hashk(const char *str, size_t len)
{
    uint64_t hash = 5381;
    for (size_t i = 0; i < len; ++i)
        hash = hash * 33 + static_cast<uint64_t>(static_cast<int64_t>(static_cast<int8_t>(str[i])));
    return hash;
}

int hstring_init(string_htable *table, uint32_t nr_line)
{
    if (table == nullptr)
        return MODULE_ERR_INVALID;
    *table = {};
    return module_guard([&] {
        table->hb_index.assign(HSTRING_DEFAULT_LINES, HSTRING_NO_ELT);
        table->hb_nr_line = nr_line == 0 ? HSTRING_DEFAULT_LINES : nr_line;
        return MODULE_SUCCESS;
    });
}

int hstring_get_offset(string_htable *table, csa_str_t string, uint32_t *offset)
{
    if (table == nullptr || table->hb_nr_line == 0 || string.str_buf == nullptr ||
        string.str_len == 0)
        return MODULE_ERR_INVALID;
    const uint64_t hash = djb2_hashk(string.str_buf, string.str_len);
    if (const hs_elt *elt = find(*table, string, hash, key_of(*table, string, hash))) {
        *offset = elt->hse_offset;
        return MODULE_SUCCESS;
    }
    *offset = HSTRING_NO_OFFSET;
    return module_guard([&] {
        *offset = insert(*table, string, hash);
        return MODULE_SUCCESS;
    });
}

const hs_elt *hstring_find_elt(const string_htable &table, csa_str_t string)
{
    if (table.hb_nr_line == 0 || string.str_buf == nullptr || string.str_len == 0)
        return nullptr;
    const uint64_t hash = djb2_hashk(string.str_buf, string.str_len);
    return find(table, string, hash, key_of(table, string, hash));
}

uint32_t hstring_get_size(const string_htable &table)
{
    return (table.hb_offset + 3U) & ~3U;
}

void hstring_clean(string_htable *table)
{
    if (table != nullptr)
        *table = {};
}
