#include "hstring.h"
#include "view_pool.h"

int hstring_get_str(const hstring_t &view, uint32_t offset, csa_str_t *out_str)
{
    std::string_view text;
    if (view.hs_str == nullptr || !view_pool_cut({{view.hs_str, view.hs_len, 0}}, offset, text))
        return MODULE_ERR_INVALID;
    *out_str = csa_str(text);
    return MODULE_SUCCESS;
}
