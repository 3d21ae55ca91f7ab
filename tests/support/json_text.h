/// JSON texts and their trees, as tests handle them.
#pragma once

#include <string>
#include <string_view>

#include "json_error.h"
#include "json_parser.h"

/// A text copied into memory of exactly its size, so that a sanitizer sees any read behind it,
/// with its tree. The error text starts empty.
struct json_text {
    std::unique_ptr<char[]> copy;
    json_t json;

    explicit json_text(std::string_view text) : copy(new char[text.size()])
    {
        pragmar_err_clear();
        text.copy(copy.get(), text.size());
        if (pragmar_create(&json, copy.get(), static_cast<uint32_t>(text.size())) != 0)
            std::abort();
    }
    ~json_text() { pragmar_destroy(&json); }

    int parse() { return json_parse(&json); }
    json_node_t *value() { return json.ast->root.child; }
};

/// Parses a text and returns the report of its failure, empty for none.
inline std::string parse_report(std::string_view text)
{
    json_text json(text);
    const int ret = json.parse();
    if ((ret == 0) != (*pragmar_err_get() == '\0'))
        return "code and report disagree";
    return pragmar_err_get();
}
