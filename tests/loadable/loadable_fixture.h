/// Pdbs as the tests of the loadable form write them, and the compile that they go through.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "captured.h"
#include "covered.h"
#include "description_writer.h"
#include "loadable_reader.h"
#include "outcome.h"
#include "pdata_compile.h"
#include "pdb_build.h"
#include "pdb_version.h"
#include "tlv_description.h"
#include "verified.h"

constexpr uint32_t VID_NONE = 0xFFFFFFFF;

/// A stream attribute with values that are not bound to an offset.
inline attr_model stream_attr(const std::string &name, const std::vector<std::string> &values,
                              csa_attr_way_t way = ATTR_WAY_CTS)
{
    attr_model attr = {name, MATCHER_TYPE_STREAM, way, ATTR_PROTO_UNKNOWN, {}};
    for (const std::string &value : values)
        attr.values.emplace_back(value, 0);
    return attr;
}

inline attr_model offset_attr(const std::string &name, const std::string &value, uint32_t offset,
                              csa_attr_way_t way = ATTR_WAY_CTS)
{
    return {name, MATCHER_TYPE_STREAM, way, ATTR_PROTO_UNKNOWN, {{value, offset}}};
}

inline attr_model number_attr(const std::string &name, const std::vector<std::string> &values,
                              matcher_type_t type = MATCHER_TYPE_NUMBER_16,
                              csa_attr_way_t way = ATTR_WAY_CTS)
{
    attr_model attr = stream_attr(name, values, way);
    attr.type = type;
    return attr;
}

inline sub_rule_model sub_rule_of(const std::string &bottom, const std::vector<attr_model> &attrs,
                                  uint32_t mindata = 0)
{
    return {bottom, bottom, mindata, mindata, attrs};
}

/// A rule of the newest form without a version identifier. Priority 0 stands for the default.
inline rule_model rule_of(const std::vector<sub_rule_model> &sub_rules, uint32_t priority = 0,
                          const std::vector<std::string> &tags = {})
{
    rule_model rule;
    rule.meta_version = 6;
    rule.order = priority;
    rule.vid = VID_NONE;
    rule.tags = tags;
    rule.sub_rules = sub_rules;
    return rule;
}

/// A rule of one sub-rule.
inline rule_model simple_rule(const std::string &bottom, const std::vector<attr_model> &attrs,
                              uint32_t priority = 0)
{
    return rule_of({sub_rule_of(bottom, attrs)}, priority);
}

inline protocol_model protocol_of(uint32_t id, const std::string &name,
                                  const std::vector<rule_model> &rules)
{
    protocol_model protocol;
    protocol.id = id;
    protocol.name = name;
    protocol.default_port = std::string(1, '\0');
    protocol.rules = rules;
    return protocol;
}

/// What a pdb is made of.
struct pdb_model {
    std::vector<protocol_model> protocols;
    std::vector<std::pair<std::string, uint32_t>> tags;
};

inline void put_part(pdb_list_t *list, pdb_type_t type, std::vector<uint8_t> bytes)
{
    size_t at = 0;
    while ((*list)[at].pdb_type != PDB_TYPE_END)
        ++at;
    ASSERT_TRUE(pdb_header_set(&(*list)[at], type, std::move(bytes)));
}

/// The words of a tag table whose names enter `pool`.
inline word_list tag_words(string_pool &pool,
                           const std::vector<std::pair<std::string, uint32_t>> &tags)
{
    word_list words;
    for (const auto &[name, value] : tags)
        words = join({words, {pool.put(name), value}});
    return words;
}

/// The part list of a pdb: descriptions, tag table, main strings, load state.
inline pdb_list_t make_pdb(const pdb_model &model)
{
    string_pool tag_pool;
    pdb_list_t list;
    const word_list tags = tag_words(tag_pool, model.tags);
    put_part(&list, PDB_TYPE_PROTOCOL_DESCRIPTION,
             description_writer::descriptions(tag_pool, model.protocols));
    put_part(&list, PDB_TYPE_TAGS, stored(record(TLV_TYPE_ROOT_TAGS, tags)));
    put_part(&list, PDB_TYPE_MAIN_HSTRING, description_writer::main_strings(tag_pool));
    put_part(&list, PDB_TYPE_LOAD, stored({0x0C000001, TLV_TYPE_LOAD_UNLOADABLE}));
    return list;
}

/// What a compile came to.
struct compiled_t {
    std::string outcome;          ///< "0", or the status and its message
    std::vector<uint8_t> bytes;   ///< the loadable pdb
    std::string diagnostics = {}; ///< lines on standard error, their line numbers masked
    std::string unsound = {};     ///< what was lost in silence, as unsound_text says it
};

/// Compiles a part list. A loadable pdb that comes out is read whole and checked.
inline compiled_t compile(const pdb_list_t &list, uint32_t network_endian = 1,
                          pdata_sig_export_t *sig_export = nullptr,
                          loadable_origin_t origin = LOADABLE_OWN)
{
    clear_status_slot();
    pdata_pdb_version_set("1.540.1-24");
    compiled_t compiled;
    pdb_t out;
    compiled.diagnostics = mask_lines(stderr_of([&] {
        compiled.outcome = outcome(pdata_compile(&list, &out, sig_export, {}, network_endian));
    }));
    const std::span<const uint8_t> bytes = pdb_header_bytes(out);
    compiled.bytes.assign(bytes.begin(), bytes.end());
    if (!bytes.empty()) {
        EXPECT_EQ(loadable_verify(bytes, origin), "");
        EXPECT_EQ(verify_text(bytes, origin == LOADABLE_FOREIGN), "");
        EXPECT_EQ(origin == LOADABLE_FOREIGN ? dump_cover(bytes).fault : dump_fault(bytes), "");
        EXPECT_EQ(out.pdb_type, PDB_TYPE_LOAD);
        compiled.unsound = unsound_text(bytes);
    }
    return compiled;
}

inline compiled_t compile(const pdb_model &model)
{
    return compile(make_pdb(model));
}

/// A loadable pdb of which nothing was lost, open; its bytes live as long as it does.
struct loaded_t {
    compiled_t compiled;
    loadable_pdb_t pdb;

    explicit loaded_t(const pdb_model &model) : loaded_t(compile(model)) {}
    explicit loaded_t(compiled_t from) : compiled(std::move(from))
    {
        std::string error;
        // A success may leave a warning in the slot: "0 (recorded ...".
        EXPECT_EQ(compiled.outcome.substr(0, 1), "0") << compiled.outcome << compiled.diagnostics;
        EXPECT_TRUE(loadable_open(compiled.bytes, pdb, error)) << error;
        // Else rules may be missing, and it was said.
        if (compiled.outcome == "0" && compiled.diagnostics.empty()) {
            EXPECT_EQ(compiled.unsound, "");
        }
    }
    loaded_t(const loaded_t &) = delete;
    loaded_t &operator=(const loaded_t &) = delete;
};

/// Returns the bytes of a root record, header included; none when there is none.
inline std::vector<uint8_t> root_record(const std::vector<uint8_t> &pdb, uint32_t type)
{
    std::span<const uint8_t> found;
    if (tlv_record_search(type, pdb, &found) != PDATA_SUCCESS)
        return {};
    return {found.begin(), found.end()};
}

/// Two rules: "web" on a port, and "mail" on a port over an ICMP code.
inline pdb_model two_rules_model()
{
    rule_model web = simple_rule("tcp", {number_attr("port", {"80"})});
    web.tags = {"video"};
    rule_model mail =
        rule_of({{"tcp", "ip", 0, 0, {number_attr("port", {"25"})}},
                 {"icmp", "ip6", 0, 0, {number_attr("code", {"3"}, MATCHER_TYPE_NUMBER_8)}}},
                0x0A000005);
    mail.path = {"tcp", "mail"};
    mail.params = 3;
    mail.fastpass = 1;
    mail.scope = 0x800;
    mail.vid = 100;
    return {{protocol_of(7, "web", {web}), protocol_of(8, "mail", {mail})}, {{"video", 0x11}}};
}

/// A protocol group for the operations that work on one. `group` outlives `pg`.
struct group_t {
    std::vector<uint8_t> group;
    pdb_pg pg;

    explicit group_t(const std::vector<protocol_model> &protocols)
    {
        string_pool tag_pool;
        group = stored(description_writer::group_record(tag_pool, protocols));
        EXPECT_EQ(pdb_builder_get_protocol_offsets(std::span(group).subspan(4), &pg),
                  PDATA_SUCCESS);
    }
    group_t(const group_t &) = delete;
    group_t &operator=(const group_t &) = delete;
};
