#include "protodesc_deserializer.h"
#include "protodesc_words.h"

namespace
{

/// The words of a list, null when there are none.
const uint8_t *words_of(const view_area_t &list)
{
    return list.size == 0 ? nullptr : list.data;
}

uint32_t count_of(const view_area_t &list)
{
    return static_cast<uint32_t>(view_words(list));
}

void fill_rule(const view_rule_t &view, ruledesc_t *rule)
{
    rule->rule_path = words_of(view.path);
    rule->rule_tags = words_of(view.tags);
    rule->rule_srules = words_of(view.sub_rules.records);
    rule->rule_srules_offset = words_of(view.sub_rules.offsets);
    rule->rule_nr_path = count_of(view.path);
    rule->rule_nr_tags = count_of(view.tags);
    rule->rule_nr_srules = count_of(view.sub_rules.offsets);
    rule->rule_srules_len = count_of(view.sub_rules.records);
    rule->rule_ruleorder = view.order_significant ? 1 : 0;
    rule->rule_meta_version = view.meta_form;
    rule->rule_order = view.priority;
    rule->rule_params = view.reserved;
    rule->rule_fastpass = view.fastpass;
    rule->rule_scope = view.scope;
    rule->rule_preempt = view.preempt;
    rule->rule_vid = view.vid;
}

void fill_sub_rule(const view_sub_rule_t &view, sub_ruledesc_t *sub_rule)
{
    sub_rule->srule_protocol = view.protocol;
    sub_rule->srule_bottom_protocol = view.bottom_protocol;
    sub_rule->srule_stc_mindata = view.stc_mindata;
    sub_rule->srule_cts_mindata = view.cts_mindata;
    sub_rule->srule_attrs = words_of(view.attributes.records);
    sub_rule->srule_attrs_offset = words_of(view.attributes.offsets);
    sub_rule->srule_nr_attrs = count_of(view.attributes.offsets);
    sub_rule->srule_attrs_len = count_of(view.attributes.records);
}

/// Reads entry `index` of a list; false when it is damaged.
template <typename View>
bool read_entry(const view_list_t &list, uint32_t index, View &view,
                view_fault_t (*read)(const view_record_t &, View &, size_t *))
{
    view_record_t record;
    size_t at;
    return view_list_at(list, index, record) == VIEW_WALK_ON &&
           read(record, view, &at) == VIEW_SOUND;
}

} // namespace

bool ruledesc_read(const view_list_t &rules, uint32_t index, ruledesc_t *ruledesc)
{
    view_rule_t view;
    if (!read_entry(rules, index, view, view_rule_read))
        return false;
    fill_rule(view, ruledesc);
    return true;
}

uint32_t ruledesc_get_order(const ruledesc_t &ruledesc)
{
    return ruledesc.rule_order;
}

uint32_t ruledesc_get_rule_params(const ruledesc_t &ruledesc)
{
    return ruledesc.rule_params;
}

uint32_t ruledesc_get_scope(const ruledesc_t &ruledesc)
{
    return ruledesc.rule_scope;
}

uint32_t ruledesc_get_fastpass(const ruledesc_t &ruledesc)
{
    return ruledesc.rule_fastpass;
}

uint32_t ruledesc_get_preempt(const ruledesc_t &ruledesc)
{
    return ruledesc.rule_preempt;
}

uint32_t ruledesc_get_path_nr(const ruledesc_t &ruledesc)
{
    return ruledesc.rule_nr_path;
}

pdata_status_t ruledesc_get_path_elt(const ruledesc_t &ruledesc, uint32_t index,
                                     const hstring_t &hstring, csa_str_t *path)
{
    if (index >= ruledesc.rule_nr_path)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "Cannot get rule path element at index %d for a rule ",
                          static_cast<int>(index));
    return protodesc_word_str(ruledesc.rule_path, index, hstring, path);
}

uint32_t ruledesc_get_tag_nr(const ruledesc_t &ruledesc)
{
    return ruledesc.rule_nr_tags;
}

pdata_status_t ruledesc_get_tag(const ruledesc_t &ruledesc, uint32_t index,
                                const hstring_t &hstring, csa_str_t *tag)
{
    if (index >= ruledesc.rule_nr_tags)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Cannot get rule tag at index %d for a rule ",
                          static_cast<int>(index));
    return protodesc_word_str(ruledesc.rule_tags, index, hstring, tag);
}

uint32_t ruledesc_get_sub_ruledesc_nr(const ruledesc_t &ruledesc)
{
    return ruledesc.rule_nr_srules;
}

pdata_status_t ruledesc_get_sub_ruledesc(const ruledesc_t &ruledesc, uint32_t index,
                                         sub_ruledesc_t *sub_ruledesc)
{
    *sub_ruledesc = {};
    if (index >= ruledesc.rule_nr_srules)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "sub rule index is out of bounds");
    const view_list_t list = {
        whole_words(ruledesc.rule_srules, ruledesc.rule_srules_len),
        whole_words(ruledesc.rule_srules_offset, ruledesc.rule_nr_srules),
    };
    view_sub_rule_t view;
    if (!read_entry(list, index, view, view_sub_rule_read))
        // Oddity O43.
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Len mismatch, cannot serialize");
    fill_sub_rule(view, sub_ruledesc);
    return PDATA_SUCCESS;
}

pdata_status_t sub_ruledesc_get_protocol(const sub_ruledesc_t &sub_ruledesc,
                                         const hstring_t &hstring, csa_str_t *protocol)
{
    return protodesc_str(sub_ruledesc.srule_protocol, hstring, protocol);
}

pdata_status_t sub_ruledesc_get_bottom_protocol(const sub_ruledesc_t &sub_ruledesc,
                                                const hstring_t &hstring, csa_str_t *protocol)
{
    return protodesc_str(sub_ruledesc.srule_bottom_protocol, hstring, protocol);
}

uint32_t sub_ruledesc_get_stc_mindata(const sub_ruledesc_t &sub_ruledesc)
{
    return sub_ruledesc.srule_stc_mindata;
}

uint32_t sub_ruledesc_get_cts_mindata(const sub_ruledesc_t &sub_ruledesc)
{
    return sub_ruledesc.srule_cts_mindata;
}

uint32_t sub_ruledesc_get_mindata(const sub_ruledesc_t &sub_ruledesc, uint32_t way)
{
    return way == ATTR_WAY_CTS ? sub_ruledesc_get_cts_mindata(sub_ruledesc)
                               : sub_ruledesc_get_stc_mindata(sub_ruledesc);
}

uint32_t sub_ruledesc_get_attrdesc_nr(const sub_ruledesc_t &sub_ruledesc)
{
    return sub_ruledesc.srule_nr_attrs;
}

pdata_status_t sub_ruledesc_get_attrdesc(const sub_ruledesc_t &sub_ruledesc, uint32_t index,
                                         attrdesc_t *attrdesc)
{
    *attrdesc = {};
    if (index >= sub_ruledesc.srule_nr_attrs)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "index %d out of bounds, cannot retrieve attribute for sub rule",
                          static_cast<int>(index));
    const view_list_t list = {
        whole_words(sub_ruledesc.srule_attrs, sub_ruledesc.srule_attrs_len),
        whole_words(sub_ruledesc.srule_attrs_offset, sub_ruledesc.srule_nr_attrs),
    };
    view_attribute_t view;
    if (!read_entry(list, index, view, view_attribute_read))
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "Cannot get attribute descriptor, Tlv len mismatch");
    *attrdesc = {view.way_proto,        view.type,
                 words_of(view.values), view.name,
                 count_of(view.values), words_of(view.offsets)};
    return PDATA_SUCCESS;
}

pdata_status_t attrdesc_get_name(const attrdesc_t &attrdesc, const hstring_t &hstring,
                                 csa_str_t *name)
{
    return protodesc_str(attrdesc.attr_name, hstring, name);
}

uint32_t attrdesc_get_value_nr(const attrdesc_t &attrdesc)
{
    return attrdesc.attr_nr_values;
}

pdata_status_t attrdesc_get_value(const attrdesc_t &attrdesc, uint32_t index,
                                  const hstring_t &hstring, csa_str_t *value)
{
    if (index >= attrdesc.attr_nr_values)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "Cannot get attribute descriptor, Tlv len mismatch");
    return protodesc_word_str(attrdesc.attr_start, index, hstring, value);
}

matcher_type_t attrdesc_get_type(const attrdesc_t &attrdesc)
{
    switch (attrdesc.attr_type) {
    case TLV_TYPE_PROTO_ATTR_STREAM:
    case TLV_TYPE_PROTO_ATTR_STREAM_OFFSET:
        return MATCHER_TYPE_STREAM;
    case TLV_TYPE_PROTO_ATTR_NUMBER_8:
        return MATCHER_TYPE_NUMBER_8;
    case TLV_TYPE_PROTO_ATTR_NUMBER_16:
        return MATCHER_TYPE_NUMBER_16;
    case TLV_TYPE_PROTO_ATTR_IP_4:
        return MATCHER_TYPE_IP_4;
    case TLV_TYPE_PROTO_ATTR_IP_6:
        return MATCHER_TYPE_IP_6;
    default:
        return MATCHER_TYPE_UNKNOWN;
    }
}

pdata_status_t attrdesc_get_way(const attrdesc_t &attrdesc, csa_attr_way_t *way)
{
    switch (attrdesc.attr_way_proto & 0xF) {
    case TLV_TYPE_PROTO_ATTR_WAY_STC:
        *way = ATTR_WAY_STC;
        return PDATA_SUCCESS;
    case TLV_TYPE_PROTO_ATTR_WAY_CTS:
        *way = ATTR_WAY_CTS;
        return PDATA_SUCCESS;
    case TLV_TYPE_PROTO_ATTR_WAY_BOTH:
        *way = ATTR_WAY_BOTH;
        return PDATA_SUCCESS;
    default:
        *way = ATTR_WAY_UNKNOWN;
        return pdata_fail(PDATA_ERR_PROTODESC_ATTR, "Unknown way for attribute");
    }
}

attr_proto_t attrdesc_get_proto(const attrdesc_t &attrdesc)
{
    switch (attrdesc.attr_way_proto & 0xF0) {
    case TLV_TYPE_PROTO_ATTR_PROTO_TCP:
        return ATTR_PROTO_TCP;
    case TLV_TYPE_PROTO_ATTR_PROTO_UDP:
        return ATTR_PROTO_UDP;
    default:
        return ATTR_PROTO_UNKNOWN;
    }
}

uint32_t attrdesc_get_pattern_offset(const attrdesc_t &attrdesc, uint32_t index)
{
    if (attrdesc.attr_offset == nullptr || index >= attrdesc.attr_nr_values)
        return 0;
    return protodesc_word(attrdesc.attr_offset, index);
}
