/// A pdb of one protocol with one port, and such pdbs with a part left out or replaced.
#pragma once

#include "builder_fixture.h"

inline pdb_model port_model()
{
    return {{protocol_of(7, "web", {simple_rule("tcp", {number_attr("port", {"80"})})})}, {}};
}

/// The parts of a pdb with one of them left out.
inline pdb_list_t without(const pdb_model &model, pdb_type_t type)
{
    const pdb_list_t all = make_pdb(model);
    pdb_list_t list;
    size_t n = 0;
    for (const pdb_t &part : all)
        if (part.pdb_type != type && part.pdb_type != PDB_TYPE_END)
            pdb_header_memcpy(&list[n++], part);
    return list;
}

/// The parts of a pdb with the bytes of one replaced.
inline pdb_list_t with(const pdb_model &model, pdb_type_t type, std::vector<uint8_t> bytes)
{
    pdb_list_t list = make_pdb(model);
    for (pdb_t &part : list) {
        if (part.pdb_type == type) {
            EXPECT_TRUE(pdb_header_set(&part, type, std::move(bytes)));
        }
    }
    return list;
}

/// The root record of descriptions: groups, or what else is given.
inline std::vector<uint8_t> root_of(const word_list &children)
{
    return stored(record(TLV_TYPE_ROOT_PROTODESCS, children));
}

/// The group of a model, as its record stands in the descriptions.
inline word_list group_of(const pdb_model &model)
{
    string_pool tag_pool;
    return description_writer::group_record(tag_pool, model.protocols);
}
