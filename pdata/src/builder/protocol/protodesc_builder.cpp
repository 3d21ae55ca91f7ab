#include "protodesc_builder.h"

#include <exception>
#include <string>

#include "csa_protodef.h"
#include "json_error.h"
#include "json_tools.h"
#include "visitor_protocol.h"
#include "vprotocol_rule.h"

namespace
{

pdata_status_t fail_with_report(pdata_status_t status)
{
    return pdata_fail(status, "%s", pragmar_err_get());
}

void say_rangeless(const protodesc_remark_t &remark)
{
    semantic_rangeless_print(remark.number);
}

/// Checks a parsed protocol against the semantic rules of the configuration, if it has any.
pdata_status_t check_semantic(protodesc_json_t *json, const json_t &parsed, protodesc_build_t *pb)
{
    if (json->cfg == nullptr || json->cfg->ignore_sem)
        return PDATA_SUCCESS;
    const std::string_view rules =
        pdata_cfg_meta_text(pdata_cfg_meta_find(json->cfg, PDATA_META_SEM, json->proto_sem_type));
    if (rules.data() == nullptr)
        return PDATA_SUCCESS;
    if (json->rules.semantic == nullptr && pragmar_rules_load(&json->rules, rules) != 0)
        return fail_with_report(PDATA_ERR_JSON_BAD_SEMANTIC);
    if (pragmar_check(parsed, &json->rules) != 0)
        return fail_with_report(PDATA_ERR_JSON_BAD_SEMANTIC);
    for (const uint32_t key : json->rules.semantic->rangeless) // the check has said them
        pb->pb_remarks.push_back({say_rangeless, {}, {}, {}, key});
    return PDATA_SUCCESS;
}

/// From the parsed protocol to the record.
pdata_status_t parsed_to_protodesc(protodesc_json_t *json, const json_t &parsed,
                                   protodesc_build_t *pb)
{
    PDATA_TRY(check_semantic(json, parsed, pb));
    visitor_protocol_t visitor;
    visitor_protocol_init(&visitor, &json->protocol);
    const int visited = json_visit(parsed, &visitor.visitor);
    visitor_protocol_cleanup(&visitor);
    if (visited != 0)
        return fail_with_report(PDATA_ERR_JSON_BAD_SEMANTIC);
    PDATA_TRY(vprotocol_bottom_subrule_check(json->protocol));
    PDATA_TRY(vprotocol_bottom_subrule_split(&json->protocol));
    return vprotocol_to_protodesc(json->protocol, pb);
}

/// Stores a tag, counting it before its place is tested.
pdata_status_t add_tag(protodesc_build_t *pb, std::string_view name, csa_str_t value)
{
    if (pb->pb_tags.nv_nr + 1 > pb->pb_bounds.pi_max_tags)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_TAG);
    return protodesc_add_tag(pb, csa_str(name), value);
}

pdata_status_t convert_tags(const protocol_tags_t &tags, protodesc_build_t *pb)
{
    if (tags.nr_category > PROTODESC_CATEGORY_MAX)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_RECORD_CATEGORY);
    csa_str_t value;
    for (uint32_t i = 0; i < tags.nr_category; ++i) {
        set_string_in_json(&value, tags.categories[i]);
        PDATA_TRY(add_tag(pb, "category", value));
    }
    if (tags.family != nullptr) {
        set_string_in_json(&value, tags.family);
        PDATA_TRY(add_tag(pb, "family", value));
    }
    return get_boolean_from_json(tags.deprecated) ? add_tag(pb, "deprecated", csa_str("true"))
                                                  : PDATA_SUCCESS;
}

pdata_status_t convert_altnames(const protocol_altname_t &altnames, protodesc_build_t *pb)
{
    for (uint32_t i = 0; i < altnames.nr_altname; ++i) {
        csa_str_t altname;
        set_string_in_json(&altname, altnames.altnames[i]);
        PDATA_TRY(protodesc_add_altname(pb, altname));
    }
    return PDATA_SUCCESS;
}

void convert_meta(const protocol_t &protocol, protodesc_build_t *pb)
{
    csa_str_t name;
    set_string_in_json(&name, protocol.name);
    protodesc_set_name(pb, name);
    protodesc_set_id(pb, protocol.id != nullptr
                             ? get_number_from_json(protocol.id)
                             : get_protocol_id_from_name(name.str_buf, name.str_len));
    if (protocol.http_reclassify != nullptr)
        protodesc_set_http_reclassify(pb, get_boolean_from_json(protocol.http_reclassify));
    if (protocol.cacheable != nullptr)
        protodesc_set_cacheable(pb, get_boolean_from_json(protocol.cacheable));
    if (protocol.implicit_bottom_layer != nullptr)
        protodesc_set_implicit_bottom_layer(pb,
                                            get_number_from_json(protocol.implicit_bottom_layer));
    protodesc_set_version_major(pb, get_number_from_json(protocol.version.major));
    protodesc_set_version_minor(pb, get_number_from_json(protocol.version.minor));
    protodesc_set_version_revision(pb, get_number_from_json(protocol.version.revision));
}

} // namespace

pdata_status_t json_to_protodesc(protodesc_json_t *json, std::string_view json_text,
                                 uint32_t *text_consumed_len, protodesc_build_t *pb)
{
    protodesc_reset(pb);
    json_t &parsed = json->parsed;
    if (pragmar_create(&parsed, json_text.data(), static_cast<uint32_t>(json_text.size())) != 0 ||
        json_parse_sub(&parsed, text_consumed_len) != 0)
        return fail_with_report(PDATA_ERR_PRAGMAR);
    return parsed_to_protodesc(json, parsed, pb);
}

pdata_status_t vprotocol_bottom_subrule_check(const protocol_t &protocol)
{
    for (uint32_t i = 0; i < protocol.rules.nr_rule; ++i) {
        const protocol_rule_t &rule = protocol.rules.rules[i];
        for (uint32_t j = 0; j < rule.nr_sub_rule; ++j)
            if (rule.sub_rules[j].nr_protocol > 1 && rule.sub_rules[j].nr_attr != 0)
                return pdata_fail(PDATA_ERR_JSON_BAD_SEMANTIC,
                                  "A subrule cannot contains an array of protocol and attributes");
    }
    return PDATA_SUCCESS;
}

pdata_status_t vprotocol_bottom_subrule_split(protocol_t *protocol)
{
    protocol_rules_t &rules = protocol->rules;
    const uint32_t nr_rule = rules.nr_rule;
    for (uint32_t i = 0; i < nr_rule; ++i) {
        uint32_t j = 0;
        while (j < rules.rules[i].nr_sub_rule && rules.rules[i].sub_rules[j].nr_protocol <= 1)
            ++j;
        if (j == rules.rules[i].nr_sub_rule)
            continue;
        const uint32_t nr_protocol = rules.rules[i].sub_rules[j].nr_protocol;
        for (uint32_t k = 1; k < nr_protocol; ++k) {
            if (rules.nr_rule + 1 >= PROTOCOL_RULE_DIM)
                return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_SPLIT_RULE);
            protocol_rule_t &copy = protocol_rules_rule(protocol);
            copy = rules.rules[i];
            copy.sub_rules[j].protocol[0] = copy.sub_rules[j].protocol[k];
            copy.sub_rules[j].nr_protocol = 1;
            ++rules.nr_rule;
        }
        rules.rules[i].sub_rules[j].nr_protocol = 1;
    }
    return PDATA_SUCCESS;
}

pdata_status_t vprotocol_to_protodesc(const protocol_t &protocol, protodesc_build_t *pb)
{
    convert_meta(protocol, pb);
    PDATA_TRY(convert_tags(protocol.tags, pb));
    PDATA_TRY(convert_altnames(protocol.altnames, pb));
    // Descriptions never reach the record. Oddity O79.
    return vprotocol_rules_to_protodesc(protocol, pb);
}

uint32_t get_protocol_id_from_name(const char *name, uint32_t len)
{
    if (name == nullptr)
        return 0;
    try {
        return dpi_proto_get_id_by_name(std::string(name, len).c_str());
    } catch (const std::exception &) {
        return 0;
    }
}
