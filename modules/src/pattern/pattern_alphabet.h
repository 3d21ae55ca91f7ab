/// The alphabet of an engine: which bytes its edges carry, and the code of each.
///
/// Transition rows have one word per code, so only the bytes that occur get one. The lowest
/// codes are reserved by the engine for words that are not transitions. Codes follow the order
/// of first insertion, or frequency when the configuration asks for it.
///
/// Serialized (276 bytes): a blob of type 25 with the 4-byte number of codes, reserved ones
/// included, and a blob of type 26 with the codes of the bytes 0 to 255, one byte each; 0 for a
/// byte outside the alphabet.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>

#include "pattern_types.h"
#include "tlv_sink.h"

/// One byte of an alphabet.
struct ps_alphabet_map_t {
    uint8_t value = 0;
    uint16_t counter = 0; ///< edges that carry it, modulo 65536
};

struct ps_alphabet {
    std::array<ps_alphabet_map_t, 256> map{}; ///< the bytes in code order, `nr` in use
    std::array<uint16_t, 256> place{};        ///< by byte: its position in `map` + 1, or 0
    uint16_t nr = 0;
    uint8_t nr_meta_data = 0; ///< reserved codes, 0 to `nr_meta_data` - 1
    uint8_t config = 0;       ///< alpha_config_t flags
};
using ps_alphabet_t = ps_alphabet;

/// Makes `alphabet` empty, without configuration, with the given number of reserved codes.
void pattern_alphabet_init(ps_alphabet &alphabet, uint8_t nr_meta_data);

/// Counts one edge that carries `c`. Returns 0, or MODULE_ERR_INVALID when 256 other bytes are in
/// already, which cannot happen as long as a byte has 8 bits.
[[nodiscard]] int pattern_alphabet_insert(ps_alphabet &alphabet, uint8_t c);

/// With ALPHA_CONFIG_SORT_ENABLE, orders the bytes by their counters, the largest first; equal
/// counters keep the order of first insertion.
void pattern_alphabet_finalize(ps_alphabet &alphabet);

/// Returns the word of a transition row that belongs to `c`: its position in the alphabet plus
/// the reserved codes, or 0 for a byte outside the alphabet.
inline uint32_t pattern_alphabet_column(const ps_alphabet &alphabet, uint8_t c)
{
    const uint32_t place = alphabet.place[c];
    return place == 0 ? 0 : place - 1 + alphabet.nr_meta_data;
}

/// Returns the code of `c`: its column truncated to 8 bits. In an alphabet with more than 256
/// codes the last bytes therefore share the reserved codes. Oddity O154.
inline uint8_t pattern_alphabet_find(const ps_alphabet &alphabet, uint8_t c)
{
    return static_cast<uint8_t>(pattern_alphabet_column(alphabet, c));
}

/// Returns the number of words of a transition row: one per code, reserved ones included.
inline uint32_t pattern_alphabet_width(const ps_alphabet &alphabet)
{
    return uint32_t{alphabet.nr} + alphabet.nr_meta_data;
}

/// Returns `c`, with ASCII capitals turned into small letters when `config` folds case.
inline uint8_t conv_char(uint8_t config, uint8_t c)
{
    const bool folds = (config & ALPHA_CONFIG_ICASE_ENABLE) != 0 && c >= 'A' && c <= 'Z';
    return folds ? static_cast<uint8_t>(c ^ 0x20) : c;
}

/// Emits the alphabet. Capitals get the code of their small letter when case is folded.
void pattern_alphabet_emit(const ps_alphabet &alphabet, tlv_sink_t &sink);

/// Returns the size in bytes of a serialized alphabet: always 276.
size_t pattern_alphabet_get_size();

/// Writes the alphabet into the zero-filled `buf`. Returns the position behind it, or null when it
/// does not fit.
[[nodiscard]] uint8_t *pattern_alphabet_serialize(const ps_alphabet &alphabet,
                                                  std::span<uint8_t> buf);
