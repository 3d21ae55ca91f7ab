#include "plu_group.h"

#include "tlv_description.h"

namespace
{

/// Takes the next record of a look-up's walk, which must be of that type.
pdata_status_t take_known_type(std::span<const uint8_t> *area, uint32_t type, plu_record_t *record)
{
    const bool whole = plu_take_record(area, record);
    if (record->type != type)
        return pdata_fail(PDATA_ERR_TLV_NOT_FOUND, "Unknown type 0x%x", record->type);
    return whole ? PDATA_SUCCESS : PDATA_ERR_TLV_NOT_FOUND;
}

/// Enters the next group. A damaged one stays the next.
pdata_status_t enter_group(plu_base_t *base)
{
    std::span<const uint8_t> rest = base->groups;
    plu_record_t record;
    plu_group_t group;
    pdata_status_t status = take_known_type(&rest, TLV_TYPE_PROTOGROUP, &record);
    if (status == PDATA_SUCCESS)
        status = pdata_update_pg_get(record.value, &group);
    if (status != PDATA_SUCCESS)
        return status;
    base->groups = rest;
    base->protos = group.protos;
    return PDATA_SUCCESS;
}

/// Passes the next protocol of the group, into the index. A damaged one stays the next.
pdata_status_t pass_protocol(plu_base_t *base, protodesc_t *proto)
{
    std::span<const uint8_t> rest = base->protos;
    plu_record_t record;
    pdata_status_t status = take_known_type(&rest, TLV_TYPE_PROTO, &record);
    if (status == PDATA_SUCCESS)
        status = protodesc_deserialize(proto, record.value);
    if (status != PDATA_SUCCESS)
        return status;
    base->passed.try_emplace(protodesc_get_id(*proto), record.value);
    base->protos = rest;
    return PDATA_SUCCESS;
}

} // namespace

bool plu_take_record(std::span<const uint8_t> *area, plu_record_t *record)
{
    const uint32_t header = tlv_get(area->data());
    const size_t len = size_t{header & TLV_LEN_FIELD_MAX} * 4;
    *record = {header >> 24, {}};
    if (len > area->size() - 4)
        return false;
    record->value = area->subspan(4, len);
    *area = area->subspan(4 + len);
    return true;
}

pdata_status_t plu_get_groups(std::span<const uint8_t> pdb_tlv, std::span<const uint8_t> *groups)
{
    return tlv_value_search(TLV_TYPE_ROOT_PROTODESCS, pdb_tlv, groups);
}

pdata_status_t plu_get_root_hstring(std::span<const uint8_t> m_hstring_tlv, hstring_t *root)
{
    std::span<const uint8_t> strings;
    if (tlv_value_search(TLV_TYPE_ROOT_STRING, m_hstring_tlv, &strings) != PDATA_SUCCESS)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Cannot retrieve root hstring in tlv data\n");
    return module_err2pdata_status(
        PDATA_MODULE_HSTRING,
        hstring_deserialize(root, strings.data(), static_cast<uint32_t>(strings.size())));
}

pdata_status_t pdata_update_pg_get(std::span<const uint8_t> group, plu_group_t *found)
{
    std::span<const uint8_t> strings;
    pdata_status_t status = tlv_value_search(TLV_TYPE_PROTOGROUP_PROTOS, group, &found->protos);
    if (status == PDATA_SUCCESS)
        status = tlv_value_search(TLV_TYPE_PROTOGROUP_STRING, group, &strings);
    if (status != PDATA_SUCCESS)
        return status;
    return module_err2pdata_status(PDATA_MODULE_HSTRING,
                                   hstring_deserialize(&found->pg_hstring, strings.data(),
                                                       static_cast<uint32_t>(strings.size())));
}

pdata_status_t plu_base_has_id(plu_base_t *base, uint32_t protoid, bool *found, protodesc_t *proto)
{
    const auto known = base->passed.find(protoid);
    *found = known != base->passed.end();
    if (*found)
        return protodesc_deserialize(proto, known->second);
    while (base->protos.size() >= 4 || base->groups.size() >= 4) {
        if (base->protos.size() < 4) {
            const pdata_status_t status = enter_group(base);
            if (status != PDATA_SUCCESS)
                return status;
            continue;
        }
        const pdata_status_t status = pass_protocol(base, proto);
        if (status != PDATA_SUCCESS)
            return status;
        *found = protodesc_get_id(*proto) == protoid;
        if (*found)
            return PDATA_SUCCESS;
    }
    return PDATA_SUCCESS;
}
