/// The group of a description: the list of its protocols, and the strings that they refer to.
///
/// Every protocol of the text is parsed, checked, built, rewritten by the aliases and emitted,
/// once. What users see is that of two passes, one that sizes and one that writes: everything that
/// a protocol says without failing is said in each, and the paths of rules are checked in the
/// second, so that a failure of the first in a later protocol comes before them. What the second
/// pass has to say is noted in the first. Oddities O33 and O34.
///
/// The text is an object of one key whose value is the array of protocol objects; up to 3 bytes may
/// follow the array (oddity O70). Text of another shape is PDATA_ERR_JSON_BAD_SYNTAX or whatever
/// the building of a protocol makes of it.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "csa_buf.h"
#include "matcher_alias_serialize.h"
#include "protodesc_builder.h"
#include "protodesc_serializer.h"

/// A description text on its way to a group.
struct protodesc_group_t {
    std::string_view json_text;
    hstring_build_t *main_hstring = nullptr; ///< receives the rule tags; not owned
    matcher_alias_t aliases;                 ///< rewrite every protocol
    protodesc_json_t json;                   ///< configuration, rule machine, container
    std::vector<protodesc_remark_t> remarks; ///< what the second pass says, up to the fault
    protodesc_path_fault_t fault;            ///< the first wrong path
    csa_buf_t value;                         ///< what protodesc_json_get_tlv_size has emitted
};

/// Returns how many bytes the value of a group is expected to take, from experience.
size_t protodesc_group_expected(const protodesc_group_t &group);

/// Where the headers around a group lie in a sink.
struct protodesc_headers_t {
    size_t root;
    size_t group;
};

/// Opens the root record of the protocols and the one group in it.
protodesc_headers_t protodesc_open_root(tlv_sink_t &sink);

/// Closes both; fails as tlv_close_record.
[[nodiscard]] pdata_status_t protodesc_close_root(tlv_sink_t &sink,
                                                  const protodesc_headers_t &headers);

/// The first pass: emits the value of the group into a sink. The texts of the remarks live until
/// string_list_clean.
[[nodiscard]] pdata_status_t protodesc_group_emit(protodesc_group_t *group, tlv_sink_t &sink);

/// The second pass over an emitted group: says every remark again, and fails at a wrong path with
/// PDATA_ERR_INVALID_ARGUMENT and a line on standard error.
[[nodiscard]] pdata_status_t protodesc_group_finish(const protodesc_group_t &group);

/// Sizes the group: performs the first pass, keeps the value and gives its size in bytes.
[[nodiscard]] pdata_status_t protodesc_json_get_tlv_size(protodesc_group_t *group, size_t *size);

/// Writes the group that was sized into `buf` and gives the bytes written: performs the second
/// pass. A value that does not fit is PDATA_ERR_INVALID_ARGUMENT.
[[nodiscard]] pdata_status_t protodesc_json_serialize(protodesc_group_t *group,
                                                      std::span<uint8_t> buf, size_t *written);
