/// Damaged input: the shipped example and its configuration, cut and with bytes changed. Whatever
/// comes, the compiler ends with a status; a wild read or an overflow is for the sanitizers to
/// tell. Every text stands in memory of exactly its size.
///
/// What is cut at every length is what a cut can reach in little time: each protocol of the example
/// alone, each configuration file beside a small description, the pdb of the example as far as its
/// parts, and that of a small description as far as its loadable form. The whole example is cut at
/// some lengths, and all inputs have bytes changed at places drawn with a fixed seed.
#pragma once

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "file_text.h"
#include "json_text.h"
#include "json_tools.h"
#include "outcome.h"
#include "pdata_serialize.h"
#include "small_inputs.h"
#include "whole_run.h"

inline const std::string &example()
{
    static const std::string text = file_text(EXAMPLES_DIR "/protocols.pdd");
    return text;
}

inline csa_buf_t buf_of(std::string_view text)
{
    const auto *bytes = reinterpret_cast<const uint8_t *>(text.data());
    return {bytes, bytes + text.size()};
}

/// A configuration from texts, those of the example or the small ones.
inline pdata_cfg_t configuration(bool small)
{
    pdata_cfg_t cfg = *pdata_cfg_get(nullptr);
    for (pdata_cfg_meta_t &meta : cfg.meta) {
        if (meta.meta == PDATA_META_END)
            break;
        std::string text;
        for (const auto &[name, small_text] : small_configuration)
            if (small && name == meta.name)
                text = small_text;
        if (!small)
            text = file_text(std::string(EXAMPLES_DIR "/cfg/") + meta.name + ".json");
        meta.json = buf_of(text);
    }
    return cfg;
}

/// The protocols of a description, each as its own text.
inline std::vector<std::string> protocols_of(const std::string &text)
{
    std::vector<std::string> protocols;
    size_t at = text.find('[') + 1;
    while (true) {
        json_text rest(std::string_view(text).substr(at));
        uint32_t consumed = 0;
        EXPECT_EQ(json_parse_sub(&rest.json, &consumed), 0);
        protocols.push_back(text.substr(at, consumed));
        at += consumed;
        if (text[at] != ',')
            return protocols;
        ++at;
    }
}

/// The text with one to four bytes changed, taken out or put in.
inline std::string damaged(std::string text, std::mt19937 &random)
{
    const auto below = [&](size_t limit) { return random() % limit; };
    for (size_t n = 1 + below(4); n != 0 && !text.empty(); --n) {
        const size_t at = below(text.size());
        switch (below(5)) {
        case 0:
            text[at] = static_cast<char>(random());
            break;
        case 1:
            text[at] = static_cast<char>(text[at] ^ (1 << below(8)));
            break;
        case 2:
            text[at] = "{}[]\",:\\0 \n*"[below(12)];
            break;
        case 3:
            text.erase(at, 1 + below(3));
            break;
        default:
            text.insert(at, 1, text[below(text.size())]);
            break;
        }
    }
    return text;
}

inline void forget()
{
    string_list_clean();
    command_line::forget_run();
}

/// A status is one of the list, and its message fits.
inline void expect_status(pdata_status_t status)
{
    EXPECT_LT(status, 200U);
    EXPECT_LT(std::string_view(pdata_status_msg_get()).size(), PDATA_MSG_SIZE);
}

inline pdata_status_t serialize(std::string_view text, const pdata_cfg_t &cfg, pdb_list_t *pdb)
{
    const pdd_t pdd = {buf_of(text)};
    silence nothing_printed;
    return pdata_serialize(&pdd, pdb, &cfg, nullptr, PDATA_TYPE_PROTOCOL);
}
