/// Matchers that are larger than their tables can say.
///
/// States and records are numbered with 16 bits, and nothing is said when there are more: numbers
/// begin anew, and what is behind the last one is not found, or takes the place of something else.
/// Values that each by itself are proved are lost then.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

/// A matcher of which that is so.
struct prove_overfull_t {
    std::string protocol;
    std::string attribute;
    uint32_t way = 0;    ///< ATTR_WAY_CTS or ATTR_WAY_STC
    std::string table;   ///< "states", "items"
    uint64_t nr = 0;     ///< what there is
    uint64_t nr_max = 0; ///< what there may be
};

/// Returns the overfull tables of a loadable pdb, in the order of its matchers; of one that cannot
/// be read, none. std::bad_alloc passes.
std::vector<prove_overfull_t> prove_overfull(std::span<const uint8_t> pdb);
