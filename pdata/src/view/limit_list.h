/// Limits as they are gathered, part by part.
#pragma once

#include "view_limits.h"

/// The limits of one part.
struct limit_list_t {
    std::vector<view_limit_t> &limits;
    std::string subject;

    /// Adds a limit, unless nothing of it is used.
    void add(const char *name, uint64_t used, uint64_t limit, const char *lost)
    {
        if (used != 0)
            limits.push_back({subject, name, used, limit, lost});
    }
};

/// What is lost beyond a limit that the compiler guards.
constexpr const char *lost_nothing = "nothing: more are refused";

/// Adds those of a string pool.
void limit_list_pool(std::vector<view_limit_t> &limits, std::string subject,
                     const view_pool_t &pool);

/// Adds those of the records, of the main strings and of the stored descriptions.
void limit_list_records(const pdb_view_t &pdb, std::vector<view_limit_t> &limits);
