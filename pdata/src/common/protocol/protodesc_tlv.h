/// Stored protocol descriptions: their records, and the numbers inside them.
///
/// A description is a tree of records, whose types are in format_types.h:
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

#include "format_types.h"
#include "format_values.h"

/// Transport that an attribute is restricted to.
enum attr_proto_t : uint32_t {
    ATTR_PROTO_UNKNOWN = 0,
    ATTR_PROTO_TCP = 1,
    ATTR_PROTO_UDP = 2,
};
