#include "json_parser.h"

#include <cstddef>
#include <new>
#include <span>
#include <vector>

#include "json_error.h"
#include "json_lexer.h"

namespace
{

/// An object or an array whose end has not been met.
struct open_container {
    json_node_t *container;
    json_node_t *last; ///< its latest pair or element, null while there is none
};

struct json_parser_t {
    json_t *json;
    json_token_t token;
    std::vector<open_container> stack;
};

/// Bytes of a block of the pool.
constexpr size_t NODE_BLOCK = 4096;

/// Opens the next block of a pool. Throws std::bad_alloc.
void next_block(json_pool_t &pool)
{
    if (pool.nr_block == pool.blocks.size())
        pool.blocks.push_back(std::make_unique_for_overwrite<std::byte[]>(NODE_BLOCK));
    pool.room = {pool.blocks[pool.nr_block++].get(), NODE_BLOCK};
}

/// Makes a node record in a pool. Throws std::bad_alloc.
template <typename Node>
Node *pool_node(json_pool_t &pool, const Node &value)
{
    static_assert(alignof(Node) == alignof(json_node_t) && sizeof(Node) <= NODE_BLOCK);
    if (pool.room.size() < sizeof(Node))
        next_block(pool);
    Node *node = new (pool.room.data()) Node(value);
    pool.room = pool.room.subspan(sizeof(Node));
    return node;
}

/// What comes next; negative values are the codes of the reporters.
enum parse_step : int {
    STEP_VALUE = 0, ///< a value must follow
    STEP_NEXT = 1,  ///< a value is complete
};

int token_fill(json_parser_t &parser)
{
    if (json_lexer_token_fill(parser.json->str, parser.json->len, &parser.token) != 0)
        return json_err_lexer(*parser.json, parser.token);
    return 0;
}

int unexpected(json_parser_t &parser, const json_token_type_t *expected)
{
    return json_err_parser(*parser.json, parser.token, expected);
}

/// Makes a node record in the tree's pool; null, and reported, when memory runs out.
template <typename Node>
Node *new_node(json_parser_t &parser, const Node &value, const char *pool)
{
    try {
        return pool_node(parser.json->pool, value);
    } catch (const std::bad_alloc &) {
        (void)json_err_pool(pool); // the caller returns the same code
        return nullptr;
    }
}

/// Hangs a complete or opened value where the parse stands.
void attach(json_parser_t &parser, json_node_t *value)
{
    if (parser.stack.empty()) {
        parser.json->ast->root.child = value;
        return;
    }
    open_container &top = parser.stack.back();
    if (top.container->type == JSON_OBJECT) {
        json_as_pair(top.last)->value = value;
        return;
    }
    (top.last == nullptr ? top.container->child : top.last->next) = value;
    top.last = value;
}

int push(json_parser_t &parser, json_node_t *container, const char *pool)
{
    try {
        parser.stack.push_back({container, nullptr});
    } catch (const std::bad_alloc &) {
        return json_err_pool(pool);
    }
    return 0;
}

json_string_t *json_parse_string(json_parser_t &parser)
{
    const json_token_t &token = parser.token;
    const json_string_t string = {{JSON_STRING},
                                  parser.json->str + token.offset_start + 1,
                                  token.offset_end - token.offset_start - 2};
    json_lexer_token_eat(&parser.token);
    return new_node(parser, string, "strings");
}

json_number_t *json_parse_number(json_parser_t &parser)
{
    const char *text = parser.json->str;
    const json_number_t number = {
        {JSON_NUMBER},
        json_antoi(text + parser.token.offset_start, text + parser.token.offset_end)};
    json_lexer_token_eat(&parser.token);
    return new_node(parser, number, "numbers");
}

json_atom_t *json_parse_atom(json_parser_t &parser)
{
    json_atom_t atom = {{JSON_NULL}, JSON_ATOM_NULL};
    if (parser.token.type == JSON_TOKEN_TRUE)
        atom = {{JSON_TRUE}, JSON_ATOM_TRUE};
    else if (parser.token.type == JSON_TOKEN_FALSE)
        atom = {{JSON_FALSE}, JSON_ATOM_FALSE};
    json_lexer_token_eat(&parser.token);
    return new_node(parser, atom, "atoms");
}

/// The key and the colon of a pair; its value follows. The token is filled.
int json_parse_pair(json_parser_t &parser)
{
    if (parser.token.type != JSON_TOKEN_STRING)
        return unexpected(parser, expected_string);
    json_pair_t *pair = new_node(parser, json_pair_t{{JSON_PAIR}, nullptr, nullptr}, "pairs");
    if (pair == nullptr)
        return JSON_ERR_POOL;
    open_container &top = parser.stack.back();
    (top.last == nullptr ? top.container->child : top.last->next) = &pair->node;
    top.last = &pair->node;
    pair->string = json_parse_string(parser);
    if (pair->string == nullptr)
        return JSON_ERR_POOL;
    if (int ret = token_fill(parser); ret != 0)
        return ret;
    if (parser.token.type != JSON_TOKEN_COLON)
        return unexpected(parser, expected_colon);
    json_lexer_token_eat(&parser.token);
    return STEP_VALUE;
}

int json_parse_object(json_parser_t &parser)
{
    json_object_t *object = new_node(parser, json_object_t{{JSON_OBJECT}}, "objects");
    if (object == nullptr)
        return JSON_ERR_POOL;
    attach(parser, &object->node);
    json_lexer_token_eat(&parser.token);
    if (int ret = token_fill(parser); ret != 0)
        return ret;
    if (parser.token.type == JSON_TOKEN_CLOSING_BRACE) {
        json_lexer_token_eat(&parser.token);
        return STEP_NEXT;
    }
    if (int ret = push(parser, &object->node, "objects"); ret != 0)
        return ret;
    return json_parse_pair(parser);
}

int json_parse_array(json_parser_t &parser)
{
    json_array_t *array = new_node(parser, json_array_t{{JSON_ARRAY}}, "arrays");
    if (array == nullptr)
        return JSON_ERR_POOL;
    attach(parser, &array->node);
    json_lexer_token_eat(&parser.token);
    if (int ret = token_fill(parser); ret != 0)
        return ret;
    if (parser.token.type == JSON_TOKEN_CLOSING_BRACKET) {
        json_lexer_token_eat(&parser.token);
        return STEP_NEXT;
    }
    if (int ret = push(parser, &array->node, "arrays"); ret != 0)
        return ret;
    return STEP_VALUE;
}

template <typename Node>
int json_parse_leaf(json_parser_t &parser, Node *leaf)
{
    if (leaf == nullptr)
        return JSON_ERR_POOL;
    attach(parser, &leaf->node);
    return STEP_NEXT;
}

/// A value: a leaf is complete at once, an object or an array is opened.
int json_parse_value(json_parser_t &parser)
{
    if (int ret = token_fill(parser); ret != 0)
        return ret;
    switch (parser.token.type) {
    case JSON_TOKEN_OPENING_BRACE:
        return json_parse_object(parser);
    case JSON_TOKEN_OPENING_BRACKET:
        return json_parse_array(parser);
    case JSON_TOKEN_STRING:
        return json_parse_leaf(parser, json_parse_string(parser));
    case JSON_TOKEN_NUMBER:
        return json_parse_leaf(parser, json_parse_number(parser));
    case JSON_TOKEN_TRUE:
    case JSON_TOKEN_FALSE:
    case JSON_TOKEN_NULL:
        return json_parse_leaf(parser, json_parse_atom(parser));
    default:
        return unexpected(parser, expected_all);
    }
}

/// Behind a pair's value: another pair or the end of the object. The token is filled.
int json_parse_members(json_parser_t &parser)
{
    if (parser.token.type == JSON_TOKEN_COMMA) {
        json_lexer_token_eat(&parser.token);
        if (int ret = token_fill(parser); ret != 0)
            return ret;
        return json_parse_pair(parser);
    }
    if (parser.token.type != JSON_TOKEN_CLOSING_BRACE)
        return unexpected(parser, expected_members_next);
    json_lexer_token_eat(&parser.token);
    parser.stack.pop_back();
    return STEP_NEXT;
}

/// Behind an element: another element or the end of the array. The token is filled.
int json_parse_elements(json_parser_t &parser)
{
    if (parser.token.type == JSON_TOKEN_COMMA) {
        json_lexer_token_eat(&parser.token);
        return STEP_VALUE;
    }
    if (parser.token.type != JSON_TOKEN_CLOSING_BRACKET)
        return unexpected(parser, expected_elements_next);
    json_lexer_token_eat(&parser.token);
    parser.stack.pop_back();
    return STEP_NEXT;
}

/// One value with all that it holds.
int json_parsing_elem(json_parser_t &parser)
{
    int step = STEP_VALUE;
    for (;;) {
        if (step < 0)
            return step;
        if (step == STEP_VALUE) {
            step = json_parse_value(parser);
            continue;
        }
        if (parser.stack.empty())
            return 0;
        if (int ret = token_fill(parser); ret != 0)
            return ret;
        const bool in_object = parser.stack.back().container->type == JSON_OBJECT;
        step = in_object ? json_parse_members(parser) : json_parse_elements(parser);
    }
}

} // namespace

int pragmar_create(json_t *json, const char *str, uint32_t len)
{
    try {
        json->pool.nr_block = 0;
        json->pool.room = {};
        json->ast = pool_node(json->pool, json_ast_t{{JSON_ROOT}});
    } catch (const std::bad_alloc &) {
        pragmar_destroy(json);
        return -1;
    }
    json->str = str;
    json->len = len;
    return 0;
}

void pragmar_destroy(json_t *json)
{
    json->ast = nullptr;
    json->pool = {};
}

int json_parse(json_t *json)
{
    return json_parse_ex(json, true, nullptr);
}

int json_parse_sub(json_t *json, uint32_t *consumed)
{
    return json_parse_ex(json, false, consumed);
}

int json_parse_ex(json_t *json, bool end_check, uint32_t *consumed)
{
    json_parser_t parser = {json, {}, {}};
    if (int ret = json_parsing_elem(parser); ret != 0)
        return ret;
    json_lexer_skip(json->str, json->len, &parser.token);
    if (!end_check) {
        *consumed = parser.token.offset_start;
        return 0;
    }
    // The last character of the text may be anything. Oddity O58.
    if (parser.token.offset_start >= json->len - 1)
        return 0;
    if (int ret = token_fill(parser); ret != 0)
        return ret;
    return unexpected(parser, expected_eof);
}

uint32_t json_antoi(const char *start, const char *end)
{
    uint32_t value = 0;
    for (; start < end; ++start)
        value = value * 10 + static_cast<uint32_t>(*start - '0');
    return value;
}
