/// Small descriptions checked with the built-in configuration, and tables of them in files.
#pragma once

#include <gtest/gtest.h>

#include <fstream>
#include <map>

#include "lint_check.h"
#include "pdata_cfg_builtin.h"

using texts_t = std::map<std::string, std::string>;

/// The built-in configuration with some of its files replaced.
struct checker_t {
    pdata_cfg_t cfg = *pdata_cfg_get(nullptr);
    lint_config_t config;
    std::string wrong; ///< with a file of it

    explicit checker_t(const texts_t &replaced = {})
    {
        for (pdata_cfg_meta_t &meta : cfg.meta) {
            if (meta.meta == PDATA_META_END)
                break;
            const std::string name = std::string(meta.name) + ".json";
            const auto other = replaced.find(name);
            const std::string_view text =
                other == replaced.end() ? pdata_cfg_builtin(name) : other->second;
            meta.json.emplace(text.begin(), text.end());
        }
        wrong = lint_config_read(cfg, config);
    }
};

inline checker_t &shipped()
{
    static checker_t checker;
    return checker;
}

inline lint_result_t check(std::string_view text, checker_t &checker = shipped())
{
    return lint_check({{"text", text}}, checker.config, {});
}

/// Each finding as "ID: HINT".
inline std::string shown(const lint_result_t &result)
{
    std::string lines;
    for (const finding_t &finding : result.findings)
        if (finding_kind(finding.id).level != FINDING_LEVEL_NOTE)
            lines += (lines.empty() ? "" : "\n") + std::string(finding_kind(finding.id).id) + ": " +
                     finding.hint;
    return lines;
}

inline std::string protocol_with(const std::string &rules)
{
    return R"({"p": [{"name": "chatter", "id": 16777300, "rules": [)" + rules + "]}]}";
}

inline std::string rule_with(const std::string &sub_rule)
{
    return protocol_with(R"({"order": "50:0", "rule": [{)" + sub_rule + "}]}");
}

/// A part of a description, and what is found in it; a file has one a line, findings indented below
/// it.
struct row_t {
    std::string part;
    std::string findings;
};

inline std::vector<row_t> rows_of(const char *path)
{
    std::vector<row_t> rows;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("    "))
            rows.back().findings += (rows.back().findings.empty() ? "" : "\n") + line.substr(4);
        else if (!line.empty() && !line.starts_with('#'))
            rows.push_back({line, ""});
    }
    return rows;
}
