#include "lint_rules.h"
#include "lint_words.h"

namespace
{

void look_empty(const lint_look_t &look)
{
    const lint_protocol_t &protocol = *look.protocol;
    if (protocol.name)
        lint_refuse_empty(look, *protocol.name);
    if (protocol.family)
        lint_refuse_empty(look, *protocol.family);
    for (const lint_text_t &altname : protocol.altnames)
        lint_refuse_empty(look, altname);
    for (const lint_text_t &category : protocol.categories)
        lint_refuse_empty(look, category);
}

/// A rule with several protocols in a sub-rule becomes as many rules.
void look_split(const lint_look_t &look)
{
    size_t nr = 0;
    for (const lint_rule_t &rule : look.protocol->rules) {
        const size_t stored = lint_stored_rules(rule);
        if (nr < PROTOCOL_RULE_DIM && nr + stored >= PROTOCOL_RULE_DIM &&
            look.protocol->rules.size() < PROTOCOL_RULE_DIM)
            lint_report_at(look, rule.place, FINDING_TOO_MANY,
                           "more than 1199 rules, each counted for every protocol that it names",
                           "leave some of them to another protocol");
        nr += stored;
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
    for (const lint_text_t &category : look.protocol->categories)
        if (!category.decoded.empty())
            lint_look_tag(look, category, FINDING_UNKNOWN_CATEGORY);
}

constexpr lint_row_t rows[] = {{look_empty}, {look_split}, {look_id}, {look_categories}};

} // namespace

std::span<const lint_row_t> lint_protocol_rows()
{
    return rows;
}
