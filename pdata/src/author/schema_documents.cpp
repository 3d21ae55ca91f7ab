#include "schema_documents.h"

namespace
{

/// An IPv4 address with an optional length, and a comment behind one blank; numbers may begin with
/// zeros.
constexpr const char *IPV4_BLOCK =
    R"(^(0*(25[0-5]|2[0-4][0-9]|1?[0-9]?[0-9])(\.(?=[0-9])|(?![0-9.]))){4}(/0*(3[0-2]|[12]?[0-9]))?( #[\s\S]*)?$)";

/// The schema of a key with its words.
schema_json_t keyed(const schema_vocabulary_t &vocabulary, std::string_view holder,
                    std::string_view key, const schema_json_t &value)
{
    schema_json_t schema = schema_json_t::object();
    schema_add_words(vocabulary, holder, key, schema);
    schema.update(value);
    return schema;
}

schema_json_t array_of(const schema_json_t &items, size_t least)
{
    schema_json_t schema = {{"type", "array"}, {"items", items}};
    if (least > 0)
        schema["minItems"] = least;
    return schema;
}

schema_json_t object_of(const schema_json_t &properties, const schema_json_t &required)
{
    return {{"type", "object"},
            {"properties", properties},
            {"required", required},
            {"additionalProperties", false}};
}

} // namespace

schema_json_t schema_of_psa(const schema_vocabulary_t &vocabulary)
{
    const schema_json_t entry = {{"type", "object"},
                                 {"minProperties", 1},
                                 {"maxProperties", 1},
                                 {"propertyNames", {{"minLength", 1}, {"maxLength", 254}}},
                                 {"additionalProperties", {{"type", "string"}, {"minLength", 1}}}};
    schema_json_t properties = schema_json_t::object();
    for (const char *key : {"prefix", "suffix", "regular"}) {
        schema_json_t table = array_of(entry, 0);
        table["maxItems"] = 128;
        properties[key] = keyed(vocabulary, "", key, table);
    }
    return {{"type", "object"}, {"properties", properties}};
}

schema_json_t schema_of_ipbt(const schema_vocabulary_t &vocabulary)
{
    const auto of_value = [&](const char *key, const schema_json_t &value) {
        return keyed(vocabulary, "values", key, value);
    };
    const auto of_rule = [&](const char *key, const schema_json_t &value) {
        return keyed(vocabulary, "rules", key, value);
    };
    const schema_json_t value = object_of({{"type", of_value("type", {{"const", "protocol"}})},
                                           {"value", of_value("value", {{"type", "string"}})}},
                                          {"type", "value"});
    const schema_json_t block = {{"type", "string"}, {"pattern", IPV4_BLOCK}};
    const schema_json_t rule = object_of({{"comment", of_rule("comment", schema_json_t::object())},
                                          {"values", of_rule("values", array_of(value, 1))},
                                          {"ips", of_rule("ips", array_of(block, 1))}},
                                         {"values", "ips"});
    return object_of({{"rules", keyed(vocabulary, "", "rules", array_of(rule, 0))}},
                     schema_json_t::array());
}
