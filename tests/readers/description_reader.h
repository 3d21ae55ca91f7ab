/// A reader of stored protocol descriptions that goes through every accessor.
///
/// It turns the views of a description into plain values: what a tool would print, and what a test
/// compares with the text that a description was made from.
#pragma once

#include <array>
#include <iosfwd>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "protodesc_deserializer.h"

struct attr_model {
    std::string name;
    matcher_type_t type = MATCHER_TYPE_UNKNOWN;
    csa_attr_way_t way = ATTR_WAY_UNKNOWN;
    attr_proto_t proto = ATTR_PROTO_UNKNOWN;
    std::vector<std::pair<std::string, uint32_t>> values; ///< each with its pattern offset

    bool operator==(const attr_model &) const = default;
};

struct sub_rule_model {
    std::string protocol;
    std::string bottom_protocol;
    uint32_t stc_mindata = 0;
    uint32_t cts_mindata = 0;
    std::vector<attr_model> attrs;

    bool operator==(const sub_rule_model &) const = default;
};

struct rule_model {
    uint32_t meta_version = 0;
    uint32_t ruleorder = 0;
    uint32_t order = 0;
    uint32_t params = 0;
    uint32_t scope = 0;
    uint32_t vid = 0;
    uint32_t fastpass = 0;
    uint32_t preempt = 0;
    std::vector<std::string> path;
    std::vector<std::string> tags;
    std::vector<sub_rule_model> sub_rules;

    bool operator==(const rule_model &) const = default;
};

struct protocol_model {
    uint32_t id = 0;
    uint32_t ns = 0;
    std::string name;
    std::string default_port;
    uint32_t max_trans = 0;
    uint32_t cacheable = 0;
    uint32_t http_reclassify = 0;
    std::array<uint32_t, 3> version{};
    uint32_t implicit_bottom_layer = 0;
    std::vector<std::pair<std::string, std::string>> tags;
    std::vector<std::pair<std::string, std::string>> descs;
    std::vector<std::string> compat;
    std::vector<std::string> supported_versions;
    std::vector<std::string> altnames;
    std::vector<rule_model> rules;

    bool operator==(const protocol_model &) const = default;
};

/// Shows a model when a comparison fails.
std::ostream &operator<<(std::ostream &out, const protocol_model &protocol);

/// Reads the description of `buf` whole, its names through `strings` and its rule tags through
/// `tags`. A part that cannot be read is left out and the reading goes on behind it. Returns
/// PDATA_SUCCESS or the first failure.
pdata_status_t read_protocol(std::span<const uint8_t> buf, const hstring_t &strings,
                             const hstring_t &tags, protocol_model *protocol);

/// Reads every description of a root record of protocol descriptions, header included, whose rule
/// tags go through `tags`. Returns as read_protocol does, or PDATA_ERR_TLV_NOT_FOUND for a record
/// of another shape.
pdata_status_t read_protocols(std::span<const uint8_t> root, const hstring_t &tags,
                              std::vector<protocol_model> *protocols);
