#include "matcher_alias_deserialize.h"

#include "csa_endian.h"

namespace
{

pdata_status_t read_elt(const uint8_t *at, const hstring_t &hstring, alias_elt_t *elt)
{
    int ret = hstring_get_str(hstring, csa_get_be32(at), &elt->proto_name);
    if (ret == 0)
        ret = hstring_get_str(hstring, csa_get_be32(at + 4), &elt->attr_name);
    elt->way = static_cast<csa_attr_way_t>(at[8]);
    return module_err2pdata_status(PDATA_MODULE_HSTRING, ret);
}

} // namespace

pdata_status_t matcher_alias_deserialize(std::span<const uint8_t> tlv_data, uint32_t index,
                                         const hstring_t &hstring, alias_pair_t *pair)
{
    if (index >= tlv_data.size() / MATCHER_ALIAS_PAIR_SIZE)
        return PDATA_ERR_INVALID_ARGUMENT;
    const uint8_t *at = tlv_data.data() + size_t{index} * MATCHER_ALIAS_PAIR_SIZE;
    PDATA_TRY(read_elt(at, hstring, &pair->alias));
    return read_elt(at + MATCHER_ALIAS_PAIR_SIZE / 2, hstring, &pair->reference);
}
