#include "decompile.h"

#include <new>

#include "decompile_protocol.h"
#include "decompile_text.h"
#include "description_layout.h"
#include "string_order.h"
#include "view_stored.h"

namespace
{

void put_side(bounded_text_t &text, const char *key, const model_alias_side_t &side)
{
    put_key(text, key);
    text.bytes += '{';
    put_member(text, "protocol", side.protocol);
    put_member(text, "attr", side.attribute);
    put_member(text, "way", attr_way2str(side.way));
    text.bytes += '}';
}

void put_aliases(const description_model_t &model, bounded_text_t &text)
{
    if (model.aliases.empty())
        return;
    text.bytes = "{\n  \"aliases\": [\n";
    for (const model_alias_t &alias : model.aliases) {
        text.bytes += "    {";
        put_side(text, "alias", alias.alias);
        put_side(text, "reference", alias.reference);
        text.bytes += &alias == &model.aliases.back() ? "}\n" : "},\n";
    }
    text.bytes += "  ]\n}\n";
}

void put_tag_table(const description_model_t &model, bounded_text_t &text)
{
    if (model.tag_table.empty())
        return;
    text.bytes = "{\n  \"tag_table\": {\n";
    for (const auto &[name, number] : model.tag_table) {
        text.bytes += "    ";
        put_string(text, name);
        text.bytes += ": " + std::to_string(number);
        text.bytes += &name == &model.tag_table.back().first ? "\n" : ",\n";
    }
    text.bytes += "  }\n}\n";
}

void check_strings(const pdb_view_t &pdb, decompile_lost_t &lost)
{
    const auto check = [&](const view_record_t &, const view_group_t &group) {
        if (!strings_follow_records(group))
            decompile_lost_add(lost, "the order of its strings, which is not that of the records "
                                     "that refer to them");
        return true;
    };
    view_error_t ignored; // the groups were opened before
    (void)view_each_group(pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS), ignored, check);
}

void check_model(const description_model_t &model, size_t nr_group, decompile_lost_t &lost)
{
    if (nr_group > 1)
        decompile_lost_add(lost,
                           "protocols of " + std::to_string(nr_group) + " groups in one text");
    if (model.nameless_aliases)
        decompile_lost_add(lost, "aliases, which no main string names");
    if (model.nameless_tags)
        decompile_lost_add(lost, "the tag table, which no main string names");
}

/// A text under way: its parts are laid out one by one, each within what stands around it.
struct text_writing_t {
    const decompile_sink_t *sink;
    view_error_t &error;
    size_t max;      ///< bytes of a text
    size_t size = 0; ///< bytes so far, before they are laid out
};

bool refuse_size(text_writing_t &writing, const char *what)
{
    return view_fail(writing.error, VIEW_COUNT, 0, "%s of more than %zu bytes", what, writing.max);
}

/// Makes a document that stands beside the text.
bool put_document(text_writing_t &writing, const description_model_t &model, const char *what,
                  void (*make)(const description_model_t &model, bounded_text_t &text),
                  std::string &document)
{
    bounded_text_t text = {writing.max};
    make(model, text);
    if (text_is_full(text))
        return refuse_size(writing, what);
    document = std::move(text.bytes);
    return true;
}

void put(text_writing_t &writing, std::string_view piece)
{
    if (writing.sink != nullptr)
        writing.sink->put(writing.sink->context, piece);
}

/// Puts a part of a document without the lines that `front` and `behind` are laid out as.
bool put_part(text_writing_t &writing, const bounded_text_t &document, std::string_view front,
              std::string_view behind)
{
    description_text_t description;
    text_fault_t fault;
    writing.size += document.bytes.size();
    if (writing.size >= writing.max)
        return refuse_size(writing, "a text");
    if (writing.sink == nullptr)
        return true;
    // Brackets match, and every byte of a string is escaped or stands for itself.
    (void)description_text_read(document.bytes, description, fault);
    const std::string text = description_layout(description);
    put(writing,
        std::string_view(text).substr(front.size(), text.size() - front.size() - behind.size()));
    return true;
}

/// What stands around the members of a protocol, and around a rule of it.
constexpr std::string_view PROTOCOL_FRONT = "{\n  \"protocols\": [\n    {\n";
constexpr std::string_view PROTOCOL_BEHIND = "\n    }\n  ]\n}\n";
constexpr std::string_view NO_RULES_BEHIND = "]\n    }\n  ]\n}\n";
constexpr std::string_view RULE_FRONT =
    "{\n  \"protocols\": [\n    {\n      \"rules\": [\n        ";
constexpr std::string_view RULE_BEHIND = "\n      ]\n    }\n  ]\n}\n";

bool put_rules(text_writing_t &writing, protocol_writing_t &protocol,
               const model_strings_t &strings, const view_protocol_t &view)
{
    model_rule_t rule;
    for (protocol.rule = 0; protocol.rule < view_list_count(view.rules); ++protocol.rule) {
        bounded_text_t document = {writing.max, R"({"protocols":[{"rules":[)"};
        if (!model_rule_read(strings, view, protocol.rule, rule, writing.error))
            return false;
        decompile_rule(protocol, rule, document);
        put(writing, protocol.rule == 0 ? "\n        " : ",\n        ");
        document.bytes += "]}]}";
        if (!put_part(writing, document, RULE_FRONT, RULE_BEHIND))
            return false;
    }
    put(writing, protocol.rule == 0 ? "]" : "\n      ]");
    return true;
}

/// Puts a protocol from its first member to the last one.
bool put_protocol(text_writing_t &writing, protocol_writing_t &protocol,
                  const model_strings_t &strings, const view_protocol_t &view)
{
    bounded_text_t keys = {writing.max, R"({"protocols":[{)"};
    decompile_keys(protocol, keys);
    keys.bytes += R"(,"rules":[]}]})";
    if (!put_part(writing, keys, PROTOCOL_FRONT, NO_RULES_BEHIND) ||
        !put_rules(writing, protocol, strings, view))
        return false;
    bounded_text_t said = {writing.max, R"({"protocols":[{)"};
    if (!decompile_said(protocol, said))
        return true;
    put(writing, ",\n");
    said.bytes += "}]}";
    return put_part(writing, said, PROTOCOL_FRONT, PROTOCOL_BEHIND);
}

bool put_protocols(text_writing_t &writing, const description_model_t &model,
                   const description_source_t &source, decompile_lost_t &lost)
{
    slot_keys_t keys;
    if (!slot_memory_keys(source, keys, writing.error))
        return false;
    for (size_t i = 0; i < source.protocols.size(); ++i) {
        const source_protocol_t &place = source.protocols[i];
        const model_strings_t strings = source_strings(source, place);
        const view_protocol_t view = source_protocol(source, place);
        model_protocol_t fields;
        protocol_writing_t protocol = {model.aliases, fields, slot_keys_of(keys, i), keys.vids[i],
                                       lost};
        put(writing, i == 0 ? PROTOCOL_FRONT : ",\n    {\n");
        if (!model_protocol_read(strings, view, fields, writing.error) ||
            !put_protocol(writing, protocol, strings, view))
            return view_within(writing.error, "protocol at offset %u", place.offset);
        put(writing, "\n    }");
    }
    put(writing, "\n  ]\n}\n");
    return true;
}

} // namespace

void decompile_lost_add(decompile_lost_t &lost, std::string text)
{
    if (lost.count++ < LOST_KEPT_MAX)
        lost.first.push_back(std::move(text));
}

bool decompile_pdb_walk(const pdb_view_t &pdb, const decompile_sink_t *sink, decompiled_t &out,
                        view_error_t &error, size_t text_max)
try {
    out = {};
    description_model_t model;
    description_source_t source;
    if (!description_model_parts(pdb, model, error) || !description_source_open(pdb, source, error))
        return false;
    if (source.protocols.empty())
        return view_fail(error, VIEW_ABSENT, 0, "no protocol descriptions");
    text_writing_t writing = {sink, error, text_max};
    if (!put_document(writing, model, "aliases", put_aliases, out.aliases) ||
        !put_document(writing, model, "a tag table", put_tag_table, out.tags))
        return false;
    check_model(model, source.groups.size(), out.lost);
    if (source.groups.size() == 1)
        check_strings(pdb, out.lost);
    return put_protocols(writing, model, source, out.lost);
} catch (const std::bad_alloc &) {
    return view_fail(error, VIEW_MEMORY, 0, "out of memory");
}

bool decompile_pdb(const pdb_view_t &pdb, decompiled_t &out, view_error_t &error, size_t text_max)
{
    std::string text;
    const auto put_piece = [](void *context, std::string_view piece) {
        *static_cast<std::string *>(context) += piece;
    };
    const decompile_sink_t sink = {put_piece, &text};
    const bool sound = decompile_pdb_walk(pdb, &sink, out, error, text_max);
    out.text = std::move(text);
    return sound;
}
