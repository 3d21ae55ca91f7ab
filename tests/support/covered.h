/// Whether the ranges of a dump cover a file once, in its order.
#pragma once

#include <algorithm>
#include <span>
#include <string>
#include <vector>

#include "dump.h"

/// What is said of the ranges of a file while they are handed out.
struct dump_cover_t {
    std::span<const uint8_t> file;
    size_t at = 0; ///< bytes that were covered
    size_t nr_range = 0;
    size_t nr_damaged = 0;
    std::string fault;        ///< of the ranges
    std::string first_damage; ///< of the file
};

inline void cover_note(dump_cover_t &cover, const dump_range_t &range, const char *what)
{
    if (cover.fault.empty())
        cover.fault = std::to_string(range.offset) + ": " + std::string(range.name) + ": " + what;
}

/// Takes a range, and looks whether it is where it must be and bounded in what it says.
inline void cover_put(void *context, const dump_range_t &range)
{
    dump_cover_t &cover = *static_cast<dump_cover_t *>(context);
    const size_t most = std::max(range.bytes.size(), DUMP_REFERRED_MAX);
    if (range.offset != cover.at || range.bytes.size() > cover.file.size() - cover.at ||
        (!range.bytes.empty() && range.bytes.data() != cover.file.data() + cover.at))
        cover_note(cover, range, "is not behind the range before it");
    if (range.bytes.empty() && range.damage.empty())
        cover_note(cover, range, "has no bytes");
    if (range.name.empty() || range.name.size() + range.value.size() + range.meaning.size() > 500 ||
        range.text.size() > most || range.depth > 12)
        cover_note(cover, range, "says too much or nothing");
    cover.at += range.bytes.size();
    ++cover.nr_range;
    if (range.damage.empty())
        return;
    ++cover.nr_damaged;
    if (cover.first_damage.empty())
        cover.first_damage = std::to_string(range.offset) + ": " + std::string(range.name) + ": " +
                             std::string(range.damage);
}

/// Walks through a file and returns what its ranges came to; the fault is empty when they cover it.
inline dump_cover_t dump_cover(std::span<const uint8_t> file)
{
    dump_cover_t cover;
    cover.file = file;
    const dump_totals_t totals = dump_file(file, {}, {cover_put, &cover});
    if (cover.fault.empty() && cover.at != file.size())
        cover.fault = std::to_string(cover.at) + ": the ranges end";
    if (cover.fault.empty() && cover.nr_range > file.size() + file.size() / 4 + 1)
        cover.fault = std::to_string(cover.nr_range) + " ranges";
    if (totals.nr_range != cover.nr_range || totals.nr_damaged != cover.nr_damaged)
        cover.fault = "the totals are those of other ranges";
    return cover;
}

/// Says what is wrong with the ranges of a sound file; empty for nothing.
inline std::string dump_fault(std::span<const uint8_t> file)
{
    const dump_cover_t cover = dump_cover(file);
    return cover.fault.empty() ? cover.first_damage : cover.fault;
}
