#include <algorithm>

#include "lint_rules.h"
#include "lint_words.h"

namespace
{

void refuse_empty(const lint_look_t &look, const lint_text_t &text)
{
    if ((text.decoded.size() & 0xffff) == 0)
        lint_report_at(look, text.place, FINDING_EMPTY_TEXT, "an empty text cannot be stored",
                       "write something into it, or leave its key out");
}

void look_empty(const lint_look_t &look)
{
    const lint_protocol_t &protocol = *look.protocol;
    if (protocol.name)
        refuse_empty(look, *protocol.name);
    if (protocol.family)
        refuse_empty(look, *protocol.family);
    for (const lint_text_t &altname : protocol.altnames)
        refuse_empty(look, altname);
    for (const lint_text_t &category : protocol.categories)
        refuse_empty(look, category);
}

/// A rule with several protocols in a sub-rule becomes as many rules.
void look_split(const lint_look_t &look)
{
    size_t nr = 0;
    for (const lint_rule_t &rule : look.protocol->rules) {
        size_t copies = 1;
        for (const lint_sub_rule_t &sub_rule : rule.sub_rules)
            if (sub_rule.protocols.size() > 1 && copies == 1)
                copies = sub_rule.protocols.size();
        if (nr < PROTOCOL_RULE_DIM && nr + copies >= PROTOCOL_RULE_DIM &&
            look.protocol->rules.size() < PROTOCOL_RULE_DIM)
            lint_report_at(look, rule.place, FINDING_TOO_MANY,
                           "more than 1199 rules, each counted for every protocol that it names",
                           "leave some of them to another protocol");
        nr += copies;
    }
}

void look_id(const lint_look_t &look)
{
    const lint_protocol_t &protocol = *look.protocol;
    const auto &written = protocol.id_written;
    if (written && lint_is_beyond(written->raw, UINT32_MAX)) {
        lint_report_at(
            look, written->place, FINDING_WRAPPED_ID,
            lint_joined({written->raw.substr(0, 20), " is read as ", std::to_string(protocol.id)}),
            "write at most 4294967295")
            .value = written->raw;
    } else if (protocol.id == 0 && protocol.name && (written || !protocol.has_id)) {
        finding_t &finding = lint_report(
            look, FINDING_ZERO_ID,
            written ? "the id 0 is none" : "no built-in protocol has this name, so the id is 0",
            "write an \"id\" of 16777216 or more, where the ids of users begin");
        if (written)
            finding.place = written->place;
    }
}

void look_categories(const lint_look_t &look)
{
    const auto &tags = look.config.tags;
    const std::vector<std::string_view> known(tags.begin(), tags.end());
    for (const lint_text_t &category : look.protocol->categories)
        if (!category.decoded.empty() && std::ranges::find(tags, category.decoded) == tags.end())
            lint_report_at(look, category.place, FINDING_UNKNOWN_CATEGORY,
                           "the tag table has no " + lint_quoted(category.raw),
                           lint_meant(category.decoded, known))
                .value = category.raw;
}

constexpr lint_row_t rows[] = {{look_empty}, {look_split}, {look_id}, {look_categories}};

} // namespace

std::span<const lint_row_t> lint_protocol_rows()
{
    return rows;
}
