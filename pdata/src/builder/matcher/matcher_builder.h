/// The matcher builder: one matcher of a loadable pdb, behind one interface for two families.
///
/// The stream family (type 1) holds text patterns: a pattern build, a second-level table for
/// patterns that need more than one literal, and a string table. The number family (types 3 to 8)
/// holds numbers and addresses: a number build.
///
/// Public item ids name rule items, from the set-up's first id upward. Private ids have bit 31 set
/// and an index in the low 28 bits: the run-time engine looks that index up in the second-level
/// table to learn the public item and what else must hold.
///
/// Serialized, records with lengths in words: TLV_TYPE_MATCHER_META (type, minimum data), then for
/// numbers TLV_TYPE_MATCHER_NUMBER, for streams TLV_TYPE_MATCHER_AC (the pattern blob),
/// TLV_TYPE_MATCHER_L2 (per private id: pub_id, off, flag, re_id) and TLV_TYPE_MATCHER_STRING.
///
/// Calling order: matcher_init, matcher_register for each value, matcher_finalize,
/// matcher_emit or matcher_get_size and matcher_serialize, and matcher_build_clean in every case.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "csa_dump.h"
#include "format_limits.h"
#include "format_types.h"
#include "hstring.h"
#include "matcher_budget.h"
#include "matcher_type.h"
#include "number_build.h"
#include "pattern_build.h"
#include "pdata_error.h"
#include "pdata_sig_export.h"
#include "tlv_sink.h"
#include "transformer.h"

/// The set-up of a matcher.
struct matcher_desc_t {
    /// For numbers the number of values, not the type: matcher_init takes that. Oddity O136.
    uint32_t type = 0;
    uint32_t min_data = 0;      ///< bytes
    uint32_t max_perm = 0;      ///< permutations that a value may expand into
    uint32_t max_prv_id = 0;    ///< entries of the second-level table
    uint32_t start_item_id = 0; ///< the next free public id
    uint32_t algo = 0;          ///< pattern_algo bits
    mindata_status_t mindata_status = MINDATA_NOT_MANDATORY;
    exact_match_dispatch_t em_dispatch = EXACT_MATCH_DEFAULT;
    uint8_t alpha_config = 0;               ///< alpha_config_t flags
    uint64_t max_bytes = MATCHER_MAX_BYTES; ///< limit of the matcher
};

/// One second-level entry.
struct matcher_map_build_t {
    uint32_t pub_id = 0;
    uint32_t off = 0;   ///< the complete value in the string table, 0 when not stored
    uint32_t flag = 0;  ///< kind, permutation, position of the piece, number of pieces; 8 bits each
    uint32_t re_id = 0; ///< always 0 here
};

/// A matcher under construction.
struct matcher_build {
    std::vector<matcher_map_build_t> map; ///< by private index
    matcher_type_t matcher_type = MATCHER_TYPE_UNKNOWN;
    uint32_t matcher_id = 0;
    pattern_build pattern; ///< stream family
    number_build number;   ///< number family
    uint32_t curr_pub_id = 0;
    uint32_t curr_prv_id = MATCHER_PRIVATE_ID;
    hstring_build_t hstring; ///< stream family; the values' bytes must outlive the matcher
    uint32_t min_data = 0;
    uint32_t max_perm = 0;
    uint32_t max_prv_id = 0;
    uint32_t start_pub_id = 0;
    uint32_t algo = 0;
    mindata_status_t mindata_status = MINDATA_NOT_MANDATORY;
    exact_match_dispatch_t em_dispatch = EXACT_MATCH_DEFAULT;
    uint8_t alpha_config = 0;
    matcher_budget_t budget;
};

/// One value to register.
struct matcher_data_t {
    transformer_value_t left; ///< number family
    transformer_value_t right;
    std::string_view pattern;    ///< stream family; not owned
    uint32_t pattern_offset = 0; ///< not 0: the value must match at that offset; kept modulo 65536
};

/// Sets a matcher up. PDATA_ERR_INVALID_ARGUMENT, without a message, for a first public id that is
/// too large or a type that is neither 1 nor 3 to 8; otherwise what the engines return.
[[nodiscard]] pdata_status_t matcher_init(matcher_build *matcher, uint32_t matcher_type,
                                          uint32_t matcher_id, const matcher_desc_t &desc);

/// Registers a value under the next public id, which it gives in `*item_id`; with `forced` under
/// `*item_id` itself. Of `info` the minimum data, the priority and the preempt mark count.
///
/// Returns PDATA_ERR_SIG_EXPORT when the export refuses the value; PDATA_ERR_OVERFLOW with a
/// message when the second-level table is full or the limit of the matcher is reached;
/// PDATA_ERR_INVALID_ARGUMENT with a message for a preempt value of several pieces, a piece longer
/// than its minimum data or a bad escape, and without one for an empty value at an offset;
/// otherwise what the engines return.
[[nodiscard]] pdata_status_t matcher_register(matcher_build *matcher, const matcher_data_t &data,
                                              uint32_t *item_id, bool forced,
                                              const pattern_info &info,
                                              pdata_sig_export_t *sig_export);

/// Brings the engines into the form that is written.
[[nodiscard]] pdata_status_t matcher_finalize(matcher_build *matcher);

/// Emits the matcher. PDATA_ERR_OVERFLOW with a message for one that no record can hold.
[[nodiscard]] pdata_status_t matcher_emit(const matcher_build &matcher, tlv_sink_t &sink);

/// Gives the size in bytes of the serialized matcher; fails as matcher_emit.
[[nodiscard]] pdata_status_t matcher_get_size(const matcher_build &matcher, size_t *size);

/// Writes the matcher into `buf`, which must be zero-filled. PDATA_ERR_INVALID_ARGUMENT, without a
/// message, for a buffer of another size.
[[nodiscard]] pdata_status_t matcher_serialize(const matcher_build &matcher, std::span<uint8_t> buf,
                                               const csa_dump_t &dump);

/// Frees everything.
void matcher_build_clean(matcher_build *matcher);
