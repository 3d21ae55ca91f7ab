#include "suite_capture.h"

#include <algorithm>
#include <charconv>

namespace
{

/// Reads a word, as in "dns*2". Returns false for one that is none.
bool read_share(std::string_view word, suite_share_t &share)
{
    const size_t star = std::min(word.rfind('*'), word.size());
    share.protocol = word.substr(0, star);
    if (star == word.size())
        return true;
    const std::string_view digits = word.substr(star + 1);
    const char *end = digits.data() + digits.size();
    const auto [rest, fault] = std::from_chars(digits.data(), end, share.flows);
    return star > 0 && fault == std::errc() && rest == end && share.flows > 0;
}

uint64_t number_of(const suite_flows_t &flows, std::string_view protocol)
{
    const auto found = flows.best.find(protocol);
    return found == flows.best.end() ? 0 : found->second;
}

bool share_holds(const suite_share_t &share, const suite_flows_t &flows)
{
    const uint64_t number = number_of(flows, share.protocol);
    return share.flows == 0 ? number > 0 : number == share.flows;
}

} // namespace

size_t suite_capture_words(std::string_view words, suite_case_t &one)
{
    for (size_t at = 0; at < words.size();) {
        const size_t end = std::min(words.find(' ', at), words.size());
        const std::string_view word = words.substr(at, end - at);
        suite_share_t share;
        if (word.starts_with('!'))
            one.excluded.emplace_back(word.substr(1));
        else if (!read_share(word, share))
            return at + 1;
        else if (!word.empty())
            one.shares.push_back(std::move(share));
        at = end + 1;
    }
    return 0;
}

std::string suite_share_word(const suite_share_t &share)
{
    return share.flows == 0 ? share.protocol : share.protocol + '*' + std::to_string(share.flows);
}

std::vector<std::string> suite_flows_words(const suite_flows_t &flows)
{
    std::vector<std::string> words;
    for (const auto &[protocol, number] : flows.best)
        words.push_back(suite_share_word({protocol, number}));
    return words;
}

bool suite_capture_holds(const suite_case_t &one, const suite_flows_t &flows)
{
    const auto holds = [&flows](const suite_share_t &share) { return share_holds(share, flows); };
    const auto admitted = [&one](const auto &row) { return suite_capture_admits(one, row.first); };
    const auto fired = [&flows](const std::string &name) { return flows.fired.contains(name); };
    return std::ranges::all_of(one.shares, holds) && std::ranges::all_of(flows.best, admitted) &&
           std::ranges::none_of(one.excluded, fired);
}

bool suite_capture_admits(const suite_case_t &one, std::string_view protocol)
{
    return one.shares.empty() ||
           std::ranges::find(one.shares, protocol, &suite_share_t::protocol) != one.shares.end();
}

bool suite_capture_lacks(const suite_case_t &one, const suite_flows_t &flows,
                         std::string_view protocol)
{
    const auto share = std::ranges::find(one.shares, protocol, &suite_share_t::protocol);
    return share != one.shares.end() &&
           number_of(flows, protocol) < std::max<uint64_t>(share->flows, 1);
}

std::string suite_capture_path(std::string_view suite_path, const suite_case_t &one)
{
    if (one.capture.starts_with('/'))
        return one.capture;
    return std::string(suite_path.substr(0, suite_path.rfind('/') + 1)) + one.capture;
}

void suite_capture_accept(suite_t &suite, size_t index, const suite_flows_t &flows)
{
    suite_case_t &one = suite.cases[index];
    const auto numbered = [](const suite_share_t &share) { return share.flows > 0; };
    const bool numbers = std::ranges::any_of(one.shares, numbered);
    one.shares.clear();
    for (const auto &[protocol, number] : flows.best)
        one.shares.push_back({protocol, numbers ? number : 0});
    std::erase_if(one.excluded,
                  [&flows](const std::string &name) { return flows.fired.contains(name); });
    suite_write_back(suite, one);
}
