#include <string_view>

#include "pdata_diag.h"
#include "pdb_attr_properties.h"
#include "protodesc.h"

namespace
{

int shown(csa_str_t str)
{
    return str.str_len;
}

void say_way_forced(const protodesc_remark_t &remark)
{
    pdata_diag_warning(PDATA_DIAG_WAY_FORCED, shown(remark.protocol), remark.protocol.str_buf,
                       shown(remark.bottom), remark.bottom.str_buf, shown(remark.attr_name),
                       remark.attr_name.str_buf,
                       attr_way2str(static_cast<csa_attr_way_t>(remark.number)));
}

void say_values_full(const protodesc_remark_t &remark)
{
    (void)pdata_fail(PDATA_ERR_OVERFLOW, // whoever adds the value returns the status
                     REFUSED_RECORD_ATTR_VAL, static_cast<int>(remark.number),
                     shown(remark.protocol), remark.protocol.str_buf);
}

/// Stores a value in the first free value slot of an attribute and gives the slot.
pdata_status_t store_value(protodesc_build_t *pb, uint32_t n_rule, csa_str_t attr_val,
                           uint32_t n_attr, uint32_t *n_val)
{
    attrdesc_build_t &attr = protodesc_slot(pb, n_rule).rule_attr[n_attr];
    uint32_t free = 0;
    while (free < attr.attr_val.size() && attr.attr_val[free].str_buf != nullptr)
        ++free;
    if (free == attr.attr_val.size()) {
        protodesc_remark(pb, {say_values_full, pb->pb_name, {}, {}, pb->pb_bounds.pi_max_attr_val});
        return PDATA_ERR_OVERFLOW;
    }
    attr.attr_val[free] = attr_val;
    attr.attr_nr_val = free + 1;
    *n_val = free;
    return PDATA_SUCCESS;
}

} // namespace

pdata_status_t protodesc_add_attr_name(protodesc_build_t *pb, csa_str_t attr_name, uint32_t n_rule,
                                       uint32_t *n_attr)
{
    const csa_str_t protocol = protodesc_slot(pb, n_rule).rule_protocol;
    std::string_view bare = csa_str_view(attr_name);
    csa_attr_way_t way = attr_way_split(bare);
    const csa_str_t name = csa_str(bare);
    const pdb_attr_properties_t *known = pdb_get_attr_properties(protocol, name);
    if (known == nullptr)
        return pdata_fail(PDATA_ERR_PROTODESC_ATTR, "unknown WAY for %.*s:%.*s", shown(protocol),
                          protocol.str_buf, shown(name), name.str_buf);
    const csa_attr_way_t allowed = known->proper_allowed_way;
    if (allowed != ATTR_WAY_BOTH && way != allowed) {
        if (way != ATTR_WAY_BOTH)
            return pdata_fail(PDATA_ERR_PROTODESC_ATTR,
                              "protocol: %.*s attribute %.*s:%.*s user way %d != property way : %d",
                              shown(pb->pb_name), pb->pb_name.str_buf, shown(protocol),
                              protocol.str_buf, shown(name), name.str_buf, static_cast<int>(way),
                              static_cast<int>(allowed));
        protodesc_remark(pb, {say_way_forced, pb->pb_name, protocol, name, allowed});
        way = allowed;
    }
    return protodesc_add_attr_name_parsed(pb, name, way, known->proper_type, ATTR_PROTO_UNKNOWN,
                                          n_rule, n_attr);
}

pdata_status_t protodesc_add_attr_name_parsed(protodesc_build_t *pb, csa_str_t attr_name,
                                              csa_attr_way_t attr_way, matcher_type_t attr_type,
                                              attr_proto_t attr_proto, uint32_t n_rule,
                                              uint32_t *n_attr)
{
    ruledesc_build_t &slot = protodesc_slot(pb, n_rule);
    const uint32_t found =
        protodesc_find_attr_name(*pb, n_rule, attr_name, attr_way, slot.rule_nr_attr);
    if (found != slot.rule_nr_attr) {
        *n_attr = found;
        return PDATA_SUCCESS;
    }
    if (slot.rule_nr_attr == pb->pb_bounds.pi_max_attr)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_RECORD_ATTR,
                          static_cast<int>(pb->pb_bounds.pi_max_attr), shown(pb->pb_name),
                          pb->pb_name.str_buf);
    attrdesc_build_t &attr = slot.rule_attr[slot.rule_nr_attr];
    attr.attr_val.resize(pb->pb_bounds.pi_max_attr_val);
    attr.attr_offset.resize(pb->pb_bounds.pi_max_attr_val);
    attr.attr_name = attr_name;
    attr.attr_way = attr_way;
    attr.attr_type = attr_type;
    attr.attr_proto = attr_proto;
    *n_attr = slot.rule_nr_attr++;
    return PDATA_SUCCESS;
}

uint32_t protodesc_find_attr_name(const protodesc_build_t &pb, uint32_t n_rule, csa_str_t attr_name,
                                  csa_attr_way_t way, uint32_t nr_attr)
{
    if (n_rule >= pb.pb_rules.size()) // a slot that was never used
        return nr_attr;
    const ruledesc_build_t &slot = pb.pb_rules[n_rule];
    uint32_t index = 0;
    while (index < nr_attr && !(slot.rule_attr[index].attr_way == way &&
                                csa_str_equal(slot.rule_attr[index].attr_name, attr_name)))
        ++index;
    return index;
}

pdata_status_t protodesc_add_attr_val(protodesc_build_t *pb, uint32_t n_rule, csa_str_t attr_val,
                                      uint32_t n_attr)
{
    uint32_t n_val = 0;
    return store_value(pb, n_rule, attr_val, n_attr, &n_val);
}

pdata_status_t protodesc_add_attr_val_with_offset(protodesc_build_t *pb, uint32_t n_rule,
                                                  csa_str_t attr_val, uint32_t offset,
                                                  uint32_t n_attr)
{
    uint32_t n_val = 0;
    PDATA_TRY(store_value(pb, n_rule, attr_val, n_attr, &n_val));
    protodesc_slot(pb, n_rule).rule_attr[n_attr].attr_offset[n_val] = offset;
    return PDATA_SUCCESS;
}

pdata_status_t protodesc_add_rule_attr(protodesc_build_t *pb, uint32_t n_rule, csa_str_t attr_name,
                                       csa_str_t attr_val)
{
    uint32_t n_attr;
    PDATA_TRY(pdata_diag_failed(protodesc_add_attr_name(pb, attr_name, n_rule, &n_attr),
                                PDATA_DIAG_RULE_ATTR, shown(pb->pb_name), pb->pb_name.str_buf,
                                shown(attr_name), attr_name.str_buf));
    return protodesc_add_attr_val(pb, n_rule, attr_val, n_attr);
}

pdata_status_t protodesc_add_rule_attr_parsed(protodesc_build_t *pb, uint32_t n_rule,
                                              csa_str_t attr_name, csa_attr_way_t attr_way,
                                              matcher_type_t attr_type, attr_proto_t attr_proto,
                                              csa_str_t attr_val, uint32_t attr_offset)
{
    uint32_t n_attr;
    PDATA_TRY(pdata_diag_failed(protodesc_add_attr_name_parsed(pb, attr_name, attr_way, attr_type,
                                                               attr_proto, n_rule, &n_attr),
                                PDATA_DIAG_RULE_ATTR_PARSED, shown(pb->pb_name),
                                pb->pb_name.str_buf, shown(attr_name), attr_name.str_buf));
    if (attr_offset != 0)
        return protodesc_add_attr_val_with_offset(pb, n_rule, attr_val, attr_offset, n_attr);
    return protodesc_add_attr_val(pb, n_rule, attr_val, n_attr);
}
