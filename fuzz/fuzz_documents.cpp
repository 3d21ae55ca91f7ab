// Documents without rules: the first byte chooses between a description, a tag table, matcher
// aliases, a pattern table and an IPv4 table.
#include <cstdint>
#include <string_view>

#include "json_error.h"
#include "json_tools.h"
#include "matcher_alias_serialize.h"
#include "pdata_serialize.h"
#include "pdata_serialize_ipbt.h"
#include "pdata_serialize_psa.h"
#include "tag_table_serialize.h"

namespace
{

/// A configuration of one file of a role, and of the document that every pdb carries.
pdata_cfg_t cfg_of(pdata_meta_t meta, pdata_type_t type, std::string_view text)
{
    pdata_cfg_t cfg{};
    for (pdata_cfg_meta_t &row : cfg.meta)
        row.meta = PDATA_META_END;
    cfg.meta[0] = {PDATA_META_SEM, PDATA_TYPE_CSM, "semantic_csm", csa_buf_t{'{', '}'}};
    cfg.meta[1] = {meta, type, "table", csa_buf_t(text.begin(), text.end())};
    cfg.ignore_sem = 1;
    return cfg;
}

void run_description(std::string_view text)
{
    const pdata_cfg_t cfg = cfg_of(PDATA_META_TLV, PDATA_TYPE_RULE_ENGINE, "");
    const pdd_t pdd = {csa_buf_t(text.begin(), text.end())};
    pdb_list_t pdb;
    (void)pdata_serialize(&pdd, &pdb, &cfg, nullptr, PDATA_TYPE_PROTOCOL); // any status will do
}

void run_tag_table(std::string_view text)
{
    hstring_build_t hstring;
    if (hstring_init(&hstring, 0) != 0)
        return;
    if (const auto table = json_to_tag_table(text, {}, &hstring, true)) {
        csa_buf_t buf(tag_table_get_tlv_size(*table));
        uint32_t written = 0;
        (void)tag_table_serialize(*table, buf, &written);
    }
}

void run_matcher_alias(std::string_view text)
{
    hstring_build_t hstring;
    matcher_alias_build_t aliases;
    pdb_t pdb;
    if (hstring_init(&hstring, 0) == 0 &&
        json_to_matcher_alias(text, {}, &hstring, &aliases, true) == PDATA_SUCCESS)
        (void)pdata_serialize_matcher_alias_pairs(&aliases, &pdb); // any status will do
}

void run_psa(std::string_view text)
{
    const pdata_cfg_t cfg = cfg_of(PDATA_META_PSA, PDATA_TYPE_HTTP, text);
    text_stream_t key = {{}, PSA_KEY_SIZE, false};
    text_stream_t src = {{}, PSA_SOURCE_SIZE, false};
    text_stream_t hdr = {{}, PSA_HEADER_SIZE, false};
    (void)pdata_serialize_psa(&cfg, &key, &src, &hdr); // any status will do
}

void run_ipbt(std::string_view text)
{
    const pdata_cfg_t cfg = cfg_of(PDATA_META_IPBT, PDATA_TYPE_IPBT, text);
    text_stream_t src = {{}, IPBT_SOURCE_SIZE, false};
    text_stream_t hdr = {{}, IPBT_HEADER_SIZE, false};
    (void)pdata_serialize_ipbt(&cfg, &src, &hdr); // any status will do
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    void (*const runs[])(std::string_view) = {run_description, run_tag_table, run_matcher_alias,
                                              run_psa, run_ipbt};
    if (size == 0)
        return 0;
    pragmar_err_clear();
    runs[data[0] % 5](std::string_view(reinterpret_cast<const char *>(data + 1), size - 1));
    string_list_clean();
    return 0;
}
