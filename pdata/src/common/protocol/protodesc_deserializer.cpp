#include "protodesc_deserializer.h"

#include "protodesc_words.h"

namespace
{

/// The words of a list, null when there are none.
const uint8_t *words_of(const view_area_t &list)
{
    return list.size == 0 ? nullptr : list.data;
}

uint32_t count_of(const view_area_t &list, size_t words_each)
{
    return static_cast<uint32_t>(view_words(list) / words_each);
}

void fill_meta(const view_protocol_t &view, protodesc_t *protodesc)
{
    protodesc->proto_id = view.id;
    protodesc->proto_name = view.name;
    protodesc->proto_default_port = view.default_port;
    protodesc->proto_max_trans = view.max_trans;
    protodesc->proto_cacheable = view.cacheable;
    protodesc->proto_http_reclassify = view.http_reclassify;
    protodesc->proto_version_major = view.version_major;
    protodesc->proto_version_minor = view.version_minor;
    protodesc->proto_version_revision = view.version_revision;
    protodesc->proto_implicit_bottom_layer = view.implicit_bottom_layer;
}

void fill_lists(const view_protocol_t &view, protodesc_t *protodesc)
{
    protodesc->proto_tags = words_of(view.tags);
    protodesc->proto_nr_tags = count_of(view.tags, 2);
    protodesc->proto_desc = words_of(view.descriptions);
    protodesc->proto_nr_desc = count_of(view.descriptions, 2);
    protodesc->proto_compat = words_of(view.compat);
    protodesc->proto_nr_compat = count_of(view.compat, 1);
    protodesc->proto_supported_version = words_of(view.supported_versions);
    protodesc->proto_nr_supported_version = count_of(view.supported_versions, 1);
    protodesc->proto_altname = words_of(view.altnames);
    protodesc->proto_nr_altname = count_of(view.altnames, 1);
    protodesc->proto_rules_offset = words_of(view.rules.offsets);
    protodesc->proto_nr_rules = count_of(view.rules.offsets, 1);
    protodesc->proto_rules = words_of(view.rules.records);
    protodesc->proto_rules_len = count_of(view.rules.records, 1);
}

/// The status and message for a record that is refused.
pdata_status_t refused(const view_record_t &record)
{
    const auto len = static_cast<int>(record.length);
    switch (record.type) {
    case TLV_TYPE_PROTO_META:
        // Oddity O44.
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "invalid Tlv len %d, cannot deserialize meta",
                          len);
    case TLV_TYPE_PROTO_TAGS:
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Invalid Tlv len %d, cannot deserialize tags",
                          len);
    case TLV_TYPE_PROTO_DESC:
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Invalid Tlv len %d, cannot deserialize desc",
                          len);
    case TLV_TYPE_PROTO_RULES:
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "Invalid Tlv len %d, cannot deserialize rules", len);
    default:
        return PDATA_ERR_TLV_NOT_FOUND;
    }
}

/// Walks the records of a description into a view, up to the first that is refused.
pdata_status_t read_protocol(const view_area_t &area, view_protocol_t *view)
{
    view_cursor_t cursor = view_walk(area);
    view_record_t record;
    while (view_next(cursor, record))
        if (view_protocol_take(record, *view) != VIEW_SOUND)
            return refused(record);
    if (cursor.end == VIEW_WALK_DONE)
        return PDATA_SUCCESS;
    return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                      "too small buffer for deserialization: %u + %u > %u\n", record.length,
                      static_cast<uint32_t>(cursor.at / 4 + 1),
                      static_cast<uint32_t>(view_words(area)));
}

/// Checks an index into a list of the protocol that the message calls `what`.
pdata_status_t check_index(const protodesc_t &protodesc, const char *what, uint32_t nr,
                           uint32_t index)
{
    if (index < nr)
        return PDATA_SUCCESS;
    return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Cannot get %s at index %d for proto id %d", what,
                      static_cast<int>(index), static_cast<int>(protodesc.proto_id));
}

} // namespace

pdata_status_t protodesc_deserialize(protodesc_t *protodesc, std::span<const uint8_t> buf)
{
    view_protocol_t view;
    const pdata_status_t status = read_protocol(whole_words(buf.data(), buf.size() / 4), &view);
    fill_meta(view, protodesc);
    fill_lists(view, protodesc);
    return status;
}

pdata_status_t protodesc_get_name(const protodesc_t &protodesc, const hstring_t &hstring,
                                  csa_str_t *name)
{
    return protodesc_str(protodesc.proto_name, hstring, name);
}

pdata_status_t protodesc_get_default_port(const protodesc_t &protodesc, const hstring_t &hstring,
                                          csa_str_t *port)
{
    return protodesc_str(protodesc.proto_default_port, hstring, port);
}

uint32_t protodesc_get_id(const protodesc_t &protodesc)
{
    return protodesc.proto_id;
}

uint32_t protodesc_get_ns(const protodesc_t &protodesc)
{
    return protodesc.proto_id >> 24 & 3;
}

uint32_t protodesc_get_max_trans(const protodesc_t &protodesc)
{
    return protodesc.proto_max_trans;
}

uint32_t protodesc_get_cacheable(const protodesc_t &protodesc)
{
    return protodesc.proto_cacheable;
}

uint32_t protodesc_get_http_reclassify(const protodesc_t &protodesc)
{
    return protodesc.proto_http_reclassify;
}

uint32_t protodesc_get_implicit_bottom_layer(const protodesc_t &protodesc)
{
    return protodesc.proto_implicit_bottom_layer;
}

uint32_t protodesc_get_version_major(const protodesc_t &protodesc)
{
    return protodesc.proto_version_major;
}

uint32_t protodesc_get_version_minor(const protodesc_t &protodesc)
{
    return protodesc.proto_version_minor;
}

uint32_t protodesc_get_version_revision(const protodesc_t &protodesc)
{
    return protodesc.proto_version_revision;
}

uint32_t protodesc_get_tag_nr(const protodesc_t &protodesc)
{
    return protodesc.proto_nr_tags;
}

pdata_status_t protodesc_get_tag(const protodesc_t &protodesc, uint32_t index,
                                 const hstring_t &hstring, csa_str_t *name, csa_str_t *value)
{
    PDATA_TRY(check_index(protodesc, "tag", protodesc.proto_nr_tags, index));
    PDATA_TRY(protodesc_word_str(protodesc.proto_tags, index * 2, hstring, name));
    return protodesc_word_str(protodesc.proto_tags, index * 2 + 1, hstring, value);
}

uint32_t protodesc_get_desc_nr(const protodesc_t &protodesc)
{
    return protodesc.proto_nr_desc;
}

pdata_status_t protodesc_get_desc(const protodesc_t &protodesc, uint32_t index,
                                  const hstring_t &hstring, csa_str_t *lang, csa_str_t *text)
{
    PDATA_TRY(check_index(protodesc, "desc", protodesc.proto_nr_desc, index));
    PDATA_TRY(protodesc_word_str(protodesc.proto_desc, index * 2, hstring, lang));
    return protodesc_word_str(protodesc.proto_desc, index * 2 + 1, hstring, text);
}

uint32_t protodesc_get_compat_nr(const protodesc_t &protodesc)
{
    return protodesc.proto_nr_compat;
}

pdata_status_t protodesc_get_compat(const protodesc_t &protodesc, uint32_t index,
                                    const hstring_t &hstring, csa_str_t *compat)
{
    PDATA_TRY(check_index(protodesc, "compat", protodesc.proto_nr_compat, index));
    return protodesc_word_str(protodesc.proto_compat, index, hstring, compat);
}

uint32_t protodesc_get_supported_version_nr(const protodesc_t &protodesc)
{
    return protodesc.proto_nr_supported_version;
}

pdata_status_t protodesc_get_supported_version(const protodesc_t &protodesc, uint32_t index,
                                               const hstring_t &hstring, csa_str_t *version)
{
    PDATA_TRY(
        check_index(protodesc, "supported version", protodesc.proto_nr_supported_version, index));
    return protodesc_word_str(protodesc.proto_supported_version, index, hstring, version);
}

uint32_t protodesc_get_altname_nr(const protodesc_t &protodesc)
{
    return protodesc.proto_nr_altname;
}

pdata_status_t protodesc_get_altname(const protodesc_t &protodesc, uint32_t index,
                                     const hstring_t &hstring, csa_str_t *altname)
{
    PDATA_TRY(check_index(protodesc, "altname", protodesc.proto_nr_altname, index));
    return protodesc_word_str(protodesc.proto_altname, index, hstring, altname);
}

uint32_t protodesc_get_ruledesc_nr(const protodesc_t &protodesc)
{
    return protodesc.proto_nr_rules;
}

pdata_status_t protodesc_get_ruledesc(const protodesc_t &protodesc, uint32_t index,
                                      ruledesc_t *ruledesc)
{
    *ruledesc = {};
    PDATA_TRY(check_index(protodesc, "rule desc", protodesc.proto_nr_rules, index));
    const view_list_t rules = {whole_words(protodesc.proto_rules, protodesc.proto_rules_len),
                               whole_words(protodesc.proto_rules_offset, protodesc.proto_nr_rules)};
    if (!ruledesc_read(rules, index, ruledesc))
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "Cannot get rule desc at index %d for proto id %d, len mismatch",
                          static_cast<int>(index), static_cast<int>(protodesc.proto_id));
    return PDATA_SUCCESS;
}
