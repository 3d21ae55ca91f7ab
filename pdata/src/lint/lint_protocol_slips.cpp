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

constexpr lint_row_t rows[] = {{look_empty}, {look_split}};

} // namespace

std::span<const lint_row_t> lint_protocol_rows()
{
    return rows;
}
