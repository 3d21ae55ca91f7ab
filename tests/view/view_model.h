/// A reader of stored descriptions that goes through the views alone.
#pragma once

#include "description_reader.h"
#include "view_description.h"
#include "view_parts.h"

/// Reads the description in `value` whole, its names through `strings` and its rule tags through
/// `tags`. Returns false with `error` at the first part that cannot be read.
[[nodiscard]] bool view_model_read(const view_area_t &value, const view_pool_t &strings,
                                   const view_pool_t &tags, protocol_model &model,
                                   view_error_t &error);

/// Reads every description of a root record of protocol descriptions, given by its value.
[[nodiscard]] bool view_model_read_all(const view_area_t &root, const view_pool_t &tags,
                                       std::vector<protocol_model> &models, view_error_t &error);
