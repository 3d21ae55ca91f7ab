#include "view_parts.h"

#include "format_fields.h"

namespace
{

constexpr size_t alias_size = format_bytes_of(FORMAT_MATCHER_ALIAS);
constexpr size_t tag_words = format_bytes_of(FORMAT_TAGS) / 4;

view_alias_side_t alias_side(const uint8_t *at)
{
    constexpr size_t attribute = format_byte_of(FIELD_MATCHER_ALIAS_alias_attribute);
    constexpr size_t way = format_byte_of(FIELD_MATCHER_ALIAS_alias_way);
    return {csa_get_be32(at), csa_get_be32(at + attribute), at[way]};
}

} // namespace

uint32_t view_alias_count(const view_area_t &value)
{
    return static_cast<uint32_t>(value.size / alias_size);
}

view_alias_t view_alias_at(const view_area_t &value, uint32_t index)
{
    const uint8_t *at = value.data + size_t{index} * alias_size;
    return {alias_side(at),
            alias_side(at + format_byte_of(FIELD_MATCHER_ALIAS_reference_protocol))};
}

uint32_t view_tag_count(const view_area_t &value)
{
    return static_cast<uint32_t>(view_words(value) / tag_words);
}

view_tag_t view_tag_at(const view_area_t &value, uint32_t index, bool least_first)
{
    const size_t at = size_t{index} * tag_words;
    const view_tag_t tag = {view_word(value, at), view_word(value, at + 1)};
    return least_first ? view_tag_t{csa_swap32(tag.name), csa_swap32(tag.number)} : tag;
}

bool view_group_open(const view_area_t &value, view_group_t &group, view_error_t &error)
{
    view_record_t strings;
    view_record_t protocols;
    if (!view_require(value, TLV_TYPE_PROTOGROUP_STRING, "strings of the group", strings, error) ||
        !view_require(value, TLV_TYPE_PROTOGROUP_PROTOS, "protocols", protocols, error))
        return false;
    group = {protocols.value, {strings.value}};
    return true;
}
