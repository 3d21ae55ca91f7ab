/// Configurations of pattern tables, made in memory.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <string_view>
#include <vector>

#include "json_error.h"
#include "outcome.h"
#include "pdata_serialize_psa.h"

/// A configuration whose pattern tables are given: name and text.
inline pdata_cfg_t cfg_of(const std::vector<std::pair<const char *, std::string_view>> &files)
{
    pdata_cfg_t cfg = {};
    for (pdata_cfg_meta_t &row : cfg.meta)
        row = {PDATA_META_END, PDATA_TYPE_TAG_TABLE, "end", {}};
    for (size_t i = 0; i < files.size(); ++i)
        cfg.meta[i] = {PDATA_META_PSA, PDATA_TYPE_HTTP, files[i].first,
                       csa_buf_t(files[i].second.begin(), files[i].second.end())};
    return cfg;
}

/// The generated texts of one run, and what the run came to.
struct psa_texts {
    text_stream_t key = {{}, PSA_KEY_SIZE};
    text_stream_t src = {{}, PSA_SOURCE_SIZE};
    text_stream_t hdr = {{}, PSA_HEADER_SIZE};
    std::string outcome;
};

inline psa_texts generate(const pdata_cfg_t &cfg, psa_texts texts = {})
{
    pragmar_err_clear();
    clear_status_slot();
    texts.outcome = outcome(pdata_serialize_psa(&cfg, &texts.key, &texts.src, &texts.hdr));
    return texts;
}

/// The same for one file, named "http".
inline psa_texts generate(std::string_view text)
{
    return generate(cfg_of({{"http", text}}));
}

/// A table of `number` entries, all named and saying the same.
inline std::string table_of(const std::string &kind, size_t number, const std::string &entry)
{
    std::string text = "\"";
    text.append(kind).append("\":[");
    for (size_t i = 0; i < number; ++i)
        text.append(i == 0 ? "" : ",").append(entry);
    return text.append("]");
}

/// A document of tables.
inline std::string document(const std::string &tables)
{
    std::string text = "{";
    return text.append(tables).append("}");
}

/// The lines of a text that begin with `start`, without it.
inline std::vector<std::string> lines_with(const std::string &text, const std::string &start)
{
    std::vector<std::string> found;
    for (size_t at = 0; at < text.size();) {
        const size_t end = std::min(text.find('\n', at), text.size());
        if (text.compare(at, start.size(), start) == 0)
            found.push_back(text.substr(at + start.size(), end - at - start.size()));
        at = end + 1;
    }
    return found;
}

/// The array of a generated source: every number between the braces behind its name.
inline std::vector<uint8_t> array_of(const std::string &source, const std::string &name)
{
    std::vector<uint8_t> bytes;
    const size_t head = source.find("\npsa_serialization_" + name + "[");
    if (head == std::string::npos)
        return bytes;
    const size_t end = source.find('}', head);
    for (size_t at = source.find('{', head); at < end; ++at) {
        at = source.find_first_of("0123456789", at);
        if (at >= end)
            break;
        size_t digits = 0;
        bytes.push_back(static_cast<uint8_t>(std::stoul(source.substr(at), &digits)));
        at += digits;
    }
    return bytes;
}
