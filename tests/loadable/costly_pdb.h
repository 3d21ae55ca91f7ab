/// Pdbs made to be costly: strings that overlap in their pool, used over and over.
///
/// A stored string is a length and bytes, and an offset may point anywhere into the pool: in a pool
/// of letters every offset is a string of some 25,000 bytes.
#pragma once

#include <random>

#include "loadable_fixture.h"

/// A pdb whose strings are chosen by offset.
struct costly_pdb_t {
    std::vector<uint8_t> pool;
    std::mt19937 random{5};

    /// Adds a string and returns its offset.
    uint32_t put(std::string_view text)
    {
        const auto offset = static_cast<uint32_t>(pool.size());
        pool.push_back(static_cast<uint8_t>(text.size() >> 8));
        pool.push_back(static_cast<uint8_t>(text.size()));
        pool.insert(pool.end(), text.begin(), text.end());
        pool.resize((pool.size() + 1) & ~size_t{1});
        return offset;
    }
    /// Adds random letters, among which every offset is a long string. Returns the first offset.
    uint32_t put_letters(size_t n)
    {
        const auto offset = static_cast<uint32_t>(pool.size());
        for (; n > 0; --n)
            pool.push_back(static_cast<uint8_t>('a' + random() % 26));
        return offset;
    }

    /// A sub-rule of one attribute over strings by offset.
    static word_list sub_rule(uint32_t bottom, uint32_t real_bottom, uint32_t attr_type,
                              uint32_t attr, const word_list &values)
    {
        using namespace description_writer;
        const word_list offsets(attr_type == TLV_TYPE_PROTO_ATTR_STREAM_OFFSET ? values.size() : 0);
        const word_list one = record(
            attr_type, join({{TLV_TYPE_PROTO_ATTR_WAY_CTS, attr}, values, offsets}));
        return record(TLV_TYPE_PROTO_SUB_RULE,
                      join({record(TLV_TYPE_PROTO_SUB_RULE_META_V2,
                                   {bottom, real_bottom, 65536, 65536}),
                            with_offsets(TLV_TYPE_PROTO_SUB_RULE_ATTRS_OFFSET,
                                         TLV_TYPE_PROTO_SUB_RULE_ATTRS, {one})}));
    }
    static word_list rule(const word_list &sub_rule, const word_list &path, const word_list &tags)
    {
        using namespace description_writer;
        return record(TLV_TYPE_PROTO_RULE,
                      join({record(TLV_TYPE_PROTO_RULE_META_V5,
                                   join({{0, 0, 0, 0, 0}, counted(path), counted(tags)})),
                            with_offsets(TLV_TYPE_PROTO_SUB_RULES_OFFSET, TLV_TYPE_PROTO_SUB_RULES,
                                         {sub_rule})}));
    }
    /// A protocol; `more` stands in front of its rules.
    static word_list protocol(uint32_t name, const word_list &more,
                              const std::vector<word_list> &rules)
    {
        using namespace description_writer;
        return record(TLV_TYPE_PROTO,
                      join({record(TLV_TYPE_PROTO_META, {1, name, name, 0, 0, 0, 0, 0, 0, 0}), more,
                            with_offsets(TLV_TYPE_PROTO_RULES_OFFSET, TLV_TYPE_PROTO_RULES,
                                         rules)}));
    }
    /// The part list. The tag table has `tags` as it stands, and its names are in the same pool.
    pdb_list_t finish(const word_list &protocols, const word_list &tags = {})
    {
        while (pool.size() % 4 != 0)
            pool.push_back(0);
        word_list words;
        for (size_t at = 0; at < pool.size(); at += 4)
            words.push_back(csa_get_be32(pool.data() + at));
        pdb_list_t list;
        put_part(&list, PDB_TYPE_PROTOCOL_DESCRIPTION,
                 stored(record(TLV_TYPE_ROOT_PROTODESCS,
                               record(TLV_TYPE_PROTOGROUP,
                                      join({record(TLV_TYPE_PROTOGROUP_PROTOS, protocols),
                                            record(TLV_TYPE_PROTOGROUP_STRING, words)})))));
        put_part(&list, PDB_TYPE_TAGS, stored(record(TLV_TYPE_ROOT_TAGS, tags)));
        put_part(&list, PDB_TYPE_MAIN_HSTRING, stored(record(TLV_TYPE_ROOT_STRING, words)));
        return list;
    }
};
