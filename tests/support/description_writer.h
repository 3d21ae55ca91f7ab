/// Stored protocol descriptions as models say, in every form that is read: also those that are
/// written no more, and some that were never valid.
///
/// A model of type MATCHER_TYPE_STREAM_OFFSET is stored as a stream without offsets; one of an
/// unknown type or way as a number that stands for nothing. The oldest rule meta goes with the
/// oldest sub-rule meta.
#pragma once

#include <string>
#include <vector>

#include "csa_endian.h"
#include "description_reader.h"
#include "string_pool.h"
#include "words.h"

namespace description_writer
{

inline uint32_t type_word(matcher_type_t type)
{
    switch (type) {
    case MATCHER_TYPE_STREAM_OFFSET:
        return TLV_TYPE_PROTO_ATTR_STREAM;
    case MATCHER_TYPE_STREAM:
        return TLV_TYPE_PROTO_ATTR_STREAM_OFFSET;
    case MATCHER_TYPE_NUMBER_8:
        return TLV_TYPE_PROTO_ATTR_NUMBER_8;
    case MATCHER_TYPE_NUMBER_16:
        return TLV_TYPE_PROTO_ATTR_NUMBER_16;
    case MATCHER_TYPE_IP_4:
        return TLV_TYPE_PROTO_ATTR_IP_4;
    case MATCHER_TYPE_IP_6:
        return TLV_TYPE_PROTO_ATTR_IP_6;
    default:
        return 7;
    }
}

inline uint32_t way_word(const attr_model &attr)
{
    constexpr uint32_t ways[] = {0, TLV_TYPE_PROTO_ATTR_WAY_CTS, TLV_TYPE_PROTO_ATTR_WAY_STC,
                                 TLV_TYPE_PROTO_ATTR_WAY_BOTH};
    return ways[attr.way] | attr.proto << 4;
}

/// A list of records behind the list of their offsets.
inline word_list with_offsets(uint32_t offsets_type, uint32_t list_type,
                              const std::vector<word_list> &records)
{
    word_list offsets;
    word_list list;
    for (const word_list &one : records) {
        offsets.push_back(static_cast<uint32_t>(list.size()));
        list.insert(list.end(), one.begin(), one.end());
    }
    return join({record(offsets_type, offsets), record(list_type, list)});
}

inline word_list strings_of(string_pool &pool, const std::vector<std::string> &texts)
{
    word_list words;
    for (const std::string &text : texts)
        words.push_back(pool.put(text));
    return words;
}

inline word_list counted(const word_list &words)
{
    return join({{static_cast<uint32_t>(words.size())}, words});
}

inline word_list attr_record(string_pool &pool, const attr_model &attr)
{
    word_list words = {way_word(attr), pool.put(attr.name)};
    for (const auto &[value, offset] : attr.values)
        words.push_back(pool.put(value));
    for (const auto &[value, offset] : attr.values)
        if (attr.type == MATCHER_TYPE_STREAM)
            words.push_back(offset);
    return record(type_word(attr.type), words);
}

inline word_list sub_rule_record(string_pool &pool, const sub_rule_model &sub_rule, bool oldest)
{
    word_list meta = {pool.put(sub_rule.protocol)};
    if (!oldest)
        meta.push_back(pool.put(sub_rule.bottom_protocol));
    meta = join({meta, {sub_rule.stc_mindata, sub_rule.cts_mindata}});
    std::vector<word_list> attrs;
    for (const attr_model &attr : sub_rule.attrs)
        attrs.push_back(attr_record(pool, attr));
    return record(
        TLV_TYPE_PROTO_SUB_RULE,
        join({record(oldest ? 1 : 4, meta), with_offsets(TLV_TYPE_PROTO_SUB_RULE_ATTRS_OFFSET,
                                                         TLV_TYPE_PROTO_SUB_RULE_ATTRS, attrs)}));
}

inline word_list rule_meta(string_pool &pool, string_pool &tag_pool, const rule_model &rule)
{
    const word_list path = strings_of(pool, rule.path);
    const word_list lists = join({counted(path), counted(strings_of(tag_pool, rule.tags))});
    switch (rule.meta_version) {
    case 1:
        return record(TLV_TYPE_PROTO_RULE_META, join({{rule.order}, path}));
    case 2:
        return record(TLV_TYPE_PROTO_RULE_META_V2, join({{rule.order}, lists}));
    case 3:
        return record(TLV_TYPE_PROTO_RULE_META_V3, join({{rule.order, rule.preempt}, lists}));
    case 4:
        return record(TLV_TYPE_PROTO_RULE_META_V4,
                      join({{rule.order, rule.params, rule.fastpass, rule.preempt}, lists}));
    case 5:
        return record(
            TLV_TYPE_PROTO_RULE_META_V5,
            join({{rule.order, rule.params, rule.scope, rule.fastpass, rule.preempt}, lists}));
    default:
        return record(TLV_TYPE_PROTO_RULE_META_V6, join({{rule.order, rule.params, rule.scope,
                                                          rule.vid, rule.fastpass, rule.preempt},
                                                         lists}));
    }
}

inline word_list rule_record(string_pool &pool, string_pool &tag_pool, const rule_model &rule)
{
    const word_list meta = rule_meta(pool, tag_pool, rule);
    std::vector<word_list> sub_rules;
    for (const sub_rule_model &sub_rule : rule.sub_rules)
        sub_rules.push_back(sub_rule_record(pool, sub_rule, rule.meta_version == 1));
    return record(rule.ruleorder != 0 ? TLV_TYPE_PROTO_RULE_ORDER : TLV_TYPE_PROTO_RULE,
                  join({meta, with_offsets(TLV_TYPE_PROTO_SUB_RULES_OFFSET,
                                           TLV_TYPE_PROTO_SUB_RULES, sub_rules)}));
}

/// The value of a description. Strings enter the pool in the order of the records.
inline word_list protocol_words(string_pool &pool, string_pool &tag_pool,
                                const protocol_model &protocol)
{
    const word_list meta = {protocol.id,
                            pool.put(protocol.name),
                            pool.put(protocol.default_port),
                            protocol.max_trans,
                            protocol.cacheable,
                            protocol.http_reclassify,
                            protocol.version[0],
                            protocol.version[1],
                            protocol.version[2],
                            protocol.implicit_bottom_layer};
    word_list tags;
    for (const auto &[name, value] : protocol.tags)
        tags = join({tags, strings_of(pool, {name, value})});
    word_list descs;
    for (const auto &[lang, text] : protocol.descs)
        descs = join({descs, strings_of(pool, {lang, text})});
    const word_list compat = strings_of(pool, protocol.compat);
    const word_list versions = strings_of(pool, protocol.supported_versions);
    const word_list altnames = strings_of(pool, protocol.altnames);
    std::vector<word_list> rules;
    for (const rule_model &rule : protocol.rules)
        rules.push_back(rule_record(pool, tag_pool, rule));
    return join({record(TLV_TYPE_PROTO_META, meta), record(TLV_TYPE_PROTO_TAGS, tags),
                 record(TLV_TYPE_PROTO_DESC, descs), record(TLV_TYPE_PROTO_COMPAT, compat),
                 record(TLV_TYPE_PROTO_SUPPORTED_VERSION, versions),
                 record(TLV_TYPE_PROTO_ALTNAME, altnames),
                 with_offsets(TLV_TYPE_PROTO_RULES_OFFSET, TLV_TYPE_PROTO_RULES, rules)});
}

/// The words of a stored pool.
inline word_list pool_words(string_pool &pool)
{
    const hstring_t view = pool.view();
    word_list words;
    for (uint32_t at = 0; at < view.hs_len; at += 4)
        words.push_back(csa_get_be32(view.hs_str + at));
    return words;
}

/// A protocol group with a string table of its own.
inline word_list group_record(string_pool &tag_pool, const std::vector<protocol_model> &protocols)
{
    string_pool pool;
    word_list list;
    for (const protocol_model &protocol : protocols) {
        const word_list one = record(TLV_TYPE_PROTO, protocol_words(pool, tag_pool, protocol));
        list.insert(list.end(), one.begin(), one.end());
    }
    return record(TLV_TYPE_PROTOGROUP,
                  join({record(TLV_TYPE_PROTOGROUP_PROTOS, list),
                        record(TLV_TYPE_PROTOGROUP_STRING, pool_words(pool))}));
}

/// The root record of protocol descriptions: one group of these protocols. The words of rule tags
/// enter `tag_pool`.
inline std::vector<uint8_t> descriptions(string_pool &tag_pool,
                                         const std::vector<protocol_model> &protocols)
{
    return stored(record(1, group_record(tag_pool, protocols)));
}

/// The root record of main strings.
inline std::vector<uint8_t> main_strings(string_pool &tag_pool)
{
    return stored(record(3, pool_words(tag_pool)));
}

} // namespace description_writer
