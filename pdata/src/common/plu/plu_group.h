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

/// One record of a list.
struct plu_record_t {
    uint32_t type;
    std::span<const uint8_t> value;
};

/// A protocol group.
struct plu_group_t {
    std::span<const uint8_t> protos; ///< the protocol list's value
    hstring_t pg_hstring;            ///< the strings of its protocols
};

/// The base of an update as the look-ups see it.
struct plu_base_t {
    std::span<const uint8_t> groups; ///< groups not entered yet
    std::span<const uint8_t> protos; ///< protocols not passed yet of the group entered last
    std::unordered_map<uint32_t, std::span<const uint8_t>> passed; ///< per id, its first protocol
};

/// Takes the record that `*area` begins with; `*area` must hold a word at least. Gives its type,
/// and advances `*area` behind it. Returns false, with `*area` as it was, when the record does not
/// end within it.
bool plu_take_record(std::span<const uint8_t> *area, plu_record_t *record);

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
/// another type than `type` ends the walk with PDATA_ERR_TLV_NOT_FOUND.
template <typename Visit>
[[nodiscard]] pdata_status_t plu_for_each(std::span<const uint8_t> area, uint32_t type,
                                          Visit &&visit)
{
    plu_record_t record;
    while (area.size() >= 4) {
        if (!plu_take_record(&area, &record) || record.type != type)
            return PDATA_ERR_TLV_NOT_FOUND;
        const pdata_status_t status = visit(record.value);
        if (status != PDATA_SUCCESS)
            return status;
    }
    return PDATA_SUCCESS;
}

/// Looks an id up: the first protocol of the base that bears it, in stored order. Gives whether
/// there is one, and its description.
///
/// Damage that stands before the protocol, or anywhere when there is none, fails the look-up; a
/// record of another type than a group, or a protocol, is PDATA_ERR_TLV_NOT_FOUND with a message
/// that names the type.
[[nodiscard]] pdata_status_t plu_base_has_id(plu_base_t *base, uint32_t protoid, bool *found,
                                             protodesc_t *proto);
