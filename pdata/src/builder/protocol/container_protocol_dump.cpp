#include <cstdio>

#include "container_protocol.h"

namespace
{

void dump(const char *label, const json_string_t *string)
{
    if (string != nullptr)
        std::printf("%s: %.*s\n", label, static_cast<int>(string->len), string->str);
}

void dump(const char *label, const json_number_t *number)
{
    if (number != nullptr)
        std::printf("%s: %u\n", label, number->number);
}

/// A literal ends without a line feed. Oddity O100.
void dump(const char *label, const json_atom_t *atom)
{
    if (atom == nullptr)
        return;
    switch (atom->type) {
    case JSON_ATOM_TRUE:
        std::printf("%s: TRUE", label);
        break;
    case JSON_ATOM_FALSE:
        std::printf("%s: FALSE", label);
        break;
    case JSON_ATOM_NULL:
        std::printf("%s: NULL", label);
        break;
    default:
        std::printf("%s: unknown value: %d\n", label, atom->type);
    }
}

template <size_t Dim>
void dump(const char *label, const std::array<json_string_t *, Dim> &list, uint32_t nr)
{
    for (uint32_t i = 0; i < nr; ++i)
        dump(label, list[i]);
}

void dump_sub_rule(const protocol_sub_rule_t &sub_rule)
{
    dump("| | protocol", sub_rule.protocol, sub_rule.nr_protocol);
    dump("| | mindata", sub_rule.mindata);
    for (uint32_t i = 0; i < sub_rule.nr_attr; ++i) {
        const protocol_attr_t &attr = sub_rule.attrs[i];
        if (attr.name != nullptr && attr.value != nullptr)
            std::printf("| | %.*s %.*s\n", static_cast<int>(attr.name->len), attr.name->str,
                        static_cast<int>(attr.value->len), attr.value->str);
    }
}

void dump_rule(const protocol_rule_t &rule)
{
    dump("| order", rule.order);
    dump("| path", rule.path, rule.nr_path);
    for (uint32_t i = 0; i < rule.nr_sub_rule; ++i) {
        std::printf("| sub: %u\n", i);
        dump_sub_rule(rule.sub_rules[i]);
    }
}

} // namespace

void protocol_dump(const protocol_t &protocol)
{
    dump("name", protocol.name);
    dump("id", protocol.id);
    dump("virtual_id", protocol.vid);
    dump("version/major", protocol.version.major);
    dump("version/minor", protocol.version.minor);
    dump("version/revision", protocol.version.revision);
    dump("tags/category", protocol.tags.categories, protocol.tags.nr_category);
    dump("family", protocol.tags.family);
    dump("deprecated", protocol.tags.deprecated);
    dump("http_reclassify", protocol.http_reclassify);
    dump("cacheable", protocol.cacheable);
    dump("altnames/altnames", protocol.altnames.altnames, protocol.altnames.nr_altname);
    dump("description/fr", protocol.description.fr);
    dump("description/en", protocol.description.en);
    for (uint32_t i = 0; i < protocol.rules.nr_rule; ++i) {
        std::printf("rule: %u\n", i);
        dump_rule(protocol.rules.rules[i]);
    }
}
