/// Pairing of what two sides have, by texts: the surest first, then what is left by the next.
#pragma once

#include <algorithm>
#include <functional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

/// Records of two sides that are still to be paired, and the pairs.
template <typename Record>
struct pairing_t {
    std::vector<const Record *> before;
    std::vector<const Record *> after;
    std::vector<std::pair<const Record *, const Record *>> pairs;
};

/// Pairs what has the same text; equal ones in their order.
template <typename Record, typename Text>
void pair_by(pairing_t<Record> &pairing, Text text_of)
{
    std::unordered_map<std::string, std::vector<const Record *>> waiting;
    for (auto it = pairing.after.rbegin(); it != pairing.after.rend(); ++it)
        waiting[text_of(**it)].push_back(*it);
    std::vector<const Record *> left;
    for (const Record *record : pairing.before) {
        const auto found = waiting.find(text_of(*record));
        if (found == waiting.end() || found->second.empty()) {
            left.push_back(record);
            continue;
        }
        pairing.pairs.emplace_back(record, found->second.back());
        found->second.pop_back();
    }
    std::vector<const Record *> open;
    for (auto &entry : waiting)
        open.insert(open.end(), entry.second.begin(), entry.second.end());
    std::sort(open.begin(), open.end(), std::less<>());
    pairing.before = std::move(left);
    pairing.after = std::move(open);
}

template <typename Record>
pairing_t<Record> pairing_of(const std::vector<Record> &before, const std::vector<Record> &after)
{
    pairing_t<Record> pairing;
    for (const Record &record : before)
        pairing.before.push_back(&record);
    for (const Record &record : after)
        pairing.after.push_back(&record);
    return pairing;
}
