/// Rules that differ in the names and values of their attributes only, so that one of them says for
/// which others a run of slots counts as well.
///
/// A comparison passes over an attribute whose name differs, so that one run may equal any number
/// of rules. To compare each of them with it would cost the one number times the other for every
/// protocol that has such a run. The rules of a shape are filed by the names and values at each
/// place instead, and sets of them put together word by word.
#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "plu_duplicate.h"

/// A set of positions in a shape: one bit each, as many words as are needed.
using plu_bits_t = std::vector<uint64_t>;

/// Positions that have something in common: as a list where they are few, else as bits.
struct plu_positions_t {
    std::vector<uint32_t> few; ///< ascending
    plu_bits_t many;
};

/// Rules of a shape that a record holds.
struct plu_held_t {
    uint64_t number = 0; ///< of this set, from 1
    plu_bits_t bits;
    uint32_t first_lacking = 0; ///< the number of contents: none
};

struct plu_shape_t {
    std::vector<uint32_t> contents; ///< in the order in which they first come
    /// By place and name, place, name and values, or place, name and first value; filled by
    /// plu_shape_file.
    std::unordered_map<std::string, plu_positions_t> bearers;
    /// What protocols that are alike come to, each from the same: by the number of a set and the
    /// names and values of a run that was added to it.
    std::unordered_map<std::string, plu_held_t> steps;
    uint64_t nr_sets = 0; ///< that were numbered
};

/// Files the rules of a shape, in the order of its contents, all of whose values are readable. To
/// be called once.
void plu_shape_file(plu_shape_t &shape, const std::vector<const plu_rule_t *> &rules);

/// Adds to what is held (null: nothing) the rules of a filed shape that the run equals which starts
/// at slot `start`. `rule` is one of them. Returns a set of the shape, which plu_shape_begin ends.
const plu_held_t *plu_shape_hold(plu_shape_t &shape, const protodesc_build_t &pb, uint32_t start,
                                 const plu_rule_t &rule, const plu_held_t *held);

/// To be called before each record: keeps the sets within memory as that of the contents.
void plu_shape_begin(plu_shape_t &shape);

/// Returns the first position from `at` on that is not held, at most the number of contents.
uint32_t plu_shape_next(const plu_shape_t &shape, const plu_held_t *held, uint32_t at);
