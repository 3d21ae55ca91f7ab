/// The shape that a rule machine allows, as a JSON Schema (draft 2020-12).
///
/// A machine is a flat automaton over the events of a document (container_semantic.h); a schema
/// describes values within values. The way between them: for every node the nodes are worked out
/// in which a value, an object or an array that begins there can have ended, as a least fixed
/// point, as for the exits of the states of a recursive state machine (Alur et al. 2005). An object
/// is then the keys that can be met between its braces, with the values that can follow each.
///
/// Whatever the machine accepts validates, in time that is bounded whatever the rules say. The
/// converse does not hold: a schema knows neither the order of keys nor counts across objects, so
/// every order is allowed, and a key is only required where its count belongs to its object alone.
#pragma once

#include <functional>
#include <string_view>

#include <nlohmann/json.hpp>

#include "container_semantic.h"

using schema_json_t = nlohmann::ordered_json;

/// Adds what people read to the schema of a key: `holder` is the key of the object that it stands
/// in, empty for that of the document; `key` is "*" for keys of any name.
using schema_words_t =
    std::function<void(std::string_view holder, std::string_view key, schema_json_t &schema)>;

/// Returns the schema of the document that a machine describes. Objects within themselves become
/// definitions, which are put into `definitions`.
schema_json_t schema_of_machine(const semantic_t &semantic, const schema_words_t &words,
                                schema_json_t &definitions);
