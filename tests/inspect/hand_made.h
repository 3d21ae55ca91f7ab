/// Small pdbs, put together by hand.
#pragma once

#include <string>
#include <utility>
#include <vector>

#include "description_writer.h"

inline attr_model port(std::vector<std::pair<std::string, uint32_t>> values)
{
    return {"port", MATCHER_TYPE_NUMBER_16, ATTR_WAY_BOTH, ATTR_PROTO_UNKNOWN, std::move(values)};
}

/// A rule as the compiler stores it, on a port.
inline rule_model port_rule()
{
    rule_model rule;
    rule.meta_version = 5;
    rule.scope = 0x800;
    rule.sub_rules = {{"tcp", "tcp", 0, 0, {port({{"80", 0}})}}};
    return rule;
}

inline protocol_model protocol_of(const std::vector<rule_model> &rules)
{
    protocol_model protocol;
    protocol.id = 7;
    protocol.name = "a";
    protocol.default_port = std::string(1, '\0');
    protocol.cacheable = 1;
    protocol.supported_versions = {"See atlas for details"};
    protocol.rules = rules;
    return protocol;
}

/// The descriptions of one protocol, with main strings.
inline std::vector<uint8_t> pdb_of(const std::vector<rule_model> &rules)
{
    string_pool tags;
    tags.put("first");
    std::vector<uint8_t> file = description_writer::descriptions(tags, {protocol_of(rules)});
    const std::vector<uint8_t> strings = description_writer::main_strings(tags);
    file.insert(file.end(), strings.begin(), strings.end());
    return file;
}
