/// The IPBT visitor: reads the IPv4 table into its container.
///
/// The document has no semantic rules of its own: the visitor accepts exactly
///
///     {"rules": [{"values": [{"type": "protocol", "value": "<id>"}, ...],
///                 "ips": ["<a.b.c.d>[/<length>][ #<comment>]", ...],
///                 "comment": <anything>}, ...]}
///
/// where a rule needs values and addresses, and the document and the list of rules may be empty.
/// Anything else stops the walk with a line on standard error.
#pragma once

#include "ipbt_container.h"
#include "json_visitor.h"

/// Where the walk stands.
enum ipbt_state_t : uint32_t {
    IPBT_STATE_ROOT,       ///< in front of the document's object
    IPBT_STATE_DOCUMENT,   ///< inside it
    IPBT_STATE_RULES_KEY,  ///< behind "rules"
    IPBT_STATE_RULES,      ///< inside its array
    IPBT_STATE_RULE,       ///< inside a rule
    IPBT_STATE_VALUES_KEY, ///< behind "values"
    IPBT_STATE_VALUES,     ///< inside its array
    IPBT_STATE_VALUE,      ///< inside a value
    IPBT_STATE_TYPE_KEY,   ///< behind "type"
    IPBT_STATE_ID_KEY,     ///< behind "value"
    IPBT_STATE_IPS_KEY,    ///< behind "ips"
    IPBT_STATE_IPS,        ///< inside its array
    IPBT_STATE_COMMENT,    ///< behind "comment": nothing is looked at
};

struct visitor_ipbt_t {
    json_visitor_t visitor;      ///< must stay first: the callbacks cast back
    ipbt_container_t *container; ///< the container being filled; not owned
    ipbt_state_t state;
    ipbt_value_t value;     ///< the value being read
    uint32_t comment_depth; ///< open pairs inside a comment
    bool is_key;            ///< the next string is a key
    bool has_element;       ///< the pair or array has what it must hold
};

/// Prepares `visitor` to fill `container`, which is emptied and must outlive the walk.
void visitor_ipbt_init(visitor_ipbt_t *visitor, ipbt_container_t *container);

/// Reads an IPv4 mask from a text of `len` bytes. Returns 0, or -1 after a line on standard error.
[[nodiscard]] int v_ipbt_parse_ip4_mask(const char *text, size_t len, ipbt_ip4_mask_t *mask);
