/// Matchers that are larger than their tables can say.
///
/// States and records are numbered with 16 bits, and nothing is said when there are more: numbers
/// begin anew, and what is behind the last one is not found, or takes the place of something else.
/// Such a file may even be unsafe, so that this can be asked of any that can be opened.
#pragma once

#include "pdb_view.h"

/// A table of which that is so.
struct view_overfull_t {
    const view_matcher_t &matcher;
    const char *table;  ///< "states", "items"
    view_area_t area;   ///< where it stands
    uint64_t nr = 0;    ///< what there is
    uint64_t limit = 0; ///< what there may be
};

/// Who takes them.
struct view_overfull_sink_t {
    void (*put)(void *context, const view_overfull_t &overfull);
    void *context;
};

/// Hands the overfull tables of a loadable pdb to `sink`, in the order of its matchers, up to the
/// first one that cannot be opened. Linear in the number of matchers; allocates nothing.
void view_overfull(const pdb_view_t &pdb, const view_overfull_sink_t &sink);
