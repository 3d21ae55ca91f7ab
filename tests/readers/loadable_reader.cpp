#include "loadable_reader.h"

#include <algorithm>

#include "file_format.h"
#include "loadable_parts.h"

namespace
{

/// A root record that was copied from the input: where it goes.
struct copied_part_t {
    uint32_t type;
    blob_span_t loadable_pdb_t::*part;
};

/// In the order of the file; each may be missing.
constexpr copied_part_t copied_parts[] = {
    {file_format::TLV_TYPE_ROOT_CFG, &loadable_pdb_t::configuration},
    {file_format::TLV_TYPE_ROOT_PROTODESCS, &loadable_pdb_t::descriptions},
    {file_format::TLV_TYPE_ROOT_TAGS, &loadable_pdb_t::tags},
    {file_format::TLV_TYPE_ROOT_MATCHER_ALIAS, &loadable_pdb_t::aliases},
    {file_format::TLV_TYPE_ROOT_STRING, &loadable_pdb_t::main_strings},
};

bool starts_with_type(blob_span_t rest, uint32_t type)
{
    return rest.size() >= 4 && rest[0] == type;
}

bool read_load_state(blob_span_t &rest, loadable_pdb_t &pdb, std::string &error)
{
    if (!starts_with_type(rest, file_format::TLV_TYPE_ROOT_LOAD))
        return true;
    blob_span_t value;
    if (!loadable_take_typed(rest, file_format::TLV_TYPE_ROOT_LOAD, 1, value, error))
        return loadable_within(error, "load state");
    pdb.load_state = loadable_word(value, 0);
    return *pdb.load_state == file_format::TLV_TYPE_LOAD_LOADABLE ||
           blob_fail(error, "load state: not that of a loadable pdb");
}

bool read_copied_parts(blob_span_t &rest, loadable_pdb_t &pdb, std::string &error)
{
    for (const copied_part_t &copied : copied_parts) {
        if (!starts_with_type(rest, copied.type))
            continue;
        const blob_span_t before = rest;
        blob_span_t value;
        if (!loadable_take_typed(rest, copied.type, LOADABLE_ANY_LENGTH, value, error))
            return false;
        pdb.*copied.part = before.first(before.size() - rest.size());
    }
    return true;
}

/// The tag table is read as it stands: whether its names exist is the business of its maker.
void read_tag_table(loadable_pdb_t &pdb)
{
    for (size_t word = 1; (word + 2) * 4 <= pdb.tags.size(); word += 2)
        pdb.tag_table.push_back({loadable_word(pdb.tags, word), loadable_word(pdb.tags, word + 1)});
}

/// Gives the text of one side of an alias from the main strings; false where none is.
bool read_alias_text(blob_span_t strings, uint32_t offset, std::string_view &text)
{
    if (offset % 2 != 0 || strings.size() < 2 || offset >= strings.size() - 2)
        return false;
    const size_t length = csa_get_be16(strings.data() + offset);
    if (length == 0 || length > strings.size() - 2 - offset)
        return false;
    text = {reinterpret_cast<const char *>(strings.data() + offset + 2), length};
    return true;
}

bool read_alias_side(blob_span_t strings, blob_span_t side, loadable_alias_side_t &alias)
{
    alias.way = side[8];
    return read_alias_text(strings, loadable_word(side, 0), alias.protocol) &&
           read_alias_text(strings, loadable_word(side, 1), alias.attribute) &&
           alias.way >= ATTR_WAY_CTS && alias.way <= ATTR_WAY_BOTH;
}

/// Reads the aliases; the first pair that is none ends them, as the padding does.
void read_alias_table(loadable_pdb_t &pdb)
{
    constexpr size_t header = 4;
    constexpr size_t side = 9;
    if (pdb.aliases.size() < header || pdb.main_strings.size() < header)
        return;
    const blob_span_t strings = pdb.main_strings.subspan(header);
    for (size_t at = header; pdb.aliases.size() - at >= 2 * side; at += 2 * side) {
        loadable_alias_t alias;
        if (!read_alias_side(strings, pdb.aliases.subspan(at, side), alias.alias) ||
            !read_alias_side(strings, pdb.aliases.subspan(at + side, side), alias.reference))
            return;
        pdb.alias_table.push_back(alias);
    }
}

bool read_version(blob_span_t &rest, loadable_pdb_t &pdb, std::string &error)
{
    constexpr size_t fixed = 12; // bytes in front of the text
    blob_span_t value;
    if (!loadable_take_typed(rest, file_format::TLV_TYPE_ROOT_VERSION, LOADABLE_ANY_LENGTH, value,
                             error))
        return loadable_within(error, "version");
    if (value.size() % 16 != 0 || value.size() < fixed ||
        loadable_word(value, 2) > value.size() - fixed)
        return blob_fail(error, "version: its text does not fit");
    pdb.version_major = loadable_word(value, 0);
    pdb.version_minor = loadable_word(value, 1);
    const blob_span_t text = value.subspan(fixed, loadable_word(value, 2));
    const blob_span_t padding = value.subspan(fixed + text.size());
    pdb.version_text = {reinterpret_cast<const char *>(text.data()), text.size()};
    return std::all_of(padding.begin(), padding.end(), [](uint8_t byte) { return byte == 0; }) ||
           blob_fail(error, "version: bytes behind its text");
}

/// What an empty pdb has in place of version, matchers and rules.
bool read_empty_end(blob_span_t rest, loadable_pdb_t &pdb, std::string &error)
{
    pdb.empty = true;
    return (rest.size() == 12 &&
            loadable_word(rest, 0) == file_format::TLV_TYPE_ROOT_DEFAULT_LOADED << 24 &&
            loadable_word(rest, 1) == 0 && loadable_word(rest, 2) == 0) ||
           blob_fail(error, "an empty pdb does not end with its marker and two zero words");
}

bool read_sections(blob_span_t rest, loadable_pdb_t &pdb, std::string &error)
{
    blob_span_t matchers;
    blob_span_t rules;
    return read_version(rest, pdb, error) &&
           loadable_take_typed(rest, file_format::TLV_TYPE_ROOT_MATCHERS, LOADABLE_ANY_LENGTH,
                               matchers, error) &&
           loadable_take_typed(rest, file_format::TLV_TYPE_ROOT_RULES, LOADABLE_ANY_LENGTH, rules,
                               error) &&
           blob_end(rest, error) && loadable_read_matchers(matchers, pdb, error) &&
           loadable_read_rules(rules, pdb, error);
}

} // namespace

bool loadable_take(blob_span_t &rest, uint32_t &type, blob_span_t &value, std::string &error)
{
    if (rest.size() < 4)
        return blob_fail(error, "no room for a header");
    const uint32_t header = loadable_word(rest, 0);
    const size_t length = size_t{header & file_format::TLV_LEN_FIELD_MAX} * 4;
    type = header >> 24;
    if (length > rest.size() - 4)
        return blob_fail(error, "record " + std::to_string(type) + " of " + std::to_string(length) +
                                    " bytes runs past the end");
    value = rest.subspan(4, length);
    rest = rest.subspan(4 + length);
    return true;
}

bool loadable_take_typed(blob_span_t &rest, uint32_t type, size_t nr_word, blob_span_t &value,
                         std::string &error)
{
    uint32_t found;
    if (!loadable_take(rest, found, value, error))
        return loadable_within(error, "record " + std::to_string(type));
    if (found != type)
        return blob_fail(error, "record " + std::to_string(type) + ": type " +
                                    std::to_string(found) + " stands there");
    return nr_word == LOADABLE_ANY_LENGTH || value.size() == nr_word * 4 ||
           blob_fail(error, "record " + std::to_string(type) + ": " + std::to_string(value.size()) +
                                " bytes instead of " + std::to_string(nr_word * 4));
}

bool loadable_within(std::string &error, const std::string &where)
{
    return blob_fail(error, where + ": " + error);
}

bool loadable_strings_open(blob_span_t blob, loadable_strings_t &strings, std::string &error)
{
    strings = {blob, {}};
    if (blob.size() % 4 != 0)
        return blob_fail(error, "string table of " + std::to_string(blob.size()) + " bytes");
    size_t at = 0;
    while (blob.size() - at >= 2) {
        const size_t length = csa_get_be16(blob.data() + at);
        if (length == 0)
            break;
        if (length + length % 2 > blob.size() - at - 2)
            return blob_fail(error, "string at " + std::to_string(at) + " runs past its table");
        if (length % 2 != 0 && blob[at + 2 + length] != 0)
            return blob_fail(error, "string at " + std::to_string(at) + " is not padded");
        strings.starts.push_back(static_cast<uint32_t>(at));
        at += 2 + length + length % 2;
    }
    const auto is_zero = [](uint8_t byte) { return byte == 0; };
    const blob_span_t padding = blob.subspan(at);
    return (padding.size() < 4 && std::all_of(padding.begin(), padding.end(), is_zero)) ||
           blob_fail(error, "string table ends at " + std::to_string(at) + " of " +
                                std::to_string(blob.size()) + " bytes");
}

bool loadable_strings_get(const loadable_strings_t &strings, uint32_t offset,
                          std::string_view &text)
{
    if (!std::binary_search(strings.starts.begin(), strings.starts.end(), offset))
        return false;
    const uint8_t *at = strings.blob.data() + offset;
    text = {reinterpret_cast<const char *>(at + 2), csa_get_be16(at)};
    return true;
}

bool loadable_open(blob_span_t bytes, loadable_pdb_t &pdb, std::string &error)
{
    pdb = {};
    if (bytes.size() % 4 != 0)
        return blob_fail(error, std::to_string(bytes.size()) + " bytes are not whole words");
    blob_span_t rest = bytes;
    if (!read_load_state(rest, pdb, error) || !read_copied_parts(rest, pdb, error))
        return false;
    read_tag_table(pdb);
    read_alias_table(pdb);
    if (starts_with_type(rest, file_format::TLV_TYPE_ROOT_DEFAULT_LOADED))
        return read_empty_end(rest, pdb, error);
    if (pdb.descriptions.empty())
        return blob_fail(error, "no protocol descriptions");
    return read_sections(rest, pdb, error);
}

std::string loadable_verify(blob_span_t bytes, loadable_origin_t origin)
{
    loadable_pdb_t pdb;
    std::string error;
    if (!loadable_open(bytes, pdb, error) || !loadable_check(pdb, origin, error))
        return error;
    return "";
}

const loadable_matcher_t *loadable_find_matcher(const loadable_pdb_t &pdb,
                                                std::string_view protocol,
                                                std::string_view attribute, uint32_t way)
{
    for (const loadable_matcher_t &matcher : pdb.matchers)
        if (matcher.way == way && matcher.attribute == attribute && matcher.protocol == protocol)
            return &matcher;
    return nullptr;
}
