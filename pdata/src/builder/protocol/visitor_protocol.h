/// The protocol visitor: recognises the vocabulary of a protocol object and fills the container.
///
/// A stack of states says where in the object the walk stands; the high bits of a state say what
/// its key accepts. Keys are compared raw, by length and bytes (oddity O60). A key that is unknown
/// where it stands is ignored with all that it holds, except directly inside a sub-rule, where it
/// is the name of an attribute.
#pragma once

#include "container_protocol.h"
#include "visitor_keyed.h"

/// What the key of a state accepts. Oddity O95.
constexpr uint32_t PROTOCOL_ACCEPTS_CONTAINER = 0x80000000;
constexpr uint32_t PROTOCOL_ACCEPTS_ATOM = 0x40000000;
constexpr uint32_t PROTOCOL_ACCEPTS_STRING = 0x20000000;
constexpr uint32_t PROTOCOL_ACCEPTS_NUMBER = 0x10000000;

enum protocol_state_t : uint32_t {
    PROTOCOL_STATE_ROOT = 0x80000000,
    PROTOCOL_STATE_VERSION = 0x80000001,
    PROTOCOL_STATE_TAGS = 0x80000002,
    PROTOCOL_STATE_DESCRIPTION = 0x80000003,
    PROTOCOL_STATE_RULES = 0x80000004,
    PROTOCOL_STATE_RULES_RULE = 0x80000005,
    PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET = 0x80000006,
    PROTOCOL_STATE_UNKNOWN = 0x80000007,
    PROTOCOL_STATE_TAGS_DEPRECATED = 0x40000000,
    PROTOCOL_STATE_HTTP_RECLASSIFY = 0x40000001,
    PROTOCOL_STATE_CACHEABLE = 0x40000002,
    PROTOCOL_STATE_RULES_RULE_FASTPASS = 0x40000003,
    PROTOCOL_STATE_RULES_RULE_PREEMPT = 0x40000004,
    PROTOCOL_STATE_NAME = 0x20000000,
    PROTOCOL_STATE_TAGS_CATEGORY = 0x20000001,
    PROTOCOL_STATE_TAGS_FAMILY = 0x20000002,
    PROTOCOL_STATE_ALTNAME = 0x20000003,
    PROTOCOL_STATE_DESCRIPTION_FR = 0x20000004,
    PROTOCOL_STATE_DESCRIPTION_EN = 0x20000005,
    PROTOCOL_STATE_RULES_RULE_ORDER = 0x20000006,
    PROTOCOL_STATE_RULES_RULE_SCOPE = 0x20000007,
    PROTOCOL_STATE_RULES_RULE_PATH = 0x20000008,
    PROTOCOL_STATE_RULES_RULE_TAG = 0x20000009,
    PROTOCOL_STATE_RULES_RULE_PROTOCOL = 0x2000000A,
    PROTOCOL_STATE_RULES_RULE_ATTR = 0x2000000B,
    PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_PATTERN = 0x2000000C,
    PROTOCOL_STATE_ID = 0x10000000,
    PROTOCOL_STATE_VIRTUAL_ID = 0x10000001,
    PROTOCOL_STATE_VERSION_MAJOR = 0x10000002,
    PROTOCOL_STATE_VERSION_MINOR = 0x10000003,
    PROTOCOL_STATE_VERSION_REVISION = 0x10000004,
    PROTOCOL_STATE_RULES_RULE_MINDATA = 0x10000005,
    PROTOCOL_STATE_RULES_RULE_CTS_MINDATA = 0x10000006,
    PROTOCOL_STATE_RULES_RULE_STC_MINDATA = 0x10000007,
    PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_OFFSET = 0x10000008,
    PROTOCOL_STATE_IMPLICIT_BOTTOM_LAYER = 0x10000009,
};

using visitor_protocol_t = visitor_keyed_t<protocol_t>;

/// Prepares `visitor` to fill `protocol`, which is emptied and must outlive the walk.
void visitor_protocol_init(visitor_protocol_t *visitor, protocol_t *protocol);

/// Forgets the container.
void visitor_protocol_cleanup(visitor_protocol_t *visitor);
