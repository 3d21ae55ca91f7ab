/// Damaged pdbs: their files, and what can be read of them.
#pragma once

#include "damage.h"
#include "description_reader.h"
#include "pdata_compiler_files.h"
#include "tlv_description.h"

/// A pdb in the form of a file.
inline std::string pdb_file(const pdb_list_t &pdb)
{
    std::string file;
    for (const pdb_type_t type : {PDB_TYPE_LOAD, PDB_TYPE_PROTOCOL_DESCRIPTION,
                                  PDB_TYPE_MATCHER_ALIAS, PDB_TYPE_TAGS, PDB_TYPE_MAIN_HSTRING}) {
        const pdb_t *part = pdata_pdb_type_find(pdb, type);
        if (part != nullptr) {
            const std::span<const uint8_t> bytes = pdb_header_bytes(*part);
            file.append(bytes.begin(), bytes.end());
        }
    }
    return file;
}

inline std::string small_pdb()
{
    pdb_list_t pdb;
    EXPECT_EQ(serialize(SMALL_DESCRIPTION, configuration(true), &pdb), PDATA_SUCCESS);
    forget();
    return pdb_file(pdb);
}

/// Cuts a pdb into its parts, and reads the descriptions through every accessor.
inline void read_pdb(std::string_view file, pdb_list_t *pdb)
{
    const csa_buf_t bytes = buf_of(file);
    pdb_tlv_index_t at;
    silence nothing_printed;
    (void)pdata_pdb_loaded_get(bytes);
    EXPECT_EQ(pdata_compiler_config(bytes, pdb, &at), PDATA_SUCCESS);
    const pdb_t *group = pdata_pdb_type_find(*pdb, PDB_TYPE_PROTOCOL_DESCRIPTION);
    const pdb_t *strings = pdata_pdb_type_find(*pdb, PDB_TYPE_MAIN_HSTRING);
    if (group == nullptr || strings == nullptr)
        return;
    const std::span<const uint8_t> pool = pdb_header_bytes(*strings).subspan(4);
    const hstring_t tags = {pool.data(), static_cast<uint32_t>(pool.size())};
    std::vector<protocol_model> protocols;
    expect_status(read_protocols(pdb_header_bytes(*group), tags, &protocols));
    forget();
}

/// Where the descriptions of a pdb file stand that this compiler wrote: behind the load state.
constexpr size_t DESCRIPTIONS_OFFSET = 8;

inline uint32_t words_of_descriptions(std::string_view file)
{
    return tlv_get(reinterpret_cast<const uint8_t *>(file.data()) + DESCRIPTIONS_OFFSET) & 0xFFFFFF;
}

/// Shortens the descriptions of a pdb, and all the headers around the cut, to a number of words.
inline std::string with_descriptions_cut(std::string file, size_t words)
{
    const auto header = [&](size_t at, uint32_t type, size_t length) {
        file[at] = static_cast<char>(type);
        for (size_t byte = 1; byte < 4; ++byte)
            file[at + byte] = static_cast<char>(length >> (24 - 8 * byte));
    };
    constexpr size_t root = DESCRIPTIONS_OFFSET;
    const size_t length = words_of_descriptions(file);
    file.erase(root + 4 + words * 4, (length - words) * 4);
    header(root, TLV_TYPE_ROOT_PROTODESCS, words);
    if (words >= 1)
        header(root + 4, 1, words - 1);
    return file;
}
