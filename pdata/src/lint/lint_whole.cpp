#include "lint_whole.h"

#include <algorithm>
#include <charconv>
#include <tuple>
#include <unordered_map>
#include <unordered_set>

#include "csa_protodef.h"
#include "description_text.h"
#include "lint_words.h"

namespace
{

/// Most names that are looked through for the one that is meant.
constexpr size_t LISTED_MAX = 64;

/// Where something stood first, in a protocol with a name.
struct first_t {
    const lint_protocol_t *protocol = nullptr;
    finding_place_t place;
};

/// Everything that stood once.
struct whole_t {
    std::unordered_map<std::string, first_t> names;
    std::unordered_map<uint32_t, first_t> ids;
    std::unordered_map<std::string, first_t> rules;
    std::unordered_set<std::string_view> known; ///< names of protocols, other names with them
    std::vector<std::string_view> listed;       ///< some of them, for hints
};

/// Says of a finding where the other one stands.
void relate(finding_t &finding, const first_t &first)
{
    finding.related = {first.place, "the other one stands here"};
}

void look_names(const lint_look_t &look, whole_t &whole)
{
    const lint_protocol_t &protocol = *look.protocol;
    const first_t here = {&protocol, protocol.name->place};
    const auto [other, is_new] = whole.names.try_emplace(protocol.name->decoded, here);
    // Protocols of one name and id in several files become one when the files are merged.
    const bool merged = !is_new && other->second.place.file != here.place.file &&
                        other->second.protocol->id == protocol.id;
    if (!is_new && !merged)
        relate(lint_report(look, FINDING_DUPLICATE_NAME,
                           "two protocols are named " + lint_quoted(protocol.name->raw),
                           "write all rules into one of them, or give it another name"),
               other->second);
    if (protocol.id == 0)
        return;
    const auto [same, is_first] = whole.ids.try_emplace(protocol.id, here);
    if (is_first || same->second.protocol->name->decoded == protocol.name->decoded)
        return;
    relate(lint_report_at(look, protocol.id_written ? protocol.id_written->place : here.place,
                          FINDING_DUPLICATE_ID,
                          "two protocols have the id " + std::to_string(protocol.id),
                          "write an \"id\" of its own"),
           same->second);
}

/// Appends a part behind its size, so that no two rows of parts give the same text.
void append(std::string &text, std::string_view part)
{
    char size[20];
    char *const end = std::to_chars(size, size + sizeof size, part.size()).ptr;
    text.append(size, static_cast<size_t>(end - size)).append(1, ':').append(part);
}

/// Appends what a value asks for.
void append_value(std::string &text, const lint_attribute_t &attribute, const lint_text_t &value)
{
    append(text, attribute.matched_key.attribute);
    append(text, std::to_string(attribute.matched_key.way));
    append(text, attribute.offset ? attribute.offset->raw : "");
    append(text, value.decoded);
}

/// Appends what the values of a sub-rule ask for, in an order of their own.
void append_values(std::string &text, const lint_sub_rule_t &sub_rule)
{
    const std::vector<lint_attribute_t> &attributes = sub_rule.attributes;
    if (attributes.size() == 1 && attributes[0].values.size() == 1) // most are, and need no order
        return append_value(text, attributes[0], attributes[0].values[0]);
    std::vector<std::string> values;
    for (const lint_attribute_t &attribute : attributes)
        for (const lint_text_t &value : attribute.values)
            append_value(values.emplace_back(), attribute, value);
    std::ranges::sort(values);
    for (const std::string &value : values)
        text += value;
}

/// Returns what a rule asks for, the same for the same whatever the order it is written in.
std::string asked_by(const lint_rule_t &rule)
{
    std::string asked;
    for (const lint_sub_rule_t &sub_rule : rule.sub_rules) {
        append(asked, std::to_string(sub_rule.protocols.size()));
        for (const lint_text_t &protocol : sub_rule.protocols)
            append(asked, protocol.decoded);
        append_values(asked, sub_rule);
        append(asked, ""); // no attribute has an empty name
    }
    return asked;
}

void look_rule(const lint_look_t &look, whole_t &whole)
{
    if (!lint_any_attributes(*look.rule))
        return;
    const first_t here = {look.protocol, look.rule->place};
    const auto [other, is_new] = whole.rules.try_emplace(asked_by(*look.rule), here);
    if (is_new)
        return;
    const bool own = other->second.protocol->name->decoded == look.protocol->name->decoded;
    if (own && other->second.place.file != here.place.file)
        return; // a merge takes the later one
    std::string whose = "another rule of the protocol";
    if (!own)
        whose = "a rule of " + lint_quoted(other->second.protocol->name->raw);
    relate(lint_report(look, FINDING_DUPLICATE_RULE, whose + " asks for the same",
                       "leave one of them out"),
           other->second);
}

bool is_known(const whole_t &whole, const lint_text_t &name)
{
    return whole.known.contains(name.decoded) ||
           dpi_proto_get_id_by_name(name.decoded.c_str()) != 0;
}

void look_protocols(const lint_look_t &look, const whole_t &whole)
{
    const auto report = [&](const lint_text_t &name) {
        const std::string_view nearest = lint_nearest(name.decoded, whole.listed);
        lint_report_at(look, name.place, FINDING_UNKNOWN_PROTOCOL,
                       "nothing defines a protocol " + lint_quoted(name.raw),
                       nearest.empty() ? "write the name of a protocol, or add one of that name"
                                       : "write " + lint_quoted(nearest))
            .value = name.raw;
    };
    for (const lint_text_t &name : look.rule->path)
        if (!is_known(whole, name))
            report(name);
    for (const lint_sub_rule_t &sub_rule : look.rule->sub_rules)
        for (const lint_text_t &name : sub_rule.protocols)
            if (!is_known(whole, name))
                report(name);
}

void look_rules_full(const lint_look_t &look)
{
    constexpr size_t most = PROTOCOL_RULE_DIM - 1;
    const size_t nr = look.protocol->rules.size();
    if (format_nearly_full(nr, most))
        lint_report(look, FINDING_NEARLY_FULL,
                    lint_joined({std::to_string(nr), " rules of ", std::to_string(most)}),
                    "begin another protocol for what is still to come");
}

/// A matcher, and how many entries of its second level are in use.
using matcher_name_t = std::tuple<const pdb_attr_properties_t *, csa_attr_way_t>;
struct matcher_name_hash_t {
    size_t operator()(const matcher_name_t &name) const
    {
        return std::hash<const void *>()(std::get<0>(name)) ^ std::get<1>(name);
    }
};
using entries_t = std::unordered_map<matcher_name_t, uint64_t, matcher_name_hash_t>;

void report_entries(const lint_look_t &look, uint64_t before, uint64_t after)
{
    const pdb_attr_properties_t &properties = *look.attribute->matched;
    const std::string name = lint_joined({properties.proper_proto, ":", properties.proper_attr});
    if (!format_nearly_full(before, MATCHER_PRIVATE_MAX) &&
        format_nearly_full(after, MATCHER_PRIVATE_MAX))
        lint_report(look, FINDING_NEARLY_FULL,
                    lint_joined({"with this value the matcher of ", name, " has ",
                                 std::to_string(after), " of 32768 entries"}),
                    "write names as alternatives, or as words that may stand anywhere");
    if (before <= MATCHER_PRIVATE_MAX && after > MATCHER_PRIVATE_MAX)
        lint_report(
            look, FINDING_TOO_MANY,
            lint_joined({"with this value the matcher of ", name, " has more than 32768 entries"}),
            "write names as alternatives, or leave some out");
}

/// Counts the entries that the values of an attribute take in the matchers of its directions.
void count_entries(const lint_look_t &look, entries_t &entries)
{
    for (const csa_attr_way_t way : {ATTR_WAY_CTS, ATTR_WAY_STC}) {
        if ((look.attribute->matched_key.way & way) == 0)
            continue;
        uint64_t &nr = entries[{look.attribute->matched, way}];
        lint_each_value(look, [&](const lint_look_t &at) {
            const uint64_t before = nr;
            nr += at.value->entries;
            if (nr != before)
                report_entries(at, before, nr);
        });
    }
}

/// Returns the name that begins at a quote, without its quotes.
std::string_view name_at(std::string_view text, size_t quote)
{
    const size_t end = quote < text.size() && text[quote] == '"' ? text.find('"', quote + 1) : 0;
    return end == text.npos || end == 0 ? "" : text.substr(quote + 1, end - quote - 1);
}

/// Protocols of files that do not read are there nevertheless: nobody else is to blame for them.
void know_unread(const lint_model_t &model, const std::vector<finding_t> &findings, whole_t &whole)
{
    constexpr std::string_view key = "\"name\"";
    std::unordered_set<uint32_t> files;
    for (const finding_t &finding : findings)
        if (finding.id == FINDING_SYNTAX)
            files.insert(finding.place.file);
    for (const uint32_t file : files) {
        const std::string_view text = model.files[file].text;
        for (size_t at = text.find(key); at != text.npos; at = text.find(key, at + 1)) {
            const size_t colon = text_skip_blanks(text, at + key.size());
            if (colon < text.size() && text[colon] == ':')
                whole.known.insert(name_at(text, text_skip_blanks(text, colon + 1)));
        }
    }
}

} // namespace

void lint_look_whole(const lint_model_t &model, const lint_config_t &config,
                     std::vector<finding_t> &findings)
{
    whole_t whole;
    entries_t entries;
    for (const lint_protocol_t &protocol : model.protocols) {
        if (protocol.name)
            whole.known.insert(protocol.name->decoded);
        for (const lint_text_t &altname : protocol.altnames)
            whole.known.insert(altname.decoded);
    }
    know_unread(model, findings, whole);
    for (auto name = whole.known.begin();
         name != whole.known.end() && whole.listed.size() < LISTED_MAX; ++name)
        whole.listed.push_back(*name);
    for (const bool base : {true, false})
        for (const lint_protocol_t &protocol : model.protocols) {
            if (model.files[protocol.place.file].base != base || !protocol.faultless ||
                !protocol.name)
                continue;
            const lint_look_t look = {model, config, findings, &protocol};
            look_names(look, whole);
            look_rules_full(look);
            lint_each_rule(look, [&](const lint_look_t &rule) {
                look_rule(rule, whole);
                look_protocols(rule, whole);
                lint_each_attribute(
                    rule, [&](const lint_look_t &attribute) { count_entries(attribute, entries); });
            });
        }
}
