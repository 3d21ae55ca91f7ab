/// A description on its way to a pdb, with a configuration that tests fill as they need it.
#pragma once

#include <string>
#include <vector>

#include "captured.h"
#include "document_test.h"
#include "pdata_serialize.h"

class serialize_fixture : public document_test
{
protected:
    /// The configuration holds the one document that every run needs, and nothing else.
    serialize_fixture() : cfg(*pdata_cfg_get(nullptr))
    {
        configure(PDATA_META_SEM, PDATA_TYPE_CSM, "hello");
    }

    void configure(pdata_meta_t meta, pdata_type_t type, std::string_view text)
    {
        for (pdata_cfg_meta_t &row : cfg.meta)
            if (row.meta == meta && row.type == type)
                row.json.emplace(text.begin(), text.end());
    }

    void configure_aliases(std::string_view text)
    {
        configure(PDATA_META_PDM, PDATA_TYPE_MATCHER_ALIAS, text);
    }
    void configure_tags(std::string_view text)
    {
        configure(PDATA_META_PDM, PDATA_TYPE_TAG_TABLE, text);
    }

    /// Serializes a description into `pdb`; gives the outcome.
    std::string run(std::string_view text, const pdb_t *pdb_default = nullptr)
    {
        pragmar_err_clear();
        pdd.pdd_json.assign(text.begin(), text.end());
        pdb = {};
        return outcome(pdata_serialize(&pdd, &pdb, &cfg, pdb_default, PDATA_TYPE_PROTOCOL));
    }

    /// The kinds of the parts in front of the end mark, as "9 8 7 0 1 10".
    std::string kinds()
    {
        std::string out;
        for (const pdb_t &part : pdb) {
            if (part.pdb_type == PDB_TYPE_END)
                return out;
            out.append(out.empty() ? "" : " ").append(std::to_string(part.pdb_type));
        }
        return out + " and no end mark";
    }

    /// The bytes of a part.
    std::vector<uint8_t> part(pdb_type_t type)
    {
        const pdb_t *found = pdata_pdb_type_find(pdb, type);
        if (found == nullptr)
            return {};
        EXPECT_EQ(found->pdb_tlv_len, pdb_header_bytes(*found).size());
        return *found->pdb_tlv;
    }

    /// The strings of a stored table, in the order of their offsets.
    static std::vector<std::string> strings_of(std::span<const uint8_t> table)
    {
        std::vector<std::string> out;
        for (size_t at = 0; at + 2 < table.size();) {
            const size_t len = table[at] * 256U + table[at + 1];
            if (len == 0)
                break;
            const std::span<const uint8_t> text = table.subspan(at + 2, len);
            out.emplace_back(text.begin(), text.end());
            at += (len + 3) & ~size_t{1};
        }
        return out;
    }

    std::vector<std::string> main_strings()
    {
        const std::vector<uint8_t> bytes = part(PDB_TYPE_MAIN_HSTRING);
        return bytes.size() < 4 ? std::vector<std::string>{}
                                : strings_of(std::span(bytes).subspan(4));
    }

    pdata_cfg_t cfg;
    pdd_t pdd;
    pdb_list_t pdb;
};
