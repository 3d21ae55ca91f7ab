/// Records that stand in a fixed order: sections of a loadable pdb, engine blobs.
///
/// A writer puts the records of these levels in one order, and each exactly once; a reader takes
/// them off the front one by one. Anything else that stands there is a fault with its place.
#pragma once

#include "view_cursor.h"

/// The length of a record that may have any.
constexpr size_t VIEW_ANY_LENGTH = SIZE_MAX;

/// Takes the next record, which must be of `type`, whole, and with a value of whole words, of
/// `size` bytes unless that is VIEW_ANY_LENGTH. `what` names it in the text of `error`.
[[nodiscard]] bool view_take(view_cursor_t &cursor, uint32_t type, const char *what,
                             view_area_t &value, view_error_t &error,
                             size_t size = VIEW_ANY_LENGTH);

/// Tells whether a cursor passed the last record of its level; `error` names what follows.
[[nodiscard]] bool view_take_end(const view_cursor_t &cursor, view_error_t &error);
