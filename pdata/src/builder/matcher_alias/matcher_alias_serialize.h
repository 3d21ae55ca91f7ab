/// Matcher aliases: read from their document, applied to protocols, stored in the pdb.
///
/// A rule written against an alias is rewritten, while its protocol is serialized, to test the
/// reference instead. The format of a stored set is in matcher_alias_deserialize.h.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "matcher_alias_deserialize.h"
#include "matcher_alias_keys.h"
#include "protodesc.h"

/// A set under construction. The names live in the document's unescaped texts, or in the string
/// table that the set was rebuilt from.
struct matcher_alias_build_t {
    hstring_build_t *hstring = nullptr; ///< receives the names; not owned
    std::vector<alias_pair_t> aliases;  ///< `alias_num` of them
    uint32_t alias_idx = 0;             ///< pairs filled
    uint32_t alias_num = 0;             ///< capacity
};

/// Reads the document `pdm`, checked by the rules `sem` unless `ignore_sem` is set or there are
/// none, into a set whose names go to `hstring`. Both texts may be released afterwards.
///
/// Returns PDATA_SUCCESS; PDATA_ERR_PRAGMAR with the front end's report; or the failure of a pair.
[[nodiscard]] pdata_status_t json_to_matcher_alias(std::string_view pdm, std::string_view sem,
                                                   hstring_build_t *hstring,
                                                   matcher_alias_build_t *matcher_alias,
                                                   bool ignore_sem);

/// Makes an empty set with room for `alias_num` pairs.
matcher_alias_build_t matcher_alias_create(hstring_build_t *hstring, uint32_t alias_num);

/// Empties a set.
void matcher_alias_destroy(matcher_alias_build_t *matcher_alias);

/// Reads the word of a direction: "cts", "stc" or "both". Any other is PDATA_ERR_INVALID_ARGUMENT
/// with a message.
[[nodiscard]] pdata_status_t read_attr_way(csa_attr_way_t *way, csa_str_t text);

/// Adds a pair. A full set is PDATA_ERR_OVERFLOW without a message.
///
/// A protocol has one reference protocol: a pair whose alias protocol stands in an earlier pair
/// with another reference protocol is PDATA_ERR_INVALID_ARGUMENT with a message, and stays stored.
/// The pair just before the new one is not compared. Oddity O103.
[[nodiscard]] pdata_status_t matcher_alias_add(matcher_alias_build_t *matcher_alias,
                                               const alias_pair_t &pair);

/// Returns the size in bytes of a stored set's value, a multiple of 4; 0 for an empty set.
uint32_t matcher_alias_get_tlv_size(const matcher_alias_build_t &matcher_alias);

/// Writes the record of a set into `buf`, which must be zero-filled: a header of `buf_len` words,
/// then the pairs, whose names are interned in the set's table in the order in which they are
/// written. `buf` holds `buf_len` words and the header.
///
/// Gives the position behind the value in `*end`. Fails with PDATA_ERR_INVALID_ARGUMENT when a name
/// is empty or does not fit, with PDATA_ERR_NO_MEMORY when the table cannot grow.
[[nodiscard]] pdata_status_t matcher_alias_serialize(matcher_alias_build_t *matcher_alias,
                                                     uint8_t *buf, uint32_t buf_len, uint8_t **end);

/// Rewrites the sub-rules of a protocol. Of each sub-rule only the aliases of its bottom protocol,
/// as it was written, are considered; of each attribute the first that fits its name and way.
/// Oddity O105.
void matcher_alias_change_proto(protodesc_build_t *pb, const matcher_alias_t &aliases);

/// Moves the minimum data of an attribute that changes its direction: only between "stream" and
/// "content" attributes, and only from one single direction to the other, which keeps the larger
/// of the two while the first becomes 0 (oddity O106). Lengths in bytes.
void matcher_alias_update_mindata(csa_str_t attr_before, csa_str_t attr_after,
                                  csa_attr_way_t way_before, csa_attr_way_t way_after,
                                  uint32_t *stc_mindata, uint32_t *cts_mindata);

/// Rebuilds a set from the value of a stored record of `matcher_alias_nb` pairs, whose names are
/// resolved through `root_hstring` and interned in `main_hstring`. The blob of `root_hstring` must
/// outlive the set.
///
/// Fails with PDATA_ERR_OVERFLOW and a message for more pairs than a reader holds, or as
/// matcher_alias_deserialize does.
[[nodiscard]] pdata_status_t matcher_alias_build_pairs(const hstring_t &root_hstring,
                                                       hstring_build_t *main_hstring,
                                                       matcher_alias_build_t *matcher_alias,
                                                       std::span<const uint8_t> tlv_data,
                                                       uint32_t matcher_alias_nb);
