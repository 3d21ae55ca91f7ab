#include "matcher_stream.h"

#include <string>

#include "hstring_record.h"
#include "matcher_pieces.h"
#include "rexpand.h"
#include "tlv_description.h"

namespace
{

pdata_status_t pattern_status(int ret)
{
    return module_err2pdata_status(PDATA_MODULE_STREAM_PATTERN, ret);
}

/// How a kind of piece is registered and noted.
struct piece_kind {
    pattern_type_t type;
    uint32_t flag;
};

piece_kind kind_of(rexpand_pattern_type_t type)
{
    switch (type) {
    case REXPAND_TYPE_PREFIX:
        return {PATTERN_PREFIX, MATCHER_MAP_PREFIX};
    case REXPAND_TYPE_SUFFIX:
        return {PATTERN_SUFFIX, MATCHER_MAP_SUFFIX};
    case REXPAND_TYPE_EXACT:
        return {PATTERN_EXACT, MATCHER_MAP_EXACT};
    default:
        return {PATTERN_REGULAR, MATCHER_MAP_REGULAR};
    }
}

/// Takes the next private id and stores its entry.
pdata_status_t take_private_id(matcher_build *matcher, const matcher_map_build_t &entry,
                               uint32_t *private_id)
{
    *private_id = matcher->curr_prv_id++;
    if ((*private_id & MATCHER_PRIVATE_INDEX) >= matcher->max_prv_id)
        return pdata_fail(PDATA_ERR_OVERFLOW, REFUSED_PRIVATE_ID,
                          static_cast<int>(matcher->max_prv_id));
    matcher->map.push_back(entry);
    return PDATA_SUCCESS;
}

pdata_status_t mindata_failure(uint32_t mindata, size_t pattern_len)
{
    return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                      "Invalid mindata value : mindata %d  < pattern_len %d",
                      static_cast<int>(mindata), static_cast<int>(pattern_len));
}

/// Returns what the states of all engines take, in bytes.
uint64_t bytes_of(const pattern_build &pattern)
{
    const size_t nr_state =
        pattern.aho_corasick.ac_l_state.size() + pattern.ahoff_corasick.ac_l_state.size() +
        pattern.prefix_tree.rt_l_state.size() + pattern.suffix_tree.rt_l_state.size() +
        pattern.dot_prefix.dp_l_node.size();
    return nr_state * MATCHER_STATE_BYTES;
}

pdata_status_t register_pattern(matcher_build *matcher, std::string_view bytes, uint32_t item_id,
                                pattern_info info)
{
    info.pattern = bytes.data();
    info.pattern_len = static_cast<uint32_t>(bytes.size());
    info.item_id = item_id;
    PDATA_TRY(matcher_budget_take(&matcher->budget, bytes.size()));
    PDATA_TRY(pattern_status(
        pattern_register(matcher->pattern, info, matcher->mindata_status, matcher->em_dispatch)));
    return matcher_budget_check(&matcher->budget, bytes_of(matcher->pattern));
}

/// Stores a private entry that refers to the complete value.
pdata_status_t matcher_register_l2(matcher_build *matcher, std::string_view value, uint32_t pub_id,
                                   uint32_t flag, uint32_t *private_id)
{
    PDATA_TRY(take_private_id(matcher, {pub_id, 0, flag, 0}, private_id));
    const int ret = hstring_get_offset(&matcher->hstring, csa_str(value), &matcher->map.back().off);
    return module_err2pdata_status(PDATA_MODULE_HSTRING, ret);
}

/// Which piece of which permutation is registered; numbers from 1, of which 8 bits are kept.
/// Oddity O143.
struct piece_place {
    uint32_t permutation;
    uint32_t position;
    uint32_t nb_pieces;
};

pdata_status_t register_piece(matcher_build *matcher, const rexpand_pattern_t &piece,
                              const piece_place &place, uint32_t pub_id, pattern_info info)
{
    if (matcher->mindata_status == MINDATA_MANDATORY && info.mindata != 0 &&
        piece.str.size() > info.mindata)
        return mindata_failure(info.mindata, piece.str.size());
    const piece_kind kind = kind_of(piece.type);
    info.type = kind.type;
    if (place.nb_pieces == 1 && kind.type == PATTERN_REGULAR)
        return register_pattern(matcher, piece.str, pub_id, info);
    uint32_t flag = kind.flag;
    if (place.nb_pieces > 1)
        flag |= (place.permutation & 0xFF) << 8 | (place.position & 0xFF) << 16 |
                (place.nb_pieces & 0xFF) << 24;
    uint32_t private_id;
    PDATA_TRY(take_private_id(matcher, {pub_id, 0, flag, 0}, &private_id));
    return register_pattern(matcher, piece.str, private_id, info);
}

/// A permutation whose pieces together are the value.
pdata_status_t register_unmarked(matcher_build *matcher, const rexpand_permutation &permutation,
                                 uint32_t number, uint32_t pub_id, const pattern_info &info)
{
    const auto nb_pieces = static_cast<uint32_t>(permutation.patterns.size());
    if (info.preempt != 0 && nb_pieces > 1)
        // The count is that of the pieces, and the blanks stay. Oddities O41 and O48.
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "Invalid preempt pattern : contain %d permutation ",
                          static_cast<int>(nb_pieces));
    for (uint32_t j = 0; j < nb_pieces; ++j)
        PDATA_TRY(register_piece(matcher, permutation.patterns[j], {number, j + 1, nb_pieces},
                                 pub_id, info));
    return PDATA_SUCCESS;
}

/// Registers a permutation whose pieces do not prove the value, and tells whether the value needs
/// a catch-all entry.
pdata_status_t register_marked(matcher_build *matcher, const rexpand_permutation &permutation,
                               std::string_view value, uint32_t pub_id, pattern_info info,
                               bool *catch_all)
{
    const rexpand_pattern_t *piece = matcher_longest_piece(permutation);
    if (piece == nullptr) {
        *catch_all = true;
        return PDATA_SUCCESS;
    }
    uint32_t private_id;
    info.type = PATTERN_REGULAR;
    PDATA_TRY(matcher_register_l2(matcher, value, pub_id, 0, &private_id));
    return register_pattern(matcher, piece->str, private_id, info);
}

/// Registers the permutations of a value, and tells whether the value needs a catch-all entry.
pdata_status_t register_permutations(matcher_build *matcher, const rexpand_permutation_list &list,
                                     std::string_view value, uint32_t pub_id,
                                     const pattern_info &info, bool *catch_all)
{
    uint32_t number = 0;
    for (const rexpand_permutation &permutation : list) {
        if (matcher_is_marked(permutation)) {
            PDATA_TRY(register_marked(matcher, permutation, value, pub_id, info, catch_all));
        } else if (permutation.patterns.empty()) {
            *catch_all = true;
            break; // oddity O142
        } else {
            PDATA_TRY(register_unmarked(matcher, permutation, ++number, pub_id, info));
        }
    }
    return PDATA_SUCCESS;
}

pdata_status_t matcher_serialize_pattern(const matcher_build &matcher, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    pattern_emit(matcher.pattern, sink);
    return tlv_close_record(sink, header, TLV_TYPE_MATCHER_AC);
}

/// There are no more entries than private ids: `max_prv_id` of them.
void matcher_serialize_l2(const matcher_build &matcher, tlv_sink_t &sink)
{
    const size_t header = tlv_open_record(sink);
    for (const matcher_map_build_t &entry : matcher.map) {
        tlv_sink_put(sink, entry.pub_id, 4);
        tlv_sink_put(sink, entry.off, 4);
        tlv_sink_put(sink, entry.flag, 4);
        tlv_sink_put(sink, entry.re_id, 4);
    }
    tlv_close_short_record(sink, header, TLV_TYPE_MATCHER_L2);
}

pdata_status_t matcher_serialize_string(const matcher_build &matcher, tlv_sink_t &sink)
{
    return hstring_emit(matcher.hstring, TLV_TYPE_MATCHER_STRING, sink);
}

} // namespace

pdata_status_t matcher_register_stream(matcher_build *matcher, const matcher_data_t &data,
                                       uint32_t item_id, pattern_info info)
{
    const std::string_view value = matcher_without_final_zero(data.pattern);
    rexpand_permutation_list list;
    if (const int ret = rexpand_process(value, matcher->max_perm, nullptr, &list); ret != 0)
        return pattern_status(ret);
    info.offset = static_cast<type_offset>(data.pattern_offset);
    bool catch_all = false;
    PDATA_TRY(register_permutations(matcher, list, value, item_id, info, &catch_all));
    if (!catch_all)
        return PDATA_SUCCESS;
    uint32_t private_id;
    return matcher_register_l2(matcher, value, item_id, MATCHER_MAP_CATCH_ALL, &private_id);
}

pdata_status_t matcher_register_stream_offset(matcher_build *matcher, const matcher_data_t &data,
                                              uint32_t item_id, pattern_info info)
{
    const std::string_view value = matcher_without_final_zero(data.pattern);
    if (value.empty())
        return PDATA_ERR_INVALID_ARGUMENT;
    std::string bytes;
    std::string_view fault;
    if (!matcher_unescape(value, bytes, fault))
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "INTERFACE_BUILDER_STREAM :Pattern \"%.*s\" contains an invalid "
                          "escaped sequence.\n",
                          static_cast<int>(fault.size()), fault.data());
    info.type = PATTERN_OFFSET;
    info.offset = static_cast<type_offset>(data.pattern_offset);
    // Here equality is refused, which a value without an offset may have. Oddity O134.
    if (matcher->mindata_status == MINDATA_MANDATORY && info.mindata != 0 &&
        bytes.size() >= info.mindata)
        return mindata_failure(info.mindata, bytes.size());
    uint32_t private_id;
    PDATA_TRY(take_private_id(matcher, {item_id, 0, MATCHER_MAP_PREFIX, 0}, &private_id));
    return register_pattern(matcher, bytes, private_id, info);
}

pdata_status_t matcher_serialize_stream(const matcher_build &matcher, tlv_sink_t &sink)
{
    PDATA_TRY(matcher_serialize_pattern(matcher, sink));
    matcher_serialize_l2(matcher, sink);
    return matcher_serialize_string(matcher, sink);
}
