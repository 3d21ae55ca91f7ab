/// The configuration that descriptions are compiled with.
#pragma once

#include <vector>

#include "console.h"
#include "lint_config.h"
#include "pdata_cfg.h"

/// A loaded configuration and the files that it was read from.
struct open_cfg_t {
    pdata_cfg_t *cfg = nullptr;     ///< the one configuration of the process
    std::vector<std::string> files; ///< none where it is the built-in one

    open_cfg_t() = default;
    open_cfg_t(const open_cfg_t &) = delete;
    open_cfg_t &operator=(const open_cfg_t &) = delete;
    ~open_cfg_t();
};

/// Loads the configuration directory at `path`, or the built-in one for an empty path. Returns
/// false after a message when a file of it cannot be read.
[[nodiscard]] bool open_cfg(console_t &console, const std::string &path, open_cfg_t &opened);

/// Reads out of a configuration, which must outlive `config`, what a check knows of it. Returns
/// false after a message when a file of it is none.
[[nodiscard]] bool open_lint_config(console_t &console, const open_cfg_t &opened,
                                    lint_config_t &config);
