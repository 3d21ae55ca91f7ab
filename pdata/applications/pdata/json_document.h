/// JSON output: documents with a schema, and bytes that may be no text.
#pragma once

#include <string>
#include <string_view>

#include <nlohmann/json.hpp>

/// A document whose members keep the order in which they were set.
using json_document_t = nlohmann::ordered_json;

/// Returns a document that begins with "schema": "pdata.NAME/1".
json_document_t json_document(std::string_view name);

/// Returns a document as text that does nothing to a terminal: on one line, or with an indent.
std::string json_line(const json_document_t &document);
std::string json_indented(const json_document_t &document);

/// Returns the members of a document as json_indented shows them `depth` blanks further in: without
/// its first brace, and without the line of its last one. For who prints a document piece by piece.
std::string json_members(const json_document_t &document, size_t depth);

/// Returns untrusted bytes as JSON: a string where they are UTF-8, else an object with "hex".
json_document_t json_text(std::string_view bytes);

/// Returns untrusted texts as an array of what json_text makes of each.
template <typename Texts>
json_document_t json_texts(const Texts &texts)
{
    json_document_t list = json_document_t::array();
    for (const auto &text : texts)
        list.push_back(json_text(text));
    return list;
}

/// Returns untrusted bytes as an object: "hex" always, "text" beside it where they are UTF-8.
json_document_t json_bytes(std::string_view bytes);
