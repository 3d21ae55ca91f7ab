/// A description on its way into a sink: what the records of every level have in common.
#pragma once

#include "protodesc_serializer.h"
#include "tlv_description.h"

/// A description being emitted.
struct emission_t {
    const protodesc_build_t &pb;
    tlv_sink_t &sink;
    bool with_strings; ///< else only sizes matter: a string word is 0 and nothing is refused
    protodesc_path_fault_t *fault; ///< receives a wrong path; null: the path fails at once
};

/// Emits a word.
inline void emit_word(emission_t &out, uint32_t value)
{
    tlv_sink_put_word(out.sink, value);
}

/// Emits the word of a string of the group. An empty string is PDATA_ERR_ENGINE with a message.
[[nodiscard]] pdata_status_t emit_string(emission_t &out, csa_str_t str);

/// The same for a string of the tag names.
[[nodiscard]] pdata_status_t emit_tag_string(emission_t &out, csa_str_t str);

/// A list of records and, in front of it, the list of their word offsets.
struct offset_list_t {
    size_t offsets; ///< where the next offset goes
    size_t list;    ///< header of the list
};

/// Opens a list of `nr` records, whose offsets are a record of type `offsets_type`. No description
/// has so many rules, sub-rules or attributes that their offsets would be too long for a record.
void open_offset_list(emission_t &out, uint32_t nr, uint32_t offsets_type, offset_list_t *list);

/// Notes where the next record of the list begins.
void next_in_list(emission_t &out, offset_list_t *list);

/// Emits a rule: the run of slots `slots`, of which there is one at least.
[[nodiscard]] pdata_status_t ruledesc_emit(emission_t &out,
                                           std::span<const ruledesc_build_t> slots);
