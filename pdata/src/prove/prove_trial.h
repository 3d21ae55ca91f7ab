/// Data tried in the loadable pdb of all descriptions, within a bound on the work.
///
/// A value that is found there with everything that is to be tried of it needs no pdb of its own.
/// That it is missed there says nothing of the value alone: another one may be to blame.
#pragma once

#include <span>
#include <string_view>

#include "prove_catalog.h"
#include "prove_decide.h"

/// Bytes that count as one piece of work.
constexpr uint64_t PROVE_BYTES_PER_WORK = 16;

/// Tries in one catalog.
struct prove_trial_t {
    prove_catalog_t &catalog;
    uint64_t left; ///< work: items that data leads to, values that are tried on all data, and bytes
    std::vector<pdata_item> items; ///< room for an answer
};

/// Makes a trial with so much work. std::bad_alloc passes.
prove_trial_t prove_trial_begin(prove_catalog_t &catalog, uint64_t work);

/// Takes work off what is left.
inline void prove_trial_pay(prove_trial_t &trial, uint64_t used)
{
    trial.left -= used < trial.left ? used : trial.left;
}

/// Feeds an attribute as prove_feed() does. std::bad_alloc passes.
void prove_trial_feed(prove_trial_t &trial, pdata_attribute attribute, std::string_view bytes,
                      const prove_number_t &number);

/// Tells whether data leads to a value of the catalog, and forgets the data. std::bad_alloc passes.
[[nodiscard]] bool prove_trial_finds(prove_trial_t &trial, const prove_stored_t &stored,
                                     std::string_view bytes, const prove_number_t &number);

/// Tells whether everything that is to be tried of a case is found where its value stands, and
/// notes that in the case. False as well where nothing of that is known, too many values are tried
/// on all data of the attribute, or no work is left. std::bad_alloc passes.
[[nodiscard]] bool prove_trial_finds_all(prove_trial_t &trial, const prove_stored_t &stored,
                                         prove_case_t &at);
