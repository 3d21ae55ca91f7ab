#include <algorithm>

#include "lint_number_meant.h"
#include "lint_rules.h"
#include "lint_values.h"
#include "lint_words.h"
#include "value_ranges.h"

namespace
{

matcher_type_t type_of(const lint_look_t &look)
{
    return look.attribute->matched->proper_type;
}

bool is_number(const lint_look_t &look)
{
    return type_of(look) == MATCHER_TYPE_NUMBER_8 || type_of(look) == MATCHER_TYPE_NUMBER_16;
}

/// Tells whether a part is a number or two with a '-', in brackets or not, and nothing else.
bool is_plain(std::string_view part)
{
    if (part.starts_with('[') && part.ends_with(']'))
        part = part.substr(1, part.size() - 2);
    const size_t dash = part.find('-');
    return lint_is_digits(part.substr(0, dash)) &&
           (dash == part.npos || lint_is_digits(part.substr(dash + 1)));
}

/// Returns the numbers of a text that other signs than commas stand between: "80;443" as "80,443".
std::string with_commas(std::string_view text)
{
    std::string list(text);
    for (char &c : list)
        c = c == ';' || c == ' ' || c == '/' || c == '|' || c == '\t' ? ',' : c;
    std::string plain;
    std::string_view rest = list;
    for (std::string_view part = value_next_part(rest); !part.empty();
         part = value_next_part(rest)) {
        if (!is_plain(part))
            return "";
        plain.append(plain.empty() ? "" : ",").append(part);
    }
    return plain;
}

/// Returns what a value with text behind its numbers is most likely meant to say; empty: unknown.
std::string meant_numbers(std::string_view value)
{
    if (value.starts_with("0x") || value.starts_with("0X")) {
        char *end = nullptr;
        const std::string digits(value.substr(2));
        const unsigned long number = std::strtoul(digits.c_str(), &end, 16);
        return !digits.empty() && *end == '\0' && number < 65536 ? std::to_string(number) : "";
    }
    const std::string_view number = value.substr(0, value.find_first_not_of("0123456789-"));
    const std::string_view behind = value.substr(number.size());
    const bool transport = behind == "/tcp" || behind == "/udp";
    if (const std::string range = lint_meant_range(value); !range.empty())
        return range;
    return transport && is_plain(number) ? std::string(number) : with_commas(value);
}

void look_trailing(const lint_look_t &look)
{
    if (!is_number(look))
        return;
    std::string_view rest = look.value->decoded;
    for (std::string_view part = value_next_part(rest); !part.empty();
         part = value_next_part(rest)) {
        const auto read = value_ranges(*look.attribute->matched, part);
        if (read.empty() || is_plain(part))
            continue;
        const std::string meant = meant_numbers(look.value->decoded);
        finding_t &finding = lint_report(
            look, FINDING_TRAILING_NUMBER_TEXT,
            lint_joined({lint_quoted(part), " is read as ",
                         value_range_text(type_of(look), read[0].low, read[0].high)}),
            meant.empty() ? "write numbers with commas between them" : "write " + lint_json(meant));
        if (!meant.empty())
            lint_mend(finding, lint_json(meant));
        return;
    }
}

/// Returns the intervals that a list covers, each once and as few as may be, by their begin.
std::vector<value_range_t> merged(std::vector<value_range_t> parts)
{
    std::ranges::stable_sort(parts, {}, &value_range_t::low);
    std::vector<value_range_t> all;
    for (const value_range_t &part : parts) {
        if (all.empty() || part.low > all.back().high) {
            all.push_back(part);
            continue;
        }
        value_range_t &last = all.back();
        const bool wider = part.low == last.low && part.high >= last.high;
        if (wider)
            last.text = part.text;
        else if (part.high > last.high)
            last.text = {}; // neither of them says it all
        last.high = std::max(last.high, part.high);
    }
    return all;
}

std::string overlap_text(const lint_look_t &look, const value_range_t &lost)
{
    return lint_joined({"parts of the list overlap, and ",
                        value_range_text(type_of(look), lost.low, lost.high),
                        lost.low == lost.high ? " is lost" : " are lost"});
}

void look_overlap(const lint_look_t &look)
{
    const auto parts = value_ranges(*look.attribute->matched, look.value->decoded);
    const auto all = merged(parts);
    if (all.size() == parts.size())
        return;
    std::string list;
    for (const value_range_t &part : all)
        list.append(list.empty() ? "" : ",")
            .append(part.text.empty() ? value_range_text(type_of(look), part.low, part.high)
                                      : std::string(part.text));
    const auto lost = value_ranges_lost(parts);
    finding_t &finding =
        lint_report(look, FINDING_OVERLAPPING_RANGES,
                    lost.empty() ? "parts of the list overlap" : overlap_text(look, lost.front()),
                    "write " + lint_json(list));
    lint_mend(finding, lint_json(list));
}

void look_zero_prefix(const lint_look_t &look)
{
    if (type_of(look) != MATCHER_TYPE_IP_4)
        return;
    for (const value_range_t &part : value_ranges(*look.attribute->matched, look.value->decoded)) {
        const size_t slash = part.text.find('/');
        if (slash == part.text.npos ||
            part.text.substr(slash).find_first_not_of("/0") != part.text.npos)
            continue;
        const std::string address(part.text.substr(0, slash));
        lint_report(look, FINDING_ZERO_PREFIX,
                    lint_joined({lint_quoted(part.text), " is the address ", address, " alone"}),
                    "write \"0.0.0.0-255.255.255.255\", or leave the attribute out");
        return;
    }
}

void look_broad(const lint_look_t &look)
{
    constexpr value_point_t one = 1;
    const matcher_type_t type = type_of(look);
    const unsigned bits = type == MATCHER_TYPE_NUMBER_8    ? 8
                          : type == MATCHER_TYPE_NUMBER_16 ? 16
                          : type == MATCHER_TYPE_IP_4      ? 32
                                                           : 128;
    for (const value_range_t &part : value_ranges(*look.attribute->matched, look.value->decoded))
        if (part.high - part.low >= one << (bits - 1)) {
            lint_report(look, FINDING_BROAD_VALUE,
                        lint_quoted(part.text) + " is more than half of all there are",
                        "write the part of it that tells the protocol from others");
            return;
        }
}

constexpr lint_row_t rows[] = {{look_trailing}, {look_overlap}, {look_zero_prefix}, {look_broad}};

} // namespace

std::span<const lint_row_t> lint_number_rows()
{
    return rows;
}
