/// Samples of what a value describes.
///
/// Ways through the positions of the value are chosen so that every position, every step from one
/// to the next and every place to end is on one of them: each branch, repetitions of none, one and
/// several, optional parts both ways, data in front and behind where it is open. A position is gone
/// through with the ends of its set of bytes: of a class its first and last byte, of a letter whose
/// case does not matter both cases.
#pragma once

#include <string>
#include <vector>

#include "prove_automaton.h"

/// Samples that are made of a value at most, and their bytes, beyond PROVE_SAMPLE_BYTES_PER_BYTE
/// for every position.
constexpr size_t PROVE_SAMPLES_MAX = 48;
constexpr size_t PROVE_SAMPLE_BYTES_BASE = 512;
constexpr size_t PROVE_SAMPLE_BYTES_PER_BYTE = 12;

/// Makes samples, each of at least one byte; none for a value that describes no data. Time is that
/// of the automaton and of the samples. std::bad_alloc passes.
std::vector<std::string> prove_samples(const prove_automaton_t &automaton);
