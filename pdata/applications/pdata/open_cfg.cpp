#include "open_cfg.h"

#include "open_file.h"
#include "pdata_cfg_builtin.h"

open_cfg_t::~open_cfg_t()
{
    if (cfg != nullptr)
        pdata_cfg_unload(cfg);
}

bool open_cfg(console_t &console, const std::string &path, open_cfg_t &opened)
{
    opened.cfg = pdata_cfg_get(nullptr);
    for (pdata_cfg_meta_t *meta = std::begin(opened.cfg->meta); meta->meta != PDATA_META_END;
         ++meta) {
        const std::string name = std::string(meta->name) + ".json";
        if (path.empty()) {
            const std::string_view text = pdata_cfg_builtin(name);
            meta->json.emplace(text.begin(), text.end());
            continue;
        }
        input_file_t file;
        if (!open_file(console, opened.files.emplace_back(path + '/' + name), file))
            return false;
        const std::span<const uint8_t> bytes = input_file_bytes(file);
        meta->json.emplace(bytes.begin(), bytes.end());
    }
    return true;
}

bool open_lint_config(console_t &console, const open_cfg_t &opened, lint_config_t &config)
{
    const std::string wrong = lint_config_read(*opened.cfg, config);
    if (!wrong.empty())
        console_message(console, wrong);
    return wrong.empty();
}
