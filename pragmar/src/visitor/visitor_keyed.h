/// A visitor that keys lead: what a key means depends on the keys around it, and what a value means
/// on the key in front of it.
///
/// A consumer lists its vocabulary in a table: which key opens which state below which state, and
/// where the keys, strings, numbers and literals of a state go. One walk serves every table. The
/// table is a template argument, so that a walk costs no more than one written by hand.
#pragma once

#include "json_visitor.h"
#include "stack_state.h"

/// The walk over one document.
template <typename Container>
struct visitor_keyed_t {
    json_visitor_t visitor;         ///< must stay first: the callbacks cast back
    Container *container = nullptr; ///< being filled; not owned
    stack_state_t stack;
    bool is_value = false; ///< the next scalar is a value, not a key
};

/// Where a node met in a state goes. `store` returns 0, or nonzero to end the walk.
template <typename Container, typename Node>
struct keyed_row_t {
    uint32_t state;
    int (*store)(Container *container, Node *node);
};

/// What the end of an object or an array in a state does; returns as `store` does.
template <typename Container>
struct keyed_end_t {
    uint32_t state;
    int (*end)(Container *container);
};

/// The state inside an array in a state.
struct keyed_array_t {
    uint32_t state;
    uint32_t inside;
};

/// The vocabulary of a document. What has no row is ignored.
template <typename Container>
struct keyed_table_t {
    uint32_t root = 0;                              ///< the state in front of any key
    uint32_t (*unknown)(uint32_t parent) = nullptr; ///< the state of a key without a row
    std::span<const state_key_t> keys{};            ///< which state a key opens below which state
    std::span<const keyed_row_t<Container, json_string_t>> names{}; ///< keys that are stored
    std::span<const keyed_row_t<Container, json_string_t>> strings{};
    std::span<const keyed_row_t<Container, json_number_t>> numbers{};
    std::span<const keyed_row_t<Container, json_atom_t>> atoms{};
    std::span<const keyed_end_t<Container>> object_ends{};
    std::span<const keyed_end_t<Container>> array_ends{};
    std::span<const keyed_array_t> arrays{}; ///< empty: an array stays in the state it stands in
    uint32_t other_array = 0;                ///< the state inside an array without a row
    /// Tells whether a state takes a value of a kind (JSON_TRUE for any literal); a value that it
    /// does not take ends the walk. Null: every state takes every value.
    bool (*accepts)(uint32_t state, json_node_type_t kind) = nullptr;
    bool pair_end_closes = false; ///< what follows a pair is no value, also inside an array
};

template <typename Container>
visitor_keyed_t<Container> &keyed_self(json_visitor_t *visitor)
{
    return *reinterpret_cast<visitor_keyed_t<Container> *>(visitor);
}

/// Calls what a list of rows says for a state, with these arguments; 0 without a row.
template <typename Rows, typename... Arguments>
int keyed_call(const Rows &rows, uint32_t state, Arguments... arguments)
{
    for (const auto &[of_state, operation] : rows)
        if (of_state == state)
            return operation(arguments...);
    return 0;
}

template <typename Container, const keyed_table_t<Container> &Table>
int keyed_pair_start(json_visitor_t *visitor, json_pair_t *pair)
{
    visitor_keyed_t<Container> &v = keyed_self<Container>(visitor);
    const uint32_t parent = stack_state_top(v.stack, Table.root);
    v.is_value = false;
    return stack_state_push(&v.stack,
                            stack_state_find(Table.keys, parent, json_string_view(*pair->string),
                                             Table.unknown(parent)));
}

template <typename Container>
int keyed_pair_sep(json_visitor_t *visitor, json_pair_t *)
{
    keyed_self<Container>(visitor).is_value = true;
    return 0;
}

template <typename Container, const keyed_table_t<Container> &Table>
int keyed_pair_end(json_visitor_t *visitor, json_pair_t *)
{
    visitor_keyed_t<Container> &v = keyed_self<Container>(visitor);
    if (Table.pair_end_closes)
        v.is_value = false;
    stack_state_pop(&v.stack);
    return 0;
}

/// A value of a kind.
template <typename Container, const keyed_table_t<Container> &Table, typename Node>
int keyed_value(visitor_keyed_t<Container> &v, json_node_type_t kind,
                std::span<const keyed_row_t<Container, Node>> rows, Node *node)
{
    const uint32_t state = stack_state_top(v.stack, Table.root);
    if (Table.accepts != nullptr && !Table.accepts(state, kind))
        return -1;
    return keyed_call(rows, state, v.container, node);
}

template <typename Container, const keyed_table_t<Container> &Table>
int keyed_string(json_visitor_t *visitor, json_string_t *string)
{
    visitor_keyed_t<Container> &v = keyed_self<Container>(visitor);
    if (!v.is_value)
        return keyed_call(Table.names, stack_state_top(v.stack, Table.root), v.container, string);
    return keyed_value<Container, Table>(v, JSON_STRING, Table.strings, string);
}

template <typename Container, const keyed_table_t<Container> &Table>
int keyed_number(json_visitor_t *visitor, json_number_t *number)
{
    visitor_keyed_t<Container> &v = keyed_self<Container>(visitor);
    return v.is_value ? keyed_value<Container, Table>(v, JSON_NUMBER, Table.numbers, number) : 0;
}

template <typename Container, const keyed_table_t<Container> &Table>
int keyed_atom(json_visitor_t *visitor, json_atom_t *atom)
{
    visitor_keyed_t<Container> &v = keyed_self<Container>(visitor);
    return v.is_value ? keyed_value<Container, Table>(v, JSON_TRUE, Table.atoms, atom) : 0;
}

template <typename Container, const keyed_table_t<Container> &Table>
int keyed_object_end(json_visitor_t *visitor, json_object_t *)
{
    visitor_keyed_t<Container> &v = keyed_self<Container>(visitor);
    return keyed_call(Table.object_ends, stack_state_top(v.stack, Table.root), v.container);
}

template <typename Container, const keyed_table_t<Container> &Table>
int keyed_array_start(json_visitor_t *visitor, json_array_t *)
{
    visitor_keyed_t<Container> &v = keyed_self<Container>(visitor);
    uint32_t inside = Table.other_array;
    for (const keyed_array_t &row : Table.arrays)
        if (row.state == stack_state_top(v.stack, Table.root))
            inside = row.inside;
    return stack_state_push(&v.stack, inside);
}

template <typename Container, const keyed_table_t<Container> &Table>
int keyed_array_end(json_visitor_t *visitor, json_array_t *)
{
    visitor_keyed_t<Container> &v = keyed_self<Container>(visitor);
    const uint32_t state = stack_state_top(v.stack, Table.root);
    if (!Table.arrays.empty())
        stack_state_pop(&v.stack);
    return keyed_call(Table.array_ends, state, v.container);
}

/// Prepares a visitor to fill `container`, which must outlive the walk, by the rows of `Table`.
template <typename Container, const keyed_table_t<Container> &Table>
void visitor_keyed_init(visitor_keyed_t<Container> *visitor, Container *container)
{
    *visitor = {};
    visitor->visitor.json_string = keyed_string<Container, Table>;
    visitor->visitor.json_number = keyed_number<Container, Table>;
    visitor->visitor.json_atom = keyed_atom<Container, Table>;
    visitor->visitor.json_object_end = keyed_object_end<Container, Table>;
    if (!Table.arrays.empty())
        visitor->visitor.json_array_start = keyed_array_start<Container, Table>;
    visitor->visitor.json_array_end = keyed_array_end<Container, Table>;
    visitor->visitor.json_pair_start = keyed_pair_start<Container, Table>;
    visitor->visitor.json_pair_sep = keyed_pair_sep<Container>;
    visitor->visitor.json_pair_end = keyed_pair_end<Container, Table>;
    visitor->container = container;
    visitor->stack = {{Table.root}, 1};
}
