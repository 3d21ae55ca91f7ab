#include "pdata_build.h"

#include <utility>

#include "json_error.h"
#include "pdata_compile.h"
#include "pdata_merge.h"
#include "pdata_serialize_ipbt.h"
#include "pdata_serialize_psa.h"
#include "pdb_version.h"

namespace
{

pdata_status_t compile(const pdd_t &description, const pdata_cfg_t &cfg, pdb_list_t &pdb)
{
    pdata_pdb_version_set(PDB_VERSION);
    pdata_status_code_set(PDATA_SUCCESS);
    pdata_status_msg_set("");
    pragmar_err_clear();
    pdb_header_end(&pdb[0]);
    return pdata_serialize(&description, &pdb, &cfg, nullptr, PDATA_TYPE_PROTOCOL);
}

/// Writes a pdb and reads it again: only the parts that a file has take part in a merge.
pdata_status_t pass_on(const pdb_list_t &pdb, pdb_in_elt_st &input)
{
    csa_buf_t file;
    for (const std::span<const uint8_t> part : pdata_parts_written(pdb))
        file.insert(file.end(), part.begin(), part.end());
    return pdata_compiler_config(file, &input.pdb, &input.indexes);
}

/// Merges the two inputs. The last of all merges also takes the further parts over.
pdata_status_t merge_two(const pdb_in_list_t &input, bool last, pdb_list_t &pdb)
{
    const pdb_list_t *pdbs[] = {&input.front().pdb, &input.back().pdb};
    pdb = {};
    PDATA_TRY(pdata_merge(pdbs, &pdb[0]));
    pdb_header_end(&pdb[1]);
    const pdb_list_t *source = pdata_parts_source(input);
    return last && source != nullptr ? pdata_parts_complete(*source, pdb) : PDATA_SUCCESS;
}

/// Merges the descriptions into the parts of a pdb that is to become loadable.
pdata_status_t merge_all(std::span<const pdd_t> descriptions, const pdata_cfg_t &cfg,
                         pdata_built_t &built)
{
    pdb_in_list_t input;
    for (const pdd_t &description : descriptions) {
        built.step = "compile";
        pdb_list_t pdb;
        PDATA_TRY(compile(description, cfg, pdb));
        PDATA_TRY(pass_on(pdb, input.emplace_back()));
        built.step = "merge";
        if (input.size() == 2) {
            PDATA_TRY(merge_two(input, &description == &descriptions.back(), built.pdb));
            input.clear();
            PDATA_TRY(pass_on(built.pdb, input.emplace_back()));
        }
        ++built.nr_input;
    }
    return PDATA_SUCCESS;
}

} // namespace

pdata_status_t pdata_build(std::span<const pdd_t> descriptions, const pdata_cfg_t &cfg,
                           bool loadable, pdata_built_t &built)
{
    return pdata_guard([&]() -> pdata_status_t {
        if (descriptions.size() > 1) {
            PDATA_TRY(merge_all(descriptions, cfg, built));
            return pdata_build_loadable(built);
        }
        built.step = "compile";
        PDATA_TRY(compile(descriptions.front(), cfg, built.pdb));
        built.nr_input = 1;
        return loadable ? pdata_build_loadable(built) : PDATA_SUCCESS;
    });
}

pdata_status_t pdata_build_loadable(pdata_built_t &built)
{
    if (built.loadable.pdb_type != PDB_TYPE_END)
        return PDATA_SUCCESS;
    built.step = "make loadable";
    return pdata_guard(
        [&] { return pdata_compile(&built.pdb, &built.loadable, nullptr, csa_dump_t(), 1); });
}

std::vector<std::span<const uint8_t>> pdata_build_bytes(const pdata_built_t &built, bool loadable)
{
    if (loadable)
        return {pdb_header_bytes(built.loadable)};
    return pdata_parts_written(built.pdb);
}

pdata_status_t pdata_build_sources(const pdata_cfg_t &cfg, std::array<pdata_source_t, 5> &sources)
{
    text_stream_t key = {{}, PSA_KEY_SIZE};
    text_stream_t psa_src = {{}, PSA_SOURCE_SIZE};
    text_stream_t psa_hdr = {{}, PSA_HEADER_SIZE};
    text_stream_t ipbt_src = {{}, IPBT_SOURCE_SIZE};
    text_stream_t ipbt_hdr = {{}, IPBT_HEADER_SIZE};
    PDATA_TRY(pdata_guard([&] { return pdata_serialize_psa(&cfg, &key, &psa_src, &psa_hdr); }));
    PDATA_TRY(pdata_guard([&] { return pdata_serialize_ipbt(&cfg, &ipbt_src, &ipbt_hdr); }));
    sources = {{{"psa_key.h", std::move(key.text)},
                {"psa_serialization.c", std::move(psa_src.text)},
                {"psa_serialization.h", std::move(psa_hdr.text)},
                {"ipbt_serialization.c", std::move(ipbt_src.text)},
                {"ipbt_serialization.h", std::move(ipbt_hdr.text)}}};
    return PDATA_SUCCESS;
}
