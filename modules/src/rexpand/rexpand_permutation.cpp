#include "rexpand_permutation.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace
{

/// Bytes by which a copied piece may grow in place: what is copied is nearly always appended to.
constexpr size_t GROWTH = 24;

std::ptrdiff_t at(size_t place)
{
    return static_cast<std::ptrdiff_t>(place);
}

uint64_t size_of(const rexpand_permutation &permutation)
{
    uint64_t size = sizeof(rexpand_permutation) + 2;
    for (const rexpand_pattern_t &pattern : permutation.patterns)
        size += sizeof(rexpand_pattern_t) + pattern.str.size();
    return size;
}

[[nodiscard]] int spend(rexpand_budget &budget, uint64_t bytes)
{
    budget.used += bytes;
    return budget.used > budget.limit ? MODULE_ERR_NO_MEMORY : MODULE_SUCCESS;
}

rexpand_permutation copy_of(const rexpand_permutation &permutation)
{
    rexpand_permutation copy;
    const auto &patterns = permutation.patterns;
    copy.patterns.reserve(patterns.size() + 1);
    for (const rexpand_pattern_t &pattern : patterns) {
        copy.patterns.push_back({{}, pattern.flag, pattern.type});
        std::string &str = copy.patterns.back().str;
        if (&pattern == &patterns.back() && pattern.str.size() > str.capacity())
            str.reserve(pattern.str.size() + GROWTH);
        str = pattern.str;
    }
    return copy;
}

} // namespace

void rexpand_permutation_list_init(rexpand_permutation_stack &stack)
{
    stack.permutations.assign(1, {});
    stack.flags.assign(1, REXPAND_FLAG_NONE);
    stack.broken.assign(1, 0);
}

int rexpand_permutation_copy(const rexpand_permutation_stack &from, size_t first, size_t count,
                             rexpand_permutation_stack &to, rexpand_budget &budget)
{
    for (size_t i = first; i < first + count; ++i) {
        if (spend(budget, size_of(from.permutations[i])) != MODULE_SUCCESS)
            return MODULE_ERR_NO_MEMORY;
        to.permutations.push_back(copy_of(from.permutations[i]));
        to.flags.push_back(from.flags[i]);
        to.broken.push_back(from.broken[i]);
    }
    return MODULE_SUCCESS;
}

void rexpand_permutation_move(rexpand_permutation_stack &from, size_t first,
                              rexpand_permutation_stack &to)
{
    to.permutations.insert(to.permutations.end(),
                           std::make_move_iterator(from.permutations.begin() + at(first)),
                           std::make_move_iterator(from.permutations.end()));
    to.flags.insert(to.flags.end(), from.flags.begin() + at(first), from.flags.end());
    to.broken.insert(to.broken.end(), from.broken.begin() + at(first), from.broken.end());
    from.permutations.resize(first);
    from.flags.resize(first);
    from.broken.resize(first);
}

void rexpand_permutation_mark(rexpand_permutation_stack &stack, size_t first, rexpand_flag_t flag)
{
    std::fill(stack.flags.begin() + at(first), stack.flags.end(), static_cast<uint8_t>(flag));
}

rexpand_pattern_type_t rexpand_permutation_merge_type(rexpand_pattern_type_t current,
                                                      rexpand_pattern_type_t incoming)
{
    struct row {
        rexpand_pattern_type_t current, incoming, merged;
    };
    static constexpr std::array<row, 9> rows = {{
        // current              incoming              new
        {REXPAND_TYPE_REGULAR, REXPAND_TYPE_EXACT, REXPAND_TYPE_SUFFIX},
        {REXPAND_TYPE_REGULAR, REXPAND_TYPE_SUFFIX, REXPAND_TYPE_SUFFIX},
        {REXPAND_TYPE_PREFIX, REXPAND_TYPE_PREFIX, REXPAND_TYPE_PREFIX},
        {REXPAND_TYPE_PREFIX, REXPAND_TYPE_EXACT, REXPAND_TYPE_EXACT},
        {REXPAND_TYPE_PREFIX, REXPAND_TYPE_SUFFIX, REXPAND_TYPE_EXACT},
        {REXPAND_TYPE_EXACT, REXPAND_TYPE_REGULAR, REXPAND_TYPE_PREFIX},
        {REXPAND_TYPE_EXACT, REXPAND_TYPE_PREFIX, REXPAND_TYPE_PREFIX},
        {REXPAND_TYPE_SUFFIX, REXPAND_TYPE_PREFIX, REXPAND_TYPE_REGULAR},
        {REXPAND_TYPE_SUFFIX, REXPAND_TYPE_REGULAR, REXPAND_TYPE_REGULAR},
    }};
    for (const row &rule : rows)
        if (rule.current == current && rule.incoming == incoming)
            return rule.merged;
    return current;
}

int rexpand_permutation_insert_pattern(rexpand_permutation_stack &stack, size_t first,
                                       std::string_view bytes, uint32_t flag,
                                       rexpand_pattern_type_t type, rexpand_budget &budget)
{
    if (bytes.empty())
        return MODULE_SUCCESS;
    for (size_t i = first; i < stack.permutations.size(); ++i) {
        std::vector<rexpand_pattern_t> &patterns = stack.permutations[i].patterns;
        const bool starts = stack.broken[i] != 0 || patterns.empty();
        if (spend(budget, bytes.size() + (starts ? sizeof(rexpand_pattern_t) : 0)) !=
            MODULE_SUCCESS)
            return MODULE_ERR_NO_MEMORY;
        if (starts) {
            patterns.push_back({std::string(bytes), flag, type});
            stack.broken[i] = 0;
            continue;
        }
        rexpand_pattern_t &piece = patterns.back();
        piece.str.append(bytes);
        piece.flag = flag;
        piece.type = rexpand_permutation_merge_type(piece.type, type);
    }
    return MODULE_SUCCESS;
}

void rexpand_permutation_break_pattern(rexpand_permutation_stack &stack, size_t first)
{
    std::fill(stack.broken.begin() + at(first), stack.broken.end(), uint8_t{1});
}

namespace
{

void settle_types(std::vector<rexpand_pattern_t> &patterns)
{
    if (patterns.size() < 2)
        return;
    rexpand_pattern_type_t &first = patterns.front().type;
    if (first == REXPAND_TYPE_EXACT)
        first = REXPAND_TYPE_PREFIX;
    else if (first == REXPAND_TYPE_SUFFIX)
        first = REXPAND_TYPE_REGULAR;
    for (size_t i = 1; i + 1 < patterns.size(); ++i)
        patterns[i].type = REXPAND_TYPE_REGULAR;
    rexpand_pattern_type_t &last = patterns.back().type;
    if (last == REXPAND_TYPE_EXACT)
        last = REXPAND_TYPE_SUFFIX;
    else if (last == REXPAND_TYPE_PREFIX)
        last = REXPAND_TYPE_REGULAR;
}

} // namespace

void rexpand_permutation_list_finalize(rexpand_permutation_stack &stack,
                                       rexpand_permutation_list *list)
{
    for (size_t i = 0; i < stack.permutations.size(); ++i) {
        stack.permutations[i].flag = static_cast<rexpand_flag_t>(stack.flags[i]);
        settle_types(stack.permutations[i].patterns);
    }
    *list = std::move(stack.permutations);
    stack = {};
}
