#include "json_document.h"

#include "escape.h"

json_document_t json_document(std::string_view name)
{
    json_document_t document = json_document_t::object();
    document["schema"] = "pdata." + std::string(name) + "/1";
    return document;
}

std::string json_line(const json_document_t &document)
{
    return escape_json(document.dump());
}

std::string json_indented(const json_document_t &document)
{
    return escape_json(document.dump(2));
}

std::string json_members(const json_document_t &document, size_t depth)
{
    const std::string text = json_indented(document);
    std::string members;
    for (const char c : std::string_view(text).substr(1, text.size() - 3)) {
        members += c;
        if (c == '\n')
            members.append(depth, ' ');
    }
    return members;
}

json_document_t json_text(std::string_view bytes)
{
    if (utf8_valid(bytes))
        return json_document_t(bytes);
    return json_document_t{{"hex", escape_hex(bytes)}};
}

json_document_t json_bytes(std::string_view bytes)
{
    json_document_t document{{"hex", escape_hex(bytes)}};
    if (utf8_valid(bytes))
        document["text"] = bytes;
    return document;
}
