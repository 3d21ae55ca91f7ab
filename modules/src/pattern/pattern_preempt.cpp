#include "pattern_preempt.h"

#include <algorithm>
#include <numeric>

namespace
{

bool begins(const std::string &pattern, const std::string &longer)
{
    return longer.compare(0, pattern.size(), pattern) == 0;
}

/// The preempts that a given one begins, as a run of the sorted patterns.
struct extensions {
    size_t begin = 0;
    size_t end = 0;
};

/// Maximum over runs of positions, as a complete binary tree over `size` leaves.
struct range_max {
    size_t size;
    std::vector<uint32_t> node;

    explicit range_max(size_t n) : size(n), node(2 * n, 0) {}
};

void range_max_raise(range_max &tree, size_t at, uint32_t value)
{
    for (at += tree.size; at > 0; at /= 2)
        tree.node[at] = std::max(tree.node[at], value);
}

uint32_t range_max_get(const range_max &tree, extensions run)
{
    uint32_t value = 0;
    size_t left = run.begin + tree.size;
    size_t right = run.end + tree.size;
    for (; left < right; left /= 2, right /= 2) {
        if (left & 1)
            value = std::max(value, tree.node[left++]);
        if (right & 1)
            value = std::max(value, tree.node[--right]);
    }
    return value;
}

/// Gives for each position of `sorted` the run of patterns that its pattern begins: patterns
/// that begin the current one lie on a stack, equal patterns share a run.
std::vector<extensions> find_extensions(const ps_preempt &list, const std::vector<uint32_t> &sorted)
{
    std::vector<extensions> runs(sorted.size());
    std::vector<size_t> open;
    const auto pattern_at = [&](size_t at) -> const std::string & {
        return list[sorted[at]].pattern;
    };
    for (size_t at = 0; at < sorted.size(); ++at) {
        while (!open.empty() && !begins(pattern_at(open.back()), pattern_at(at))) {
            runs[open.back()].end = at;
            open.pop_back();
        }
        const bool repeats =
            !open.empty() && pattern_at(open.back()).size() == pattern_at(at).size();
        runs[at].begin = repeats ? open.back() : at;
        if (!repeats)
            open.push_back(at);
    }
    for (const size_t at : open)
        runs[at].end = sorted.size();
    for (size_t at = 0; at < sorted.size(); ++at)
        runs[at].end = runs[runs[at].begin].end;
    return runs;
}

std::vector<uint32_t> positions(size_t n)
{
    std::vector<uint32_t> order(n);
    std::iota(order.begin(), order.end(), 0U);
    return order;
}

void resolve_all(ps_preempt &list)
{
    std::vector<uint32_t> sorted = positions(list.size());
    std::sort(sorted.begin(), sorted.end(),
              [&](uint32_t a, uint32_t b) { return list[a].pattern < list[b].pattern; });
    const std::vector<extensions> runs = find_extensions(list, sorted);

    std::vector<uint32_t> by_priority = positions(list.size()); // positions in `sorted`
    std::sort(by_priority.begin(), by_priority.end(), [&](uint32_t a, uint32_t b) {
        return list[sorted[a]].priority < list[sorted[b]].priority;
    });
    range_max seen(list.size());
    for (size_t first = 0, end = 0; first < by_priority.size(); first = end) {
        const uint32_t priority = list[sorted[by_priority[first]]].priority;
        for (; end < by_priority.size(); ++end) {
            const preempt &p = list[sorted[by_priority[end]]];
            if (p.priority != priority)
                break;
            range_max_raise(seen, by_priority[end], p.mindata);
        }
        for (size_t i = first; i < end; ++i)
            list[sorted[by_priority[i]]].mindata = range_max_get(seen, runs[by_priority[i]]);
    }
}

} // namespace

void pattern_preempt_register(ps_preempt &list, const pattern_info &info)
{
    list.push_back(
        {info.pattern_len == 0 ? std::string() : std::string(info.pattern, info.pattern_len),
         info.mindata, info.priority, info.item_id, info.offset, info.type});
}

void pattern_preempt_update_mindata(preempt &a, const preempt &b)
{
    if (begins(a.pattern, b.pattern) && a.priority >= b.priority && a.mindata < b.mindata)
        a.mindata = b.mindata;
}

void pattern_preempt_resolve_conflict(ps_preempt &list)
{
    const auto stop = std::find_if(list.begin(), list.end(),
                                   [](const preempt &p) { return p.type == PATTERN_OFFSET; });
    if (stop == list.end()) {
        resolve_all(list);
        return;
    }
    // Only the first preempt is compared before the loops reach the offset pattern.
    for (auto b = list.begin(); b != stop; ++b)
        if (b != list.begin())
            pattern_preempt_update_mindata(list.front(), *b);
}

pattern_info pattern_preempt_info(const preempt &p)
{
    pattern_info info;
    info.pattern = p.pattern.data();
    info.pattern_len = static_cast<uint32_t>(p.pattern.size());
    info.item_id = p.item_id;
    info.mindata = p.mindata;
    info.priority = p.priority;
    info.type = p.type;
    info.offset = static_cast<type_offset>(p.offset);
    info.preempt = 1;
    return info;
}

void pattern_preempt_clean(ps_preempt &list)
{
    list = {};
}
