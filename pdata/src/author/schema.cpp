#include "schema.h"

#include "json_error.h"
#include "pragmar.h"
#include "schema_documents.h"

namespace
{

constexpr const char *DIALECT = "https://json-schema.org/draft/2020-12/schema";

/// A reason for which a text that validates is refused, or for which one that does not is accepted.
struct reason_t {
    const char *name;
    const char *text;
};

constexpr reason_t text_form = {
    "text-form", "the compiler's own form of JSON: numbers of digits alone (no 1.0 or 1e3), no "
                 "carriage returns, keys compared as they are written, escapes included"};
constexpr reason_t judged_later = {
    "judged-later", "what the compiler judges when it reads a value: its kind (5 is not \"5\"), "
                    "names of attributes and their directions, numbers, expressions, limits"};
constexpr reason_t shared_counts = {
    "shared-count", "keys that count as one, and keys that are asked for only in some places"};

constexpr reason_t pdd_reasons[] = {
    {"rule-not-last",
     "the key rule of a rule is the last one of its object, and what it depends on "
     "stands in front of it"},
    {"order-needed", "a rule needs an order in front of its rule when its last sub-rule ends in an "
                     "attribute"},
    {"text-behind", "at most three bytes follow the array of protocols"},
    shared_counts,
    text_form,
    judged_later,
};
constexpr reason_t tags_reasons[] = {
    {"lost-tag",
     "a number that an earlier tag has ends the table in silence, and a value that is no "
     "number makes no tag; neither is refused"},
    text_form,
    {"too-many", "128 tags at most"},
};
constexpr reason_t aliases_reasons[] = {
    {"way", "a way is \"cts\", \"stc\" or \"both\""},
    {"several-targets", "one protocol goes to one other"},
    {"empty-name", "no name is empty"},
    {"too-many", "63 pairs at most"},
    {"wrong-kind", "names are strings"},
    text_form,
};
constexpr reason_t psa_reasons[] = {
    {"passed-over", "not refused, though it does not validate: values that are no strings, objects "
                    "with several pairs, texts that are no tables"},
    {"too-many", "64 names in a file"},
    text_form,
};
constexpr reason_t ipbt_reasons[] = {
    {"passed-over", "not refused, though it does not validate: numbers and literals among the "
                    "elements of an array, and a document that is one of them"},
    {"odd-id",
     "an id of 16 characters or more counts as 0, and so does one without digits; neither "
     "is refused"},
    text_form,
};

/// A row of the table of kinds: its words, and how its schema is made.
struct document_t {
    schema_kind_t kind;
    const char *title;
    const char *paper;
    const char *section; ///< of the paper, empty for all
    std::span<const reason_t> reasons;
    schema_json_t (*by_hand)(const schema_vocabulary_t &vocabulary);
    bool of_protocols; ///< the rules describe each protocol of the document
};

constexpr document_t documents[] = {
    {{"pdd", "semantic_protocol.json"},
     "A description of protocols",
     "pdd.md",
     "",
     pdd_reasons,
     nullptr,
     true},
    {{"tags", "semantic_tag_table.json"},
     "The tag table",
     "configuration.md",
     "tag_table.json",
     tags_reasons,
     nullptr,
     false},
    {{"aliases", "semantic_matcher_alias.json"},
     "The matcher aliases",
     "configuration.md",
     "matcher_alias.json",
     aliases_reasons,
     nullptr,
     false},
    {{"psa", nullptr},
     "A pattern table",
     "configuration.md",
     "The pattern tables",
     psa_reasons,
     schema_of_psa,
     false},
    {{"ipbt", nullptr},
     "The IPv4 table",
     "configuration.md",
     "ipbt.json",
     ipbt_reasons,
     schema_of_ipbt,
     false},
};

constexpr auto kinds = [] {
    std::array<schema_kind_t, std::size(documents)> names{};
    for (size_t i = 0; i < names.size(); ++i)
        names[i] = documents[i].kind;
    return names;
}();

std::string description_of(const document_t &document)
{
    std::string text = std::string(document.title) + " (docs/" + document.paper +
                       "). What validates, and what is refused or lost nevertheless:";
    for (const reason_t &reason : document.reasons)
        text += std::string(" ") + reason.name + ": " + reason.text + ".";
    return text;
}

/// Returns the schema of a description from that of a protocol: one key, whatever it says.
schema_json_t of_protocols(schema_json_t protocol)
{
    protocol["title"] = "a protocol";
    const schema_json_t protocols = {
        {"type", "array"}, {"minItems", 1}, {"items", {{"$ref", "#/$defs/protocol"}}}};
    schema_json_t named = {{"title", "protocols"}, {"description", "array of protocols"}};
    named.update(protocols);
    return {{"type", "object"},
            {"properties", {{"protocols", named}}},
            {"additionalProperties", protocols},
            {"minProperties", 1},
            {"maxProperties", 1},
            {"$defs", {{"protocol", protocol}}}};
}

/// Reads the rules and returns the schema of what they accept; null where they cannot be read.
schema_json_t of_rules(const document_t &document, std::string_view rules,
                       const schema_vocabulary_t &vocabulary)
{
    pragmar_rules_t loaded;
    if (pragmar_rules_load(&loaded, rules) != 0)
        return {};
    const schema_words_t words = [&vocabulary](std::string_view holder, std::string_view key,
                                               schema_json_t &schema) {
        schema_add_words(vocabulary, holder, key, schema);
    };
    schema_json_t definitions = schema_json_t::object();
    schema_json_t schema = schema_of_machine(*loaded.semantic, words, definitions);
    if (document.of_protocols)
        schema = of_protocols(std::move(schema));
    if (!definitions.empty()) {
        schema.emplace("$defs", schema_json_t::object());
        schema["$defs"].update(definitions);
    }
    return schema;
}

} // namespace

std::span<const schema_kind_t> schema_kinds()
{
    return kinds;
}

const schema_kind_t *schema_kind(std::string_view name)
{
    for (const schema_kind_t &kind : kinds)
        if (kind.name == name)
            return &kind;
    return nullptr;
}

bool schema_text(const schema_kind_t &kind, std::string_view rules, std::string &text)
{
    const document_t &document = documents[&kind - kinds.data()];
    const schema_vocabulary_t vocabulary = {vocabulary_read(vocabulary_paper(document.paper)),
                                            document.section};
    const schema_json_t made = document.by_hand != nullptr ? document.by_hand(vocabulary)
                                                           : of_rules(document, rules, vocabulary);
    if (made.is_null()) {
        text = pragmar_err_get();
        return false;
    }
    schema_json_t schema = {{"$schema", DIALECT},
                            {"$id", std::string("pdata:") + kind.name},
                            {"title", document.title},
                            {"description", description_of(document)}};
    schema.update(made);
    text = schema.dump(2) + '\n';
    return true;
}
