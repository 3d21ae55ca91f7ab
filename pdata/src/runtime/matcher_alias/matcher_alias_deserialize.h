/// Stored matcher aliases: the format and its reader.
///
/// An alias says that an attribute of one protocol in one direction is matched as an attribute of
/// another, the reference. Stored, a pair takes 18 bytes, big-endian: for the alias and then for
/// the reference the offset of the protocol's name (4 bytes), the offset of the attribute's name
/// (4), the direction (1). The value of the record is padded with zeros to whole words.
#pragma once

#include <cstdint>
#include <span>

#include "csa_str.h"
#include "csa_types.h"
#include "format_fields.h"
#include "hstring.h"
#include "pdata_error.h"

/// One side of a pair. The names are not owned.
struct alias_elt_t {
    csa_str_t proto_name;
    csa_str_t attr_name;
    csa_attr_way_t way = ATTR_WAY_UNKNOWN;
};

/// An alias and what it stands for.
struct alias_pair_t {
    alias_elt_t alias;
    alias_elt_t reference;
};

/// Bytes of a stored pair.
constexpr uint32_t MATCHER_ALIAS_PAIR_SIZE = format_bytes_of(FORMAT_MATCHER_ALIAS);

/// Reads pair `index` of a stored value; the names point into the string table's blob. Fails with
/// PDATA_ERR_INVALID_ARGUMENT when the pair does not lie within the value, and with
/// PDATA_ERR_ENGINE when the table refuses a name.
[[nodiscard]] pdata_status_t matcher_alias_deserialize(std::span<const uint8_t> tlv_data,
                                                       uint32_t index, const hstring_t &hstring,
                                                       alias_pair_t *pair);
