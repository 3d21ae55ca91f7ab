#include "plu_group.h"

#include "tlv_description.h"

namespace
{

/// Gives the next record of a look-up's walk, which must be of that type, if there is one.
pdata_status_t take_known_type(view_cursor_t *walk, uint32_t type, view_record_t *record,
                               bool *there)
{
    *there = view_next(*walk, *record);
    if (!*there && walk->end != VIEW_WALK_OVERLONG)
        return PDATA_SUCCESS;
    if (record->type != type)
        return pdata_fail(PDATA_ERR_TLV_NOT_FOUND, "Unknown type 0x%x", record->type);
    return *there ? PDATA_SUCCESS : PDATA_ERR_TLV_NOT_FOUND;
}

/// Enters the next group, if there is one. A damaged one stays the next.
pdata_status_t enter_group(plu_base_t *base, bool *there)
{
    view_cursor_t groups = base->groups;
    view_record_t record;
    plu_group_t group;
    PDATA_TRY(take_known_type(&groups, TLV_TYPE_PROTOGROUP, &record, there));
    if (!*there)
        return PDATA_SUCCESS;
    PDATA_TRY(pdata_update_pg_get(view_bytes(record.value), &group));
    base->groups = groups;
    base->protos = view_walk(view_file(group.protos));
    return PDATA_SUCCESS;
}

/// Looks an id up in the group entered last, from where the look-ups left off. What is passed goes
/// into the index; a damaged protocol stays the next.
pdata_status_t pdata_update_pg_has_id(plu_base_t *base, uint32_t protoid, bool *found,
                                      protodesc_t *proto)
{
    for (*found = false; !*found;) {
        view_cursor_t protos = base->protos;
        view_record_t record;
        bool there;
        PDATA_TRY(take_known_type(&protos, TLV_TYPE_PROTO, &record, &there));
        if (!there)
            break;
        PDATA_TRY(protodesc_deserialize(proto, view_bytes(record.value)));
        base->passed.try_emplace(protodesc_get_id(*proto), view_bytes(record.value));
        base->protos = protos;
        *found = protodesc_get_id(*proto) == protoid;
    }
    return PDATA_SUCCESS;
}

} // namespace

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
    PDATA_TRY(tlv_value_search(TLV_TYPE_PROTOGROUP_PROTOS, group, &found->protos));
    PDATA_TRY(tlv_value_search(TLV_TYPE_PROTOGROUP_STRING, group, &strings));
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
    for (bool there = true; there && !*found;) {
        PDATA_TRY(pdata_update_pg_has_id(base, protoid, found, proto));
        if (!*found)
            PDATA_TRY(enter_group(base, &there));
    }
    return PDATA_SUCCESS;
}
