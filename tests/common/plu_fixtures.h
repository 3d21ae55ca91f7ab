/// Protocols as the tests of the update write them, and an update to run them through.
#pragma once

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "description_writer.h"
#include "outcome.h"
#include "plu.h"
#include "protodesc.h"

/// Ids of the user namespace; the low seven bits choose the bucket.
constexpr uint32_t USER = 0x01000000;

/// A default port that is not set, as it is stored.
inline const std::string NO_PORT(1, '\0');

inline attr_model make_attr(const std::string &name, const std::vector<std::string> &values,
                            matcher_type_t type = MATCHER_TYPE_NUMBER_16,
                            csa_attr_way_t way = ATTR_WAY_BOTH)
{
    attr_model attr = {name, type, way, ATTR_PROTO_UNKNOWN, {}};
    for (const std::string &value : values)
        attr.values.emplace_back(value, 0);
    return attr;
}

inline sub_rule_model make_sub_rule(const std::string &protocol,
                                    const std::vector<attr_model> &attrs)
{
    return {protocol, protocol, 0, 0, attrs};
}

/// A rule of the newest written form without a version identifier.
inline rule_model make_rule(const std::vector<sub_rule_model> &sub_rules)
{
    rule_model rule;
    rule.meta_version = 5;
    rule.order = 0x01000002;
    rule.scope = 0x800;
    rule.vid = RULE_VID_NONE;
    rule.sub_rules = sub_rules;
    return rule;
}

/// A rule of one sub-rule with one attribute.
inline rule_model port_rule(const std::vector<std::string> &ports)
{
    return make_rule({make_sub_rule("tcp", {make_attr("port", ports)})});
}

inline protocol_model make_protocol(uint32_t id, const std::string &name,
                                    const std::vector<rule_model> &rules = {})
{
    protocol_model protocol;
    protocol.id = id;
    protocol.ns = id >> 24 & 3;
    protocol.name = name;
    protocol.default_port = NO_PORT;
    protocol.cacheable = 1;
    protocol.supported_versions = {"See atlas for details"};
    protocol.rules = rules;
    return protocol;
}

/// Names of protocols, "a b c".
inline std::string names_of(const std::vector<protocol_model> &protocols)
{
    std::string names;
    for (const protocol_model &protocol : protocols)
        names += (names.empty() ? "" : " ") + protocol.name;
    return names;
}

/// The values of the first attribute of every rule's first sub-rule, "80 443,8443".
inline std::string ports_of(const protocol_model &protocol)
{
    std::string ports;
    for (const rule_model &rule : protocol.rules) {
        ports += ports.empty() ? "" : " ";
        for (const auto &[value, offset] : rule.sub_rules.at(0).attrs.at(0).values)
            ports += (ports.empty() || ports.back() == ' ' ? "" : ",") + value;
    }
    return ports;
}

/// An update over models. What it is given lives as long as itself.
struct update_run {
    string_pool tags;
    std::deque<std::vector<uint8_t>> parts;
    std::span<const uint8_t> strings;
    pdata_commit commit;

    update_run()
    {
        clear_status_slot();
        tags.put("video");
        tags.put("audio");
        tags.put("zz"); // an entry at the very end would not be loaded
        strings = keep(description_writer::main_strings(tags));
    }

    std::span<const uint8_t> keep(std::vector<uint8_t> part)
    {
        return parts.emplace_back(std::move(part));
    }

    std::string open_part(std::vector<uint8_t> part)
    {
        return outcome(pdata_update_init(&commit, keep(std::move(part)), strings));
    }
    std::string open(const std::vector<protocol_model> &protocols)
    {
        return open_part(description_writer::descriptions(tags, protocols));
    }
    std::string merge_part(std::vector<uint8_t> part)
    {
        return outcome(pdata_update_merge(&commit, keep(std::move(part)), strings));
    }
    std::string merge(const std::vector<protocol_model> &protocols)
    {
        return merge_part(description_writer::descriptions(tags, protocols));
    }
    std::string remove(uint32_t id) { return outcome(pdata_update_remove(&commit, id)); }
    std::string apply() { return outcome(pdata_update_commit(&commit)); }

    /// The bytes of the result, in memory of exactly the size that is reported.
    std::vector<uint8_t> bytes_out()
    {
        std::vector<uint8_t> out(pdata_update_get_size(commit));
        size_t size = 0;
        EXPECT_EQ(outcome(pdata_update_serialize(commit, out, &size)), "0");
        EXPECT_TRUE(size == out.size() || size == 4U) << size;
        return out;
    }

    /// The protocols of the result.
    std::vector<protocol_model> result()
    {
        std::vector<protocol_model> out;
        const std::vector<uint8_t> root = bytes_out();
        const hstring_t tag_view = {strings.data() + 4, static_cast<uint32_t>(strings.size()) - 4};
        EXPECT_EQ(outcome(read_protocols(root, tag_view, &out)), "0");
        return out;
    }
};

/// Merges `incoming` into `base` and gives the protocols of the result; an expected outcome other
/// than "0" is that of the merge or, behind it, of the commit.
inline std::vector<protocol_model> merged(const std::vector<protocol_model> &base,
                                          const std::vector<protocol_model> &incoming,
                                          const std::string &expected = "0")
{
    update_run run;
    EXPECT_EQ(run.open(base), "0");
    std::string status = run.merge(incoming);
    if (status == "0")
        status = run.apply();
    EXPECT_EQ(status, expected);
    return status == "0" ? run.result() : std::vector<protocol_model>();
}
