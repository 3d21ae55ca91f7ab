/// Stored words, as the readers of descriptions take them; not for callers.
#pragma once

#include <cstddef>
#include <cstdint>

#include "csa_endian.h"
#include "csa_str.h"
#include "hstring.h"
#include "pdata_error.h"
#include "view_description.h"

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

/// Returns the area of `nr` stored words, which may be null when there are none.
inline view_area_t whole_words(const uint8_t *words, size_t nr)
{
    return {words, nr * 4, 0};
}

struct ruledesc_t;

/// Reads rule `index` of a list; false when it is damaged.
bool ruledesc_read(const view_list_t &rules, uint32_t index, ruledesc_t *ruledesc);
