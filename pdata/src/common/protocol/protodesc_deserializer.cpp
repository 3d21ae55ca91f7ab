#include "protodesc_deserializer.h"

#include "protodesc_words.h"

namespace
{

pdata_status_t read_meta(const protodesc_record_t &record, protodesc_t *protodesc)
{
    // Older forms end earlier; what they lack reads as 0.
    uint32_t *const fields[] = {
        &protodesc->proto_id,
        &protodesc->proto_name,
        &protodesc->proto_default_port,
        &protodesc->proto_max_trans,
        &protodesc->proto_cacheable,
        &protodesc->proto_http_reclassify,
        &protodesc->proto_version_major,
        &protodesc->proto_version_minor,
        &protodesc->proto_version_revision,
        &protodesc->proto_implicit_bottom_layer,
    };
    const uint32_t len = record.len;
    if (len != 5 && len != 6 && len != 9 && len != 10)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "invalid Tlv len %d, cannot deserialize meta",
                          static_cast<int>(len));
    for (uint32_t i = 0; i < len; ++i)
        *fields[i] = protodesc_word(record.words, i);
    return PDATA_SUCCESS;
}

/// A list of single words.
pdata_status_t read_list(const protodesc_record_t &record, const uint8_t **list, uint32_t *nr)
{
    *list = record.len == 0 ? nullptr : record.words;
    *nr = record.len;
    return PDATA_SUCCESS;
}

/// A list of pairs of words.
pdata_status_t read_pairs(const protodesc_record_t &record, const char *what, const uint8_t **pairs,
                          uint32_t *nr)
{
    if (record.len % 2 != 0)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT, "Invalid Tlv len %d, cannot deserialize %s",
                          static_cast<int>(record.len), what);
    *pairs = record.len == 0 ? nullptr : record.words;
    *nr = record.len / 2;
    return PDATA_SUCCESS;
}

pdata_status_t read_rules(const protodesc_record_t &record, protodesc_t *protodesc)
{
    if (record.len < protodesc->proto_nr_rules)
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "Invalid Tlv len %d, cannot deserialize rules",
                          static_cast<int>(record.len));
    return read_list(record, &protodesc->proto_rules, &protodesc->proto_rules_len);
}

pdata_status_t read_record(const protodesc_record_t &record, protodesc_t *proto)
{
    switch (record.type) {
    case TLV_TYPE_PROTO_META:
        return read_meta(record, proto);
    case TLV_TYPE_PROTO_TAGS:
        return read_pairs(record, "tags", &proto->proto_tags, &proto->proto_nr_tags);
    case TLV_TYPE_PROTO_DESC:
        return read_pairs(record, "desc", &proto->proto_desc, &proto->proto_nr_desc);
    case TLV_TYPE_PROTO_SUPPORTED_VERSION:
        return read_list(record, &proto->proto_supported_version,
                         &proto->proto_nr_supported_version);
    case TLV_TYPE_PROTO_ALTNAME:
        return read_list(record, &proto->proto_altname, &proto->proto_nr_altname);
    case TLV_TYPE_PROTO_COMPAT:
        return read_list(record, &proto->proto_compat, &proto->proto_nr_compat);
    case TLV_TYPE_PROTO_RULES:
        return read_rules(record, proto);
    case TLV_TYPE_PROTO_RULES_OFFSET:
        return read_list(record, &proto->proto_rules_offset, &proto->proto_nr_rules);
    default:
        return PDATA_ERR_TLV_NOT_FOUND;
    }
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
    *protodesc = {};
    const auto total = static_cast<uint32_t>(buf.size() / 4);
    protodesc_record_t record;
    for (uint32_t at = 0; at < total; at += 1 + record.len) {
        if (!protodesc_record_at(buf.data(), total, at, &record))
            return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                              "too small buffer for deserialization: %u + %u > %u\n", record.len,
                              at + 1, total);
        const pdata_status_t status = read_record(record, protodesc);
        if (status != PDATA_SUCCESS)
            return status;
    }
    return PDATA_SUCCESS;
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
    pdata_status_t status = check_index(protodesc, "tag", protodesc.proto_nr_tags, index);
    if (status == PDATA_SUCCESS)
        status = protodesc_word_str(protodesc.proto_tags, index * 2, hstring, name);
    if (status == PDATA_SUCCESS)
        status = protodesc_word_str(protodesc.proto_tags, index * 2 + 1, hstring, value);
    return status;
}

uint32_t protodesc_get_desc_nr(const protodesc_t &protodesc)
{
    return protodesc.proto_nr_desc;
}

pdata_status_t protodesc_get_desc(const protodesc_t &protodesc, uint32_t index,
                                  const hstring_t &hstring, csa_str_t *lang, csa_str_t *text)
{
    pdata_status_t status = check_index(protodesc, "desc", protodesc.proto_nr_desc, index);
    if (status == PDATA_SUCCESS)
        status = protodesc_word_str(protodesc.proto_desc, index * 2, hstring, lang);
    if (status == PDATA_SUCCESS)
        status = protodesc_word_str(protodesc.proto_desc, index * 2 + 1, hstring, text);
    return status;
}

uint32_t protodesc_get_compat_nr(const protodesc_t &protodesc)
{
    return protodesc.proto_nr_compat;
}

pdata_status_t protodesc_get_compat(const protodesc_t &protodesc, uint32_t index,
                                    const hstring_t &hstring, csa_str_t *compat)
{
    const pdata_status_t status =
        check_index(protodesc, "compat", protodesc.proto_nr_compat, index);
    if (status != PDATA_SUCCESS)
        return status;
    return protodesc_word_str(protodesc.proto_compat, index, hstring, compat);
}

uint32_t protodesc_get_supported_version_nr(const protodesc_t &protodesc)
{
    return protodesc.proto_nr_supported_version;
}

pdata_status_t protodesc_get_supported_version(const protodesc_t &protodesc, uint32_t index,
                                               const hstring_t &hstring, csa_str_t *version)
{
    const pdata_status_t status =
        check_index(protodesc, "supported version", protodesc.proto_nr_supported_version, index);
    if (status != PDATA_SUCCESS)
        return status;
    return protodesc_word_str(protodesc.proto_supported_version, index, hstring, version);
}

uint32_t protodesc_get_altname_nr(const protodesc_t &protodesc)
{
    return protodesc.proto_nr_altname;
}

pdata_status_t protodesc_get_altname(const protodesc_t &protodesc, uint32_t index,
                                     const hstring_t &hstring, csa_str_t *altname)
{
    const pdata_status_t status =
        check_index(protodesc, "altname", protodesc.proto_nr_altname, index);
    if (status != PDATA_SUCCESS)
        return status;
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
    const pdata_status_t status =
        check_index(protodesc, "rule desc", protodesc.proto_nr_rules, index);
    if (status != PDATA_SUCCESS)
        return status;
    protodesc_record_t rule;
    if (!protodesc_record_in_list(protodesc.proto_rules, protodesc.proto_rules_len,
                                  protodesc.proto_rules_offset, index, &rule) ||
        !ruledesc_read(rule, ruledesc))
        return pdata_fail(PDATA_ERR_INVALID_ARGUMENT,
                          "Cannot get rule desc at index %d for proto id %d, len mismatch",
                          static_cast<int>(index), static_cast<int>(protodesc.proto_id));
    return PDATA_SUCCESS;
}
