/// Values proved: is every data that a value describes found by what the compiler makes of it?
///
/// A text is decided where it can be: its automaton is held against its compiled form
/// (prove_product.h). Samples of it are made (prove_sample.h) and run through the compiled matcher
/// by libpdata, which is the last word. A number or an address is decided by the ends and the
/// middle of every range, and of every part of it that others cut out; one number alone is not
/// tried, as nothing of it can be lost.
///
/// Where the values stand in a pdb, they are tried there first. The others, and those of which it
/// misses something, are compiled in batches, those of an attribute together, by the compiler's own
/// flow in this process. Time and memory are linear in the bytes of the values, whatever they say.
#pragma once

#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "prove_number.h"

/// Data of a text, or a number or address.
struct prove_datum_t {
    std::string bytes;
    prove_number_t number;
};

/// A value of a description. Texts must live as long as it does.
struct prove_value_t {
    std::string_view protocol;  ///< whose attribute it is
    std::string_view attribute; ///< without its direction
    std::string_view text;      ///< as JSON was read
    uint32_t offset = 0;        ///< of a text at an offset, else 0
    /// Bytes that must have been seen before a value of a preempt rule counts, else 0. Other
    /// minimum data says only when data that is not complete counts.
    uint32_t min_size = 0;
};

/// What a proof came to.
enum prove_outcome_t : uint8_t {
    PROVE_WHOLE_VALUE = 0, ///< nothing is lost, as far as was seen
    PROVE_LOSSY,           ///< something that it describes is not found
    PROVE_DEAD,            ///< nothing that it describes is found
    PROVE_REFUSED,         ///< the compiler does not take it: nothing was proved
};

/// A proof.
struct prove_verdict_t {
    prove_outcome_t outcome = PROVE_REFUSED;
    /// All that the value describes was followed; else samples alone speak, and dead values are
    /// called lossy.
    bool is_decided = false;
    /// What is lost: the shortest text that is, as bytes; of numbers and addresses the first range,
    /// as it would be written. Empty where nothing is lost, or nothing is described.
    std::string lost;
    prove_datum_t found;    ///< a sample that leads to the value; of a dead one none
    uint32_t nr_sample = 0; ///< samples that were run
    uint32_t nr_missed = 0; ///< of these, not found
    /// Samples contradict what was decided, and were followed: what the compiler wrote does not
    /// hold the pieces that it made, as of values of more than 257 bytes (oddity O161).
    bool is_contradicted = false;
};

/// Told of how many values, or rules, are proved so far. May be empty.
using prove_progress_t = std::function<void(size_t done)>;

struct prove_catalog_t;

/// Where a value stands in a catalog.
struct prove_stored_t {
    uint32_t value = UINT32_MAX; ///< its index there, or VIEW_VALUE_NONE
    uint32_t attribute = 0;      ///< of libpdata: that its data is handed over for; 0 for none
};

/// A pdb that holds values that are to be proved.
struct prove_whole_t {
    prove_catalog_t *catalog = nullptr;       ///< null: there is none
    std::span<const prove_stored_t> stored{}; ///< by value, where there is a catalog
};

/// Proves values. The verdicts are in their order. Leaves the status slot of the compiler as it
/// finds it. std::bad_alloc passes.
std::vector<prove_verdict_t> prove_values(std::span<const prove_value_t> values,
                                          const prove_progress_t &progress = {},
                                          const prove_whole_t &whole = {});

/// Proves one value.
prove_verdict_t prove_value(const prove_value_t &value);
