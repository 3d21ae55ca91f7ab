/// Stored words and records, as the readers of descriptions take them; not for callers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "csa_endian.h"
#include "csa_str.h"
#include "hstring.h"
#include "pdata_error.h"

/// Returns stored word `index` of a list.
inline uint32_t protodesc_word(const uint8_t *words, uint32_t index)
{
    return csa_get_be32(words + size_t{index} * 4);
}

/// Gives the string at `offset` of a table.
[[nodiscard]] inline pdata_status_t protodesc_str(uint32_t offset, const hstring_t &hstring,
                                                  csa_str_t *str)
{
    return module_err2pdata_status(PDATA_MODULE_HSTRING, hstring_get_str(hstring, offset, str));
}

/// Gives the string that stored word `index` of a list refers to.
[[nodiscard]] inline pdata_status_t protodesc_word_str(const uint8_t *words, uint32_t index,
                                                       const hstring_t &hstring, csa_str_t *str)
{
    return protodesc_str(protodesc_word(words, index), hstring, str);
}

/// A record within a run of records.
struct protodesc_record_t {
    uint32_t type;
    const uint8_t *words; ///< its value
    uint32_t len;         ///< its words
};

/// Takes the record whose header is word `at` of the `total` words at `words`. Returns false when
/// the record does not end within them; its type and length are given all the same when its
/// header does.
inline bool protodesc_record_at(const uint8_t *words, uint32_t total, uint32_t at,
                                protodesc_record_t *record)
{
    *record = {};
    if (words == nullptr || at >= total)
        return false;
    const uint32_t header = protodesc_word(words, at);
    *record = {header >> 24, words + (size_t{at} + 1) * 4, header & 0xFFFFFF};
    return record->len <= total - at - 1;
}

/// Takes record `index` of a list whose word offsets stand in a list of their own. The records of
/// a list follow one another: one that begins within the record before it is refused as well, so
/// that a walk over a list costs no more than the list is long.
inline bool protodesc_record_in_list(const uint8_t *words, uint32_t total, const uint8_t *offsets,
                                     uint32_t index, protodesc_record_t *record)
{
    const uint32_t at = protodesc_word(offsets, index);
    if (index != 0) {
        protodesc_record_t before;
        const uint32_t at_before = protodesc_word(offsets, index - 1);
        if (!protodesc_record_at(words, total, at_before, &before) || at <= at_before ||
            at - at_before <= before.len) {
            *record = {};
            return false;
        }
    }
    return protodesc_record_at(words, total, at, record);
}

struct ruledesc_t;

/// Reads the value of a rule's record into a view; false when it is damaged.
bool ruledesc_read(const protodesc_record_t &record, ruledesc_t *ruledesc);
