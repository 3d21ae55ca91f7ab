#include <algorithm>

#include "lint_resolve.h"
#include "lint_rules.h"
#include "lint_words.h"

namespace
{

void look_one_way(const lint_look_t &look)
{
    const lint_attribute_t &attribute = *look.attribute;
    if (attribute.written == nullptr || attribute.written_way != ATTR_WAY_BOTH ||
        attribute.written->proper_allowed_way == ATTR_WAY_BOTH)
        return;
    const std::string meant = lint_joined(
        {"\"", attr_way2prefix(attribute.written->proper_allowed_way), attribute.key.raw, "\""});
    lint_mend(lint_report(look, FINDING_ONE_WAY_ATTRIBUTE,
                          lint_joined({lint_quoted(attribute.name), " is there in one direction"}),
                          "write " + meant),
              meant);
}

/// Aliases for each single direction, and none for both at once.
void look_alias(const lint_look_t &look)
{
    const lint_attribute_t &attribute = *look.attribute;
    const auto has = [&](csa_attr_way_t way) {
        return matcher_alias_find(look.config.aliases, csa_str(lint_bottom(*look.sub_rule)),
                                  csa_str(attribute.name), way) != nullptr;
    };
    if (attribute.written == nullptr || lint_stored_way(attribute) != ATTR_WAY_BOTH ||
        has(ATTR_WAY_BOTH) || !has(ATTR_WAY_CTS) || !has(ATTR_WAY_STC))
        return;
    lint_report(
        look, FINDING_ALIAS_DIRECTION,
        lint_joined({"aliases take ", lint_quoted(attribute.name),
                     " in each direction, and miss it in both at once"}),
        lint_joined({"write \"cts-", attribute.name, "\" or \"stc-", attribute.name, "\""}));
}

bool is_text(const lint_attribute_t &attribute)
{
    return attribute.matched->proper_type == MATCHER_TYPE_STREAM;
}

/// Tells whether two values can be there at once: of a number, an address or a name one alone is.
bool is_single(const lint_attribute_t &attribute)
{
    if (!is_text(attribute))
        return true;
    const std::string_view name = attribute.name;
    return (name == "server" || name == "server_name" || name == "query" ||
            name == "common_name") &&
           std::ranges::none_of(attribute.values, [](const lint_text_t &value) {
               return value.decoded.ends_with(".*") || value.decoded.ends_with(".+");
           });
}

void look_all(const lint_look_t &look)
{
    const lint_attribute_t &attribute = *look.attribute;
    if (!attribute.array || attribute.values.size() < 2 || attribute.matched == nullptr ||
        !is_single(attribute))
        return;
    const bool text = is_text(attribute);
    std::string meant = text ? "(" : "";
    for (const lint_text_t &value : attribute.values)
        meant += (meant.size() < 2 ? "" : text ? "|" : ",") + value.decoded;
    meant = lint_json(text ? meant + ")" : meant);
    lint_report(look, FINDING_ALL_MUST_MATCH,
                "all values of an array must match, and a flow has one of them", "write " + meant);
}

/// Returns the attribute in front of one that asks for another value of the same, or null.
const lint_attribute_t *asked_before(const lint_look_t &look)
{
    const lint_attribute_t &attribute = *look.attribute;
    for (const lint_attribute_t &other :
         std::span(look.sub_rule->attributes.data(), look.attribute))
        if (other.matched == attribute.matched && other.name == attribute.name &&
            (lint_stored_way(other) & lint_stored_way(attribute)) != 0 && is_single(other) &&
            other.values.size() == 1 &&
            other.values.front().decoded != attribute.values.front().decoded)
            return &other;
    return nullptr;
}

/// A key that stands again adds to its values, as an array does.
void look_again(const lint_look_t &look)
{
    const lint_attribute_t &attribute = *look.attribute;
    if (attribute.matched == nullptr || attribute.values.size() != 1 || !is_single(attribute))
        return;
    const lint_attribute_t *other = asked_before(look);
    if (other == nullptr)
        return;
    const std::string one = other->values.front().decoded;
    const std::string &two = attribute.values.front().decoded;
    const std::string meant = lint_json(is_text(attribute) ? lint_joined({"(", one, "|", two, ")"})
                                                           : lint_joined({one, ",", two}));
    finding_t &finding = lint_report(look, FINDING_ALL_MUST_MATCH,
                                     "both values must match, and a flow has one of them",
                                     "write " + meant + " once");
    finding.related = {other->key.place, "the other one stands here"};
}

constexpr lint_row_t rows[] = {{look_one_way}, {look_alias}, {look_all}, {look_again}};

} // namespace

std::span<const lint_row_t> lint_attribute_rows()
{
    return rows;
}
