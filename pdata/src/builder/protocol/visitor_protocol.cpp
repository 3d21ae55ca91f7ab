#include "visitor_protocol.h"

namespace
{

// clang-format off
/// Which state a key opens below which state.
constexpr state_key_t keys[] = {
    {PROTOCOL_STATE_ROOT, "name", PROTOCOL_STATE_NAME},
    {PROTOCOL_STATE_ROOT, "id", PROTOCOL_STATE_ID},
    {PROTOCOL_STATE_ROOT, "version", PROTOCOL_STATE_VERSION},
    {PROTOCOL_STATE_ROOT, "tags", PROTOCOL_STATE_TAGS},
    {PROTOCOL_STATE_ROOT, "altname", PROTOCOL_STATE_ALTNAME},
    {PROTOCOL_STATE_ROOT, "http_reclassify", PROTOCOL_STATE_HTTP_RECLASSIFY},
    {PROTOCOL_STATE_ROOT, "implicit_bottom_layer", PROTOCOL_STATE_IMPLICIT_BOTTOM_LAYER},
    {PROTOCOL_STATE_ROOT, "virtual_id", PROTOCOL_STATE_VIRTUAL_ID},
    {PROTOCOL_STATE_ROOT, "cacheable", PROTOCOL_STATE_CACHEABLE},
    {PROTOCOL_STATE_ROOT, "description", PROTOCOL_STATE_DESCRIPTION},
    {PROTOCOL_STATE_ROOT, "rules", PROTOCOL_STATE_RULES},
    {PROTOCOL_STATE_VERSION, "major", PROTOCOL_STATE_VERSION_MAJOR},
    {PROTOCOL_STATE_VERSION, "minor", PROTOCOL_STATE_VERSION_MINOR},
    {PROTOCOL_STATE_VERSION, "revision", PROTOCOL_STATE_VERSION_REVISION},
    {PROTOCOL_STATE_TAGS, "category", PROTOCOL_STATE_TAGS_CATEGORY},
    {PROTOCOL_STATE_TAGS, "family", PROTOCOL_STATE_TAGS_FAMILY},
    {PROTOCOL_STATE_TAGS, "deprecated", PROTOCOL_STATE_TAGS_DEPRECATED},
    {PROTOCOL_STATE_DESCRIPTION, "fr", PROTOCOL_STATE_DESCRIPTION_FR},
    {PROTOCOL_STATE_DESCRIPTION, "en", PROTOCOL_STATE_DESCRIPTION_EN},
    {PROTOCOL_STATE_RULES, "rule", PROTOCOL_STATE_RULES_RULE},
    {PROTOCOL_STATE_RULES, "scope", PROTOCOL_STATE_RULES_RULE_SCOPE},
    {PROTOCOL_STATE_RULES, "fastpass", PROTOCOL_STATE_RULES_RULE_FASTPASS},
    {PROTOCOL_STATE_RULES, "preempt", PROTOCOL_STATE_RULES_RULE_PREEMPT},
    {PROTOCOL_STATE_RULES, "order", PROTOCOL_STATE_RULES_RULE_ORDER},
    {PROTOCOL_STATE_RULES, "path", PROTOCOL_STATE_RULES_RULE_PATH},
    {PROTOCOL_STATE_RULES, "rule-tags", PROTOCOL_STATE_RULES_RULE_TAG},
    {PROTOCOL_STATE_RULES_RULE, "protocol", PROTOCOL_STATE_RULES_RULE_PROTOCOL},
    {PROTOCOL_STATE_RULES_RULE, "mindata", PROTOCOL_STATE_RULES_RULE_MINDATA},
    {PROTOCOL_STATE_RULES_RULE, "cts-mindata", PROTOCOL_STATE_RULES_RULE_CTS_MINDATA},
    {PROTOCOL_STATE_RULES_RULE, "stc-mindata", PROTOCOL_STATE_RULES_RULE_STC_MINDATA},
    {PROTOCOL_STATE_RULES_RULE, "stream_offset", PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET},
    {PROTOCOL_STATE_RULES_RULE, "cts-stream_offset", PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET},
    {PROTOCOL_STATE_RULES_RULE, "stc-stream_offset", PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET},
    {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET, "offset", PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_OFFSET},
    {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET, "pattern", PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_PATTERN},
};
// clang-format on

/// Where the value of a state goes.
using string_row = keyed_row_t<protocol_t, json_string_t>;
using number_row = keyed_row_t<protocol_t, json_number_t>;
using atom_row = keyed_row_t<protocol_t, json_atom_t>;

constexpr string_row strings[] = {
    {PROTOCOL_STATE_NAME, protocol_name_set},
    {PROTOCOL_STATE_TAGS_CATEGORY, protocol_tags_category_add},
    {PROTOCOL_STATE_TAGS_FAMILY, protocol_tags_family_set},
    {PROTOCOL_STATE_ALTNAME, protocol_altname_add},
    {PROTOCOL_STATE_DESCRIPTION_FR, protocol_description_fr_set},
    {PROTOCOL_STATE_DESCRIPTION_EN, protocol_description_en_set},
    {PROTOCOL_STATE_RULES_RULE_ORDER, protocol_rules_rule_order_set},
    {PROTOCOL_STATE_RULES_RULE_SCOPE, protocol_rules_rule_scope_add},
    {PROTOCOL_STATE_RULES_RULE_PATH, protocol_rules_rule_path_add},
    {PROTOCOL_STATE_RULES_RULE_TAG, protocol_rules_rule_tag_add},
    {PROTOCOL_STATE_RULES_RULE_PROTOCOL, protocol_rules_rule_protocol_set},
    {PROTOCOL_STATE_RULES_RULE_ATTR, protocol_rules_rule_attr_value_add},
    {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_PATTERN,
     protocol_rules_rule_stream_offset_pattern_set},
};

constexpr number_row numbers[] = {
    {PROTOCOL_STATE_ID, protocol_id_set},
    {PROTOCOL_STATE_VIRTUAL_ID, protocol_vid_set},
    {PROTOCOL_STATE_VERSION_MAJOR, protocol_version_major_set},
    {PROTOCOL_STATE_VERSION_MINOR, protocol_version_minor_set},
    {PROTOCOL_STATE_VERSION_REVISION, protocol_version_revision_set},
    {PROTOCOL_STATE_RULES_RULE_MINDATA, protocol_rules_rule_mindata_set},
    {PROTOCOL_STATE_RULES_RULE_CTS_MINDATA, protocol_rules_rule_cts_mindata_set},
    {PROTOCOL_STATE_RULES_RULE_STC_MINDATA, protocol_rules_rule_stc_mindata_set},
    {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET_OFFSET, protocol_rules_rule_stream_offset_offset_set},
    {PROTOCOL_STATE_IMPLICIT_BOTTOM_LAYER, protocol_implicit_bottom_layer_set},
};

constexpr atom_row atoms[] = {
    {PROTOCOL_STATE_TAGS_DEPRECATED, protocol_tags_deprecated_set},
    {PROTOCOL_STATE_HTTP_RECLASSIFY, protocol_http_reclassify_set},
    {PROTOCOL_STATE_CACHEABLE, protocol_cacheable_set},
    {PROTOCOL_STATE_RULES_RULE_FASTPASS, protocol_rules_rule_fastpass_set},
    {PROTOCOL_STATE_RULES_RULE_PREEMPT, protocol_rules_rule_preempt_set},
};

/// Keys that are themselves the name of an attribute.
constexpr string_row names[] = {
    {PROTOCOL_STATE_RULES_RULE_ATTR, protocol_rules_rule_attr_name_add},
    {PROTOCOL_STATE_RULES_RULE_STREAM_OFFSET, protocol_rules_rule_stream_offset_name_add},
};

constexpr keyed_end_t<protocol_t> object_ends[] = {
    {PROTOCOL_STATE_RULES_RULE, protocol_rules_sub_rule_next}};

/// The end of a "rule" array moves on to the next rule: keys of the rule that stand behind it
/// belong to the next one. Oddity O87.
constexpr keyed_end_t<protocol_t> array_ends[] = {
    {PROTOCOL_STATE_RULES_RULE, protocol_rules_rule_next}};

/// Directly inside a sub-rule an unknown key is the name of an attribute.
uint32_t unknown(uint32_t parent)
{
    return parent == PROTOCOL_STATE_RULES_RULE ? PROTOCOL_STATE_RULES_RULE_ATTR
                                               : PROTOCOL_STATE_UNKNOWN;
}

/// A container state accepts anything and stores nothing.
bool check_value_type(uint32_t state, json_node_type_t kind)
{
    uint32_t accepts = PROTOCOL_ACCEPTS_ATOM;
    if (kind == JSON_STRING)
        accepts = PROTOCOL_ACCEPTS_STRING;
    else if (kind == JSON_NUMBER)
        accepts = PROTOCOL_ACCEPTS_NUMBER;
    return (state & (accepts | PROTOCOL_ACCEPTS_CONTAINER)) != 0;
}

constexpr keyed_table_t<protocol_t> table = {
    .root = PROTOCOL_STATE_ROOT,
    .unknown = unknown,
    .keys = keys,
    .names = names,
    .strings = strings,
    .numbers = numbers,
    .atoms = atoms,
    .object_ends = object_ends,
    .array_ends = array_ends,
    .accepts = check_value_type,
};

} // namespace

void visitor_protocol_init(visitor_protocol_t *visitor, protocol_t *protocol)
{
    protocol_init(protocol);
    visitor_keyed_init<protocol_t, table>(visitor, protocol);
}

void visitor_protocol_cleanup(visitor_protocol_t *visitor)
{
    *visitor = {};
}
