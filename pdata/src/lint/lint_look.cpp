#include "lint_look.h"

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
    finding.protocol = look.protocol->name ? look.protocol->name->raw : std::string_view();
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
