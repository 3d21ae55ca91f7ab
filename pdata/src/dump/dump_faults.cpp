#include "dump.h"

#include <algorithm>
#include <new>
#include <vector>

#include "pdb_verify.h"

namespace
{

/// A walk to which the faults of a verification are added.
struct fault_walk_t {
    const dump_sink_t &sink;
    std::vector<view_error_t> faults; ///< by their bytes
    size_t next = 0;
    dump_totals_t added = {};
};

void keep_fault(void *context, const view_error_t &fault)
{
    auto &faults = *static_cast<std::vector<view_error_t> *>(context);
    if (fault.fault == VIEW_MEMORY)
        throw std::bad_alloc();
    if (fault.grade == VIEW_UNSAFE && faults.size() < DUMP_FAULTS_MAX)
        faults.push_back(fault);
}

/// Hands a range on, with the first fault of its bytes where nothing else is wrong with it.
void put_range(void *context, const dump_range_t &range)
{
    fault_walk_t &walk = *static_cast<fault_walk_t *>(context);
    const auto at = [&] { return walk.faults[walk.next].offset; };
    while (walk.next < walk.faults.size() && at() < range.offset)
        ++walk.next;
    const size_t end = range.offset + range.bytes.size();
    if (!range.damage.empty() || walk.next == walk.faults.size() || at() >= end)
        return walk.sink.put(walk.sink.context, range);
    dump_range_t marked = range;
    marked.damage = walk.faults[walk.next].text;
    ++walk.added.nr_damaged;
    walk.sink.put(walk.sink.context, marked);
}

/// Hands out the faults behind the last byte: of what is missing there.
void put_missing(fault_walk_t &walk, size_t size)
{
    for (const view_error_t &fault : walk.faults) {
        if (fault.offset < size)
            continue;
        dump_range_t range;
        range.offset = size;
        range.name = "end";
        range.damage = fault.text;
        ++walk.added.nr_range;
        ++walk.added.nr_damaged;
        walk.sink.put(walk.sink.context, range);
    }
}

} // namespace

dump_totals_t dump_file(std::span<const uint8_t> file, const dump_choice_t &choice,
                        const dump_sink_t &sink)
{
    fault_walk_t walk = {sink, {}};
    (void)pdb_verify(file, {keep_fault, &walk.faults});
    std::ranges::stable_sort(walk.faults, {}, &view_error_t::offset);
    const dump_totals_t totals = dump_walk(file, choice, {put_range, &walk});
    if (choice.section == FORMAT_KIND_NONE)
        put_missing(walk, file.size());
    return {totals.nr_range + walk.added.nr_range, totals.nr_damaged + walk.added.nr_damaged};
}
