/// Texts as keyed 64-bit hashes: what stands for a text where thousands are compared.
///
/// SipHash-2-4 (Aumasson and Bernstein, 2012) under a key that is drawn for each run: who writes a
/// file cannot make texts of one hash, and of a million different texts two have one with a chance
/// of 1 in 37 million. Texts and their numbers in a table were turned down: the table takes many
/// times the bytes of a file.
#pragma once

#include <cstdint>
#include <string_view>

struct text_hash_key_t {
    uint64_t low = 0;
    uint64_t high = 0;
};

/// Draws a key.
text_hash_key_t text_hash_key();

/// Returns the hash of a text, or of two hashes in their order.
uint64_t text_hash(const text_hash_key_t &key, std::string_view text);
uint64_t text_hash_pair(const text_hash_key_t &key, uint64_t first, uint64_t second);
