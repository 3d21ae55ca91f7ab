#include "prove_compile.h"

#include "pdata_compile.h"
#include "pdata_diag.h"
#include "pdata_memory_watch.h"
#include "pdata_serialize.h"

namespace
{

/// What a run of the compiler leaves behind in the status slot is undone.
struct kept_status_t {
    pdata_status_t code = pdata_status_code_get();
    std::string message = pdata_status_msg_get();

    kept_status_t() = default;
    kept_status_t(const kept_status_t &) = delete;
    kept_status_t &operator=(const kept_status_t &) = delete;
    ~kept_status_t()
    {
        pdata_status_code_set(code);
        pdata_status_msg_set(message.c_str());
    }
};

csa_buf_t buffer_of(std::string_view text)
{
    return {text.begin(), text.end()};
}

pdata_status_t compile(std::string_view text, const pdata_cfg_t &cfg, std::vector<uint8_t> &bytes)
{
    const pdd_t pdd = {buffer_of(text)};
    pdb_list_t list;
    pdb_t loadable;
    PDATA_TRY(pdata_serialize(&pdd, &list, &cfg, nullptr, PDATA_TYPE_PROTOCOL));
    PDATA_TRY(pdata_compile(&list, &loadable, nullptr, {}, 1));
    bytes = std::move(*loadable.pdb_tlv);
    return PDATA_SUCCESS;
}

} // namespace

prove_compiled_t prove_compile(std::string_view text, const pdata_cfg_t &cfg)
{
    const kept_status_t kept;
    const pdata_diag_silence_t silence;
    const pdata_memory_watch_t memory;
    prove_compiled_t compiled;
    pdata_status_code_set(PDATA_SUCCESS);
    pdata_status_msg_set("");
    compiled.status = compile(text, cfg, compiled.bytes);
    pdata_memory_watch_expect(memory);
    compiled.message = pdata_status_msg_get();
    return compiled;
}

pdata_cfg_t prove_least_configuration()
{
    pdata_cfg_t cfg{};
    cfg.meta[0] = {PDATA_META_SEM, PDATA_TYPE_CSM, "semantic_csm", buffer_of("{}")};
    cfg.meta[1] = {PDATA_META_PDM, PDATA_TYPE_TAG_TABLE, "tag_table",
                   buffer_of("{\"tag_table\":{\"none\":1}}")};
    cfg.meta[2] = {PDATA_META_END, PDATA_TYPE_TAG_TABLE, "end", {}};
    cfg.ignore_sem = 1;
    return cfg;
}
