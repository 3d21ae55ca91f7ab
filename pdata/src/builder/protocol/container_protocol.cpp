#include "container_protocol.h"

#include <algorithm>
#include <cstdio>

namespace
{

int dimension_exhausted(const char *message)
{
    std::fputs(message, stderr);
    return -1;
}

template <typename Node>
int set(Node **field, Node *node)
{
    *field = node;
    return 0;
}

template <size_t Dim>
int add(std::array<json_string_t *, Dim> &list, uint32_t *nr, json_string_t *node,
        const char *message)
{
    if (*nr == Dim)
        return dimension_exhausted(message);
    list[(*nr)++] = node;
    return 0;
}

protocol_sub_rule_t &sub_rule_being_filled(protocol_t *protocol)
{
    protocol_rule_t &rule = protocol_rules_rule(protocol);
    return rule.sub_rules[std::min(rule.nr_sub_rule, PROTOCOL_SUB_RULE_DIM)];
}

protocol_attr_t &attr_being_filled(protocol_sub_rule_t &sub_rule)
{
    return sub_rule.attrs[std::min(sub_rule.nr_attr, PROTOCOL_ATTR_DIM)];
}

/// Gives the attribute being filled the name of the one before it, where it has none.
void name_after_previous(protocol_sub_rule_t &sub_rule)
{
    protocol_attr_t &attr = attr_being_filled(sub_rule);
    if (attr.name == nullptr && sub_rule.nr_attr != 0)
        attr.name = sub_rule.attrs[sub_rule.nr_attr - 1].name;
}

/// Counts the stream attribute being filled once it has both its parts.
int complete_stream_offset(protocol_sub_rule_t &sub_rule)
{
    const protocol_attr_t &attr = attr_being_filled(sub_rule);
    if (attr.value == nullptr || attr.pattern_offset == nullptr)
        return 0;
    name_after_previous(sub_rule);
    if (sub_rule.nr_attr < PROTOCOL_ATTR_DIM)
        ++sub_rule.nr_attr;
    if (sub_rule.nr_attr == PROTOCOL_ATTR_DIM)
        return dimension_exhausted(REFUSED_ATTR);
    return 0;
}

} // namespace

void protocol_init(protocol_t *protocol)
{
    std::vector<protocol_rule_t> rules = std::move(protocol->rules.rules);
    rules.clear();
    *protocol = {};
    protocol->rules.rules = std::move(rules);
}

void protocol_cleanup(protocol_t *protocol)
{
    *protocol = {};
}

protocol_rule_t &protocol_rules_rule(protocol_t *protocol)
{
    protocol_rules_t &rules = protocol->rules;
    if (rules.rules.size() <= rules.nr_rule)
        rules.rules.resize(rules.nr_rule + 1);
    return rules.rules[rules.nr_rule];
}

int protocol_name_set(protocol_t *protocol, json_string_t *name)
{
    return set(&protocol->name, name);
}

int protocol_id_set(protocol_t *protocol, json_number_t *id)
{
    return set(&protocol->id, id);
}

int protocol_vid_set(protocol_t *protocol, json_number_t *vid)
{
    return set(&protocol->vid, vid);
}

int protocol_version_major_set(protocol_t *protocol, json_number_t *major)
{
    return set(&protocol->version.major, major);
}

int protocol_version_minor_set(protocol_t *protocol, json_number_t *minor)
{
    return set(&protocol->version.minor, minor);
}

int protocol_version_revision_set(protocol_t *protocol, json_number_t *revision)
{
    return set(&protocol->version.revision, revision);
}

int protocol_tags_family_set(protocol_t *protocol, json_string_t *family)
{
    return set(&protocol->tags.family, family);
}

int protocol_tags_deprecated_set(protocol_t *protocol, json_atom_t *deprecated)
{
    return set(&protocol->tags.deprecated, deprecated);
}

int protocol_tags_category_add(protocol_t *protocol, json_string_t *category)
{
    return add(protocol->tags.categories, &protocol->tags.nr_category, category, REFUSED_CATEGORY);
}

int protocol_http_reclassify_set(protocol_t *protocol, json_atom_t *http_reclassify)
{
    return set(&protocol->http_reclassify, http_reclassify);
}

int protocol_implicit_bottom_layer_set(protocol_t *protocol, json_number_t *layer)
{
    return set(&protocol->implicit_bottom_layer, layer);
}

int protocol_cacheable_set(protocol_t *protocol, json_atom_t *cacheable)
{
    return set(&protocol->cacheable, cacheable);
}

int protocol_altname_add(protocol_t *protocol, json_string_t *altname)
{
    return add(protocol->altnames.altnames, &protocol->altnames.nr_altname, altname,
               REFUSED_ALTNAME);
}

int protocol_description_fr_set(protocol_t *protocol, json_string_t *fr)
{
    return set(&protocol->description.fr, fr);
}

int protocol_description_en_set(protocol_t *protocol, json_string_t *en)
{
    return set(&protocol->description.en, en);
}

int protocol_rules_rule_order_set(protocol_t *protocol, json_string_t *order)
{
    return set(&protocol_rules_rule(protocol).order, order);
}

int protocol_rules_rule_fastpass_set(protocol_t *protocol, json_atom_t *fastpass)
{
    return set(&protocol_rules_rule(protocol).fastpass, fastpass);
}

int protocol_rules_rule_preempt_set(protocol_t *protocol, json_atom_t *preempt)
{
    return set(&protocol_rules_rule(protocol).preempt, preempt);
}

int protocol_rules_rule_scope_add(protocol_t *protocol, json_string_t *scope)
{
    protocol_rule_t &rule = protocol_rules_rule(protocol);
    return add(rule.scope, &rule.nr_scope, scope, REFUSED_SCOPE);
}

int protocol_rules_rule_path_add(protocol_t *protocol, json_string_t *path)
{
    protocol_rule_t &rule = protocol_rules_rule(protocol);
    return add(rule.path, &rule.nr_path, path, REFUSED_PATH);
}

int protocol_rules_rule_tag_add(protocol_t *protocol, json_string_t *tag)
{
    protocol_rule_t &rule = protocol_rules_rule(protocol);
    return add(rule.tag, &rule.nr_tag, tag, REFUSED_RULE_TAG);
}

int protocol_rules_rule_protocol_set(protocol_t *protocol, json_string_t *bottom)
{
    protocol_sub_rule_t &sub_rule = sub_rule_being_filled(protocol);
    return add(sub_rule.protocol, &sub_rule.nr_protocol, bottom, REFUSED_PROTOCOL);
}

int protocol_rules_rule_mindata_set(protocol_t *protocol, json_number_t *mindata)
{
    return set(&sub_rule_being_filled(protocol).mindata, mindata);
}

int protocol_rules_rule_cts_mindata_set(protocol_t *protocol, json_number_t *mindata)
{
    return set(&sub_rule_being_filled(protocol).cts_mindata, mindata);
}

int protocol_rules_rule_stc_mindata_set(protocol_t *protocol, json_number_t *mindata)
{
    return set(&sub_rule_being_filled(protocol).stc_mindata, mindata);
}

int protocol_rules_rule_attr_name_add(protocol_t *protocol, json_string_t *name)
{
    return set(&attr_being_filled(sub_rule_being_filled(protocol)).name, name);
}

int protocol_rules_rule_attr_value_add(protocol_t *protocol, json_string_t *value)
{
    protocol_sub_rule_t &sub_rule = sub_rule_being_filled(protocol);
    // The message is misspelt. Oddity O49.
    if (sub_rule.nr_attr == PROTOCOL_ATTR_DIM)
        return dimension_exhausted(REFUSED_ATTR);
    name_after_previous(sub_rule);
    attr_being_filled(sub_rule).value = value;
    ++sub_rule.nr_attr;
    return 0;
}

int protocol_rules_rule_stream_offset_name_add(protocol_t *protocol, json_string_t *name)
{
    if (name->len >= 8)
        name->len -= 7;
    return protocol_rules_rule_attr_name_add(protocol, name);
}

int protocol_rules_rule_stream_offset_offset_set(protocol_t *protocol, json_number_t *offset)
{
    protocol_sub_rule_t &sub_rule = sub_rule_being_filled(protocol);
    attr_being_filled(sub_rule).pattern_offset = offset;
    return complete_stream_offset(sub_rule);
}

int protocol_rules_rule_stream_offset_pattern_set(protocol_t *protocol, json_string_t *pattern)
{
    protocol_sub_rule_t &sub_rule = sub_rule_being_filled(protocol);
    attr_being_filled(sub_rule).value = pattern;
    return complete_stream_offset(sub_rule);
}

int protocol_rules_rule_next(protocol_t *protocol)
{
    if (protocol->rules.nr_rule == PROTOCOL_RULE_DIM - 1)
        return dimension_exhausted(REFUSED_RULE);
    (void)protocol_rules_rule(protocol); // an empty rule is a rule
    ++protocol->rules.nr_rule;
    return 0;
}

int protocol_rules_sub_rule_next(protocol_t *protocol)
{
    protocol_rule_t &rule = protocol_rules_rule(protocol);
    if (rule.nr_sub_rule == PROTOCOL_SUB_RULE_DIM)
        return dimension_exhausted(REFUSED_SUB_RULE);
    ++rule.nr_sub_rule;
    return 0;
}
