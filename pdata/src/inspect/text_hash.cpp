#include "text_hash.h"

#include <sys/random.h>

#include <bit>
#include <cstring>

namespace
{

struct sip_state_t {
    uint64_t a, b, c, d;
};

void mix(sip_state_t &state)
{
    state.a += state.b;
    state.b = std::rotl(state.b, 13) ^ state.a;
    state.a = std::rotl(state.a, 32);
    state.c += state.d;
    state.d = std::rotl(state.d, 16) ^ state.c;
    state.a += state.d;
    state.d = std::rotl(state.d, 21) ^ state.a;
    state.c += state.b;
    state.b = std::rotl(state.b, 17) ^ state.c;
    state.c = std::rotl(state.c, 32);
}

void take_word(sip_state_t &state, uint64_t word)
{
    state.d ^= word;
    mix(state);
    mix(state);
    state.a ^= word;
}

} // namespace

text_hash_key_t text_hash_key()
{
    text_hash_key_t key;
    // Without random bytes hashes are as good for files that nobody made to collide.
    if (getrandom(&key, sizeof(key), 0) != static_cast<ssize_t>(sizeof(key)))
        key = {0x243f6a8885a308d3, 0x13198a2e03707344};
    return key;
}

uint64_t text_hash(const text_hash_key_t &key, std::string_view text)
{
    sip_state_t state = {key.low ^ 0x736f6d6570736575, key.high ^ 0x646f72616e646f6d,
                         key.low ^ 0x6c7967656e657261, key.high ^ 0x7465646279746573};
    uint64_t last = uint64_t{text.size()} << 56;
    for (; text.size() >= 8; text.remove_prefix(8)) {
        uint64_t word;
        std::memcpy(&word, text.data(), 8);
        take_word(state, word);
    }
    for (size_t i = 0; i < text.size(); ++i)
        last |= uint64_t{static_cast<uint8_t>(text[i])} << (8 * i);
    take_word(state, last);
    state.c ^= 0xff;
    for (int i = 0; i < 4; ++i)
        mix(state);
    return state.a ^ state.b ^ state.c ^ state.d;
}

uint64_t text_hash_pair(const text_hash_key_t &key, uint64_t first, uint64_t second)
{
    const uint64_t both[2] = {first, second};
    return text_hash(key, {reinterpret_cast<const char *>(both), sizeof(both)});
}
