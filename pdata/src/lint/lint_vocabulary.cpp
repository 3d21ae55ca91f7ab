#include "lint_vocabulary.h"

#include <algorithm>

#include "format_limits.h"

namespace
{

// clang-format off
constexpr lint_key_row_t vocabulary[] = {
    // object            key                      kind          id                      most
    {LINT_PROTOCOL,      "name",                  LINT_STRING,  LINT_KEY_NAME,          0},
    {LINT_PROTOCOL,      "id",                    LINT_NUMBER,  LINT_KEY_ID,            0},
    {LINT_PROTOCOL,      "version",               LINT_NESTED,  LINT_KEY_VERSION,       0},
    {LINT_PROTOCOL,      "tags",                  LINT_NESTED,  LINT_KEY_TAGS,          0},
    {LINT_PROTOCOL,      "altname",               LINT_STRINGS, LINT_KEY_ALTNAME,       PROTOCOL_ALTNAME_DIM},
    {LINT_PROTOCOL,      "http_reclassify",       LINT_LITERAL, LINT_KEY_OTHER,         0},
    {LINT_PROTOCOL,      "implicit_bottom_layer", LINT_NUMBER,  LINT_KEY_OTHER,         0},
    {LINT_PROTOCOL,      "virtual_id",            LINT_NUMBER,  LINT_KEY_VIRTUAL_ID,    0},
    {LINT_PROTOCOL,      "cacheable",             LINT_LITERAL, LINT_KEY_OTHER,         0},
    {LINT_PROTOCOL,      "description",           LINT_NESTED,  LINT_KEY_DESCRIPTION,   0},
    {LINT_PROTOCOL,      "rules",                 LINT_NESTED,  LINT_KEY_RULES,         0},
    {LINT_VERSION,       "major",                 LINT_NUMBER,  LINT_KEY_OTHER,         0},
    {LINT_VERSION,       "minor",                 LINT_NUMBER,  LINT_KEY_OTHER,         0},
    {LINT_VERSION,       "revision",              LINT_NUMBER,  LINT_KEY_OTHER,         0},
    {LINT_TAGS,          "category",              LINT_STRINGS, LINT_KEY_CATEGORY,      PROTODESC_CATEGORY_MAX},
    {LINT_TAGS,          "family",                LINT_STRING,  LINT_KEY_FAMILY,        0},
    {LINT_TAGS,          "deprecated",            LINT_LITERAL, LINT_KEY_OTHER,         0},
    {LINT_DESCRIPTION,   "en",                    LINT_STRING,  LINT_KEY_OTHER,         0},
    {LINT_DESCRIPTION,   "fr",                    LINT_STRING,  LINT_KEY_OTHER,         0},
    {LINT_RULE,          "order",                 LINT_STRING,  LINT_KEY_ORDER,         0},
    {LINT_RULE,          "scope",                 LINT_STRINGS, LINT_KEY_SCOPE,         PROTOCOL_SCOPE_DIM},
    {LINT_RULE,          "fastpass",              LINT_LITERAL, LINT_KEY_FASTPASS,      0},
    {LINT_RULE,          "preempt",               LINT_LITERAL, LINT_KEY_PREEMPT,       0},
    {LINT_RULE,          "path",                  LINT_STRINGS, LINT_KEY_PATH,          PROTOCOL_PATH_DIM},
    {LINT_RULE,          "rule-tags",             LINT_STRINGS, LINT_KEY_RULE_TAGS,     PROTOCOL_RULE_TAG_DIM},
    {LINT_RULE,          "rule",                  LINT_NESTED,  LINT_KEY_RULE,          0},
    {LINT_SUB_RULE,      "protocol",              LINT_STRINGS, LINT_KEY_PROTOCOL,      PROTOCOL_PROTOCOL_DIM},
    {LINT_SUB_RULE,      "mindata",               LINT_NUMBER,  LINT_KEY_MINDATA,       0},
    {LINT_SUB_RULE,      "cts-mindata",           LINT_NUMBER,  LINT_KEY_CTS_MINDATA,   0},
    {LINT_SUB_RULE,      "stc-mindata",           LINT_NUMBER,  LINT_KEY_STC_MINDATA,   0},
    {LINT_SUB_RULE,      "stream_offset",         LINT_NESTED,  LINT_KEY_STREAM_OFFSET, 0},
    {LINT_SUB_RULE,      "cts-stream_offset",     LINT_NESTED,  LINT_KEY_STREAM_OFFSET, 0},
    {LINT_SUB_RULE,      "stc-stream_offset",     LINT_NESTED,  LINT_KEY_STREAM_OFFSET, 0},
    {LINT_STREAM_OFFSET, "offset",                LINT_NUMBER,  LINT_KEY_OFFSET,        0},
    {LINT_STREAM_OFFSET, "pattern",               LINT_STRING,  LINT_KEY_PATTERN,       0},
};
// clang-format on

constexpr lint_key_row_t attribute_row = {LINT_SUB_RULE, "", LINT_STRINGS, LINT_KEY_ATTRIBUTE, 0};

} // namespace

const lint_key_row_t *lint_find_key(lint_object_t object, std::string_view key)
{
    for (const lint_key_row_t &row : vocabulary)
        if (row.object == object && row.key == key)
            return &row;
    return object == LINT_SUB_RULE ? &attribute_row : nullptr;
}

bool lint_is_key(std::string_view key)
{
    return std::ranges::any_of(vocabulary,
                               [key](const lint_key_row_t &row) { return row.key == key; });
}

const char *lint_kind_name(lint_kind_t kind)
{
    if (kind == LINT_NUMBER)
        return "a number";
    return kind == LINT_LITERAL ? "true or false" : "a text in quotes";
}

const char *lint_kind_name(std::string_view key)
{
    const auto row = std::ranges::find(vocabulary, key, &lint_key_row_t::key);
    return lint_kind_name(row == std::end(vocabulary) ? LINT_STRINGS : row->kind);
}
