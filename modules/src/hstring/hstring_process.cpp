#include <algorithm>

#include "csa_endian.h"
#include "hstring.h"

int hstring_get_str(const hstring_t &view, uint32_t offset, csa_str_t *out_str)
{
    if (view.hs_str == nullptr || view.hs_len < 2 || offset >= view.hs_len - 2)
        return -1;
    const uint32_t stored = csa_get_be16(view.hs_str + offset);
    const uint32_t available = view.hs_len - offset - 2;
    *out_str = csa_str(reinterpret_cast<const char *>(view.hs_str + offset + 2),
                       std::min(stored, available));
    return 0;
}
