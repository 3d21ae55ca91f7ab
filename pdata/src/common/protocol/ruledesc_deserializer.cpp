#include "protodesc_deserializer.h"
#include "protodesc_words.h"

namespace
{

/// The forms of a rule meta, oldest first: which words stand between the order and the path.
struct rule_meta_form {
    uint32_t type;
    uint8_t version;
    bool params;
    bool scope;
    bool vid;
    bool fastpass;
    bool preempt;
    bool counted;        ///< path and tags come with their counts; else the path is the rest
    uint32_t absent_vid; ///< what a form without a version identifier reads as
};

constexpr rule_meta_form rule_meta_forms[] = {
    // Type                         params scope  vid    fastp. preem. counted absent vid
    {TLV_TYPE_PROTO_RULE_META, 1, false, false, false, false, false, false, 0},
    {TLV_TYPE_PROTO_RULE_META_V2, 2, false, false, false, false, false, true, 0},
    {TLV_TYPE_PROTO_RULE_META_V3, 3, false, false, false, false, true, true, 0},
    {TLV_TYPE_PROTO_RULE_META_V4, 4, true, false, false, true, true, true, 0},
    {TLV_TYPE_PROTO_RULE_META_V5, 5, true, true, false, true, true, true, 0xFFFFFFFF},
    {TLV_TYPE_PROTO_RULE_META_V6, 6, true, true, true, true, true, true, 0},
};

/// Takes words from the front of a record; past its end, `ok` turns false and words read as 0.
struct word_cursor {
    const uint8_t *words;
    uint32_t len;
    uint32_t at = 0;
    bool ok = true;
};

uint32_t take(word_cursor &cursor)
{
    if (cursor.at >= cursor.len) {
        cursor.ok = false;
        return 0;
    }
    return protodesc_word(cursor.words, cursor.at++);
}

uint32_t take_if(word_cursor &cursor, bool present, uint32_t absent)
{
    return present ? take(cursor) : absent;
}

/// Takes `nr` words as a list.
void take_list(word_cursor &cursor, uint32_t nr, const uint8_t **list, uint32_t *list_nr)
{
    if (nr > cursor.len - cursor.at) {
        cursor.ok = false;
        return;
    }
    *list = nr == 0 ? nullptr : cursor.words + size_t{cursor.at} * 4;
    *list_nr = nr;
    cursor.at += nr;
}

bool read_rule_meta(const protodesc_record_t &record, const rule_meta_form &form, ruledesc_t *rule)
{
    word_cursor cursor = {record.words, record.len};
    rule->rule_meta_version = form.version;
    rule->rule_order = take(cursor);
    rule->rule_params = take_if(cursor, form.params, 0);
    rule->rule_scope = take_if(cursor, form.scope, 0);
    rule->rule_vid = take_if(cursor, form.vid, form.absent_vid);
    rule->rule_fastpass = take_if(cursor, form.fastpass, 0);
    rule->rule_preempt = take_if(cursor, form.preempt, 0);
    const uint32_t nr_path = form.counted ? take(cursor) : cursor.len - cursor.at;
    take_list(cursor, nr_path, &rule->rule_path, &rule->rule_nr_path);
    if (form.counted) {
        const uint32_t nr_tags = take(cursor);
        take_list(cursor, nr_tags, &rule->rule_tags, &rule->rule_nr_tags);
    }
    return cursor.ok;
}

bool read_rule_record(const protodesc_record_t &record, ruledesc_t *rule)
{
    for (const rule_meta_form &form : rule_meta_forms)
        if (form.type == record.type)
            return read_rule_meta(record, form, rule);
    if (record.type == TLV_TYPE_PROTO_SUB_RULES_OFFSET) {
        rule->rule_srules_offset = record.words;
        rule->rule_nr_srules = record.len;
        return true;
    }
    if (record.type == TLV_TYPE_PROTO_SUB_RULES) {
        rule->rule_srules = record.words;
        rule->rule_srules_len = record.len;
        return true;
    }
    return false;
}

bool read_sub_rule_meta(const protodesc_record_t &record, sub_ruledesc_t *sub_rule)
{
    const bool oldest = record.type == TLV_TYPE_PROTO_SUB_RULE_META;
    if (record.len != (oldest ? 3 : 4))
        return false;
    word_cursor cursor = {record.words, record.len};
    sub_rule->srule_protocol = take(cursor);
    sub_rule->srule_bottom_protocol = take_if(cursor, !oldest, sub_rule->srule_protocol);
    sub_rule->srule_stc_mindata = take(cursor);
    sub_rule->srule_cts_mindata = take(cursor);
    return true;
}

bool read_sub_rule_record(const protodesc_record_t &record, sub_ruledesc_t *sub_rule)
{
    switch (record.type) {
    case TLV_TYPE_PROTO_SUB_RULE_META:
    case TLV_TYPE_PROTO_SUB_RULE_META_V2:
        return read_sub_rule_meta(record, sub_rule);
    case TLV_TYPE_PROTO_SUB_RULE_ATTRS:
        sub_rule->srule_attrs = record.words;
        sub_rule->srule_attrs_len = record.len;
        return true;
    case TLV_TYPE_PROTO_SUB_RULE_ATTRS_OFFSET:
        sub_rule->srule_attrs_offset = record.words;
        sub_rule->srule_nr_attrs = record.len;
        return true;
    default:
        return false;
    }
}

/// Hands every record packed in `parent` to `read`; false when one does not end within it or is
/// refused.
template <typename View>
bool read_children(const protodesc_record_t &parent,
                   bool (*read)(const protodesc_record_t &, View *), View *view)
{
    protodesc_record_t child;
    for (uint32_t at = 0; at < parent.len; at += 1 + child.len)
        if (!protodesc_record_at(parent.words, parent.len, at, &child) || !read(child, view))
            return false;
    return true;
}

/// Reads the words of an attribute; false when the counts of a stream do not pair up.
bool read_attr(const protodesc_record_t &record, attrdesc_t *attr)
{
    const bool offsets = record.type == TLV_TYPE_PROTO_ATTR_STREAM_OFFSET;
    word_cursor cursor = {record.words, record.len};
    attr->attr_type = record.type;
    attr->attr_way_proto = take(cursor);
    attr->attr_name = take(cursor);
    const uint32_t rest = cursor.len - cursor.at;
    if (!cursor.ok || (offsets && rest % 2 != 0))
        return false;
    uint32_t nr_offsets = 0;
    take_list(cursor, offsets ? rest / 2 : rest, &attr->attr_start, &attr->attr_nr_values);
    if (offsets)
        take_list(cursor, rest / 2, &attr->attr_offset, &nr_offsets);
    return cursor.ok;
}

} // namespace

bool ruledesc_read(const protodesc_record_t &record, ruledesc_t *ruledesc)
{
    *ruledesc = {};
    ruledesc->rule_ruleorder = record.type == TLV_TYPE_PROTO_RULE_ORDER ? 1 : 0;
    return read_children(record, read_rule_record, ruledesc);
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
    protodesc_record_t sub_rule;
    if (!protodesc_record_in_list(ruledesc.rule_srules, ruledesc.rule_srules_len,
                                  ruledesc.rule_srules_offset, index, &sub_rule) ||
        !read_children(sub_rule, read_sub_rule_record, sub_ruledesc))
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Len mismatch, cannot serialize");
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
    protodesc_record_t attr;
    if (!protodesc_record_in_list(sub_ruledesc.srule_attrs, sub_ruledesc.srule_attrs_len,
                                  sub_ruledesc.srule_attrs_offset, index, &attr) ||
        !read_attr(attr, attrdesc))
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "Cannot get attribute descriptor, Tlv len mismatch");
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
