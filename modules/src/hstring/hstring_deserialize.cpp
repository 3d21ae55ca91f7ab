#include "csa_endian.h"
#include "hstring.h"

int hstring_deserialize(hstring_t *view, const uint8_t *blob, uint32_t len)
{
    if (view == nullptr)
        return MODULE_ERR_INVALID;
    *view = {blob, len};
    return MODULE_SUCCESS;
}

int hstring_build_deserialize(const hstring_t *view, string_htable *table)
{
    if (view == nullptr || table == nullptr || view->hs_str == nullptr || view->hs_len == 0)
        return MODULE_ERR_INVALID;
    const uint8_t *cursor = view->hs_str;
    uint32_t remaining = view->hs_len;
    uint32_t padded = 0;
    while (remaining >= 3 && view->hs_len > padded) {
        const uint16_t len = csa_get_be16(cursor);
        remaining -= 2;
        cursor += 2;
        padded = len + (len & 1U);
        if (len == 0)
            return MODULE_SUCCESS;
        if (remaining <= padded)
            continue;
        uint32_t offset;
        const int code = hstring_get_offset(
            table, csa_str(reinterpret_cast<const char *>(cursor), len), &offset);
        if (code != MODULE_SUCCESS)
            return code;
        remaining -= padded;
        cursor += padded;
    }
    return MODULE_SUCCESS;
}
