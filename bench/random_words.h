/// Repeatable random numbers and words for generated inputs.
#pragma once

#include <cstdint>
#include <string>

/// The generator "splitmix64" of G. Steele, D. Lea and C. Flood (2014): one word of state, any
/// seed will do, and near seeds give unrelated sequences.
struct random_t {
    uint64_t state;
};

inline uint64_t random_next(random_t &random)
{
    uint64_t z = random.state += 0x9E3779B97F4A7C15ULL;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
    return z ^ (z >> 31);
}

/// Returns a number below `limit`, which is not 0.
inline uint32_t random_below(random_t &random, uint32_t limit)
{
    return static_cast<uint32_t>(random_next(random) % limit);
}

/// Returns a word of 3 to 8 small letters.
inline std::string random_word(random_t &random)
{
    std::string text;
    for (uint32_t i = 3 + random_below(random, 6); i != 0; --i)
        text += static_cast<char>('a' + random_below(random, 26));
    return text;
}

inline const char *random_domain(random_t &random)
{
    static const char *const domains[] = {"com", "net", "org", "io", "tv"};
    return domains[random_below(random, 5)];
}
