/// How often a random test repeats, and how many of all cases one takes that tries them all.
///
/// The optimised build does every round and takes every case; under sanitizers and where lines are
/// counted, where a round takes many times as long and is there to be watched rather than to
/// search, some of them suffice.
#pragma once

#include <cstdint>

#ifdef PDATA_FEW_ROUNDS
constexpr uint32_t ROUNDS_DIVISOR = 4;
constexpr uint32_t ROUNDS_STEP = 11;
#else
constexpr uint32_t ROUNDS_DIVISOR = 1;
constexpr uint32_t ROUNDS_STEP = 1;
#endif

/// Returns the number of rounds out of `nr` that this build does.
constexpr uint32_t rounds(uint32_t nr)
{
    return nr / ROUNDS_DIVISOR;
}

/// The same where a round is dear: one at least. ROUNDS_STEP leads from one case to the next where
/// all are tried; it is odd, so that bits, bytes and pairs of every kind come by turns.
constexpr uint32_t dear_rounds(uint32_t nr)
{
    return (nr + ROUNDS_STEP - 1) / ROUNDS_STEP;
}
