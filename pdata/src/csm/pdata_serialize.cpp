#include "pdata_serialize.h"

#include "hstring_record.h"
#include "json_tools.h"
#include "protodesc_group.h"
#include "tag_table_serialize.h"
#include "tlv_description.h"

namespace
{

/// One run: what the records have in common.
struct serialization_t {
    const pdata_cfg_t *cfg;
    pdb_list_t *pdb;
    uint32_t n = 0; ///< index of the next record
    hstring_build_t hstring;
    matcher_alias_build_t matcher_alias;
};

std::string_view cfg_text(const serialization_t &run, pdata_meta_t meta, pdata_type_t type)
{
    return pdata_cfg_meta_text(pdata_cfg_meta_find(run.cfg, meta, type));
}

pdb_t *next_record(serialization_t &run)
{
    return &(*run.pdb)[run.n];
}

/// Makes the next record from a buffer.
pdata_status_t set_record(pdb_t *pdb, pdb_type_t type, csa_buf_t &&buf)
{
    return pdb_header_set(pdb, type, std::move(buf)) ? PDATA_SUCCESS : PDATA_ERR_NO_MEMORY;
}

/// Counts a record that was just made. There are six of them at most.
void count_record(serialization_t &run)
{
    static_assert(6 < PDB_LIST_DIM);
    ++run.n;
}

pdata_status_t serialize_pairs(matcher_alias_build_t *matcher_alias, pdb_t *pdb)
{
    const uint32_t nr_alias = matcher_alias->alias_num;
    if (nr_alias >= FENCE_MATCHER_ALIAS_NUMBER)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_MATCHER_ALIAS_PAIRS,
                          static_cast<int>(nr_alias), static_cast<int>(FENCE_MATCHER_ALIAS_NUMBER));
    const uint32_t size = matcher_alias_get_tlv_size(*matcher_alias);
    csa_buf_t buf;
    if (!csa_buf_alloc(buf, size_t{size} + 4))
        return PDATA_ERR_NO_MEMORY;
    uint8_t *end = nullptr;
    PDATA_TRY(matcher_alias_serialize(matcher_alias, buf.data(), size / 4, &end));
    return set_record(pdb, PDB_TYPE_MATCHER_ALIAS, std::move(buf));
}

pdata_status_t pdata_serialize_matcher_alias_pdm(serialization_t &run)
{
    const std::string_view pdm = cfg_text(run, PDATA_META_PDM, PDATA_TYPE_MATCHER_ALIAS);
    if (pdm.data() == nullptr)
        return PDATA_SUCCESS;
    const std::string_view sem = cfg_text(run, PDATA_META_SEM, PDATA_TYPE_MATCHER_ALIAS);
    if (json_to_matcher_alias(pdm, sem, &run.hstring, &run.matcher_alias, run.cfg->ignore_sem) !=
        PDATA_SUCCESS)
        return PDATA_ERR_PRAGMAR;
    PDATA_TRY(pdata_serialize_matcher_alias_pairs(&run.matcher_alias, next_record(run)));
    count_record(run);
    return PDATA_SUCCESS;
}

pdata_status_t pdata_serialize_tag_table_json(serialization_t &run, std::string_view pdm,
                                              std::string_view sem)
{
    std::optional<tag_table_build> table =
        json_to_tag_table(pdm, sem, &run.hstring, run.cfg->ignore_sem);
    if (!table)
        return PDATA_ERR_NO_MEMORY;
    const uint32_t size = tag_table_get_tlv_size(*table);
    csa_buf_t buf;
    if (!csa_buf_alloc(buf, size_t{size} + 4))
        return PDATA_ERR_NO_MEMORY;
    tlv_set(buf.data(), tlv_header(TLV_TYPE_ROOT_TAGS, size / 4));
    uint32_t written = 0;
    PDATA_TRY(tag_table_serialize(*table, std::span(buf).subspan(4), &written));
    if (written != size)
        return PDATA_ERR_INVALID_ARGUMENT;
    return set_record(next_record(run), PDB_TYPE_TAGS, std::move(buf));
}

pdata_status_t pdata_serialize_tag_table_pdm(serialization_t &run)
{
    const std::string_view pdm = cfg_text(run, PDATA_META_PDM, PDATA_TYPE_TAG_TABLE);
    if (pdm.data() == nullptr)
        return PDATA_SUCCESS;
    PDATA_TRY(pdata_serialize_tag_table_json(run, pdm,
                                             cfg_text(run, PDATA_META_SEM, PDATA_TYPE_TAG_TABLE)));
    count_record(run);
    return PDATA_SUCCESS;
}

/// The documents of the configuration that belong into the pdb.
pdata_status_t pdata_serialize_pdm(serialization_t &run)
{
    PDATA_TRY(pdata_serialize_matcher_alias_pdm(run));
    return pdata_serialize_tag_table_pdm(run);
}

bool supplies_aliases(const pdb_t *pdb_default)
{
    return pdb_default != nullptr && (pdb_default->pdb_type == PDB_TYPE_DEFAULT_LOADED ||
                                      pdb_default->pdb_type == PDB_TYPE_TMP);
}

/// The aliases of a pdb that was built before.
pdata_status_t serialize_default_aliases(serialization_t &run, const pdb_t &pdb_default)
{
    const std::span<const uint8_t> bytes = pdb_header_bytes(pdb_default);
    std::span<const uint8_t> strings;
    std::span<const uint8_t> aliases;
    PDATA_TRY(tlv_value_search(TLV_TYPE_ROOT_STRING, bytes, &strings));
    PDATA_TRY(tlv_value_search(TLV_TYPE_ROOT_MATCHER_ALIAS, bytes, &aliases));
    const hstring_t root = {strings.data(), static_cast<uint32_t>(strings.size())};
    PDATA_TRY(
        matcher_alias_build_pairs(root, &run.hstring, &run.matcher_alias, aliases,
                                  static_cast<uint32_t>(aliases.size() / MATCHER_ALIAS_PAIR_SIZE)));
    PDATA_TRY(pdata_serialize_matcher_alias_pairs(&run.matcher_alias, next_record(run)));
    count_record(run);
    return PDATA_SUCCESS;
}

/// Emits the root record of the protocols.
pdata_status_t emit_protogroup(protodesc_group_t *group, csa_buf_t &buf)
{
    tlv_sink_t sink = tlv_sink_growing(buf, protodesc_group_expected(*group));
    const protodesc_headers_t headers = protodesc_open_root(sink);
    PDATA_TRY(protodesc_group_emit(group, sink));
    if (sink.failed)
        return pdata_fail(PDATA_ERR_NO_MEMORY,
                          "protocol_serializer: cannot allocate protogroup buffer.\n");
    PDATA_TRY(protodesc_group_finish(*group));
    tlv_sink_finish(sink);
    return protodesc_close_root(sink, headers);
}

pdata_status_t pdata_serialize_protogroup_json(serialization_t &run, const pdd_t &pdd,
                                               uint32_t proto_sem_type)
{
    protodesc_group_t group;
    group.json_text = {reinterpret_cast<const char *>(pdd.pdd_json.data()), pdd.pdd_json.size()};
    group.main_hstring = &run.hstring;
    (void)matcher_alias_make_alias_keys(
        &group.aliases,
        std::span(run.matcher_alias.aliases).first(run.matcher_alias.alias_idx)); // they fit
    group.json.cfg = run.cfg;
    group.json.proto_sem_type = proto_sem_type;
    csa_buf_t buf;
    PDATA_TRY(emit_protogroup(&group, buf));
    return set_record(next_record(run), PDB_TYPE_PROTOCOL_DESCRIPTION, std::move(buf));
}

/// Every record, from the first to the last.
pdata_status_t serialize_records(serialization_t &run, const pdd_t &pdd, const pdb_t *pdb_default,
                                 uint32_t proto_sem_type)
{
    PDATA_TRY(pdata_serialize_cfg(run.cfg, run.pdb, &run.n, PDATA_TYPE_CSM));
    PDATA_TRY(supplies_aliases(pdb_default) ? serialize_default_aliases(run, *pdb_default)
                                            : pdata_serialize_pdm(run));
    PDATA_TRY(pdata_serialize_protogroup_json(run, pdd, proto_sem_type));
    count_record(run);
    PDATA_TRY(pdata_serialize_main_hstring(run.hstring, next_record(run)));
    count_record(run);
    PDATA_TRY(pdata_serialize_load(next_record(run), TLV_TYPE_LOAD_UNLOADABLE));
    count_record(run);
    return PDATA_SUCCESS;
}

} // namespace

pdata_status_t pdata_serialize(const pdd_t *pdd, pdb_list_t *pdb, const pdata_cfg_t *cfg,
                               const pdb_t *pdb_default, uint32_t proto_sem_type)
{
    // The message names the configuration, which is tested later. Oddity O38.
    if (pdd == nullptr || pdb == nullptr)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "Invalid argument pdb, cfg or pdd is equal to NULL.\n");
    serialization_t run = {cfg, pdb, 0, {}, {}};
    pdata_status_t status =
        module_err2pdata_status(PDATA_MODULE_HSTRING, hstring_init(&run.hstring, 0));
    if (status == PDATA_SUCCESS)
        status =
            pdata_guard([&] { return serialize_records(run, *pdd, pdb_default, proto_sem_type); });
    pdb_header_end(next_record(run));
    string_list_clean();
    return status;
}

pdata_status_t pdata_serialize_load(pdb_t *pdb, uint32_t value)
{
    *pdb = {nullptr, 8, PDB_TYPE_LOAD};
    csa_buf_t buf;
    if (!csa_buf_alloc(buf, 8))
        return PDATA_ERR_NO_MEMORY;
    tlv_set(buf.data(), tlv_header(TLV_TYPE_ROOT_LOAD, 1));
    tlv_set(buf.data() + 4, value);
    return set_record(pdb, PDB_TYPE_LOAD, std::move(buf));
}

pdata_status_t pdata_serialize_main_hstring(const hstring_build_t &hstring, pdb_t *pdb)
{
    csa_buf_t buf;
    if (!csa_buf_alloc(buf, size_t{hstring_get_size(hstring)} + 4))
        return pdata_fail(PDATA_ERR_NO_MEMORY,
                          "protocol_serializer: cannot allocate hstring buffer.\n");
    tlv_sink_t sink = tlv_sink_writing(buf);
    PDATA_TRY(hstring_emit(hstring, TLV_TYPE_ROOT_STRING, sink));
    return set_record(pdb, PDB_TYPE_MAIN_HSTRING, std::move(buf));
}

pdata_status_t pdata_serialize_cfg(const pdata_cfg_t *cfg, pdb_list_t *pdb, uint32_t *n,
                                   uint32_t sem_type)
{
    if (cfg == nullptr || n == nullptr ||
        (sem_type != PDATA_TYPE_PROTOCOL && sem_type != PDATA_TYPE_CSM))
        return PDATA_ERR_IO;
    const std::string_view text =
        pdata_cfg_meta_text(pdata_cfg_meta_find(cfg, PDATA_META_SEM, sem_type));
    if (text.data() == nullptr)
        return PDATA_ERR_IO;
    const size_t padded = (text.size() + 3) & ~size_t{3};
    csa_buf_t buf;
    if (!csa_buf_alloc(buf, 8 + padded))
        return PDATA_ERR_NO_MEMORY;
    tlv_sink_t sink = tlv_sink_writing(buf);
    const size_t root = tlv_open_record(sink);
    // The length of this one record counts bytes. Oddity O24.
    tlv_sink_put(sink, TLV_TYPE_CFG_SEMANTIC, 1);
    tlv_sink_put(sink, static_cast<uint32_t>(padded), 3);
    tlv_sink_put_bytes(sink, text);
    PDATA_TRY(tlv_close_record(sink, root, TLV_TYPE_ROOT_CFG));
    if (sink.failed)
        return PDATA_ERR_INVALID_ARGUMENT;
    if (!pdb_header_set(&(*pdb)[*n], PDB_TYPE_CFG, std::move(buf)))
        return PDATA_ERR_NO_MEMORY;
    ++*n;
    return PDATA_SUCCESS;
}

pdata_status_t pdata_serialize_matcher_alias_pairs(matcher_alias_build_t *matcher_alias, pdb_t *pdb)
{
    const pdata_status_t status = serialize_pairs(matcher_alias, pdb);
    if (status != PDATA_SUCCESS)
        matcher_alias_destroy(matcher_alias);
    return status;
}
