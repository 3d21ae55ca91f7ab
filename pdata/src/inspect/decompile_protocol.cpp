#include "decompile_protocol.h"

#include "alias_undo.h"
#include "csa_types.h"
#include "decompile_text.h"
#include "format_scope.h"
#include "format_values.h"
#include "lost_text.h"

namespace
{

/// The one supported version that the compiler stores.
constexpr std::string_view SUPPORTED_VERSION = "See atlas for details";

/// Most values of a sub-rule; an offset cannot be the last of so many.
constexpr size_t VALUES_MAX = 16;

/// Cases that are said of a protocol in the text; all are told beside it.
constexpr size_t LOST_SAID_MAX = 10;

/// A protocol on its way into the text.
struct protocol_writing_t {
    const description_model_t &model;
    const model_protocol_t &protocol;
    std::string &text;
    std::vector<std::string> &lost;
    size_t rule = 0; ///< index of the current one
};

void lose(protocol_writing_t &writing, bool when, const char *what)
{
    if (when)
        writing.lost.push_back(lost_protocol(writing.protocol, what));
}

void lose_rule(protocol_writing_t &writing, bool when, const char *what)
{
    if (when)
        writing.lost.push_back(lost_rule(writing.protocol, writing.rule, what));
}

std::string key_of(const written_attribute_t &attribute)
{
    const char *way = attribute.way == ATTR_WAY_CTS   ? "cts-"
                      : attribute.way == ATTR_WAY_STC ? "stc-"
                                                      : "";
    return way + std::string(attribute.name);
}

void put_offset(std::string &text, const std::string &key, const model_value_t &value)
{
    put_key(text, key + "_offset");
    text += '{';
    put_number(text, "offset", value.offset);
    put_member(text, "pattern", value.text);
    text += '}';
}

/// Writes the values of an attribute in their order: runs without an offset under one key, every
/// other one under a key of its own.
void put_attribute(protocol_writing_t &writing, const model_attribute_t &attribute,
                   const written_attribute_t &written)
{
    const std::string key = key_of(written);
    std::vector<std::string_view> run;
    for (const model_value_t &value : attribute.values) {
        if (value.offset == 0 || written.name != "stream") {
            lose_rule(writing, value.offset != 0, "only streams have a key for an offset");
            run.push_back(value.text);
            continue;
        }
        put_list(writing.text, key, run);
        run.clear();
        put_offset(writing.text, key, value);
    }
    put_list(writing.text, key, run);
}

void put_mindata(std::string &text, const model_sub_rule_t &sub_rule)
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
    lose_rule(writing, values > VALUES_MAX || (values == VALUES_MAX && last_offset),
              "more values in a sub-rule than a text takes");
}

void put_sub_rule(protocol_writing_t &writing, const model_sub_rule_t &sub_rule)
{
    std::vector<written_attribute_t> written;
    lose_rule(writing, !alias_undo(writing.model.aliases, sub_rule, written),
              "no attributes become those of a sub-rule by the aliases of the pdb");
    check_values(writing, sub_rule);
    writing.text += '{';
    put_member(writing.text, "protocol", sub_rule.bottom);
    put_mindata(writing.text, sub_rule);
    for (size_t i = 0; i < written.size(); ++i)
        put_attribute(writing, sub_rule.attributes[i], written[i]);
    writing.text += '}';
}

void put_scope(std::string &text, uint32_t scope)
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

void put_flag(std::string &text, const char *key, bool flag)
{
    if (!flag)
        return;
    put_key(text, key);
    text += "true";
}

void put_rule(protocol_writing_t &writing, const model_rule_t &rule, const rule_keys_t &keys)
{
    std::string &text = writing.text;
    check_rule(writing, rule);
    if (text.back() != '[')
        text += ',';
    text += '{';
    put_member(text, "order",
               std::to_string(format_priority_range(rule.priority)) + ':' +
                   std::to_string(format_priority_order(rule.priority)));
    put_scope(text, keys.scope);
    put_flag(text, "fastpass", keys.fastpass);
    put_flag(text, "preempt", keys.preempt);
    put_list(text, "path", rule.path);
    put_list(text, "rule-tags", rule.tags);
    put_key(text, "rule");
    text += '[';
    for (const model_sub_rule_t &sub_rule : rule.sub_rules) {
        if (text.back() != '[')
            text += ',';
        put_sub_rule(writing, sub_rule);
    }
    text += "]}";
}

void put_version(std::string &text, const uint32_t (&version)[3])
{
    put_key(text, "version");
    text += '{';
    put_number(text, "major", version[0]);
    put_number(text, "minor", version[1]);
    put_number(text, "revision", version[2]);
    text += '}';
}

/// Writes the tags; what differs from the order in which they are stored is lost.
void put_tags(protocol_writing_t &writing)
{
    const std::vector<text_pair_t> &tags = writing.protocol.tags;
    if (tags.empty())
        return;
    put_key(writing.text, "tags");
    writing.text += '{';
    std::vector<std::string_view> categories;
    size_t i = 0;
    for (; i < tags.size() && tags[i].first == "category"; ++i)
        categories.push_back(tags[i].second);
    lose(writing, categories.size() > 9, "more than 9 categories");
    put_list(writing.text, "category", categories);
    if (i < tags.size() && tags[i].first == "family")
        put_member(writing.text, "family", tags[i++].second);
    if (i < tags.size() && tags[i] == text_pair_t("deprecated", "true")) {
        put_flag(writing.text, "deprecated", true);
        ++i;
    }
    lose(writing, i < tags.size(), "tags that have no key, or in another order");
    writing.text += '}';
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
             protocol.supported_versions[0] != SUPPORTED_VERSION,
         "its supported versions");
    lose(writing, protocol.altnames.size() > 10, "more than 10 other names");
    lose(writing, protocol.rules.size() > 1199, "more rules than a text takes");
}

void put_meta(protocol_writing_t &writing, const protocol_keys_t &keys)
{
    std::string &text = writing.text;
    const model_protocol_t &protocol = writing.protocol;
    put_member(text, "name", protocol.name);
    put_number(text, "id", protocol.id);
    put_version(text, protocol.version);
    put_tags(writing);
    put_list(text, "altname", protocol.altnames);
    put_flag(text, "http_reclassify", protocol.http_reclassify != 0);
    if (protocol.implicit_bottom_layer != 0)
        put_number(text, "implicit_bottom_layer", protocol.implicit_bottom_layer);
    if (keys.vid)
        put_number(text, "virtual_id", *keys.vid);
    if (protocol.cacheable == 0) {
        put_key(text, "cacheable");
        text += "false";
    }
}

/// Says in the text what is not in it, of the cases from `first` on.
void put_lost(protocol_writing_t &writing, size_t first)
{
    const std::vector<std::string> &lost = writing.lost;
    if (first == lost.size())
        return;
    const size_t front = lost_protocol(writing.protocol, "").size();
    std::string said = "not in this text: ";
    for (size_t i = first; i < lost.size() && i - first < LOST_SAID_MAX; ++i)
        said.append(i == first ? "" : "; ").append(lost[i].substr(front));
    if (lost.size() - first > LOST_SAID_MAX)
        said += "; and " + std::to_string(lost.size() - first - LOST_SAID_MAX) + " more";
    put_key(writing.text, "description");
    writing.text += '{';
    put_member(writing.text, "en", said);
    writing.text += '}';
}

} // namespace

void decompile_protocol(const description_model_t &model, const model_protocol_t &protocol,
                        const protocol_keys_t &keys, std::string &text,
                        std::vector<std::string> &lost)
{
    protocol_writing_t writing = {model, protocol, text, lost, 0};
    const size_t first = lost.size();
    lost.insert(lost.end(), keys.lost.begin(), keys.lost.end());
    check_protocol(writing);
    text += '{';
    put_meta(writing, keys);
    put_key(text, "rules");
    text += '[';
    for (; writing.rule < protocol.rules.size() && text.size() < DECOMPILE_TEXT_MAX; ++writing.rule)
        put_rule(writing, protocol.rules[writing.rule], keys.rules[writing.rule]);
    text += ']';
    put_lost(writing, first);
    text += '}';
}
