/// Hashed strings: the string pool of every serialized structure.
///
/// While a structure is built, each distinct string is stored once and receives a byte offset in
/// a flat string area; records elsewhere refer to the string by that offset. At the end the pool
/// is written as one blob, from which a reader takes a string back by its offset. A sorted table
/// or a trie would be smaller to search, but the offsets must be known while strings still come.
///
/// The blob, big-endian: one entry per string in the order of insertion, each a 2-byte length L,
/// the L bytes, and one 0 byte when L is odd, so that every entry starts at an even offset; then
/// zeros up to a multiple of 4 bytes. An entry's offset is that of its length.
///
/// Operations return 0, MODULE_ERR_INVALID on a failure of their arguments, or, where they
/// allocate, MODULE_ERR_NO_MEMORY.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "csa_str.h"
#include "module_error.h"

/// One stored string. The bytes belong to the caller and must outlive the pool.
struct hs_elt {
    const char *hse_str;
    uint32_t hse_len;    ///< bytes
    uint32_t hse_offset; ///< bytes from the start of the string area
    uint64_t hse_hash;   ///< djb2_hashk of the string
    uint32_t hse_next;   ///< next element of the same index chain, HSTRING_NO_ELT at its end
};

constexpr uint32_t HSTRING_NO_ELT = 0xFFFFFFFFU;

/// The offset of a string that memory did not suffice to store.
constexpr uint32_t HSTRING_NO_OFFSET = 0xFFFFFFFFU;

/// Lines of a pool when the caller names no number.
constexpr uint32_t HSTRING_DEFAULT_LINES = 1024;

/// A pool under construction.
struct string_htable {
    std::vector<hs_elt> hb_tab;     ///< stored strings, by insertion and so by offset
    std::vector<uint32_t> hb_index; ///< chain heads, a power of two; positions in `hb_tab`
    uint32_t hb_offset = 0;         ///< size of the string area: the next new string's offset
    uint32_t hb_nr_line = 0;        ///< lines, a power of two; 0 before hstring_init
};

using hstring_build_t = string_htable;

/// A read-only view of a serialized pool. The blob is not copied and must outlive the view.
struct hstring_t {
    const uint8_t *hs_str = nullptr;
    uint32_t hs_len = 0; ///< bytes
};

/// Hash of Daniel J. Bernstein (comp.lang.c, 1991): h = h * 33 + b from 5381, in 64 bits, with
/// each byte taken as signed. The sign extension is part of the hash. Oddity O169.
uint64_t djb2_hashk(const char *str, size_t len);

/// Makes `table` an empty pool of `nr_line` lines (a power of two; 0 means 1024).
///
/// The line of a string is its hash masked with `nr_line` - 1. It decides one thing that a reader
/// can see: only strings of one line can be taken for equal (see hstring_find_elt).
[[nodiscard]] int hstring_init(string_htable *table, uint32_t nr_line);

/// Stores `string` if it is new, and gives its offset in `*offset`. The bytes are not copied.
///
/// Fails when the table is absent or not initialised, when the string is absent or empty (the
/// pool never holds an empty string: oddity O170): MODULE_ERR_INVALID. When memory runs out, the
/// pool is as it was and `*offset` is HSTRING_NO_OFFSET: MODULE_ERR_NO_MEMORY.
[[nodiscard]] int hstring_get_offset(string_htable *table, csa_str_t string, uint32_t *offset);

/// Returns the stored element that equals `string`, or null.
///
/// Two strings are equal when they lie on the same line, have the same length, and agree up to
/// the end or up to a 0 byte that both hold at the same place. Oddity O167.
const hs_elt *hstring_find_elt(const string_htable &table, csa_str_t string);

/// Returns the size in bytes of the serialized pool: `hb_offset` rounded up to a multiple of 4.
uint32_t hstring_get_size(const string_htable &table);

/// Writes the pool into `buf`, which is overwritten whole. Fails, writing nothing, unless the
/// size of `buf` equals hstring_get_size, or when a stored length exceeds HSTRING_LEN_MAX.
[[nodiscard]] int hstring_serialize(const string_htable &table, std::span<uint8_t> buf);

/// Empties the pool; hstring_init must come before the next use.
void hstring_clean(string_htable *table);

/// Makes `view` look at the `len` bytes of a serialized pool at `blob`. Nothing is checked.
[[nodiscard]] int hstring_deserialize(hstring_t *view, const uint8_t *blob, uint32_t len);

/// Gives the string stored at `offset` of the pool as a view into the blob. A string that runs
/// past the end of the pool is cut there. Fails when `offset` does not lie at least 3 bytes
/// before the end.
[[nodiscard]] int hstring_get_str(const hstring_t &view, uint32_t offset, csa_str_t *out_str);

/// Inserts the strings of a serialized pool into `table` in their order, so that an empty table
/// reproduces the offsets of the blob. The walk ends with success at the first entry of length 0.
///
/// An entry that ends exactly at the end of the blob is not inserted: its bytes are taken for the
/// entries that follow. Oddity O168. Fails when the view is empty or a string is refused.
[[nodiscard]] int hstring_build_deserialize(const hstring_t *view, string_htable *table);
