/// Pdbs made from description texts, as the tests of merge and removal handle them.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

#include "captured.h"
#include "description_reader.h"
#include "outcome.h"
#include "pdata_serialize.h"
#include "random_description.h"

/// A configuration without semantic checks whose tag table has these tags.
inline pdata_cfg_t make_cfg(const std::string &tags)
{
    const std::string tag_table = "{\"tag_table\":{" + tags + "}}";
    const std::string none = "{}";
    pdata_cfg_t cfg = *pdata_cfg_get(nullptr);
    cfg.ignore_sem = 1;
    for (pdata_cfg_meta_t &meta : cfg.meta) {
        if (meta.meta == PDATA_META_PDM && meta.type == PDATA_TYPE_TAG_TABLE)
            meta.json.emplace(tag_table.begin(), tag_table.end());
        else if (meta.meta == PDATA_META_SEM)
            meta.json.emplace(none.begin(), none.end());
    }
    return cfg;
}

constexpr const char *COMMON_TAGS = "\"video\":1,\"audio\":2,\"zz\":3";

/// The list that a file with the pdb of a description text is read into: protocol descriptions,
/// tags, main strings.
inline pdb_list_t make_pdb_of(const std::string &text, const std::string &tags = COMMON_TAGS)
{
    const pdata_cfg_t cfg = make_cfg(tags);
    pdd_t pdd;
    pdd.pdd_json.assign(text.begin(), text.end());
    pdb_list_t made;
    (void)stderr_of([&] {
        EXPECT_EQ(outcome(pdata_serialize(&pdd, &made, &cfg, nullptr, PDATA_TYPE_PROTOCOL)), "0");
    });
    pdb_list_t pdb;
    size_t n = 0;
    for (const pdb_type_t type :
         {PDB_TYPE_PROTOCOL_DESCRIPTION, PDB_TYPE_TAGS, PDB_TYPE_MAIN_HSTRING})
        if (const pdb_t *part = pdata_pdb_type_find(made, type); part != nullptr)
            pdb[n++] = *part;
    return pdb;
}

/// The same of the protocols of a description, without what stands around them.
inline pdb_list_t make_pdb(const std::string &protocols, const std::string &tags = COMMON_TAGS)
{
    return make_pdb_of("{\"protocols\":[" + protocols + "]}", tags);
}

/// A part over these bytes.
inline pdb_t make_part(pdb_type_t type, std::vector<uint8_t> bytes)
{
    pdb_t part;
    EXPECT_TRUE(pdb_header_set(&part, type, std::move(bytes)));
    return part;
}

/// The list without its parts of that kind.
inline pdb_list_t without(const pdb_list_t &pdb, pdb_type_t type)
{
    pdb_list_t out;
    size_t n = 0;
    for (const pdb_t &part : pdb)
        if (part.pdb_type != type && part.pdb_type != PDB_TYPE_END)
            out[n++] = part;
    return out;
}

/// The list with another part in place of its part of the same kind.
inline pdb_list_t with(pdb_list_t pdb, const pdb_t &part)
{
    for (pdb_t &one : pdb)
        if (one.pdb_type == part.pdb_type)
            one = part;
    return pdb;
}

inline std::vector<uint8_t> bytes_of(const pdb_t &part)
{
    const std::span<const uint8_t> bytes = pdb_header_bytes(part);
    return {bytes.begin(), bytes.end()};
}

/// The protocols of a part, its rule tags by the strings of `pdb`.
inline std::vector<protocol_model> protocols_of(const pdb_t &part, const pdb_list_t &pdb)
{
    const pdb_t *strings = pdata_pdb_type_find(pdb, PDB_TYPE_MAIN_HSTRING);
    const std::span<const uint8_t> bytes = pdb_header_bytes(*strings).subspan(4);
    std::vector<protocol_model> protocols;
    EXPECT_EQ(
        outcome(read_protocols(pdb_header_bytes(part),
                               {bytes.data(), static_cast<uint32_t>(bytes.size())}, &protocols)),
        "0");
    return protocols;
}

inline std::vector<protocol_model> protocols_of(const pdb_list_t &pdb)
{
    return protocols_of(pdb[0], pdb);
}

inline std::vector<protocol_model> sorted(std::vector<protocol_model> protocols)
{
    std::sort(protocols.begin(), protocols.end(),
              [](const protocol_model &a, const protocol_model &b) { return a.id < b.id; });
    return protocols;
}

/// The pdb of a random description: as many protocols, with ids 41 apart from `first_id` on. Every
/// rule says its scope itself, and rules of different pdbs are equal now and then.
inline pdb_list_t make_random_pdb(uint32_t seed, uint32_t nr_protocol, uint32_t first_id)
{
    return make_pdb_of(make_random_description(seed, {}, {nr_protocol, first_id, true, true}).json);
}

/// Hands `use` copies of a pdb whose descriptions or strings are damaged: cut at every length, and
/// with bits flipped.
template <typename Use>
void for_each_damaged(const pdb_list_t &pdb, uint32_t seed, const Use &use)
{
    std::mt19937 random(seed);
    for (const size_t part : {size_t{0}, size_t{2}}) {
        const std::vector<uint8_t> sound = bytes_of(pdb[part]);
        const auto hand_over = [&](const std::vector<uint8_t> &bytes) {
            use(with(pdb, make_part(pdb[part].pdb_type, bytes)));
        };
        for (size_t len = 0; len < sound.size(); ++len)
            hand_over({sound.begin(), sound.begin() + static_cast<ptrdiff_t>(len)});
        for (int i = 0; i < 1500; ++i) {
            std::vector<uint8_t> bytes = sound;
            for (auto nr = 1 + random() % 4; nr > 0; --nr) {
                const size_t at = random() % bytes.size();
                bytes[at] ^= static_cast<uint8_t>(1U << random() % 8);
            }
            hand_over(bytes);
        }
    }
}
