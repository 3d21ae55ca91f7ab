#include "pairing.h"

#include <iterator>

pairing_t pairing_of(size_t nr_before, size_t nr_after)
{
    pairing_t pairing;
    for (uint32_t i = 0; i < nr_before; ++i)
        pairing.before.push_back(i);
    for (uint32_t i = 0; i < nr_after; ++i)
        pairing.after.push_back(i);
    return pairing;
}

void pairing_drop(std::vector<uint32_t> &side, std::vector<uint32_t> &indexes)
{
    std::vector<uint32_t> left;
    std::ranges::sort(indexes);
    std::ranges::set_difference(side, indexes, std::back_inserter(left));
    side = std::move(left);
}
