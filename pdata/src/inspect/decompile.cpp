#include "decompile.h"

#include <new>

#include "decompile_protocol.h"
#include "decompile_text.h"
#include "description_layout.h"

namespace
{

void put_side(std::string &text, const char *key, const model_alias_side_t &side)
{
    constexpr const char *ways[] = {"", "cts", "stc", "both"};
    put_key(text, key);
    text += '{';
    put_member(text, "protocol", side.protocol);
    put_member(text, "attr", side.attribute);
    put_member(text, "way", side.way < std::size(ways) ? ways[side.way] : "");
    text += '}';
}

std::string alias_document(const description_model_t &model)
{
    if (model.aliases.empty())
        return {};
    std::string text = "{\n  \"aliases\": [\n";
    for (const model_alias_t &alias : model.aliases) {
        text += "    {";
        put_side(text, "alias", alias.alias);
        put_side(text, "reference", alias.reference);
        text += &alias == &model.aliases.back() ? "}\n" : "},\n";
    }
    return text + "  ]\n}\n";
}

std::string tag_document(const description_model_t &model)
{
    if (model.tag_table.empty())
        return {};
    std::string text = "{\n  \"tag_table\": {\n";
    for (const auto &[name, number] : model.tag_table) {
        text += "    ";
        put_string(text, name);
        text += ": " + std::to_string(number);
        text += &name == &model.tag_table.back().first ? "\n" : ",\n";
    }
    return text + "  }\n}\n";
}

void check_model(const description_model_t &model, std::vector<std::string> &lost)
{
    if (model.groups > 1)
        lost.push_back("protocols of " + std::to_string(model.groups) + " groups in one text");
    if (model.nameless_aliases)
        lost.push_back("aliases, which no main string names");
    if (model.nameless_tags)
        lost.push_back("the tag table, which no main string names");
}

bool lay_out(decompiled_t &out, view_error_t &error)
{
    description_text_t description;
    text_fault_t fault;
    if (!description_text_read(out.text, description, fault))
        return view_fail(error, VIEW_VALUE, 0, "no text of a description: %s", fault.text.c_str());
    out.text = description_layout(description);
    return true;
}

bool decompile_model(const description_model_t &model, decompiled_t &out, view_error_t &error)
{
    check_model(model, out.lost);
    const std::vector<protocol_keys_t> keys = slot_memory_keys(model);
    out.text = "{\"protocols\":[";
    for (size_t i = 0; i < model.protocols.size(); ++i) {
        if (i != 0)
            out.text += ',';
        decompile_protocol(model, model.protocols[i], keys[i], out.text, out.lost);
        if (out.text.size() >= DECOMPILE_TEXT_MAX)
            return view_fail(error, VIEW_COUNT, 0, "a text of more than %zu bytes",
                             DECOMPILE_TEXT_MAX);
    }
    out.text += "]}";
    return lay_out(out, error);
}

} // namespace

bool decompile_pdb(const pdb_view_t &pdb, decompiled_t &out, view_error_t &error)
try {
    out = {};
    description_model_t model;
    if (!description_model_read(pdb, model, error))
        return false;
    if (model.protocols.empty())
        return view_fail(error, VIEW_ABSENT, 0, "no protocol descriptions");
    out.aliases = alias_document(model);
    out.tags = tag_document(model);
    return decompile_model(model, out, error);
} catch (const std::bad_alloc &) {
    return view_fail(error, VIEW_MEMORY, 0, "out of memory");
}
