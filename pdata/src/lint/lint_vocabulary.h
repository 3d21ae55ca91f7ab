/// The keys of a description: where each may stand and what it takes.
///
/// The rule file says which keys an object has; what kind of value a key takes is said by the
/// compiler's own reader, and a value of another kind ends it without a message.
#pragma once

#include <cstdint>
#include <string_view>

/// The objects of a description.
enum lint_object_t : uint8_t {
    LINT_PROTOCOL,
    LINT_VERSION,
    LINT_TAGS,
    LINT_DESCRIPTION,
    LINT_RULE,
    LINT_SUB_RULE,
    LINT_STREAM_OFFSET,
};

/// What a key takes.
enum lint_kind_t : uint8_t {
    LINT_STRING,
    LINT_STRINGS, ///< a string, or an array of them
    LINT_NUMBER,
    LINT_LITERAL,
    LINT_NESTED, ///< an object, or an array of objects
};

/// The keys that mean something to a check, each once.
enum lint_key_id_t : uint8_t {
    LINT_KEY_OTHER, ///< read, and not looked at
    LINT_KEY_NAME,
    LINT_KEY_ID,
    LINT_KEY_ALTNAME,
    LINT_KEY_VIRTUAL_ID,
    LINT_KEY_CATEGORY,
    LINT_KEY_FAMILY,
    LINT_KEY_TAGS,
    LINT_KEY_VERSION,
    LINT_KEY_DESCRIPTION,
    LINT_KEY_RULES,
    LINT_KEY_ORDER,
    LINT_KEY_SCOPE,
    LINT_KEY_FASTPASS,
    LINT_KEY_PREEMPT,
    LINT_KEY_PATH,
    LINT_KEY_RULE_TAGS,
    LINT_KEY_RULE,
    LINT_KEY_PROTOCOL,
    LINT_KEY_MINDATA,
    LINT_KEY_CTS_MINDATA,
    LINT_KEY_STC_MINDATA,
    LINT_KEY_STREAM_OFFSET,
    LINT_KEY_OFFSET,
    LINT_KEY_PATTERN,
    LINT_KEY_ATTRIBUTE, ///< any other key of a sub-rule
};

/// One key.
struct lint_key_row_t {
    lint_object_t object;
    std::string_view key;
    lint_kind_t kind;
    lint_key_id_t id;
    uint32_t max; ///< most values in an array, 0: no limit of its own
};

/// Returns the row of a key of an object: that of attributes for an unknown key of a sub-rule, null
/// for one of another object.
const lint_key_row_t *lint_find_key(lint_object_t object, std::string_view key);

/// Tells whether any object has a key of that name.
bool lint_is_key(std::string_view key);

/// Returns how a message calls what a scalar key takes: "a number". The key of no object is an
/// attribute, which takes a text.
const char *lint_kind_name(lint_kind_t kind);
const char *lint_kind_name(std::string_view key);
