/// Walks over stored protocol groups, and the look-up of ids in the base of an update.
///
/// A look-up by walking every protocol of the base anew would cost protocols times protocols. The
/// base is walked once instead, as far as the look-ups need it, and what was passed is kept in an
/// index. A look-up thereby meets the same protocol, or the same damage, that a walk of its own
/// would have met first.
#pragma once

#include <cstdint>
#include <span>
#include <unordered_map>

#include "hstring.h"
#include "pdata_error.h"
#include "protodesc_deserializer.h"
#include "view_cursor.h"

/// A protocol group.
struct plu_group_t {
    std::span<const uint8_t> protos; ///< the protocol list's value
    hstring_t pg_hstring;            ///< the strings of its protocols
};

/// The base of an update as the look-ups see it.
struct plu_base_t {
    view_cursor_t groups; ///< in front of the groups not entered yet
    view_cursor_t protos; ///< in front of the protocols not passed yet of the group entered last
    std::unordered_map<uint32_t, std::span<const uint8_t>> passed; ///< per id, its first protocol
};

/// Gives the protocol groups of a part of protocol descriptions. PDATA_ERR_TLV_NOT_FOUND when the
/// part holds no root record of them.
[[nodiscard]] pdata_status_t plu_get_groups(std::span<const uint8_t> pdb_tlv,
                                            std::span<const uint8_t> *groups);

/// Makes `root` a view of the strings of a part of main hashed strings.
/// PDATA_ERR_INVALID_ARGUMENT with a message when the part is empty or holds no root record of
/// them.
[[nodiscard]] pdata_status_t plu_get_root_hstring(std::span<const uint8_t> m_hstring_tlv,
                                                  hstring_t *root);

/// Finds the protocol list and the string table of a group. PDATA_ERR_TLV_NOT_FOUND when either is
/// missing.
[[nodiscard]] pdata_status_t pdata_update_pg_get(std::span<const uint8_t> group,
                                                 plu_group_t *found);

/// Hands the value of each record of `area` to `visit`, until one returns a failure. A record of
/// another type than `type`, or one that is not whole, ends the walk with PDATA_ERR_TLV_NOT_FOUND.
template <typename Visit>
[[nodiscard]] pdata_status_t plu_for_each(std::span<const uint8_t> area, uint32_t type,
                                          Visit &&visit)
{
    view_cursor_t walk = view_walk(view_file(area));
    for (view_record_t record; view_next(walk, record);) {
        if (record.type != type)
            return PDATA_ERR_TLV_NOT_FOUND;
        PDATA_TRY(visit(view_bytes(record.value)));
    }
    return walk.end == VIEW_WALK_OVERLONG ? PDATA_ERR_TLV_NOT_FOUND : PDATA_SUCCESS;
}

/// Looks an id up: the first protocol of the base that bears it, in stored order. Gives whether
/// there is one, and its description.
///
/// Damage that stands before the protocol, or anywhere when there is none, fails the look-up; a
/// record of another type than a group, or a protocol, is PDATA_ERR_TLV_NOT_FOUND with a message
/// that names the type.
[[nodiscard]] pdata_status_t plu_base_has_id(plu_base_t *base, uint32_t protoid, bool *found,
                                             protodesc_t *proto);
