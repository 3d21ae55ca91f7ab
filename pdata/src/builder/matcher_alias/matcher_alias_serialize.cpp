#include "matcher_alias_serialize.h"

#include <algorithm>

#include "json_error.h"
#include "json_tools.h"
#include "pragmar.h"
#include "tlv_description.h"
#include "visitor_matcher_alias.h"

namespace
{

pdata_status_t convert_side(const matcher_alias_side_t &side, alias_elt_t *elt)
{
    csa_str_t way;
    set_string_from_json(&elt->proto_name, side.protocol);
    set_string_from_json(&elt->attr_name, side.attr);
    set_string_from_json(&way, side.way);
    return read_attr_way(&elt->way, way);
}

pdata_status_t container_to_matcher_alias(const matcher_alias_container_t &container,
                                          matcher_alias_build_t *matcher_alias)
{
    for (uint32_t i = 0; i < container.nr_entry; ++i) {
        alias_pair_t pair;
        PDATA_TRY(convert_side(container.entries[i].alias, &pair.alias));
        PDATA_TRY(convert_side(container.entries[i].reference, &pair.reference));
        PDATA_TRY(matcher_alias_add(matcher_alias, pair));
    }
    return PDATA_SUCCESS;
}

pdata_status_t fail_with_report()
{
    return pdata_fail(PDATA_ERR_PRAGMAR, "%s", pragmar_err_get());
}

/// Emits one side of a pair; a table of null only counts. Returns a module code.
int alias_element_serialize(tlv_sink_t &sink, hstring_build_t *hstring, const alias_elt_t &elt)
{
    for (const csa_str_t &name : {elt.proto_name, elt.attr_name}) {
        uint32_t offset = 0;
        if (hstring != nullptr)
            if (const int ret = hstring_get_offset(hstring, name, &offset); ret != MODULE_SUCCESS)
                return ret;
        tlv_sink_put(sink, offset, 4);
    }
    tlv_sink_put(sink, elt.way, 1);
    return MODULE_SUCCESS;
}

/// Emits the value of a set. Returns a module code.
int emit_pairs(tlv_sink_t &sink, hstring_build_t *hstring, std::span<const alias_pair_t> pairs)
{
    for (const alias_pair_t &pair : pairs)
        for (const alias_elt_t &elt : {pair.alias, pair.reference})
            if (const int ret = alias_element_serialize(sink, hstring, elt); ret != MODULE_SUCCESS)
                return ret;
    tlv_sink_align(sink);
    return MODULE_SUCCESS;
}

void change_attribute(ruledesc_build_t &slot, attrdesc_build_t &attr, const alias_elt_t &reference)
{
    slot.rule_protocol = reference.proto_name;
    matcher_alias_update_mindata(attr.attr_name, reference.attr_name, attr.attr_way, reference.way,
                                 &slot.rule_stc_mindata, &slot.rule_cts_mindata);
    attr.attr_name = reference.attr_name;
    attr.attr_way = reference.way;
}

/// Every attribute is looked up below the protocol that the sub-rule had before the first change.
void change_sub_rule(ruledesc_build_t &slot, const matcher_alias_t &aliases)
{
    const csa_str_t bottom = slot.rule_protocol;
    if (!matcher_alias_has_proto(aliases, bottom))
        return;
    for (uint32_t i = 0; i < slot.rule_nr_attr; ++i) {
        attrdesc_build_t &attr = slot.rule_attr[i];
        const alias_pair_t *pair =
            matcher_alias_find(aliases, bottom, attr.attr_name, attr.attr_way);
        if (pair != nullptr)
            change_attribute(slot, attr, pair->reference);
    }
}

bool has_mindata(csa_str_t attr_name)
{
    return csa_str_view(attr_name) == "stream" || csa_str_view(attr_name) == "content";
}

} // namespace

pdata_status_t json_to_matcher_alias(std::string_view pdm, std::string_view sem,
                                     hstring_build_t *hstring, matcher_alias_build_t *matcher_alias,
                                     bool ignore_sem)
{
    json_t json;
    if (pragmar_load(pdm, sem, &json, ignore_sem) != 0)
        return fail_with_report();
    visitor_matcher_alias_t visitor;
    matcher_alias_container_t container;
    visitor_matcher_alias_init(&visitor, &container);
    pdata_status_t status = PDATA_SUCCESS;
    if (json_visit(json, &visitor.visitor) != 0) {
        status = fail_with_report();
    } else {
        *matcher_alias = matcher_alias_create(hstring, container.nr_entry);
        status = container_to_matcher_alias(container, matcher_alias);
    }
    return status;
}

matcher_alias_build_t matcher_alias_create(hstring_build_t *hstring, uint32_t alias_num)
{
    return {hstring, std::vector<alias_pair_t>(alias_num), 0, alias_num};
}

void matcher_alias_destroy(matcher_alias_build_t *matcher_alias)
{
    *matcher_alias = {};
}

pdata_status_t read_attr_way(csa_attr_way_t *way, csa_str_t text)
{
    const std::string_view word = csa_str_view(text);
    if (word == "cts")
        *way = ATTR_WAY_CTS;
    else if (word == "stc")
        *way = ATTR_WAY_STC;
    else if (word == "both")
        *way = ATTR_WAY_BOTH;
    else
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "MATCHER_ALIAS : Unknown way %.*s (pick both,cts or stc).\n",
                          static_cast<int>(word.size()), word.data());
    return PDATA_SUCCESS;
}

pdata_status_t matcher_alias_add(matcher_alias_build_t *matcher_alias, const alias_pair_t &pair)
{
    if (matcher_alias->alias_idx == matcher_alias->alias_num)
        return PDATA_ERR_OVERFLOW;
    const uint32_t index = matcher_alias->alias_idx++;
    matcher_alias->aliases[index] = pair;
    const csa_str_t from = pair.alias.proto_name;
    const csa_str_t to = pair.reference.proto_name;
    if (csa_str_equal(from, to))
        return PDATA_SUCCESS;
    // The last comparison is with the pair before the preceding one. Oddity O103.
    for (uint32_t i = 0; i + 1 < index; ++i) {
        const csa_str_t earlier = matcher_alias->aliases[i].reference.proto_name;
        if (!csa_str_equal(matcher_alias->aliases[i].alias.proto_name, from) ||
            csa_str_equal(earlier, to))
            continue;
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "matcher_alias parsing : you cannot create an alias from protocol %.*s "
                          "to protocol %.*s because you already have an alias to protocol %.*s\n",
                          from.str_len, from.str_buf, to.str_len, to.str_buf, earlier.str_len,
                          earlier.str_buf);
    }
    return PDATA_SUCCESS;
}

uint32_t matcher_alias_get_tlv_size(const matcher_alias_build_t &matcher_alias)
{
    tlv_sink_t sink = tlv_sink_counting();
    (void)emit_pairs(sink, nullptr, matcher_alias.aliases); // counting refuses nothing
    return static_cast<uint32_t>(sink.offset);
}

pdata_status_t matcher_alias_serialize(matcher_alias_build_t *matcher_alias, uint8_t *buf,
                                       uint32_t buf_len, uint8_t **end)
{
    tlv_sink_t sink = tlv_sink_writing({buf, (size_t{buf_len} + 1) * 4});
    tlv_sink_put(sink, TLV_TYPE_ROOT_MATCHER_ALIAS, 1);
    tlv_sink_put(sink, buf_len, 3);
    const std::span<const alias_pair_t> filled =
        std::span<const alias_pair_t>(matcher_alias->aliases).first(matcher_alias->alias_idx);
    const int ret = emit_pairs(sink, matcher_alias->hstring, filled);
    if (ret == MODULE_ERR_NO_MEMORY)
        return PDATA_ERR_NO_MEMORY;
    if (ret != MODULE_SUCCESS || sink.failed)
        return PDATA_ERR_INVALID_ARGUMENT;
    *end = buf + sink.offset;
    return PDATA_SUCCESS;
}

void matcher_alias_change_proto(protodesc_build_t *pb, const matcher_alias_t &aliases)
{
    for (uint32_t i = 0; i < pb->pb_nr_sub_rule; ++i)
        change_sub_rule(protodesc_slot(pb, i), aliases);
}

void matcher_alias_update_mindata(csa_str_t attr_before, csa_str_t attr_after,
                                  csa_attr_way_t way_before, csa_attr_way_t way_after,
                                  uint32_t *stc_mindata, uint32_t *cts_mindata)
{
    if (!has_mindata(attr_before) || !has_mindata(attr_after))
        return;
    const uint32_t larger = std::max(*stc_mindata, *cts_mindata);
    if (way_before == ATTR_WAY_CTS && way_after == ATTR_WAY_STC) {
        *stc_mindata = larger;
        *cts_mindata = 0;
    } else if (way_before == ATTR_WAY_STC && way_after == ATTR_WAY_CTS) {
        *cts_mindata = larger;
        *stc_mindata = 0;
    }
}

pdata_status_t matcher_alias_build_pairs(const hstring_t &root_hstring,
                                         hstring_build_t *main_hstring,
                                         matcher_alias_build_t *matcher_alias,
                                         std::span<const uint8_t> tlv_data,
                                         uint32_t matcher_alias_nb)
{
    if (matcher_alias_nb > FENCE_MATCHER_ALIAS_NUMBER)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_MATCHER_ALIAS_STORED);
    *matcher_alias = matcher_alias_create(main_hstring, matcher_alias_nb);
    for (uint32_t i = 0; i < matcher_alias_nb; ++i) {
        alias_pair_t pair;
        PDATA_TRY(matcher_alias_deserialize(tlv_data, i, root_hstring, &pair));
        PDATA_TRY(matcher_alias_add(matcher_alias, pair));
    }
    return PDATA_SUCCESS;
}
