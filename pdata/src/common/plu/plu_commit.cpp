#include "plu_priv.h"
#include "plu_protobuild.h"
#include "protodesc_serializer.h"
#include "tlv_description.h"

namespace
{

/// Refuses protocols that no list can hold; what a later one would add is not built first.
pdata_status_t check_list_size(size_t proto_size)
{
    tlv_sink_t list = tlv_sink_counting();
    const size_t header = tlv_open_record(list);
    (void)tlv_sink_take(list, proto_size);
    return tlv_close_record(list, header, TLV_TYPE_PROTOGROUP_PROTOS);
}

/// Rebuilds the protocols of a group of the base.
pdata_status_t pdata_update_proto_do_merge(pdata_commit_priv *priv, const plu_group_t &group,
                                           protodesc_build_t *pb)
{
    const plu_strings_t strings = {group.pg_hstring, priv->ci_root_hstring};
    return plu_for_each(group.protos, TLV_TYPE_PROTO, [&](std::span<const uint8_t> proto_tlv) {
        protodesc_t proto;
        PDATA_TRY(protodesc_deserialize(&proto, proto_tlv));
        protodesc_reset(pb);
        plu_rule_index_reset(&priv->known);
        PDATA_TRY(plu_merge_proto_to_protobuild(pb, proto, strings, &priv->ci_nr_rules, nullptr));
        PDATA_TRY(process_pending_actions(priv, protodesc_get_id(proto), pb));
        return pdata_update_proto_serialize(priv, *pb);
    });
}

/// Builds the protocols that the base lacks: bucket by bucket, the newest first.
pdata_status_t pdata_update_proto_do_create(pdata_commit_priv *priv, protodesc_build_t *pb)
{
    for (const taq_action_list_t &bucket : priv->ci_pg.action_table.action_list) {
        for (const action &entry : bucket.data) {
            if (entry.a_type != ACTION_ADD)
                continue;
            const plu_strings_t strings = {entry.a_pg_hstring, entry.a_root_hstring};
            protodesc_reset(pb);
            PDATA_TRY(plu_merge_proto_to_protobuild(pb, entry.a_proto, strings, &priv->ci_nr_rules,
                                                    nullptr));
            PDATA_TRY(pdata_update_proto_serialize(priv, *pb));
        }
    }
    return PDATA_SUCCESS;
}

/// Rebuilds one group of the base. The new protocols are created for each group:
/// oddity O114; every pdb written here has one group.
pdata_status_t pdata_update_commit_pg(pdata_commit_priv *priv, std::span<const uint8_t> group_tlv)
{
    plu_group_t group;
    PDATA_TRY(pdata_update_pg_get(group_tlv, &group));
    protodesc_bounds_t bounds;
    protodesc_populate_bounds(&bounds);
    protodesc_build_t pb;
    if (!protodesc_init(&pb, bounds, &priv->ci_pg.pg_hstring, &priv->ci_pg.ruletag_hstring))
        return PDATA_ERR_NO_MEMORY;
    PDATA_TRY(pdata_update_proto_do_merge(priv, group, &pb));
    return pdata_update_proto_do_create(priv, &pb);
}

} // namespace

pdata_status_t plu_commit_groups(pdata_commit_priv *priv)
{
    // A commit that failed before leaves its protocols and strings.
    priv->ci_pg.pg_seria_protos.clear();
    priv->ci_proto_size = 0;
    priv->ci_nr_rules = 0;
    priv->updates.clear();
    if (hstring_init(&priv->ci_pg.pg_hstring, 0) != 0)
        return PDATA_ERR_NO_MEMORY;
    return plu_for_each(priv->groups, TLV_TYPE_PROTOGROUP, [&](std::span<const uint8_t> group) {
        return pdata_update_commit_pg(priv, group);
    });
}

pdata_status_t process_pending_actions(pdata_commit_priv *priv, uint32_t protoid,
                                       protodesc_build_t *pb)
{
    const std::span<const action *const> actions =
        plu_lookup_action_list(priv->ci_pg.action_table, protoid);
    if (actions.empty())
        return PDATA_SUCCESS;
    const auto [updates, is_new] = priv->updates.try_emplace(protoid);
    if (is_new)
        updates->second = plu_read_updates(*pb, actions);
    for (const plu_stretch_t &stretch : updates->second.stretches) {
        if (stretch.type == ACTION_DEL_RULES) {
            protodesc_reset_rules(pb);
            plu_rule_index_reset(&priv->known);
        } else if (stretch.type == ACTION_UPDATE) {
            PDATA_TRY(plu_apply_updates(pb, updates->second, actions, stretch, &priv->ci_nr_rules,
                                        &priv->known));
        }
    }
    return PDATA_SUCCESS;
}

pdata_status_t pdata_update_proto_serialize(pdata_commit_priv *priv, const protodesc_build_t &pb)
{
    const size_t proto_tlvlen = protodesc_get_tlv_size(pb);
    PDATA_TRY(check_list_size(priv->ci_proto_size + 4 + proto_tlvlen));
    seria_proto proto;
    if (!csa_buf_alloc(proto.proto_tlv, proto_tlvlen))
        return PDATA_ERR_NO_MEMORY;
    tlv_sink_t sink = tlv_sink_writing(proto.proto_tlv);
    PDATA_TRY(protodesc_emit(pb, sink));
    priv->ci_pg.pg_seria_protos.push_front(std::move(proto));
    priv->ci_proto_size += 4 + proto_tlvlen;
    return PDATA_SUCCESS;
}
