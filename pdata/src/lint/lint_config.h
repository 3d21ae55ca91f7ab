/// What a check knows of a configuration: the shape of protocols, the aliases, the tags.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "matcher_alias_keys.h"
#include "pdata_cfg.h"
#include "pragmar.h"

/// A configuration. It stays where it is: the machine and the aliases point into it.
struct lint_config_t {
    const pdata_cfg_t *cfg = nullptr;
    pragmar_rules_t shape;   ///< of protocols
    matcher_alias_t aliases; ///< their names are those of `names`
    std::deque<std::string> names;
    std::vector<std::string> tags;

    lint_config_t() = default;
    lint_config_t(const lint_config_t &) = delete;
    lint_config_t &operator=(const lint_config_t &) = delete;
};

/// Reads what matters to descriptions out of a loaded configuration, which must outlive `config`.
/// Returns an empty text, or what is wrong with a file: "tag_table.json: ...". Memory that runs out
/// is std::bad_alloc.
[[nodiscard]] std::string lint_config_read(const pdata_cfg_t &cfg, lint_config_t &config);
