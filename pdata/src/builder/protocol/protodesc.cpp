#include "protodesc.h"

#include <algorithm>
#include <exception>
#include <string_view>

namespace
{

/// Fails with a message of limits.def that shows the capacity.
pdata_status_t capacity_reached(const char *message, uint32_t capacity)
{
    return pdata_fail(PDATA_ERR_OVERFLOW, message, static_cast<int>(capacity));
}

pdata_status_t add_value(value_t *list, csa_str_t value, uint32_t capacity, const char *message)
{
    if (list->v_nr == capacity)
        return capacity_reached(message, capacity);
    list->v_val[list->v_nr++] = value;
    return PDATA_SUCCESS;
}

pdata_status_t add_pair(name_value_t *list, csa_str_t name, csa_str_t value, uint32_t capacity,
                        const char *message)
{
    if (list->nv_nr == capacity)
        return capacity_reached(message, capacity);
    list->nv_name[list->nv_nr] = name;
    list->nv_val[list->nv_nr++] = value;
    return PDATA_SUCCESS;
}

/// Frees an attribute but for what a slot keeps.
void reset_attr(attrdesc_build_t &attr)
{
    std::fill(attr.attr_val.begin(), attr.attr_val.end(), csa_str_t{});
    std::fill(attr.attr_offset.begin(), attr.attr_offset.end(), 0U);
    attr.attr_name = {};
    attr.attr_way = ATTR_WAY_UNKNOWN;
    attr.attr_type = MATCHER_TYPE_UNKNOWN;
}

/// Frees a slot but for what it keeps.
void reset_slot(ruledesc_build_t &slot)
{
    for (uint32_t i = 0; i < slot.rule_nr_attr; ++i) // the others are free
        reset_attr(slot.rule_attr[i]);
    slot.rule_nr_path = 0;
    slot.rule_nr_tags = 0;
    slot.rule_nr_attr = 0;
    slot.rule_id = 0;
    slot.rule_sub_id = 0;
    slot.rule_order = 0;
    slot.rule_ruleorder = 0;
    slot.rule_stc_mindata = 0;
    slot.rule_cts_mindata = 0;
    slot.rule_protocol = {};
}

void reset_list(name_value_t *list)
{
    std::fill(list->nv_name.begin(), list->nv_name.end(), csa_str_t{});
    std::fill(list->nv_val.begin(), list->nv_val.end(), csa_str_t{});
    list->nv_nr = 0;
}

void reset_list(value_t *list)
{
    std::fill(list->v_val.begin(), list->v_val.end(), csa_str_t{});
    list->v_nr = 0;
}

void init_list(name_value_t *list, uint32_t capacity)
{
    list->nv_name.resize(capacity);
    list->nv_val.resize(capacity);
}

} // namespace

void protodesc_populate_bounds(protodesc_bounds_t *bounds)
{
    bounds->pi_max_tags = PROTODESC_TAGS_MAX;
    bounds->pi_max_desc = PROTODESC_DESC_MAX;
    bounds->pi_max_compat = PROTODESC_COMPAT_MAX;
    bounds->pi_max_altname = PROTOCOL_ALTNAME_DIM;
    bounds->pi_max_rules = PROTOCOL_RULE_DIM;
    bounds->pi_max_subrules = PROTOCOL_SUB_RULE_DIM;
    bounds->pi_max_path = PROTOCOL_PATH_DIM;
    bounds->pi_max_rule_tags = PROTOCOL_RULE_TAG_DIM;
    bounds->pi_max_attr = PROTOCOL_ATTR_DIM;
    bounds->pi_max_attr_val = PROTODESC_ATTR_VAL_MAX;
}

bool protodesc_init(protodesc_build_t *pb, const protodesc_bounds_t &bounds,
                    hstring_build_t *pg_hstring, hstring_build_t *tagtable_hstring)
{
    *pb = {};
    try {
        init_list(&pb->pb_tags, bounds.pi_max_tags);
        init_list(&pb->pb_desc, bounds.pi_max_desc);
        pb->pb_compat.v_val.resize(bounds.pi_max_compat);
        pb->pb_altname.v_val.resize(bounds.pi_max_altname);
    } catch (const std::exception &) {
        return false;
    }
    if (!protodesc_init_rules(bounds, pb))
        return false;
    pb->pb_htable = pg_hstring;
    pb->pb_tagtable_hstring = tagtable_hstring;
    return true;
}

bool protodesc_init_rules(const protodesc_bounds_t &bounds, protodesc_build_t *pb)
{
    pb->pb_bounds = bounds;
    pb->pb_max_rules = bounds.pi_max_rules * bounds.pi_max_subrules;
    pb->pb_rules.clear();
    try {
        pb->pb_rules.reserve(pb->pb_max_rules);
    } catch (const std::exception &) {
        return false;
    }
    return true;
}

void protodesc_reset(protodesc_build_t *pb)
{
    protodesc_reset_rules(pb);
    pb->pb_name = {};
    pb->pb_default_port = {};
    pb->pb_id = 0;
    pb->pb_max_trans = 0;
    pb->pb_http_reclassify = 0;
    pb->pb_implicit_bottom_layer = 0;
    pb->pb_cacheable = 1;
    reset_list(&pb->pb_tags);
    reset_list(&pb->pb_desc);
    reset_list(&pb->pb_compat);
    reset_list(&pb->pb_altname);
    pb->pb_remarks.clear();
}

void protodesc_reset_rules(protodesc_build_t *pb)
{
    for (uint32_t i = 0; i < pb->pb_dirty_slots; ++i)
        reset_slot(pb->pb_rules[i]);
    pb->pb_dirty_slots = 0;
    pb->pb_nr_sub_rule = 0;
}

void protodesc_clean(protodesc_build_t *pb)
{
    *pb = {};
}

ruledesc_build_t &protodesc_slot(protodesc_build_t *pb, uint32_t n_rule)
{
    while (pb->pb_rules.size() <= n_rule) {
        ruledesc_build_t &slot = pb->pb_rules.emplace_back();
        slot.rule_path.resize(pb->pb_bounds.pi_max_path);
        slot.rule_tags.resize(pb->pb_bounds.pi_max_rule_tags);
        slot.rule_attr.resize(pb->pb_bounds.pi_max_attr);
    }
    pb->pb_dirty_slots = std::max(pb->pb_dirty_slots, n_rule + 1);
    return pb->pb_rules[n_rule];
}

void protodesc_set_name(protodesc_build_t *pb, csa_str_t name)
{
    pb->pb_name = name;
}

void protodesc_set_id(protodesc_build_t *pb, uint32_t id)
{
    pb->pb_id = id;
}

void protodesc_set_max_trans(protodesc_build_t *pb, uint32_t max_trans)
{
    pb->pb_max_trans = max_trans;
}

void protodesc_set_default_port(protodesc_build_t *pb, csa_str_t default_port)
{
    pb->pb_default_port = default_port;
}

void protodesc_set_http_reclassify(protodesc_build_t *pb, csa_bool_t http_reclassify)
{
    pb->pb_http_reclassify = http_reclassify;
}

void protodesc_set_implicit_bottom_layer(protodesc_build_t *pb, csa_bool_t implicit_bottom_layer)
{
    pb->pb_implicit_bottom_layer = implicit_bottom_layer;
}

void protodesc_set_cacheable(protodesc_build_t *pb, csa_bool_t cacheable)
{
    pb->pb_cacheable = cacheable;
}

void protodesc_set_version_major(protodesc_build_t *pb, uint32_t major)
{
    pb->pb_version[0] = major;
}

void protodesc_set_version_minor(protodesc_build_t *pb, uint32_t minor)
{
    pb->pb_version[1] = minor;
}

void protodesc_set_version_revision(protodesc_build_t *pb, uint32_t revision)
{
    pb->pb_version[2] = revision;
}

void protodesc_set_nr_sub_rule(protodesc_build_t *pb, uint32_t nr_sub_rule)
{
    if (nr_sub_rule != 0)
        (void)protodesc_slot(pb, nr_sub_rule - 1); // a slot in use exists
    pb->pb_nr_sub_rule = nr_sub_rule;
}

void protodesc_set_rule(protodesc_build_t *pb, uint32_t n_rule, uint32_t rule_id,
                        uint32_t rule_sub_id)
{
    ruledesc_build_t &slot = protodesc_slot(pb, n_rule);
    slot.rule_id = rule_id;
    slot.rule_sub_id = rule_sub_id;
}

void protodesc_set_rule_scope(protodesc_build_t *pb, uint32_t n_rule, uint32_t scope)
{
    protodesc_slot(pb, n_rule).rule_scope = scope;
}

void protodesc_set_rule_vid(protodesc_build_t *pb, uint32_t n_rule, uint32_t vid)
{
    protodesc_slot(pb, n_rule).rule_vid = vid;
}

void protodesc_set_rule_order(protodesc_build_t *pb, uint32_t n_rule, uint32_t order)
{
    protodesc_slot(pb, n_rule).rule_order = order;
}

void protodesc_set_rule_ruleorder(protodesc_build_t *pb, uint32_t n_rule, csa_bool_t ruleorder)
{
    protodesc_slot(pb, n_rule).rule_ruleorder = ruleorder;
}

void protodesc_set_rule_preempt(protodesc_build_t *pb, uint32_t n_rule, csa_bool_t preempt)
{
    protodesc_slot(pb, n_rule).rule_preempt = preempt;
}

void protodesc_set_rule_fastpass(protodesc_build_t *pb, uint32_t n_rule, csa_bool_t fastpass)
{
    protodesc_slot(pb, n_rule).rule_fastpass = fastpass;
}

void protodesc_set_cts_mindata(protodesc_build_t *pb, uint32_t n_rule, uint32_t mindata)
{
    protodesc_slot(pb, n_rule).rule_cts_mindata = mindata;
}

void protodesc_set_stc_mindata(protodesc_build_t *pb, uint32_t n_rule, uint32_t mindata)
{
    protodesc_slot(pb, n_rule).rule_stc_mindata = mindata;
}

void protodesc_set_mindata(protodesc_build_t *pb, uint32_t n_rule, uint32_t mindata)
{
    protodesc_set_cts_mindata(pb, n_rule, mindata);
    protodesc_set_stc_mindata(pb, n_rule, mindata);
}

void protodesc_set_rule_bottom(protodesc_build_t *pb, uint32_t n_rule, csa_str_t protocol)
{
    protodesc_slot(pb, n_rule).rule_protocol = protocol;
}

void protodesc_set_rule_real_bottom(protodesc_build_t *pb, uint32_t n_rule, csa_str_t protocol)
{
    protodesc_slot(pb, n_rule).rule_bottom_protocol = protocol;
}

pdata_status_t protodesc_add_tag(protodesc_build_t *pb, csa_str_t tag_name, csa_str_t tag_val)
{
    return add_pair(&pb->pb_tags, tag_name, tag_val, pb->pb_bounds.pi_max_tags, REFUSED_RECORD_TAG);
}

pdata_status_t protodesc_add_description(protodesc_build_t *pb, csa_str_t lang, csa_str_t desc)
{
    return add_pair(&pb->pb_desc, lang, desc, pb->pb_bounds.pi_max_desc, REFUSED_RECORD_DESC);
}

pdata_status_t protodesc_add_compat(protodesc_build_t *pb, csa_str_t compat)
{
    return add_value(&pb->pb_compat, compat, pb->pb_bounds.pi_max_compat, REFUSED_RECORD_COMPAT);
}

pdata_status_t protodesc_add_altname(protodesc_build_t *pb, csa_str_t altname)
{
    return add_value(&pb->pb_altname, altname, pb->pb_bounds.pi_max_altname,
                     REFUSED_RECORD_ALTNAME);
}

pdata_status_t protodesc_add_rule_path_elt(protodesc_build_t *pb, uint32_t n_rule, csa_str_t path)
{
    ruledesc_build_t &slot = protodesc_slot(pb, n_rule);
    if (slot.rule_nr_path == pb->pb_bounds.pi_max_path)
        return capacity_reached(REFUSED_RECORD_PATH, pb->pb_bounds.pi_max_path);
    slot.rule_path[slot.rule_nr_path++] = path;
    return PDATA_SUCCESS;
}

pdata_status_t protodesc_add_rule_tag(protodesc_build_t *pb, uint32_t n_rule, csa_str_t tag)
{
    ruledesc_build_t &slot = protodesc_slot(pb, n_rule);
    if (slot.rule_nr_tags == pb->pb_bounds.pi_max_rule_tags)
        return capacity_reached(REFUSED_RECORD_RULE_TAG, pb->pb_bounds.pi_max_rule_tags);
    slot.rule_tags[slot.rule_nr_tags++] = tag;
    return PDATA_SUCCESS;
}

pdata_status_t protodesc_add_version(protodesc_build_t *pb, csa_str_t type, uint32_t value)
{
    constexpr std::string_view elements[] = {"major", "minor", "revision"};
    for (size_t i = 0; i < std::size(elements); ++i) {
        if (csa_str_view(type) == elements[i]) {
            pb->pb_version[i] = value;
            return PDATA_SUCCESS;
        }
    }
    return PDATA_ERR_JSON_BAD_SEMANTIC;
}

void protodesc_remark(protodesc_build_t *pb, const protodesc_remark_t &remark)
{
    remark.say(remark);
    pb->pb_remarks.push_back(remark);
}

uint32_t protodesc_get_nr_rule(const protodesc_build_t &pb)
{
    uint32_t nr_rule = 0;
    uint32_t previous = 0;
    for (uint32_t i = 0; i < pb.pb_nr_sub_rule; ++i) {
        if (pb.pb_rules[i].rule_id != previous) {
            ++nr_rule;
            previous = pb.pb_rules[i].rule_id;
        }
    }
    return nr_rule;
}

uint32_t protocol_get_nr_sub_rule(const protodesc_build_t &pb, uint32_t start, uint32_t rule_id)
{
    const auto created = static_cast<uint32_t>(pb.pb_rules.size());
    uint32_t end = start;
    while (end < created && pb.pb_rules[end].rule_id == rule_id)
        ++end;
    // Slots that were never used are free: their id is 0.
    if (end >= created && rule_id == 0)
        end = std::max(end, pb.pb_max_rules);
    return end - start;
}
