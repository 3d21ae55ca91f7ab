/// Record types and marks of the serialized pattern engines, for their writers and readers.
///
/// Every record is a blob: a 4-byte type, a 4-byte length in bytes rounded up to a multiple of
/// 4, and the value. All integers are big-endian. The types are in engine_records.def.
#pragma once

#include "format_loadable.h"
#include "format_types.h"
