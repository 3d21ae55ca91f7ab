#include "lint_look.h"

#include <algorithm>

#include "lint_words.h"

namespace
{

finding_place_t place_of(const lint_look_t &look)
{
    if (look.value != nullptr)
        return look.value->place;
    if (look.attribute != nullptr)
        return look.attribute->key.place;
    if (look.rule != nullptr)
        return look.rule->place;
    return look.protocol->name->place;
}

} // namespace

finding_t &lint_report(const lint_look_t &look, finding_id_t id, std::string message,
                       std::string hint)
{
    return lint_report_at(look, place_of(look), id, std::move(message), std::move(hint));
}

finding_t &lint_report_at(const lint_look_t &look, finding_place_t place, finding_id_t id,
                          std::string message, std::string hint)
{
    finding_t &finding = look.findings.emplace_back();
    finding.id = id;
    finding.place = place;
    finding.protocol = lint_protocol_name(*look.protocol);
    finding.rule = look.rule == nullptr ? 0 : look.rule->number;
    if (look.attribute != nullptr)
        finding.attribute = look.attribute->key.raw;
    if (look.value != nullptr)
        finding.value = look.value->raw;
    finding.message = std::move(message);
    finding.hint = std::move(hint);
    return finding;
}

void lint_mend(finding_t &finding, std::string text)
{
    finding.edits.push_back({finding.place, std::move(text)});
}

void lint_refuse_empty(const lint_look_t &look, const lint_text_t &text)
{
    if ((text.decoded.size() & 0xffff) == 0)
        lint_report_at(look, text.place, FINDING_EMPTY_TEXT, "an empty text cannot be stored",
                       "write something into it, or leave its key out");
}

void lint_look_tag(const lint_look_t &look, const lint_text_t &tag, finding_id_t id)
{
    const auto &tags = look.config.tags;
    if (std::ranges::find(tags, tag.decoded) != tags.end())
        return;
    const std::vector<std::string_view> known(tags.begin(), tags.end());
    lint_report_at(look, tag.place, id, "the tag table has no " + lint_quoted(tag.raw),
                   lint_meant(tag.decoded, known))
        .value = tag.raw;
}
