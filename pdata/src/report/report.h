/// One page of HTML about a pdb, or about two and what is different between them.
///
/// The page needs nothing else: no network, no script but for its search box. What needs action
/// stands first, then totals, protocols with their rules and values, matchers by size, limits, and
/// the difference. Everything that comes from a file is escaped; a name that would be HTML is a
/// name.
///
/// The page is handed out piece by piece, and what it shows is read rule by rule, so that no more
/// than a protocol of it is in memory.
#pragma once

#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "description_source.h"
#include "pdb_difference.h"
#include "view_inventory.h"
#include "view_limits.h"

/// How bad a finding is.
enum report_grade_t { REPORT_BAD, REPORT_WARNING, REPORT_NOTE };

/// Something that needs action.
struct report_action_t {
    report_grade_t grade = REPORT_NOTE;
    std::string what; ///< in a few words
    std::string text; ///< where, and what to do
};

/// A pdb. What it points to must outlive the report.
struct report_file_t {
    std::string name;
    size_t size = 0; ///< bytes
    const view_inventory_t *inventory = nullptr;
    const description_source_t *source = nullptr; ///< null where the descriptions do not read
    std::vector<report_action_t> actions;
    std::vector<view_limit_t> limits; ///< the fullest first
};

/// What two pdbs say differently.
struct report_difference_t {
    pdb_difference_t counted; ///< all but the protocols
    /// Hands it out, and returns how many values were not.
    std::function<size_t(const difference_sink_t &)> walk;
};

/// What a page is made from.
struct report_t {
    std::vector<report_file_t> files;                ///< one, or two: before and after
    const report_difference_t *difference = nullptr; ///< of two
};

/// Takes the page.
struct report_sink_t {
    void (*put)(void *context, std::string_view piece);
    void *context;
};

/// Most bytes of a page, nearly: rules and values that would go beyond are left out, and the page
/// says so.
constexpr size_t REPORT_PAGE_MAX = 9 << 20;

/// Makes the page. Throws std::bad_alloc.
void report_page(const report_t &report, const report_sink_t &sink);
