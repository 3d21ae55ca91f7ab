#include "plu.h"

#include "plu_priv.h"
#include "tlv_description.h"

namespace
{

/// Where an incoming protocol comes from.
struct incoming_t {
    hstring_t pg_hstring;
    hstring_t root_hstring;
};

pdata_status_t check_open(const pdata_commit &commit)
{
    if (commit.ci_priv == nullptr)
        return PDATA_ERR_INVALID_ARGUMENT;
    // A merge, a removal and a commit are refused with the words of a serialization.
    // Oddity O45.
    if ((commit.ci_priv->ci_finalized & PLU_FINALIZED) != 0)
        return pdata_fail(PDATA_ERR_INVALID_OPERATION, "Cannot serialize, commit is finalized\n");
    return PDATA_SUCCESS;
}

void plu_copy_revisions_on_proto_update(protodesc_t *proto_new, const protodesc_t &proto)
{
    proto_new->proto_version_major = proto.proto_version_major;
    proto_new->proto_version_minor = proto.proto_version_minor;
    proto_new->proto_version_revision = proto.proto_version_revision;
}

/// Flags of the base that differ from their defaults win.
void plu_copy_doc_on_proto_update(protodesc_t *proto_new, const protodesc_t &proto)
{
    if (proto.proto_cacheable != 1)
        proto_new->proto_cacheable = proto.proto_cacheable;
    if (proto.proto_http_reclassify != 0)
        proto_new->proto_http_reclassify = proto.proto_http_reclassify;
    if (proto.proto_implicit_bottom_layer != 0)
        proto_new->proto_implicit_bottom_layer = proto.proto_implicit_bottom_layer;
}

pdata_status_t pdata_update_proto_merge(pdata_commit_priv *priv, const incoming_t &incoming,
                                        std::span<const uint8_t> proto_tlv)
{
    action entry = {ACTION_ADD, 0, {}, incoming.pg_hstring, incoming.root_hstring};
    PDATA_TRY(protodesc_deserialize(&entry.a_proto, proto_tlv));
    entry.a_protoid = protodesc_get_id(entry.a_proto);
    check_proto_t check;
    check.enable = true;
    bool found;
    PDATA_TRY(pdata_update_has_id(priv, entry.a_protoid, &found, &check));
    if (check.in_base) {
        plu_copy_revisions_on_proto_update(&entry.a_proto, check.proto);
        plu_copy_doc_on_proto_update(&entry.a_proto, check.proto);
    }
    if (found)
        entry.a_type = ACTION_UPDATE;
    else if (protodesc_get_ns(entry.a_proto) != PLU_USER_NAMESPACE)
        return pdata_fail(PDATA_ERR_PROTODESC_ID_OR_NAME_OR_NS,
                          "You try and add a protocol not in user namespace");
    plu_insert_action(&priv->ci_pg.action_table, entry);
    return PDATA_SUCCESS;
}

pdata_status_t pdata_update_pg_merge(pdata_commit_priv *priv, const hstring_t &root_hstring,
                                     std::span<const uint8_t> group_tlv)
{
    plu_group_t group;
    PDATA_TRY(pdata_update_pg_get(group_tlv, &group));
    const incoming_t incoming = {group.pg_hstring, root_hstring};
    return plu_for_each(group.protos, TLV_TYPE_PROTO, [&](std::span<const uint8_t> proto_tlv) {
        return pdata_update_proto_merge(priv, incoming, proto_tlv);
    });
}

pdata_status_t init(pdata_commit *commit, std::span<const uint8_t> pdb_tlv,
                    std::span<const uint8_t> m_hstring_tlv)
{
    auto priv = std::make_unique<pdata_commit_priv>();
    PDATA_TRY(plu_get_root_hstring(m_hstring_tlv, &priv->ci_root_hstring));
    PDATA_TRY(plu_get_groups(pdb_tlv, &priv->groups));
    if (hstring_init(&priv->ci_pg.pg_hstring, 0) != 0 ||
        hstring_init(&priv->ci_pg.ruletag_hstring, 0) != 0)
        return PDATA_ERR_NO_MEMORY;
    plu_init_action_table(&priv->ci_pg.action_table);
    priv->base.groups = view_walk(view_file(priv->groups));
    commit->ci_tlv = pdb_tlv.data();
    commit->ci_tlvlen = pdb_tlv.size();
    commit->ci_priv = std::move(priv);
    return PDATA_SUCCESS;
}

pdata_status_t merge(pdata_commit_priv *priv, std::span<const uint8_t> tlv,
                     std::span<const uint8_t> m_hstring_tlv)
{
    hstring_t root_hstring;
    if (!m_hstring_tlv.empty()) {
        PDATA_TRY(plu_get_root_hstring(m_hstring_tlv, &root_hstring));
        PDATA_TRY(plu_load_ruletags(&priv->ci_pg, root_hstring));
    }
    std::span<const uint8_t> groups;
    PDATA_TRY(plu_get_groups(tlv, &groups));
    return plu_for_each(groups, TLV_TYPE_PROTOGROUP, [&](std::span<const uint8_t> group_tlv) {
        return pdata_update_pg_merge(priv, root_hstring, group_tlv);
    });
}

pdata_status_t remove_rules(pdata_commit_priv *priv, uint32_t protoid)
{
    bool found = false;
    check_proto_t check;
    PDATA_TRY(plu_load_ruletags(&priv->ci_pg, priv->ci_root_hstring));
    PDATA_TRY(pdata_update_has_id(priv, protoid, &found, &check));
    if (!found)
        return pdata_fail(PDATA_ERR_PLU, "proto id %d not found\n", static_cast<int>(protoid));
    plu_insert_action(&priv->ci_pg.action_table, {ACTION_DEL_RULES, protoid, {}, {}, {}});
    return PDATA_SUCCESS;
}

pdata_status_t commit_all(pdata_commit_priv *priv)
{
    if (!priv->ci_pg.ruletag_hstring_is_set)
        PDATA_TRY(plu_load_ruletags(&priv->ci_pg, priv->ci_root_hstring));
    PDATA_TRY(plu_commit_groups(priv));
    priv->ci_finalized |= PLU_FINALIZED;
    return PDATA_SUCCESS;
}

} // namespace

pdata_commit::pdata_commit() = default;
pdata_commit::~pdata_commit() = default;

pdata_status_t pdata_update_has_id(pdata_commit_priv *priv, uint32_t protoid, bool *found,
                                   check_proto_t *check)
{
    check->in_base = false;
    *found = plu_lookup_action_by_type(priv->ci_pg.action_table, protoid, ACTION_ADD) != nullptr;
    if (*found)
        return PDATA_SUCCESS;
    protodesc_t proto;
    PDATA_TRY(plu_base_has_id(&priv->base, protoid, found, &proto));
    if (*found && check->enable) {
        check->in_base = true;
        check->proto = proto;
    }
    return PDATA_SUCCESS;
}

pdata_status_t plu_load_ruletags(pdata_update_pg_t *pg, const hstring_t &root)
{
    pg->ruletag_hstring_is_set = true;
    const int ret = hstring_build_deserialize(&root, &pg->ruletag_hstring);
    // An empty table is refused like a missing one, but has nothing to load.
    if (root.hs_len == 0)
        return PDATA_SUCCESS;
    return module_err2pdata_status(PDATA_MODULE_HSTRING, ret);
}

pdata_status_t pdata_update_init(pdata_commit *commit, std::span<const uint8_t> pdb_tlv,
                                 std::span<const uint8_t> m_hstring_tlv)
{
    pdata_update_close(commit);
    return pdata_guard([&] { return init(commit, pdb_tlv, m_hstring_tlv); });
}

pdata_status_t pdata_update_merge(pdata_commit *commit, std::span<const uint8_t> tlv,
                                  std::span<const uint8_t> m_hstring_tlv)
{
    PDATA_TRY(check_open(*commit));
    return pdata_guard([&] { return merge(commit->ci_priv.get(), tlv, m_hstring_tlv); });
}

pdata_status_t pdata_update_remove(pdata_commit *commit, uint32_t protoid)
{
    PDATA_TRY(check_open(*commit));
    return pdata_guard([&] { return remove_rules(commit->ci_priv.get(), protoid); });
}

pdata_status_t pdata_update_commit(pdata_commit *commit)
{
    PDATA_TRY(check_open(*commit));
    return pdata_guard([&] { return commit_all(commit->ci_priv.get()); });
}

void pdata_update_close(pdata_commit *commit)
{
    commit->ci_tlv = nullptr;
    commit->ci_tlvlen = 0;
    commit->ci_priv.reset();
}
