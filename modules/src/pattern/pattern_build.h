/// The pattern front end: one object through which string-matching automata are built.
///
/// A build holds up to five engines, chosen once by a combination of pattern_algo bits. It checks
/// every pattern against the combination, hands it to the engine for its kind, and writes the
/// engines one behind the other. Callers that pick engines themselves were turned down: which
/// engine takes which kind decides what the run time reads, and stands in one table here.
///
/// Serialized: a blob of type 18 with the engine bits (PATTERN_ALGO_ICASE added when the alphabet
/// folds case), then a blob for each engine present, 19 to 23, in the order of pattern_tlv.h.
///
/// Calling order: init once, register for every pattern, finalize once, get_size, serialize into
/// a zero-filled buffer, and clean in every case. All operations return 0 or a module code.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "aho_corasick.h"
#include "dot_prefix.h"
#include "pattern_types.h"
#include "radix_tree.h"
#include "tlv_sink.h"

struct pattern_build {
    ac_build_t aho_corasick;
    ac_build_t ahoff_corasick;
    rt_build_t prefix_tree;
    rt_build_t suffix_tree;
    dp_build_t dot_prefix;
    uint32_t algo = 0;        ///< pattern_algo bits of the engines present
    uint8_t alpha_config = 0; ///< alpha_config_t flags
};

/// Returns 0 for the engine sets that a build may have: each engine alone and the four named
/// combinations. Returns MODULE_ERR_OPERATION for every other value.
[[nodiscard]] int pattern_algo_check(uint32_t algo);

/// Makes `build` an empty build of the engines in `algo`; of `alpha_config` the low 8 bits count.
/// The dot-prefix matcher takes no alphabet configuration.
///
/// Returns 0; MODULE_ERR_OPERATION when pattern_algo_check refuses `algo`; MODULE_ERR_INVALID when
/// `build` is null; MODULE_ERR_NO_MEMORY when memory runs out.
[[nodiscard]] int pattern_init(pattern_build *build, uint32_t algo, uint32_t alpha_config);

/// Tells whether `build` may take `info`: MODULE_ERR_OPERATION when no engine for its type is
/// present; with MINDATA_MANDATORY MODULE_ERR_INVALID when its mindata is 0 or less than where the
/// pattern ends, unless it is PATTERN_MINDATA_NONE; else 0.
[[nodiscard]] int pattern_register_check(const pattern_build &build, const pattern_info &info,
                                         mindata_status_t mindata_status);

/// Checks `info` and hands it to an engine. An exact pattern goes to the radix tree that
/// `em_dispatch` names, and its `type` is PATTERN_PREFIX or PATTERN_SUFFIX afterwards. Oddity O157.
///
/// Only the four named combinations take patterns. Under any other set a suffix pattern that
/// passes the check is dropped with 0, and all else is refused. Under PATTERN_ALGO_OFFSET_V1 an
/// exact pattern that is dispatched to the suffix tree goes into a tree that is never written.
/// Oddity O156.
///
/// Returns 0; MODULE_ERR_OPERATION when the combination cannot take the pattern, or `em_dispatch`
/// or the type is unknown; MODULE_ERR_INVALID when the mindata is refused or the pattern is empty
/// where it must not be; MODULE_ERR_NO_MEMORY when memory runs out.
[[nodiscard]] int pattern_register(pattern_build &build, pattern_info &info,
                                   mindata_status_t mindata_status,
                                   exact_match_dispatch_t em_dispatch);

/// Finalizes the engines present. Returns the first failure: MODULE_ERR_OVERFLOW when a pattern is
/// too long for an Aho-Corasick automaton, MODULE_ERR_INVALID, MODULE_ERR_NO_MEMORY or
/// MODULE_ERR_RANGE as the engines say.
[[nodiscard]] int pattern_finalize(pattern_build &build);

/// Emits the finalized build at the position of `sink`, a multiple of 4. std::bad_alloc passes when
/// an automaton finds no memory to write with.
void pattern_emit(const pattern_build &build, tlv_sink_t &sink);

/// Returns the size in bytes of the serialized build, a multiple of 4: at least 12.
size_t pattern_get_size(const pattern_build &build);

/// Writes the finalized build into the zero-filled `buf`. Returns the position behind it, or null
/// when it does not fit. std::bad_alloc passes as it does from pattern_emit.
[[nodiscard]] uint8_t *pattern_serialize(const pattern_build &build, std::span<uint8_t> buf);

/// Releases everything; pattern_init must come before the next use.
void pattern_clean(pattern_build &build);
