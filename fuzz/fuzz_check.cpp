// Any text as a description: checked, the safe edits applied, the result checked again. Findings
// lie within the text, and what the edits leave is no longer than twice the text and what they
// write.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "lint_check.h"
#include "lint_edit.h"
#include "lint_places.h"
#include "lint_pointer.h"
#include "pdata_cfg_builtin.h"

namespace
{

/// The built-in configuration, for all runs.
lint_config_t &config()
{
    static lint_config_t config;
    static pdata_cfg_t cfg = *pdata_cfg_get(nullptr);
    if (config.cfg != nullptr)
        return config;
    for (pdata_cfg_meta_t &meta : cfg.meta) {
        const std::string_view text = pdata_cfg_builtin(std::string(meta.name) + ".json");
        if (meta.meta != PDATA_META_END)
            meta.json.emplace(text.begin(), text.end());
    }
    if (!lint_config_read(cfg, config).empty())
        std::abort();
    return config;
}

void hold(bool true_that)
{
    if (!true_that)
        std::abort();
}

lint_result_t run(std::string_view text)
{
    lint_result_t result = lint_check({{"text", text}}, config(), {});
    for (const finding_t &finding : result.findings) {
        hold(finding.place.begin <= finding.place.end && finding.place.end <= text.size());
        for (const finding_edit_t &edit : finding.edits)
            hold(edit.place.begin <= edit.place.end && edit.place.end <= text.size());
    }
    (void)lint_places(result.model.files, result.findings);
    hold(lint_pointers(result.model.files, result.findings).size() == result.findings.size());
    return result;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    const std::string_view text(reinterpret_cast<const char *>(data), size);
    const lint_result_t result = run(text);
    const auto edits = lint_edits(result.findings, 0, [](const finding_t &) { return true; });
    (void)lint_edit_diff("text", text, edits);
    (void)run(lint_edited(text, edits));
    return 0;
}
