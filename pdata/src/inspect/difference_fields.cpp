#include "difference_fields.h"

#include <bit>

#include "format_scope.h"
#include "format_values.h"

namespace
{

/// Returns a text in front of which its length stands, so that joined texts stay apart.
std::string counted(std::string_view text)
{
    return std::to_string(text.size()) + '=' + std::string(text);
}

std::string joined(const std::vector<std::string_view> &texts)
{
    std::string out;
    for (const std::string_view text : texts)
        out.append(out.empty() ? "" : ", ").append(text);
    return out;
}

std::string joined(const std::vector<text_pair_t> &pairs)
{
    std::string out;
    for (const auto &[name, value] : pairs)
        out.append(out.empty() ? "" : ", ").append(name).append("=").append(value);
    return out;
}

std::string flags_of(const model_rule_t &rule)
{
    std::string flags = rule.fastpass ? "fastpass" : "";
    if (rule.preempt)
        flags += flags.empty() ? "preempt" : ", preempt";
    return flags;
}

/// Returns the words of a scope; a bit without a word is shown by its number.
std::string scope_of(const model_rule_t &rule)
{
    std::string words;
    for (uint32_t left = rule.scope; left != 0; left &= left - 1) {
        const uint32_t bit = left & (~left + 1);
        const std::string_view word = format_scope_word(bit);
        words.append(words.empty() ? "" : ", ");
        words.append(word.empty() ? "bit " + std::to_string(std::countr_zero(bit))
                                  : std::string(word));
    }
    return words;
}

std::string tags_of(const model_rule_t &rule)
{
    return rule.nameless_tags == 0 ? joined(rule.tags)
                                   : std::to_string(rule.nameless_tags) + " without names";
}

std::vector<field_difference_t> fields_of(const model_rule_t &rule)
{
    return {{"order", rule_order_text(rule), {}},
            {"scope", scope_of(rule), {}},
            {"flags", flags_of(rule), {}},
            {"path", joined(rule.path), {}},
            {"rule-tags", tags_of(rule), {}},
            {"virtual_id", rule.vid == MODEL_VID_NONE ? "" : std::to_string(rule.vid), {}}};
}

std::vector<field_difference_t> fields_of(const model_protocol_t &protocol)
{
    return {{"id", std::to_string(protocol.id), {}},
            {"name", std::string(protocol.name), {}},
            {"version",
             std::to_string(protocol.version[0]) + '.' + std::to_string(protocol.version[1]) + '.' +
                 std::to_string(protocol.version[2]),
             {}},
            {"tags", joined(protocol.tags), {}},
            {"altname", joined(protocol.altnames), {}},
            {"cacheable", std::to_string(protocol.cacheable), {}},
            {"http_reclassify", std::to_string(protocol.http_reclassify), {}},
            {"implicit_bottom_layer", std::to_string(protocol.implicit_bottom_layer), {}}};
}

template <typename Record>
std::vector<field_difference_t> differing_fields(const Record &before, const Record &after)
{
    std::vector<field_difference_t> fields;
    const std::vector<field_difference_t> now = fields_of(after);
    std::vector<field_difference_t> old = fields_of(before);
    for (size_t i = 0; i < old.size(); ++i)
        if (old[i].before != now[i].before)
            fields.push_back({old[i].name, std::move(old[i].before), now[i].before});
    return fields;
}

} // namespace

std::string rule_order_text(const model_rule_t &rule)
{
    return std::to_string(format_priority_range(rule.priority)) + ':' +
           std::to_string(format_priority_order(rule.priority));
}

std::string rule_keys_text(const model_rule_t &rule)
{
    std::string text;
    for (const field_difference_t &field : fields_of(rule))
        text += counted(field.before);
    return text;
}

std::vector<field_difference_t> rule_fields_differing(const model_rule_t &before,
                                                      const model_rule_t &after)
{
    return differing_fields(before, after);
}

std::vector<field_difference_t> protocol_fields_differing(const model_protocol_t &before,
                                                          const model_protocol_t &after)
{
    return differing_fields(before, after);
}
