/// Stored protocol descriptions: the writer.
///
/// The layout of one description stands in protodesc_tlv.h and is emitted by one function, which
/// sizes and writes. A group is the list of the descriptions of a text, followed by the string
/// table that their words refer to; rule tags go to the table of the tag names instead. Strings
/// enter a table in the order in which their words are written.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "matcher_alias_serialize.h"
#include "protodesc.h"
#include "protodesc_builder.h"
#include "tlv_sink.h"

/// Returns the size in bytes of a stored description. Strings are not looked at.
size_t protodesc_get_tlv_size(const protodesc_build_t &pb);

/// Writes a description at the start of `buf`, which must be zero-filled, and its strings into
/// the record's two tables.
///
/// Fails, with nothing written, when `buf` is smaller than protodesc_get_tlv_size. An attribute of
/// a type or a way that cannot be stored is PDATA_ERR_PROTODESC_ATTR, an empty string
/// PDATA_ERR_ENGINE, each with a message. A path of one element, or one that does not end with
/// the protocol itself, is PDATA_ERR_INVALID_ARGUMENT with a line on standard error.
[[nodiscard]] pdata_status_t protodesc_serialize(const protodesc_build_t &pb,
                                                 std::span<uint8_t> buf);

/// Emits a description into a sink, as protodesc_serialize does; the path of a rule is checked
/// only by a sink that writes.
[[nodiscard]] pdata_status_t protodesc_emit(const protodesc_build_t &pb, tlv_sink_t &sink);

/// A description text on its way to a group.
struct protodesc_group_t {
    std::string_view json_text;
    hstring_build_t *main_hstring = nullptr; ///< receives the rule tags; not owned
    std::span<const alias_pair_t> aliases;   ///< rewrite every protocol; not owned
    protodesc_json_t json;                   ///< configuration, rule machine, container
};

/// Sizes the group of a description text: every protocol is built, rewritten by the aliases and
/// sized. Gives the size in bytes of the group's value.
///
/// The text is an object of one key whose value is the array of protocol objects; up to 3 bytes
/// may follow the array. Text of another shape is PDATA_ERR_JSON_BAD_SYNTAX or whatever the
/// building of a protocol makes of it.
[[nodiscard]] pdata_status_t protodesc_json_get_tlv_size(protodesc_group_t *group, size_t *size);

/// Writes the group of a description text into `buf`, which must be zero-filled, and gives the
/// bytes written. Everything is parsed and built again. Returns as the sizing does; a text that
/// does not fit is PDATA_ERR_INVALID_ARGUMENT.
[[nodiscard]] pdata_status_t protodesc_json_serialize(protodesc_group_t *group,
                                                      std::span<uint8_t> buf, size_t *written);
