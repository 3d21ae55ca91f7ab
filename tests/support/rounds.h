/// How often a random test repeats.
///
/// The optimised build does every round; under sanitizers, where a round takes many times as long
/// and is there to be watched rather than to search, a quarter of them suffices.
#pragma once

#include <cstdint>

#if defined(__SANITIZE_ADDRESS__)
constexpr uint32_t ROUNDS_DIVISOR = 4;
#else
constexpr uint32_t ROUNDS_DIVISOR = 1;
#endif

/// Returns the number of rounds out of `nr` that this build does.
constexpr uint32_t rounds(uint32_t nr)
{
    return nr / ROUNDS_DIVISOR;
}
