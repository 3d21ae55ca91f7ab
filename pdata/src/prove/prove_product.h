/// A value held against its compiled form: what of it is lost, and whether anything is left.
///
/// The positions of the value and the states of its form are followed side by side over all data
/// that the value describes, shortest first, so that the first data which the form does not accept
/// is a shortest one that is lost (the product of two automata: M. O. Rabin and D. Scott, 1959;
/// breadth first, E. F. Moore, "The shortest path through a maze", 1959). The value's automaton
/// need not be made deterministic for that, as only the form is negated.
#pragma once

#include <cstdint>
#include <string>

#include "prove_automaton.h"
#include "prove_form.h"

/// Steps of a comparison, beyond PROVE_STEPS_PER_BYTE for every byte of the value.
constexpr uint64_t PROVE_STEPS_BASE = 8192;
constexpr uint64_t PROVE_STEPS_PER_BYTE = 512;

/// What a comparison showed. Data without a byte is left out: it is described by `a*`, and never
/// seen.
struct prove_comparison_t {
    bool is_complete = false; ///< all data was followed; else what is said holds nevertheless
    bool is_found = false;    ///< some data is accepted
    bool is_lost = false;     ///< some data is not
    std::string lost;         ///< a shortest one of it
};

/// Compares within a budget of `steps`. Only data of at least `min_size` bytes counts, on either
/// side. std::bad_alloc passes.
prove_comparison_t prove_compare(const prove_automaton_t &automaton, const prove_form_t &form,
                                 uint32_t min_size, uint64_t steps);
