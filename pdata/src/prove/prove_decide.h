/// One value on its way to a verdict: what is decided without a matcher, what is asked of one, and
/// what the answers come to.
#pragma once

#include <string>
#include <vector>

#include "pdb_attr_properties.h"
#include "prove_number.h"
#include "prove_product.h"
#include "prove_value.h"

/// A part of the numbers of a value.
struct prove_part_t {
    prove_range_t range;
    bool is_found = false; ///< its ends and its middle are
};

/// A proof in the making.
struct prove_case_t {
    const prove_value_t *value = nullptr;
    const pdb_attr_properties_t *properties = nullptr; ///< null for an unknown attribute
    bool is_refused = false;                           ///< by the compiler
    bool is_heavy = false;   ///< it is tried on all data, and so costs every sample of a batch time
    bool is_literal = false; ///< a text describes one text alone, in either case
    bool is_empty = false;   ///< a text describes no data
    prove_comparison_t comparison;    ///< of a text
    std::vector<std::string> samples; ///< of a text
    std::vector<uint8_t> is_found;    ///< by sample
    bool lost_is_found = false;       ///< what the comparison says is lost
    std::vector<prove_part_t> parts;  ///< of numbers
    bool is_plain = false;            ///< one number, of which nothing can be lost: it is not tried
};

/// Begins a case: decides what can be decided, and makes what is to be tried. std::bad_alloc
/// passes.
prove_case_t prove_case_make(const prove_value_t &value);

/// Makes the samples of a text, and with `decides` holds it against its form. std::bad_alloc
/// passes.
void prove_case_text(prove_case_t &at, bool decides);

/// Returns everything that is to be tried of a value, without deciding anything; none of one that
/// the compiler refuses. std::bad_alloc passes.
std::vector<prove_datum_t> prove_data(const prove_value_t &value);

/// Reaches the verdict when everything was tried.
prove_verdict_t prove_case_close(const prove_case_t &at);
