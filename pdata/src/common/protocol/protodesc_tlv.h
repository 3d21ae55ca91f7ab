/// Type numbers of a stored protocol description, one enumeration per nesting level.
///
/// A description is a tree of records:
///
///     protocol group     PROTOS { PROTO ... }, STRING (the group's string table)
///     protocol           META, TAGS, DESC, COMPAT, SUPPORTED_VERSION, ALTNAME, RULES_OFFSET, RULES
///     rules list         RULE or RULE_ORDER ...
///     rule               one of the rule metas, SUB_RULES_OFFSET, SUB_RULES { SUB_RULE ... }
///     sub-rule           one of the sub-rule metas, ATTRS_OFFSET, ATTRS { one attribute type ... }
///
/// The offset lists hold, per entry, the word offset of its record within the list that follows.
#pragma once

#include <cstdint>

/// Transport that an attribute is restricted to.
enum attr_proto_t : uint32_t {
    ATTR_PROTO_UNKNOWN = 0,
    ATTR_PROTO_TCP = 1,
    ATTR_PROTO_UDP = 2,
};

/// Inside the root of protocol descriptions.
enum tlv_protogroup_list_type_t : uint32_t {
    TLV_TYPE_PROTOGROUP = 1,
};

/// Inside a protocol group.
enum tlv_protogroup_type_t : uint32_t {
    TLV_TYPE_PROTOGROUP_PROTOS = 1,
    TLV_TYPE_PROTOGROUP_STRING = 2,
};

/// Inside the protocol list of a group.
enum tlv_proto_list_type_t : uint32_t {
    TLV_TYPE_PROTO = 1,
};

/// Inside a protocol.
enum tlv_proto_type_t : uint32_t {
    TLV_TYPE_PROTO_META = 1,
    TLV_TYPE_PROTO_TAGS = 2,
    TLV_TYPE_PROTO_DESC = 3,
    TLV_TYPE_PROTO_SUPPORTED_VERSION = 4,
    TLV_TYPE_PROTO_ALTNAME = 5,
    TLV_TYPE_PROTO_COMPAT = 6,
    TLV_TYPE_PROTO_RULES = 7,
    TLV_TYPE_PROTO_RULES_OFFSET = 8,
};

/// Inside the rules list: whether the rule's order is significant.
enum tlv_proto_rules_type_t : uint32_t {
    TLV_TYPE_PROTO_RULE_ORDER = 1,
    TLV_TYPE_PROTO_RULE = 2,
};

/// Inside a rule. Only the fifth and sixth form of the meta are written.
enum tlv_proto_rule_type_t : uint32_t {
    TLV_TYPE_PROTO_RULE_META = 1,
    TLV_TYPE_PROTO_SUB_RULES = 2,
    TLV_TYPE_PROTO_SUB_RULES_OFFSET = 3,
    TLV_TYPE_PROTO_RULE_META_V2 = 4,
    TLV_TYPE_PROTO_RULE_META_V3 = 5,
    TLV_TYPE_PROTO_RULE_META_V4 = 6,
    TLV_TYPE_PROTO_RULE_META_V5 = 7,
    TLV_TYPE_PROTO_RULE_META_V6 = 8,
};

/// Inside the sub-rule list.
enum tlv_proto_sub_rules_type_t : uint32_t {
    TLV_TYPE_PROTO_SUB_RULE = 2,
};

/// Inside a sub-rule. Only the second form of the meta is written.
enum tlv_proto_sub_rule_type_t : uint32_t {
    TLV_TYPE_PROTO_SUB_RULE_META = 1,
    TLV_TYPE_PROTO_SUB_RULE_ATTRS = 2,
    TLV_TYPE_PROTO_SUB_RULE_ATTRS_OFFSET = 3,
    TLV_TYPE_PROTO_SUB_RULE_META_V2 = 4,
};

/// Inside the attribute list: the matcher type of the attribute. STREAM, without offsets, is read
/// and never written.
enum tlv_proto_attr_type_t : uint32_t {
    TLV_TYPE_PROTO_ATTR_STREAM = 1,
    TLV_TYPE_PROTO_ATTR_NUMBER_16 = 2,
    TLV_TYPE_PROTO_ATTR_IP_4 = 3,
    TLV_TYPE_PROTO_ATTR_IP_6 = 4,
    TLV_TYPE_PROTO_ATTR_NUMBER_8 = 5,
    TLV_TYPE_PROTO_ATTR_STREAM_OFFSET = 6,
};

/// The way-and-proto word of an attribute. The two single ways are numbered the other way round
/// than csa_attr_way_t numbers them. Part of the format.
enum tlv_proto_attr_way_t : uint32_t {
    TLV_TYPE_PROTO_ATTR_WAY_STC = 1,
    TLV_TYPE_PROTO_ATTR_WAY_CTS = 2,
    TLV_TYPE_PROTO_ATTR_WAY_BOTH = 3,
    TLV_TYPE_PROTO_ATTR_PROTO_TCP = 16,
    TLV_TYPE_PROTO_ATTR_PROTO_UDP = 32,
};
