/// JSON trees: the nodes that a parsed text becomes.
///
/// The accepted language is a small subset of JSON: objects, arrays, strings with their escapes
/// left raw, unsigned decimal integers and the three literals. A node never copies text: strings
/// point into the text that was parsed, which must outlive the tree. All nodes of a tree live in
/// the pool of its json_t and are released together, whatever the depth of the tree.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

/// Kinds of token. The end of the text is reported as JSON_TOKEN_END; JSON_TOKEN_EOF names the
/// expectation of the end of input in reports.
enum json_token_type_t : uint32_t {
    JSON_TOKEN_OPENING_BRACE,
    JSON_TOKEN_CLOSING_BRACE,
    JSON_TOKEN_OPENING_BRACKET,
    JSON_TOKEN_CLOSING_BRACKET,
    JSON_TOKEN_COLON,
    JSON_TOKEN_COMMA,
    JSON_TOKEN_STRING,
    JSON_TOKEN_NUMBER,
    JSON_TOKEN_TRUE,
    JSON_TOKEN_FALSE,
    JSON_TOKEN_NULL,
    JSON_TOKEN_EOF,
    JSON_TOKEN_END,
};

/// A token: the half-open range of bytes from `offset_start` to `offset_end` of the text.
struct json_token_t {
    json_token_type_t type = JSON_TOKEN_OPENING_BRACE;
    uint32_t offset_start = 0;
    uint32_t offset_end = 0;
    uint32_t line = 1; ///< counted from 1; line feeds inside strings do not count
};

/// Kinds of node.
enum json_node_type_t : uint32_t {
    JSON_ROOT,
    JSON_OBJECT,
    JSON_PAIR,
    JSON_ARRAY,
    JSON_VALUE,
    JSON_STRING,
    JSON_NUMBER,
    JSON_TRUE,
    JSON_FALSE,
    JSON_NULL,
};

/// The common part that every node record begins with.
struct json_node_t {
    json_node_type_t type;
    json_node_t *next = nullptr;  ///< the following sibling, in text order
    json_node_t *child = nullptr; ///< the first child, where the kind has children
};

/// The root of a tree; its child is the document's value.
struct json_ast_t {
    json_node_t root;
};

/// An object; its child is the first pair.
struct json_object_t {
    json_node_t node;
};

/// An array; its child is the first element.
struct json_array_t {
    json_node_t node;
};

/// A string, raw: `len` bytes between the quotes, escapes included, pointing into the text.
struct json_string_t {
    json_node_t node;
    const char *str;
    uint32_t len;
};

/// A pair of an object; siblings are the object's further pairs.
struct json_pair_t {
    json_node_t node;
    json_string_t *string; ///< the key
    json_node_t *value;
};

/// An unsigned integer, modulo 2^32.
struct json_number_t {
    json_node_t node;
    uint32_t number;
};

/// What a literal says.
enum json_atom_type_t : uint8_t { JSON_ATOM_TRUE, JSON_ATOM_FALSE, JSON_ATOM_NULL };

/// One of the three literals; the kind of its node says the same as `type`.
struct json_atom_t {
    json_node_t node;
    json_atom_type_t type;
};

/// Where the nodes of a tree live: blocks of one size, of which the next tree takes its nodes too.
struct json_pool_t {
    std::vector<std::unique_ptr<std::byte[]>> blocks;
    size_t nr_block = 0;       ///< blocks in use, the last of them in part
    std::span<std::byte> room; ///< what is left of it
};

/// A text and the tree parsed from it.
struct json_t {
    json_ast_t *ast = nullptr; ///< lives in `pool`
    const char *str = nullptr; ///< the text; not owned, not terminated
    uint32_t len = 0;          ///< bytes at `str`
    json_pool_t pool;
};

/// Returns the bytes of a string node.
inline std::string_view json_string_view(const json_string_t &string)
{
    return {string.str, string.len};
}

/// The record around a node, which must be of that kind: every record begins with its node.
inline json_pair_t *json_as_pair(json_node_t *node)
{
    return reinterpret_cast<json_pair_t *>(node);
}

inline json_string_t *json_as_string(json_node_t *node)
{
    return reinterpret_cast<json_string_t *>(node);
}

inline json_number_t *json_as_number(json_node_t *node)
{
    return reinterpret_cast<json_number_t *>(node);
}

inline json_atom_t *json_as_atom(json_node_t *node)
{
    return reinterpret_cast<json_atom_t *>(node);
}

inline json_object_t *json_as_object(json_node_t *node)
{
    return reinterpret_cast<json_object_t *>(node);
}

inline json_array_t *json_as_array(json_node_t *node)
{
    return reinterpret_cast<json_array_t *>(node);
}
