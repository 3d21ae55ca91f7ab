#include "pdb_limits.h"

#include "value_losses.h"

std::vector<view_limit_t> pdb_limits_take(const pdb_view_t &pdb)
{
    std::vector<view_limit_t> limits = view_limits_take(pdb);
    range_losses(pdb, limits);
    preempt_losses(pdb, limits);
    view_limits_sort(limits);
    return limits;
}
