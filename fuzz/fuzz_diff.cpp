// Two pdbs as input, the size of the first in two bytes in front of them: held against each other,
// and each against itself, which is no difference.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "pdb_difference.h"

namespace
{

/// Ends with a fault that does not say what it is and where.
void look_at(const view_error_t &error, size_t size)
{
    if (error.fault == VIEW_SOUND || error.offset > size || error.text[0] == '\0')
        std::abort();
}

bool read(std::span<const uint8_t> file, pdb_view_t &pdb)
{
    view_error_t error;
    pdb_difference_t difference;
    if (pdb_view_open(file, pdb, error) && pdb_difference(pdb, pdb, difference, error)) {
        if (!difference.is_empty())
            std::abort();
        return true;
    }
    look_at(error, file.size());
    return false;
}

size_t listed(const pdb_difference_t &difference)
{
    size_t values = difference.nr_unlisted;
    for (const protocol_difference_t &protocol : difference.protocols)
        for (const rule_difference_t &rule : protocol.rules)
            values += rule.removed.size() + rule.added.size();
    return values;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size < 2)
        return 0;
    const std::span<const uint8_t> files(data + 2, size - 2);
    const size_t first = std::min<size_t>(size_t{data[0]} << 8 | data[1], files.size());
    pdb_view_t before;
    pdb_view_t after;
    const bool reads = read(files.first(first), before);
    if (!read(files.subspan(first), after) || !reads)
        return 0;
    view_error_t error;
    pdb_difference_t there;
    pdb_difference_t back;
    if (!pdb_difference(before, after, there, error) ||
        !pdb_difference(after, before, back, error) || there.is_empty() != back.is_empty() ||
        listed(there) !=
            there.totals.values[DIFFERENCE_ADDED] + there.totals.values[DIFFERENCE_REMOVED])
        std::abort();
    return 0;
}
