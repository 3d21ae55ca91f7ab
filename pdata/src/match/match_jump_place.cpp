#include <algorithm>
#include <array>
#include <bit>

#include "match_jump.h"

namespace
{

constexpr uint32_t KEYS_OF_BUCKET = 2; ///< in the mean, at most
constexpr uint32_t BUCKET_MAX = 32;    ///< keys of the fullest bucket that is tried

/// Factors of the hash, in the order in which they are tried: the golden ratio, and those of the
/// generator "splitmix64" (G. Steele, D. Lea, C. Flood, 2014).
constexpr uint64_t FACTORS[] = {0x9E3779B97F4A7C15ULL, 0xBF58476D1CE4E5B9ULL,
                                0x94D049BB133111EBULL};

/// Bytes of an entry with its share of free ones, an eighth, and of displacements.
constexpr size_t ENTRY_BYTES = sizeof(match_jump_entry_t) * 8 / 7 + 2;

/// Bytes that a table takes at most beside them.
constexpr size_t TABLE_BYTES = 64;

/// The keys in the order of their buckets.
struct buckets_t {
    std::vector<uint32_t> starts;  ///< by bucket, in `entries`; then their end
    std::vector<uint32_t> entries; ///< indexes
    uint32_t fullest = 0;          ///< keys of the fullest bucket
};

uint64_t hash_of(const match_jump_t &jump, const match_jump_entry_t &entry)
{
    return match_jump_hash(jump, entry.key, entry.length);
}

buckets_t sort_keys(std::span<const match_jump_entry_t> entries, const match_jump_t &jump)
{
    buckets_t buckets;
    buckets.starts.resize(jump.displacements.size() + 1);
    buckets.entries.resize(entries.size());
    for (const match_jump_entry_t &entry : entries)
        ++buckets.starts[match_jump_bucket(jump, hash_of(jump, entry))];
    uint32_t end = 0;
    for (uint32_t &start : buckets.starts) {
        buckets.fullest = std::max(buckets.fullest, start);
        start = end += start;
    }
    for (uint32_t i = 0; i < entries.size(); ++i)
        buckets.entries[--buckets.starts[match_jump_bucket(jump, hash_of(jump, entries[i]))]] = i;
    return buckets;
}

/// Gives the keys of a bucket places that are free with some displacement.
bool place_bucket(std::span<const match_jump_entry_t> entries, std::span<const uint32_t> keys,
                  uint8_t &displacement, match_jump_t &jump)
{
    std::array<uint32_t, BUCKET_MAX> places;
    for (uint32_t tried = 0; tried <= UINT8_MAX; ++tried) {
        size_t nr = 0;
        for (; nr < keys.size(); ++nr) {
            const match_jump_entry_t &entry = entries[keys[nr]];
            places[nr] =
                match_jump_place_of(jump, hash_of(jump, entry), static_cast<uint8_t>(tried));
            if (jump.entries[places[nr]].length != 0)
                break;
            jump.entries[places[nr]] = entry;
        }
        displacement = static_cast<uint8_t>(tried);
        if (nr == keys.size())
            return true;
        while (nr != 0)
            jump.entries[places[--nr]] = {};
    }
    return false;
}

/// Places all buckets, the fullest first, as they need the most room.
bool place_buckets(std::span<const match_jump_entry_t> entries, match_jump_t &jump)
{
    const buckets_t buckets = sort_keys(entries, jump);
    if (buckets.fullest > BUCKET_MAX)
        return false;
    for (uint32_t size = buckets.fullest; size != 0; --size)
        for (uint32_t bucket = 0; bucket < jump.displacements.size(); ++bucket) {
            const uint32_t first = buckets.starts[bucket];
            const uint32_t end = buckets.starts[bucket + 1];
            if (end - first == size &&
                !place_bucket(entries, std::span(buckets.entries).subspan(first, size),
                              jump.displacements[bucket], jump))
                return false;
        }
    return true;
}

} // namespace

bool match_jump_place(std::span<const match_jump_entry_t> entries, match_jump_t &jump)
{
    const size_t nr_bucket = std::bit_ceil(entries.size() / KEYS_OF_BUCKET + 2);
    jump.shift = 32 - static_cast<uint32_t>(std::countr_zero(nr_bucket));
    jump.nr_place = static_cast<uint32_t>(entries.size() * 8 / 7 + 1);
    jump.displacements.resize(nr_bucket);
    for (const uint64_t factor : FACTORS) {
        jump.factor = factor;
        jump.entries.assign(jump.nr_place, {});
        if (place_buckets(entries, jump))
            return true;
    }
    jump.displacements = std::vector<uint8_t>(); // frees the room, as no list of none does
    jump.entries = std::vector<match_jump_entry_t>();
    return false;
}

size_t match_jump_most(size_t room)
{
    return room < TABLE_BYTES ? 0 : (room - TABLE_BYTES) / ENTRY_BYTES;
}
