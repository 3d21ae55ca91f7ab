#include "decompile_protocol.h"

#include "alias_undo.h"
#include "csa_types.h"
#include "format_limits.h"
#include "format_scope.h"
#include "format_values.h"
#include "lost_text.h"

namespace
{

/// Cases that are said of a protocol in the text; all are told beside it.
constexpr size_t LOST_SAID_MAX = 10;

void lose_text(protocol_writing_t &writing, std::string text)
{
    decompile_lost_add(writing.lost, lost_protocol(writing.protocol, text));
    if (writing.nr_lost++ < LOST_SAID_MAX)
        writing.said.push_back(std::move(text));
}

void lose(protocol_writing_t &writing, bool when, const char *what)
{
    if (when)
        lose_text(writing, what);
}

void lose_rule(protocol_writing_t &writing, bool when, const char *what)
{
    if (when)
        lose_text(writing, lost_rule(writing.rule, what));
}

std::string key_of(const written_attribute_t &attribute)
{
    return attr_way2prefix(attribute.way) + std::string(attribute.name);
}

void put_offset(bounded_text_t &text, const std::string &key, const model_value_t &value)
{
    put_key(text, key + "_offset");
    text.bytes += '{';
    put_number(text, "offset", value.offset);
    put_member(text, "pattern", value.text);
    text.bytes += '}';
}

/// Writes the values of an attribute in their order: runs without an offset under one key, every
/// other one under a key of its own.
void put_attribute(protocol_writing_t &writing, const model_attribute_t &attribute,
                   const written_attribute_t &written, bounded_text_t &text)
{
    const std::string key = key_of(written);
    std::vector<std::string_view> run;
    for (const model_value_t &value : attribute.values) {
        if (value.offset == 0 || written.name != "stream") {
            lose_rule(writing, value.offset != 0, "only streams have a key for an offset");
            run.push_back(value.text);
            continue;
        }
        put_list(text, key, run);
        run.clear();
        put_offset(text, key, value);
    }
    put_list(text, key, run);
}

void put_mindata(bounded_text_t &text, const model_sub_rule_t &sub_rule)
{
    if (sub_rule.cts_mindata == sub_rule.stc_mindata) {
        if (sub_rule.cts_mindata != 0)
            put_number(text, "mindata", sub_rule.cts_mindata);
        return;
    }
    if (sub_rule.cts_mindata != 0)
        put_number(text, "cts-mindata", sub_rule.cts_mindata);
    if (sub_rule.stc_mindata != 0)
        put_number(text, "stc-mindata", sub_rule.stc_mindata);
}

void check_values(protocol_writing_t &writing, const model_sub_rule_t &sub_rule)
{
    size_t values = 0;
    bool last_offset = false;
    for (const model_attribute_t &attribute : sub_rule.attributes) {
        lose_rule(writing, attribute.values.empty(), "an attribute without values");
        values += attribute.values.size();
        last_offset = !attribute.values.empty() && attribute.values.back().offset != 0;
    }
    // An offset cannot be the last of as many values as a sub-rule takes.
    lose_rule(writing, values > PROTOCOL_ATTR_DIM || (values == PROTOCOL_ATTR_DIM && last_offset),
              "more values in a sub-rule than a text takes");
}

void put_sub_rule(protocol_writing_t &writing, const model_sub_rule_t &sub_rule,
                  bounded_text_t &text)
{
    std::vector<written_attribute_t> written;
    lose_rule(writing, !alias_undo(writing.aliases, sub_rule, written),
              "no attributes become those of a sub-rule by the aliases of the pdb");
    check_values(writing, sub_rule);
    text.bytes += '{';
    put_member(text, "protocol", sub_rule.bottom);
    put_mindata(text, sub_rule);
    for (size_t i = 0; i < written.size(); ++i)
        put_attribute(writing, sub_rule.attributes[i], written[i], text);
    text.bytes += '}';
}

void put_scope(bounded_text_t &text, uint32_t scope)
{
    put_list(text, "scope", format_scope_words(scope));
}

void check_rule(protocol_writing_t &writing, const model_rule_t &rule)
{
    lose_rule(writing, rule.order_significant, "a significant order has no key");
    lose_rule(writing, rule.meta_form != 5 && rule.meta_form != 6,
              "an older form, which is stored anew in the newest");
    lose_rule(writing, rule.reserved != 0, "a reserved field that is not 0");
    lose_rule(writing, rule.nameless_tags != 0, "its tags, which no main string names");
    lose_rule(writing, rule.sub_rules.empty(), "a rule without sub-rules is not stored");
    lose_rule(writing, rule.sub_rules.size() > 2, "more sub-rules than a text takes");
    const bool keys = !rule.sub_rules.empty() && !rule.sub_rules[0].attributes.empty();
    lose_rule(writing, !keys && (rule.priority != 0 || !rule.path.empty() || !rule.tags.empty()),
              "an order, path or tags, but no attributes in its first sub-rule");
}

void put_flag(bounded_text_t &text, const char *key, bool flag)
{
    if (!flag)
        return;
    put_key(text, key);
    text.bytes += "true";
}

void put_version(bounded_text_t &text, const uint32_t (&version)[3])
{
    put_key(text, "version");
    text.bytes += '{';
    put_number(text, "major", version[0]);
    put_number(text, "minor", version[1]);
    put_number(text, "revision", version[2]);
    text.bytes += '}';
}

/// Writes the tags; what differs from the order in which they are stored is lost.
void put_tags(protocol_writing_t &writing, bounded_text_t &text)
{
    const std::vector<text_pair_t> &tags = writing.protocol.tags;
    if (tags.empty())
        return;
    put_key(text, "tags");
    text.bytes += '{';
    std::vector<std::string_view> categories;
    size_t i = 0;
    for (; i < tags.size() && tags[i].first == "category"; ++i)
        categories.push_back(tags[i].second);
    lose(writing, categories.size() >= PROTOCOL_CATEGORY_DIM, "more than 9 categories");
    put_list(text, "category", categories);
    if (i < tags.size() && tags[i].first == "family")
        put_member(text, "family", tags[i++].second);
    if (i < tags.size() && tags[i] == text_pair_t("deprecated", "true")) {
        put_flag(text, "deprecated", true);
        ++i;
    }
    lose(writing, i < tags.size(), "tags that have no key, or in another order");
    text.bytes += '}';
}

void check_protocol(protocol_writing_t &writing)
{
    const model_protocol_t &protocol = writing.protocol;
    lose(writing, protocol.default_port != std::string_view("\0", 1), "its default port");
    lose(writing, protocol.max_trans != 0, "its maximum of transactions");
    lose(writing, protocol.cacheable > 1 || protocol.http_reclassify > 1,
         "a flag that is neither 0 nor 1");
    lose(writing, !protocol.descriptions.empty(), "its descriptions");
    lose(writing, !protocol.compat.empty(), "its compatible versions");
    lose(writing,
         protocol.supported_versions.size() != 1 ||
             protocol.supported_versions[0] != PROTO_SUPPORTED_VERSION,
         "its supported versions");
    lose(writing, protocol.altnames.size() > PROTOCOL_ALTNAME_DIM, "more than 10 other names");
    lose(writing, writing.keys.size() >= PROTOCOL_RULE_DIM, "more rules than a text takes");
}

/// Tells what keys of rules no text gives.
void lose_keys(protocol_writing_t &writing)
{
    for (writing.rule = 0; writing.rule < writing.keys.size(); ++writing.rule)
        lose_rule(writing, writing.keys[writing.rule].lost_stored,
                  "its scope or virtual id has no key that gives it");
    for (writing.rule = 0; writing.rule < writing.keys.size(); ++writing.rule)
        lose_rule(writing, writing.keys[writing.rule].lost_shown,
                  "its first sub-rule has no attributes, and its flags, scope or virtual id come "
                  "from a protocol that is not there");
}

} // namespace

void decompile_keys(protocol_writing_t &writing, bounded_text_t &text)
{
    const model_protocol_t &protocol = writing.protocol;
    lose_keys(writing);
    check_protocol(writing);
    put_member(text, "name", protocol.name);
    put_number(text, "id", protocol.id);
    put_version(text, protocol.version);
    put_tags(writing, text);
    put_list(text, "altname", protocol.altnames);
    put_flag(text, "http_reclassify", protocol.http_reclassify != 0);
    if (protocol.implicit_bottom_layer != 0)
        put_number(text, "implicit_bottom_layer", protocol.implicit_bottom_layer);
    if (writing.vid)
        put_number(text, "virtual_id", *writing.vid);
    if (protocol.cacheable == 0) {
        put_key(text, "cacheable");
        text.bytes += "false";
    }
}

void decompile_rule(protocol_writing_t &writing, const model_rule_t &rule, bounded_text_t &text)
{
    const rule_keys_t &keys = writing.keys[writing.rule];
    check_rule(writing, rule);
    text.bytes += '{';
    put_member(text, "order",
               std::to_string(format_priority_range(rule.priority)) + ':' +
                   std::to_string(format_priority_order(rule.priority)));
    put_scope(text, keys.scope);
    put_flag(text, "fastpass", keys.fastpass);
    put_flag(text, "preempt", keys.preempt);
    put_list(text, "path", rule.path);
    put_list(text, "rule-tags", rule.tags);
    put_key(text, "rule");
    text.bytes += '[';
    for (const model_sub_rule_t &sub_rule : rule.sub_rules) {
        if (text.bytes.back() != '[')
            text.bytes += ',';
        put_sub_rule(writing, sub_rule, text);
    }
    text.bytes += "]}";
}

bool decompile_said(const protocol_writing_t &writing, bounded_text_t &text)
{
    if (writing.nr_lost == 0)
        return false;
    std::string said = "not in this text: ";
    for (const std::string &one : writing.said)
        said.append(&one == writing.said.data() ? "" : "; ").append(one);
    if (writing.nr_lost > LOST_SAID_MAX)
        said += "; and " + std::to_string(writing.nr_lost - LOST_SAID_MAX) + " more";
    put_key(text, "description");
    text.bytes += '{';
    put_member(text, "en", said);
    text.bytes += '}';
    return true;
}
