/// Damaged pdbs: their files, and what can be read of them.
#pragma once

#include "damage.h"
#include "description_reader.h"
#include "pdata_compiler_files.h"
#include "rounds.h"
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

/// The pdb of a description, with the small configuration.
inline std::string pdb_of(std::string_view description)
{
    pdb_list_t pdb;
    EXPECT_EQ(serialize(description, configuration(true), &pdb), PDATA_SUCCESS);
    forget();
    return pdb_file(pdb);
}

/// Cuts a pdb file into its parts.
inline void cut_into_parts(std::string_view file, pdb_list_t *pdb)
{
    const csa_buf_t bytes = buf_of(file);
    pdb_tlv_index_t at;
    (void)pdata_pdb_loaded_get(bytes);
    EXPECT_EQ(pdata_compiler_config(bytes, pdb, &at), PDATA_SUCCESS);
}

/// Reads descriptions through every accessor, their rule tags in `strings`.
inline pdata_status_t read_descriptions(const pdb_t &descriptions, const pdb_t &strings)
{
    const std::span<const uint8_t> pool = pdb_header_bytes(strings).subspan(4);
    const hstring_t tags = {pool.data(), static_cast<uint32_t>(pool.size())};
    std::vector<protocol_model> protocols;
    return read_protocols(pdb_header_bytes(descriptions), tags, &protocols);
}

/// Cuts a pdb into its parts, and reads the descriptions.
inline void read_pdb(std::string_view file, pdb_list_t *pdb)
{
    cut_into_parts(file, pdb);
    const pdb_t *descriptions = pdata_pdb_type_find(*pdb, PDB_TYPE_PROTOCOL_DESCRIPTION);
    const pdb_t *strings = pdata_pdb_type_find(*pdb, PDB_TYPE_MAIN_HSTRING);
    if (descriptions == nullptr || strings == nullptr)
        return;
    silence nothing_printed;
    expect_status(read_descriptions(*descriptions, *strings));
    forget();
}

/// Length of the record whose header stands at a byte, in words.
inline uint32_t words_at(const std::string &file, size_t at)
{
    return tlv_get(reinterpret_cast<const uint8_t *>(file.data()) + at) & 0xFFFFFF;
}

/// Takes words off the end of a record, and of the length of all records around it. `path` names
/// them by the bytes where their headers stand, from the outside in.
inline std::string with_record_shortened(std::string file, const std::vector<size_t> &path,
                                         size_t words)
{
    const size_t end = path.back() + 4 + words_at(file, path.back()) * size_t{4};
    file.erase(end - words * 4, words * 4);
    for (const size_t header : path) {
        const size_t left = words_at(file, header) - words;
        for (size_t byte = 1; byte < 4; ++byte)
            file[header + byte] = static_cast<char>(left >> (24 - 8 * byte));
    }
    return file;
}

/// Calls `operation(path)` for every record in a range of a pdb file, and for those inside records
/// of type 1 down to the parts of a protocol: descriptions, group, list, protocol, part.
template <typename Operation>
void for_each_record(const std::string &file, size_t begin, size_t end, std::vector<size_t> path,
                     Operation &&operation)
{
    constexpr size_t depth = 5;
    path.push_back(begin);
    for (size_t &at = path.back(); at < end; at += 4 + words_at(file, at) * size_t{4}) {
        operation(path);
        const size_t behind = at + 4 + words_at(file, at) * size_t{4};
        if (file[at] == 1 && path.size() < depth)
            for_each_record(file, at + 4, behind, path, operation);
    }
}

/// Calls `operation(file)` with every record of a pdb shortened to every length.
template <typename Operation>
void for_each_shortened(const std::string &whole, Operation &&operation)
{
    for_each_record(whole, 0, whole.size(), {}, [&](const std::vector<size_t> &path) {
        for (size_t words = 1; words <= words_at(whole, path.back()); ++words)
            operation(with_record_shortened(whole, path, words));
    });
}

/// Calls `operation(file)` with every byte of a pdb changed, alone, in three ways.
template <typename Operation>
void for_each_byte_changed(const std::string &whole, Operation &&operation)
{
    for (size_t at = 0; at < whole.size(); at += ROUNDS_STEP) {
        for (const int change : {0x01, 0x80, 0xFF}) {
            std::string file = whole;
            file[at] = static_cast<char>(file[at] ^ change);
            operation(file);
        }
    }
}
