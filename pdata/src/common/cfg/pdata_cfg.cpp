#include "pdata_cfg.h"

#include <algorithm>
#include <cstdio>

namespace
{

const std::array<pdata_cfg_meta_t, 12> pdata_meta_default = {{
    // Role           Kind                      Name
    {PDATA_META_PDM, PDATA_TYPE_TAG_TABLE, "tag_table"},
    {PDATA_META_PDM, PDATA_TYPE_MATCHER_ALIAS, "matcher_alias"},
    {PDATA_META_PSA, PDATA_TYPE_HTTP2, "http2"},
    {PDATA_META_PSA, PDATA_TYPE_HTTP, "http"},
    {PDATA_META_PSA, PDATA_TYPE_SPDY, "spdy"},
    {PDATA_META_PSA, PDATA_TYPE_HTTP_PROXY, "http_proxy"},
    {PDATA_META_SEM, PDATA_TYPE_MATCHER_ALIAS, "semantic_matcher_alias"},
    {PDATA_META_SEM, PDATA_TYPE_PROTOCOL, "semantic_protocol"},
    {PDATA_META_SEM, PDATA_TYPE_CSM, "semantic_csm"},
    {PDATA_META_SEM, PDATA_TYPE_TAG_TABLE, "semantic_tag_table"},
    {PDATA_META_IPBT, PDATA_TYPE_IPBT, "ipbt"},
    {PDATA_META_END, PDATA_TYPE_TAG_TABLE, "end"},
}};

pdata_cfg_t pdata_cfg_default = {pdata_meta_default};

} // namespace

pdata_cfg_t *pdata_cfg_get(const char *)
{
    return &pdata_cfg_default;
}

std::span<const pdata_cfg_meta_t> pdata_cfg_files(const pdata_cfg_t &cfg)
{
    const auto end = std::find_if(cfg.meta.begin(), cfg.meta.end(),
                                  [](const auto &row) { return row.meta == PDATA_META_END; });
    return {cfg.meta.begin(), end};
}

pdata_cfg_t *pdata_cfg_load_from_file(const char *cfg_name, const char *path,
                                      pdata_cfg_file_read file_read)
{
    pdata_cfg_t *cfg = pdata_cfg_get(cfg_name);
    for (pdata_cfg_meta_t &meta : std::span(cfg->meta).first(pdata_cfg_files(*cfg).size())) {
        char filename[PDATA_CFG_FILENAME_MAX + 1];
        const int len =
            std::snprintf(filename, sizeof(filename), "%s/%s.%s", path, meta.name, "json");
        if (len > static_cast<int>(PDATA_CFG_FILENAME_MAX))
            std::fprintf(stderr, "pdata_compiler: the path of %s.json is cut to %u bytes\n",
                         meta.name, PDATA_CFG_FILENAME_MAX);
        meta.json.emplace();
        if (!file_read(filename, &*meta.json)) {
            meta.json.reset();
            std::printf("%s", filename);
            return nullptr;
        }
    }
    return cfg;
}

void pdata_cfg_unload(pdata_cfg_t *cfg)
{
    for (pdata_cfg_meta_t &meta : cfg->meta)
        meta.json.reset();
}

const pdata_cfg_meta_t *pdata_cfg_meta_find(const pdata_cfg_t *cfg, pdata_meta_t meta,
                                            uint32_t type)
{
    if (cfg == nullptr)
        return nullptr;
    for (const pdata_cfg_meta_t &row : pdata_cfg_files(*cfg))
        if (row.meta == meta && row.type == type)
            return &row;
    return nullptr;
}

std::string_view pdata_cfg_meta_text(const pdata_cfg_meta_t *meta)
{
    if (meta == nullptr || !meta->json)
        return {};
    if (meta->json->empty())
        return "";
    return {reinterpret_cast<const char *>(meta->json->data()), meta->json->size()};
}
