#include "schema_machine.h"

#include <algorithm>
#include <map>
#include <string>
#include <utility>

#include "schema_nodes.h"

namespace
{

/// An object that is being written, by the nodes at which it begins. One within itself becomes a
/// definition.
struct open_object_t {
    node_set_t starts;
    std::string name; ///< of its definition; empty as long as nothing refers to it
};

struct schema_writer_t {
    schema_nodes_t nodes;
    const schema_words_t &words;
    schema_json_t &definitions;
    std::vector<open_object_t> open;
    size_t nr_definition = 0;
    size_t nr_object = 0;
};

/// Objects of a schema; beyond them one is any object. Rules can be written of which every key of
/// an object leads into the next one, and whose objects double with each level.
constexpr size_t SCHEMA_OBJECTS = 1000;

schema_json_t value_schema(schema_writer_t &writer, const node_set_t &starts,
                           const std::string &holder);

/// Returns the keys that have a name in any of some nodes, in the order of the file.
std::vector<std::string_view> names_of(const semantic_t &semantic, const node_set_t &keys)
{
    std::vector<std::string_view> names;
    each_node(keys, [&](size_t node) {
        for (const std::string_view label : semantic_labels(semantic.nodes[node]))
            if (std::ranges::find(names, label) == names.end())
                names.push_back(label);
    });
    return names;
}

/// Returns the nodes at which the value of a key begins.
node_set_t values_of(const semantic_t &semantic, const node_set_t &keys, std::string_view name)
{
    node_set_t values;
    each_node(keys, [&](size_t node) { values |= schema_step_text(semantic, node, name); });
    return values;
}

schema_json_t key_schema(schema_writer_t &writer, const node_set_t &values,
                         const std::string &holder, const std::string &key)
{
    schema_json_t schema = schema_json_t::object();
    writer.words(holder, key, schema);
    schema.update(value_schema(writer, values, key));
    return schema;
}

/// Adds what an object must have: one key, or one of several that count as one.
void add_required(const schema_writer_t &writer, const node_set_t &starts,
                  const std::map<size_t, std::vector<std::string_view>> &names,
                  schema_json_t &schema)
{
    schema_json_t required = schema_json_t::array();
    schema_json_t choices = schema_json_t::array();
    for (const auto &[target, keys] : names) {
        if (!schema_requires(writer.nodes, starts, target))
            continue;
        schema_json_t choice = schema_json_t::array();
        for (const std::string_view key : keys)
            choice.push_back({{"required", {key}}});
        if (keys.size() == 1)
            required.push_back(keys.front());
        else
            choices.push_back({{"anyOf", choice}});
    }
    if (!required.empty())
        schema["required"] = std::move(required);
    if (!choices.empty())
        schema["allOf"] = choices;
}

void add_members(schema_writer_t &writer, const node_set_t &starts, const std::string &holder,
                 schema_json_t &schema)
{
    const semantic_t &semantic = writer.nodes.semantic;
    node_set_t keys;
    each_node(starts, [&](size_t start) { keys |= writer.nodes.object_keys[start]; });
    std::map<size_t, std::vector<std::string_view>> names;
    // A member that is made by being asked for is half made when memory runs out.
    schema_json_t properties = schema_json_t::object();
    for (const std::string_view name : names_of(semantic, keys)) {
        const node_set_t values = values_of(semantic, keys, name);
        properties[std::string(name)] = key_schema(writer, values, holder, std::string(name));
        each_node(values, [&](size_t target) { names[target].push_back(name); });
    }
    if (!properties.empty())
        schema["properties"] = std::move(properties);
    add_required(writer, starts, names, schema);
    node_set_t others;
    each_node(keys, [&](size_t node) { others |= schema_step_any(semantic, node); });
    schema["additionalProperties"] =
        others.any() ? key_schema(writer, others, holder, "*") : schema_json_t(false);
    if (schema_steps(semantic, starts, TRANS_OBJECT_END).none())
        schema["minProperties"] = 1;
}

schema_json_t object_schema(schema_writer_t &writer, const node_set_t &starts,
                            const std::string &holder)
{
    for (open_object_t &open : writer.open)
        if (open.starts == starts) {
            if (open.name.empty())
                open.name = "object" + std::to_string(++writer.nr_definition);
            return {{"$ref", "#/$defs/" + open.name}};
        }
    if (++writer.nr_object > SCHEMA_OBJECTS)
        return {{"type", "object"}};
    writer.open.push_back({starts, {}});
    schema_json_t schema = {{"type", "object"}};
    add_members(writer, starts, holder, schema);
    const std::string name = writer.open.back().name;
    writer.open.pop_back();
    if (name.empty())
        return schema;
    writer.definitions[name] = schema;
    return {{"$ref", "#/$defs/" + name}};
}

schema_json_t array_schema(schema_writer_t &writer, const node_set_t &starts,
                           const std::string &holder)
{
    node_set_t elements;
    each_node(starts, [&](size_t start) { elements |= writer.nodes.array_values[start]; });
    schema_json_t schema = {{"type", "array"}, {"items", value_schema(writer, elements, holder)}};
    if (schema_steps(writer.nodes.semantic, starts, TRANS_ARRAY_END).none())
        schema["minItems"] = 1;
    return schema;
}

/// Returns what a string, a number or a literal at some nodes may be; null for nothing.
schema_json_t scalar_schema(const semantic_t &semantic, const node_set_t &starts)
{
    node_set_t any;
    each_node(starts, [&](size_t node) { any |= schema_step_any(semantic, node); });
    if (any.any()) // the numbers of the language are digits
        return {{"type", {"string", "integer", "boolean", "null"}}, {"minimum", 0}};
    const std::vector<std::string_view> texts = names_of(semantic, starts);
    return texts.empty() ? schema_json_t() : schema_json_t{{"enum", texts}};
}

schema_json_t value_schema(schema_writer_t &writer, const node_set_t &starts,
                           const std::string &holder)
{
    const semantic_t &semantic = writer.nodes.semantic;
    schema_json_t choices = schema_json_t::array();
    if (schema_json_t scalar = scalar_schema(semantic, starts); !scalar.is_null())
        choices.push_back(std::move(scalar));
    if (const node_set_t objects = schema_steps(semantic, starts, TRANS_OBJECT_START);
        objects.any())
        choices.push_back(object_schema(writer, objects, holder));
    if (const node_set_t arrays = schema_steps(semantic, starts, TRANS_ARRAY_START); arrays.any())
        choices.push_back(array_schema(writer, arrays, holder));
    if (choices.empty())
        return {{"not", schema_json_t::object()}};
    if (choices.size() == 1)
        return choices.front();
    return {{"anyOf", choices}};
}

} // namespace

schema_json_t schema_of_machine(const semantic_t &semantic, const schema_words_t &words,
                                schema_json_t &definitions)
{
    schema_writer_t writer = {schema_nodes(semantic), words, definitions, {}, 0, 0};
    return value_schema(writer, node_set_t(1), "");
}
