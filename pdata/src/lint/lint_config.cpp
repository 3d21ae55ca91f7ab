#include "lint_config.h"

#include <new>

#include "json_error.h"
#include "json_tools.h"
#include "matcher_alias_serialize.h"
#include "pdata_memory_watch.h"
#include "tag_table_serialize.h"

namespace
{

std::string_view text_of(const lint_config_t &config, pdata_meta_t meta, pdata_type_t type)
{
    return pdata_cfg_meta_text(pdata_cfg_meta_find(config.cfg, meta, type));
}

/// Returns what the front end says of a file, in one line, and forgets it. It says nothing of a
/// limit of the compiler's that is reached.
std::string report_of(const char *name)
{
    std::string report = pragmar_err_get();
    pragmar_err_clear();
    for (char &c : report)
        c = c == '\n' || c == '\t' ? ' ' : c;
    return std::string(name) + ".json: " + (report.empty() ? "beyond a limit" : report);
}

/// Strings that a reader of the configuration fills.
hstring_build_t begin_strings()
{
    hstring_build_t strings;
    if (hstring_init(&strings, 0) != 0)
        throw std::bad_alloc();
    return strings;
}

/// Keeps a name for as long as the configuration lives.
csa_str_t keep(lint_config_t &config, csa_str_t name)
{
    return csa_str(config.names.emplace_back(csa_str_view(name)));
}

std::string read_aliases(lint_config_t &config)
{
    const std::string_view text = text_of(config, PDATA_META_PDM, PDATA_TYPE_MATCHER_ALIAS);
    hstring_build_t strings = begin_strings();
    matcher_alias_build_t build;
    const std::string_view shape = text_of(config, PDATA_META_SEM, PDATA_TYPE_MATCHER_ALIAS);
    if (json_to_matcher_alias(text, shape, &strings, &build, false) != PDATA_SUCCESS)
        return report_of("matcher_alias");
    std::vector<alias_pair_t> pairs(build.aliases.begin(), build.aliases.begin() + build.alias_idx);
    for (alias_pair_t &pair : pairs)
        for (alias_elt_t *side : {&pair.alias, &pair.reference}) {
            side->proto_name = keep(config, side->proto_name);
            side->attr_name = keep(config, side->attr_name);
        }
    if (pairs.size() >= FENCE_MATCHER_ALIAS_NUMBER)
        return "matcher_alias.json: more than 63 pairs of aliases";
    (void)matcher_alias_make_alias_keys(&config.aliases, pairs); // so many have room
    return "";
}

std::string read_tags(lint_config_t &config)
{
    const std::string_view text = text_of(config, PDATA_META_PDM, PDATA_TYPE_TAG_TABLE);
    hstring_build_t strings = begin_strings();
    const auto table = json_to_tag_table(
        text, text_of(config, PDATA_META_SEM, PDATA_TYPE_TAG_TABLE), &strings, false);
    if (!table)
        return report_of("tag_table");
    for (uint32_t i = 0; i < table->nr_tag_ids; ++i)
        config.tags.emplace_back(csa_str_view(table->slots[i].name));
    return "";
}

std::string read_shape(lint_config_t &config)
{
    const std::string_view text = text_of(config, PDATA_META_SEM, PDATA_TYPE_PROTOCOL);
    return pragmar_rules_load(&config.shape, text) == 0 ? "" : report_of("semantic_protocol");
}

} // namespace

std::string lint_config_read(const pdata_cfg_t &cfg, lint_config_t &config)
{
    const pdata_memory_watch_t memory;
    config.cfg = &cfg;
    std::string wrong = read_shape(config);
    if (wrong.empty())
        wrong = read_aliases(config);
    if (wrong.empty())
        wrong = read_tags(config);
    string_list_clean();
    pdata_memory_watch_expect(memory);
    return wrong;
}
