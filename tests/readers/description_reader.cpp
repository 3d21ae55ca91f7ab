#include "description_reader.h"

#include <ostream>

#include "tlv_description.h"

namespace
{

/// What a reading carries along: the tables, and the first failure.
struct reading_t {
    const hstring_t &strings;
    const hstring_t &tags;
    pdata_status_t status = PDATA_SUCCESS;
};

/// Notes a status; true when it is a success.
bool ok(reading_t &reading, pdata_status_t status)
{
    if (reading.status == PDATA_SUCCESS)
        reading.status = status;
    return status == PDATA_SUCCESS;
}

std::string text(csa_str_t str)
{
    return std::string(csa_str_view(str));
}

template <typename View>
std::string string_of(reading_t &reading,
                      pdata_status_t (*get)(const View &, const hstring_t &, csa_str_t *),
                      const View &view)
{
    csa_str_t str;
    return ok(reading, get(view, reading.strings, &str)) ? text(str) : "";
}

template <typename View>
std::vector<std::string> list_of(reading_t &reading, uint32_t nr,
                                 pdata_status_t (*get)(const View &, uint32_t, const hstring_t &,
                                                       csa_str_t *),
                                 const View &view, const hstring_t &table)
{
    std::vector<std::string> list;
    csa_str_t str;
    for (uint32_t i = 0; i < nr; ++i)
        if (ok(reading, get(view, i, table, &str)))
            list.push_back(text(str));
    return list;
}

using pair_list = std::vector<std::pair<std::string, std::string>>;

pair_list pairs_of(reading_t &reading, uint32_t nr,
                   pdata_status_t (*get)(const protodesc_t &, uint32_t, const hstring_t &,
                                         csa_str_t *, csa_str_t *),
                   const protodesc_t &view)
{
    pair_list list;
    csa_str_t name;
    csa_str_t value;
    for (uint32_t i = 0; i < nr; ++i)
        if (ok(reading, get(view, i, reading.strings, &name, &value)))
            list.emplace_back(text(name), text(value));
    return list;
}

attr_model read_attr(reading_t &reading, const attrdesc_t &view)
{
    attr_model attr;
    attr.name = string_of(reading, attrdesc_get_name, view);
    attr.type = attrdesc_get_type(view);
    ok(reading, attrdesc_get_way(view, &attr.way));
    attr.proto = attrdesc_get_proto(view);
    csa_str_t value;
    for (uint32_t i = 0; i < attrdesc_get_value_nr(view); ++i)
        if (ok(reading, attrdesc_get_value(view, i, reading.strings, &value)))
            attr.values.emplace_back(text(value), attrdesc_get_pattern_offset(view, i));
    return attr;
}

sub_rule_model read_sub_rule(reading_t &reading, const sub_ruledesc_t &view)
{
    sub_rule_model sub_rule;
    sub_rule.protocol = string_of(reading, sub_ruledesc_get_protocol, view);
    sub_rule.bottom_protocol = string_of(reading, sub_ruledesc_get_bottom_protocol, view);
    sub_rule.stc_mindata = sub_ruledesc_get_stc_mindata(view);
    sub_rule.cts_mindata = sub_ruledesc_get_cts_mindata(view);
    attrdesc_t attr;
    for (uint32_t i = 0; i < sub_ruledesc_get_attrdesc_nr(view); ++i)
        if (ok(reading, sub_ruledesc_get_attrdesc(view, i, &attr)))
            sub_rule.attrs.push_back(read_attr(reading, attr));
    return sub_rule;
}

rule_model read_rule(reading_t &reading, const ruledesc_t &view)
{
    rule_model rule;
    rule.meta_version = view.rule_meta_version;
    rule.ruleorder = view.rule_ruleorder;
    rule.order = ruledesc_get_order(view);
    rule.params = ruledesc_get_rule_params(view);
    rule.scope = ruledesc_get_scope(view);
    rule.vid = view.rule_vid;
    rule.fastpass = ruledesc_get_fastpass(view);
    rule.preempt = ruledesc_get_preempt(view);
    rule.path =
        list_of(reading, ruledesc_get_path_nr(view), ruledesc_get_path_elt, view, reading.strings);
    rule.tags = list_of(reading, ruledesc_get_tag_nr(view), ruledesc_get_tag, view, reading.tags);
    sub_ruledesc_t sub_rule;
    for (uint32_t i = 0; i < ruledesc_get_sub_ruledesc_nr(view); ++i)
        if (ok(reading, ruledesc_get_sub_ruledesc(view, i, &sub_rule)))
            rule.sub_rules.push_back(read_sub_rule(reading, sub_rule));
    return rule;
}

void read_meta(reading_t &reading, const protodesc_t &view, protocol_model *protocol)
{
    protocol->id = protodesc_get_id(view);
    protocol->ns = protodesc_get_ns(view);
    protocol->name = string_of(reading, protodesc_get_name, view);
    protocol->default_port = string_of(reading, protodesc_get_default_port, view);
    protocol->max_trans = protodesc_get_max_trans(view);
    protocol->cacheable = protodesc_get_cacheable(view);
    protocol->http_reclassify = protodesc_get_http_reclassify(view);
    protocol->version[0] = protodesc_get_version_major(view);
    protocol->version[1] = protodesc_get_version_minor(view);
    protocol->version[2] = protodesc_get_version_revision(view);
    protocol->implicit_bottom_layer = protodesc_get_implicit_bottom_layer(view);
}

} // namespace

pdata_status_t read_protocol(std::span<const uint8_t> buf, const hstring_t &strings,
                             const hstring_t &tags, protocol_model *protocol)
{
    reading_t reading = {strings, tags};
    protodesc_t view;
    ok(reading, protodesc_deserialize(&view, buf));
    *protocol = {};
    read_meta(reading, view, protocol);
    protocol->tags = pairs_of(reading, protodesc_get_tag_nr(view), protodesc_get_tag, view);
    protocol->descs = pairs_of(reading, protodesc_get_desc_nr(view), protodesc_get_desc, view);
    protocol->compat =
        list_of(reading, protodesc_get_compat_nr(view), protodesc_get_compat, view, strings);
    protocol->supported_versions = list_of(reading, protodesc_get_supported_version_nr(view),
                                           protodesc_get_supported_version, view, strings);
    protocol->altnames =
        list_of(reading, protodesc_get_altname_nr(view), protodesc_get_altname, view, strings);
    ruledesc_t rule;
    for (uint32_t i = 0; i < protodesc_get_ruledesc_nr(view); ++i)
        if (ok(reading, protodesc_get_ruledesc(view, i, &rule)))
            protocol->rules.push_back(read_rule(reading, rule));
    return reading.status;
}

pdata_status_t read_protocols(std::span<const uint8_t> root, const hstring_t &tags,
                              std::vector<protocol_model> *protocols)
{
    std::span<const uint8_t> group;
    std::span<const uint8_t> protos;
    std::span<const uint8_t> strings;
    protocols->clear();
    pdata_status_t status = tlv_value_search(TLV_TYPE_ROOT_PROTODESCS, root, &group);
    if (status == PDATA_SUCCESS)
        status = tlv_value_search(TLV_TYPE_PROTOGROUP, group, &group);
    if (status == PDATA_SUCCESS)
        status = tlv_value_search(TLV_TYPE_PROTOGROUP_PROTOS, group, &protos);
    if (status == PDATA_SUCCESS)
        status = tlv_value_search(TLV_TYPE_PROTOGROUP_STRING, group, &strings);
    const hstring_t table = {strings.data(), static_cast<uint32_t>(strings.size())};
    while (status == PDATA_SUCCESS && !protos.empty()) {
        std::span<const uint8_t> one;
        status = tlv_record_search(TLV_TYPE_PROTO, protos, &one);
        if (status != PDATA_SUCCESS)
            break;
        status = read_protocol(one.subspan(4), table, tags, &protocols->emplace_back());
        protos = protos.subspan(one.size());
    }
    return status;
}

namespace
{

std::ostream &operator<<(std::ostream &out, const std::vector<std::string> &list)
{
    for (const std::string &item : list)
        out << " '" << item << "'";
    return out;
}

void show(std::ostream &out, const sub_rule_model &sub_rule)
{
    out << "    sub-rule " << sub_rule.protocol << " (" << sub_rule.bottom_protocol
        << ") mindata stc " << sub_rule.stc_mindata << " cts " << sub_rule.cts_mindata << "\n";
    for (const attr_model &attr : sub_rule.attrs) {
        out << "      " << attr.name << " type " << attr.type << " way " << attr.way << " proto "
            << attr.proto << ":";
        for (const auto &[value, offset] : attr.values)
            out << " '" << value << "'@" << offset;
        out << "\n";
    }
}

void show(std::ostream &out, const rule_model &rule)
{
    out << "  rule meta " << rule.meta_version << " ruleorder " << rule.ruleorder << " order "
        << rule.order << " params " << rule.params << " scope " << rule.scope << " vid " << rule.vid
        << " fastpass " << rule.fastpass << " preempt " << rule.preempt << " path" << rule.path
        << " tags" << rule.tags << "\n";
    for (const sub_rule_model &sub_rule : rule.sub_rules)
        show(out, sub_rule);
}

} // namespace

std::ostream &operator<<(std::ostream &out, const protocol_model &protocol)
{
    out << protocol.name << " id " << protocol.id << " ns " << protocol.ns << " port '"
        << protocol.default_port << "' max_trans " << protocol.max_trans << " cacheable "
        << protocol.cacheable << " http_reclassify " << protocol.http_reclassify << " version "
        << protocol.version[0] << "." << protocol.version[1] << "." << protocol.version[2]
        << " implicit " << protocol.implicit_bottom_layer << "\n";
    for (const auto &[name, value] : protocol.tags)
        out << "  tag " << name << "=" << value << "\n";
    for (const auto &[lang, desc] : protocol.descs)
        out << "  desc " << lang << "=" << desc << "\n";
    out << "  compat" << protocol.compat << " supported" << protocol.supported_versions
        << " altnames" << protocol.altnames << "\n";
    for (const rule_model &rule : protocol.rules)
        show(out, rule);
    return out;
}
