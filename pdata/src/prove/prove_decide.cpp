#include "prove_decide.h"

#include <algorithm>

#include "matcher_pieces.h"
#include "prove_bytes.h"

namespace
{

bool is_text(const prove_case_t &at)
{
    return at.properties->proper_type == MATCHER_TYPE_STREAM;
}

int hex_digit(char c)
{
    if (prove_is_digit(static_cast<uint8_t>(c)))
        return c - '0';
    const char small = static_cast<char>(prove_small(static_cast<uint8_t>(c)));
    return small >= 'a' && small <= 'f' ? small - 'a' + 10 : -1;
}

/// Gives the bytes that a text at an offset stands for; false where it stands for none.
bool unescape(std::string_view text, std::string &bytes)
{
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\\') {
            bytes.push_back(text[i]);
            continue;
        }
        if (++i == text.size())
            return false;
        if (text[i] != 'x') {
            const size_t known = std::string_view("bfnrt").find(text[i]);
            bytes.push_back(known < 5 ? "\b\f\n\r\t"[known] : text[i]);
            continue;
        }
        const int high = i + 2 < text.size() ? hex_digit(text[i + 1]) : -1;
        const int low = i + 2 < text.size() ? hex_digit(text[i + 2]) : -1;
        if (high < 0 || low < 0)
            return false;
        bytes.push_back(static_cast<char>(high * 16 + low));
        i += 2;
    }
    return !bytes.empty();
}

/// Bytes at an offset: they are found there and nowhere else, whatever stands around them.
void make_offset_samples(prove_case_t &at)
{
    std::string bytes;
    at.is_refused = !unescape(matcher_without_final_zero(at.value->text), bytes);
    const uint32_t offset = at.value->offset & UINT16_MAX;
    for (const char filler : {'\0', 'x', '\xFF'}) {
        at.samples.push_back(std::string(offset, filler) + bytes);
        at.samples.push_back(at.samples.back() + filler);
    }
    at.comparison = {true, true, false, {}};
}

void make_numbers(prove_case_t &at)
{
    std::vector<prove_range_t> ranges;
    at.is_refused = !prove_ranges_read(at.value->text, at.properties->proper_ftrans,
                                       at.properties->proper_type, ranges);
    for (const prove_range_t &part : prove_ranges_cut(ranges))
        at.parts.push_back({part, false});
    at.is_plain = ranges.size() == 1 && ranges[0].from == ranges[0].to;
    if (at.is_plain)
        at.parts[0].is_found = true;
}

prove_verdict_t close_numbers(const prove_case_t &at)
{
    prove_verdict_t verdict;
    verdict.is_decided = true;
    verdict.nr_sample = static_cast<uint32_t>(at.parts.size());
    const auto is_lost = [](const prove_part_t &part) { return !part.is_found; };
    const auto first = std::find_if(at.parts.begin(), at.parts.end(), is_lost);
    verdict.nr_missed =
        static_cast<uint32_t>(std::count_if(at.parts.begin(), at.parts.end(), is_lost));
    verdict.outcome = PROVE_WHOLE_VALUE;
    if (verdict.nr_missed == verdict.nr_sample) // none, of a text of commas alone
        verdict.outcome = PROVE_DEAD;
    else if (verdict.nr_missed != 0)
        verdict.outcome = PROVE_LOSSY;
    const auto found = std::find_if_not(at.parts.begin(), at.parts.end(), is_lost);
    if (found != at.parts.end())
        verdict.found.number = found->range.from;
    if (first != at.parts.end())
        verdict.lost = prove_range_text(first->range, at.properties->proper_type);
    return verdict;
}

/// Returns the shortest sample that is not found, or null.
const std::string *shortest_missed(const prove_case_t &at)
{
    const std::string *shortest = nullptr;
    for (size_t i = 0; i < at.samples.size(); ++i)
        if (at.is_found[i] == 0 && (shortest == nullptr || at.samples[i].size() < shortest->size()))
            shortest = &at.samples[i];
    return shortest;
}

prove_verdict_t close_text(const prove_case_t &at)
{
    prove_verdict_t verdict;
    verdict.nr_sample = static_cast<uint32_t>(at.samples.size());
    verdict.nr_missed =
        static_cast<uint32_t>(std::count(at.is_found.begin(), at.is_found.end(), 0));
    const std::string *missed = shortest_missed(at);
    const bool any_found = at.lost_is_found || verdict.nr_missed != verdict.nr_sample;
    const bool says_lost = at.comparison.is_lost && !at.lost_is_found;
    const bool can_be_dead = at.comparison.is_complete && !at.comparison.is_found;
    verdict.is_contradicted =
        at.lost_is_found || (can_be_dead && any_found) ||
        (at.comparison.is_complete && !at.comparison.is_lost && missed != nullptr);
    verdict.is_decided = !verdict.is_contradicted && at.comparison.is_complete;
    // Of one text alone the samples are all that there is.
    if ((can_be_dead || (at.is_literal && verdict.nr_sample != 0)) && !any_found)
        verdict.outcome = PROVE_DEAD;
    else
        verdict.outcome = says_lost || missed != nullptr ? PROVE_LOSSY : PROVE_WHOLE_VALUE;
    const auto found = std::find(at.is_found.begin(), at.is_found.end(), 1);
    if (found != at.is_found.end())
        verdict.found.bytes = at.samples[static_cast<size_t>(found - at.is_found.begin())];
    if (says_lost)
        verdict.lost = at.comparison.lost;
    else if (missed != nullptr)
        verdict.lost = *missed;
    return verdict;
}

prove_case_t make_case(const prove_value_t &value, bool decides)
{
    prove_case_t at;
    at.value = &value;
    at.properties = pdb_get_attr_properties(csa_str(value.protocol), csa_str(value.attribute));
    if (at.properties == nullptr || value.text.empty() ||
        (value.offset != 0 && value.attribute != "stream")) // no other attribute has offsets
        at.is_refused = true;
    else if (!is_text(at))
        make_numbers(at);
    else if (value.offset != 0)
        make_offset_samples(at);
    else
        prove_case_text(at, decides);
    at.is_found.assign(at.samples.size(), 0);
    return at;
}

} // namespace

prove_case_t prove_case_make(const prove_value_t &value)
{
    return make_case(value, true);
}

std::vector<prove_datum_t> prove_data(const prove_value_t &value)
{
    std::vector<prove_datum_t> data;
    prove_case_t at = make_case(value, false);
    if (at.is_refused)
        return data;
    for (std::string &sample : at.samples)
        data.push_back({std::move(sample), {}});
    for (const prove_part_t &part : at.parts)
        for (const prove_number_t &number :
             {part.range.from, prove_range_middle(part.range), part.range.to})
            data.push_back({{}, number});
    return data;
}

prove_verdict_t prove_case_close(const prove_case_t &at)
{
    if (at.is_refused)
        return {};
    return is_text(at) ? close_text(at) : close_numbers(at);
}
