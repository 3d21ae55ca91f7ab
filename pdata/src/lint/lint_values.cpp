#include "lint_values.h"

#include <algorithm>
#include <span>
#include <utility>

#include "lint_expression.h"
#include "lint_number_meant.h"
#include "lint_resolve.h"
#include "lint_words.h"
#include "rexpand.h"
#include "tlv_description.h"
#include "value_ranges.h"

namespace
{

/// A matcher begins anew when it has read so many bytes or has so many entries. Small ones stay in
/// the nearest caches.
constexpr uint64_t FRESH_BYTES = 1 << 16;
constexpr size_t FRESH_ENTRIES = MATCHER_PRIVATE_MAX / 4;

bool is_text(const pdb_attr_properties_t &properties)
{
    return properties.proper_type == MATCHER_TYPE_STREAM;
}

bool is_address(const pdb_attr_properties_t &properties)
{
    return properties.proper_type == MATCHER_TYPE_IP_4 ||
           properties.proper_type == MATCHER_TYPE_IP_6;
}

void begin_matcher(const pdb_attr_properties_t &properties, matcher_build &matcher)
{
    matcher_desc_t desc;
    desc.max_perm = MATCHER_PERMUTATION_MAX;
    desc.max_prv_id = MATCHER_PRIVATE_MAX;
    desc.start_item_id = 1;
    desc.algo = properties.proper_algo;
    if (is_text(properties)) {
        desc.mindata_status = properties.mindata_status;
        desc.em_dispatch = properties.em_dispatch;
        desc.alpha_config = properties.icase | properties.sort;
    }
    matcher_build_clean(&matcher);
    if (matcher_init(&matcher, properties.proper_type, 0, desc) != PDATA_SUCCESS)
        throw std::bad_alloc();
}

/// Returns the matcher of an attribute, with room for a value.
matcher_build &matcher_of(lint_matchers_t &matchers, const pdb_attr_properties_t &properties)
{
    const auto [found, is_new] = matchers.builds.try_emplace(&properties);
    matcher_build &matcher = found->second;
    if (is_new || matcher.budget.used > FRESH_BYTES || matcher.map.size() > FRESH_ENTRIES)
        begin_matcher(properties, matcher);
    return matcher;
}

/// Returns the minimum data that a value of a rule has in a direction; none where it is missing,
/// which is a finding of its own.
uint32_t mindata_of(const lint_look_t &look, csa_attr_way_t way)
{
    const uint32_t bytes = lint_mindata(*look.rule, way);
    const bool missing = bytes == 0 && look.attribute->matched->mindata_status == MINDATA_MANDATORY;
    return missing ? PATTERN_MINDATA_NONE : bytes;
}

pdata_status_t register_text(matcher_build &matcher, const lint_look_t &look, uint32_t mindata)
{
    pattern_info info{};
    info.mindata = mindata;
    info.priority = look.rule->priority;
    info.preempt = look.rule->preempt ? 1 : 0;
    matcher_data_t data;
    data.pattern = csa_str_view(csa_str(look.value->decoded));
    data.pattern_offset = look.attribute->offset ? look.attribute->offset->number : 0;
    uint32_t item = 0;
    return matcher_register(&matcher, data, &item, false, info, nullptr);
}

/// Judges a text in a matcher of its own, to the end: a piece that is too long for an automaton is
/// refused when it is finished.
pdata_status_t judge_alone(const lint_look_t &look, uint32_t mindata)
{
    matcher_build matcher;
    begin_matcher(*look.attribute->matched, matcher);
    const pdata_status_t status = register_text(matcher, look, mindata);
    return status == PDATA_SUCCESS ? matcher_finalize(&matcher) : status;
}

/// Tells whether the entries from `first` on hold a piece behind the 255th of its permutation: the
/// 256th has the number 0.
bool has_many_pieces(const matcher_build &matcher, size_t first)
{
    const auto entries = std::span(matcher.map).subspan(first);
    return std::ranges::any_of(entries, [](const matcher_map_build_t &entry) {
        return (entry.flag >> 8 & 0xFF) != 0 && (entry.flag >> 16 & 0xFF) == 0;
    });
}

/// What the matchers have of a text.
struct judged_text_t {
    uint32_t entries = 0;     ///< of the second level
    bool many_pieces = false; ///< more than are told apart
};

/// Hands a text to its matcher; one that a full matcher refuses, or that is long, gets one alone.
pdata_status_t judge_text(lint_matchers_t &matchers, const lint_look_t &look, uint32_t mindata,
                          judged_text_t &judged)
{
    const pdb_attr_properties_t &properties = *look.attribute->matched;
    matcher_build &matcher = matcher_of(matchers, properties);
    const size_t before = matcher.map.size();
    pdata_status_msg_set("");
    const pdata_status_t status = register_text(matcher, look, mindata);
    judged = {static_cast<uint32_t>(matcher.map.size() - before), has_many_pieces(matcher, before)};
    const bool long_text = look.value->decoded.size() > AC_DEPTH_MAX;
    if (status == PDATA_ERR_OVERFLOW || (status == PDATA_SUCCESS && long_text))
        return judge_alone(look, mindata);
    return status;
}

void report_mindata(const lint_look_t &look, csa_attr_way_t way)
{
    const std::string key = attr_way2prefix(way) + std::string("mindata");
    const bool at_offset = lint_at_offset(*look.attribute);
    lint_report(look, FINDING_SHORT_MINDATA,
                "the minimum data, " + std::to_string(lint_mindata(*look.rule, way)) +
                    " bytes, are less than the value needs",
                at_offset ? "write \"" + key + "\" of the offset and the length of the pattern"
                          : "write \"" + key + "\" of the longest piece of the value");
}

void report_expression(const lint_look_t &look, std::string_view text, int code)
{
    const lint_expression_fault_t fault = lint_expression_fault(text, code);
    lint_report(look, FINDING_BAD_EXPRESSION, fault.message, fault.hint);
}

/// Tells whether an expression cannot be expanded, after saying so.
bool is_bad_expression(const lint_look_t &look)
{
    std::string_view text = csa_str_view(csa_str(look.value->decoded));
    if (text.ends_with('\0'))
        text.remove_suffix(1);
    rexpand_permutation_list list;
    const int code = rexpand_process(text, MATCHER_PERMUTATION_MAX, nullptr, &list);
    if (code != 0)
        report_expression(look, text, code);
    return code != 0;
}

/// Says why a text was refused.
void report_text(const lint_look_t &look, csa_attr_way_t way, pdata_status_t status)
{
    const std::string_view message = pdata_status_msg_get();
    const bool at_offset = lint_at_offset(*look.attribute);
    if (message.find("escaped sequence") != message.npos)
        lint_report(look, FINDING_BAD_EXPRESSION, "an escape that does not read",
                    "write \"\\\\x\" with exactly two digits");
    else if (message.starts_with("Invalid preempt"))
        lint_report(look, FINDING_PREEMPT_FORM, "a preempt value of several pieces",
                    "write one piece: nothing open between two texts");
    else if (message.starts_with("Invalid mindata"))
        report_mindata(look, way);
    else if (!at_offset && status != PDATA_ERR_OVERFLOW && is_bad_expression(look))
        return;
    else if (status == PDATA_ERR_INVALID_OPERATION)
        lint_report(look, FINDING_NO_END,
                    "the value asks for the end of the data, which this attribute has not",
                    "write \".*\" at its end");
    else if (status == PDATA_ERR_REGEX)
        report_mindata(look, way);
    else if (status == PDATA_ERR_OVERFLOW)
        lint_report(look, FINDING_TOO_MANY, "the value has more or longer pieces than a matcher",
                    "write it shorter: a piece that may stand anywhere has 1024 bytes at most");
    else
        lint_report(look, FINDING_REFUSED, "the compiler refuses this value", "write it anew");
}

uint32_t judge_text_ways(lint_matchers_t &matchers, const lint_look_t &look)
{
    judged_text_t text;
    uint32_t judged = 0;
    bool any = false;
    for (const csa_attr_way_t way : {ATTR_WAY_CTS, ATTR_WAY_STC}) {
        const uint32_t mindata = mindata_of(look, way);
        if (!lint_tests_way(*look.attribute, way) || (any && mindata == judged))
            continue;
        judged = mindata;
        any = true;
        const pdata_status_t status = judge_text(matchers, look, mindata, text);
        if (status != PDATA_SUCCESS) {
            report_text(look, way, status);
            return 0;
        }
    }
    if (text.many_pieces)
        lint_report(look, FINDING_MANY_PIECES,
                    "pieces behind the 255th are taken for the first ones: other data fires, too",
                    "write 255 pieces at most: fewer \".*\" in the value");
    return text.entries;
}

std::string number_forms(const pdb_attr_properties_t &properties, std::string_view part)
{
    switch (properties.proper_type) {
    case MATCHER_TYPE_IP_4:
        if (part.find("::") != part.npos)
            return "test it of the protocol \"ip6\"";
        return "write 192.0.2.1, 192.0.2.0/24 or 192.0.2.1-192.0.2.9";
    case MATCHER_TYPE_IP_6:
        if (part.find(':') == part.npos && part.find('.') != part.npos)
            return "test it of the protocol \"ip\"";
        return "write 2001:db8::1 or 2001:db8::/32";
    case MATCHER_TYPE_NUMBER_8:
        return "write a number of 0 to 255, or two with '-' between them";
    default:
        return "write a number of 0 to 65535, or two with '-' between them";
    }
}

/// Judges one part of a list of numbers or addresses.
pdata_status_t judge_part(matcher_build *matcher, const pdb_attr_properties_t &properties,
                          std::string_view part)
{
    matcher_data_t data;
    data.pattern = part;
    const int code =
        properties.proper_ftrans(csa_str(part), INEQUATION_NONE, data.left, data.right);
    if (code != 0)
        return module_err2pdata_status(PDATA_MODULE_NUMBER, code);
    uint32_t item = 0;
    return matcher == nullptr ? PDATA_SUCCESS
                              : matcher_register(matcher, data, &item, false, {}, nullptr);
}

/// Tells whether a list is meant as it is written, but for its blanks.
bool has_blanks_alone(std::string_view list, const std::string &meant)
{
    return !meant.empty() && lint_without_blanks(list) == meant;
}

/// Says that a part does not read; the first one of a list how the whole list is meant.
void report_number(const lint_look_t &look, std::string_view part, bool is_first)
{
    const pdb_attr_properties_t &properties = *look.attribute->matched;
    const std::string &list = look.value->decoded;
    const std::string meant = is_first ? lint_meant_numbers(properties, list) : "";
    finding_t &finding =
        lint_report(look, FINDING_BAD_NUMBER, lint_quoted(part) + " does not read",
                    meant.empty() ? number_forms(properties, part) : "write " + lint_json(meant));
    if (has_blanks_alone(list, meant))
        lint_mend(finding, lint_json(meant));
}

void judge_numbers(lint_matchers_t &matchers, const lint_look_t &look)
{
    const pdb_attr_properties_t &properties = *look.attribute->matched;
    // A number that reads is taken by its matcher; an address range may still run backwards.
    matcher_build *matcher = is_address(properties) ? &matcher_of(matchers, properties) : nullptr;
    std::string_view rest = csa_str_view(csa_str(look.value->decoded));
    bool is_first = true;
    for (std::string_view part = value_next_part(rest); !part.empty(); part = value_next_part(rest))
        if (judge_part(matcher, properties, part) != PDATA_SUCCESS)
            report_number(look, part, std::exchange(is_first, false));
}

} // namespace

uint32_t lint_judge_value(lint_matchers_t &matchers, const lint_look_t &look)
{
    if ((look.value->decoded.size() & 0xffff) == 0)
        return 0; // an empty text is a finding of its own
    if (is_text(*look.attribute->matched))
        return judge_text_ways(matchers, look);
    judge_numbers(matchers, look);
    return 0;
}
