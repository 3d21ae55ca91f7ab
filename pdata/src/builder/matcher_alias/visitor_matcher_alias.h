/// The matcher-alias visitor: fills the alias container.
///
/// A document is an object with "aliases", an array of objects with "alias" and "reference", each
/// an object with "protocol", "attr" and "way". Any other key, with all that it holds, is ignored.
#pragma once

#include "container_matcher_alias.h"
#include "visitor_keyed.h"

enum matcher_alias_state_t : uint32_t {
    MATCHER_ALIAS_STATE_ROOT,
    MATCHER_ALIAS_STATE_ALIASES,
    MATCHER_ALIAS_STATE_ALIASES_ALIAS,
    MATCHER_ALIAS_STATE_ALIASES_ALIAS_PROTOCOL,
    MATCHER_ALIAS_STATE_ALIASES_ALIAS_ATTR,
    MATCHER_ALIAS_STATE_ALIASES_ALIAS_WAY,
    MATCHER_ALIAS_STATE_ALIASES_REFERENCE,
    MATCHER_ALIAS_STATE_ALIASES_REFERENCE_PROTOCOL,
    MATCHER_ALIAS_STATE_ALIASES_REFERENCE_ATTR,
    MATCHER_ALIAS_STATE_ALIASES_REFERENCE_WAY,
    MATCHER_ALIAS_STATE_UNKNOWN,
};

using visitor_matcher_alias_t = visitor_keyed_t<matcher_alias_container_t>;

/// Prepares `visitor` to fill `container`, which is emptied and must outlive the walk.
void visitor_matcher_alias_init(visitor_matcher_alias_t *visitor,
                                matcher_alias_container_t *container);
