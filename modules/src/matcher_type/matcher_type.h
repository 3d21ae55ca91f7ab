/// The kinds of matcher that values are compiled into (matcher_type_t).
///
/// The numbers reach the serialized form; MATCHER_TYPE_STREAM_OFFSET is never a matcher of its own.
#pragma once

#include "format_values.h"
