#include <algorithm>
#include <cstring>

#include "csa_endian.h"
#include "format_limits.h"
#include "hstring.h"

int hstring_serialize(const string_htable &table, std::span<uint8_t> buf)
{
    if (buf.size() != hstring_get_size(table))
        return MODULE_ERR_INVALID;
    for (const hs_elt &elt : table.hb_tab)
        if (elt.hse_len > HSTRING_LEN_MAX)
            return MODULE_ERR_INVALID;
    std::fill(buf.begin(), buf.end(), uint8_t{0});
    for (const hs_elt &elt : table.hb_tab) {
        uint8_t *at = buf.data() + elt.hse_offset;
        csa_set_be16(at, static_cast<uint16_t>(elt.hse_len));
        std::memcpy(at + 2, elt.hse_str, elt.hse_len);
    }
    return MODULE_SUCCESS;
}
