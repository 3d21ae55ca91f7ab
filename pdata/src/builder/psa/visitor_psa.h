/// The PSA visitor: fills the PSA container.
///
/// A file is an object with up to three keys, "prefix", "suffix" and "regular", each an array of
/// objects whose key is the name of a pattern and whose string is the pattern. Everything else is
/// ignored (oddity O184).
#pragma once

#include "psa_container.h"
#include "visitor_keyed.h"

enum psa_state_t : uint32_t {
    PSA_STATE_ROOT = 0, ///< the file's object
    PSA_STATE_PREFIX_KEY = 1,
    PSA_STATE_PREFIX = 2,
    PSA_STATE_SUFFIX_KEY = 3,
    PSA_STATE_SUFFIX = 4,
    PSA_STATE_REGULAR_KEY = 5,
    PSA_STATE_REGULAR = 6,
    PSA_STATE_IGNORED = 7, ///< inside any other array, and behind any other key of the file
};

using visitor_psa_t = visitor_keyed_t<psa_container_t>;

/// Prepares `visitor` to fill `container`, which is emptied and must outlive the walk.
void visitor_psa_init(visitor_psa_t *visitor, psa_container_t *container);
