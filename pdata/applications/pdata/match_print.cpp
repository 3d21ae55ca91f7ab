#include <array>

#include "escape.h"
#include "format_values.h"
#include "match_answer.h"

namespace
{

constexpr std::array precedence_texts = {"", "range", "order", "number"};
constexpr std::array outcome_texts = {"", "counted", "not admitted", "check failed", "check waits"};

std::string quoted(std::string_view text)
{
    return '"' + escape_terminal(text) + '"';
}

std::string path_text(const loadable_t &loadable, const fired_rule_t &rule)
{
    std::string text;
    for (const std::string_view name : flow_rule_path(loadable.db.get(), rule.info))
        text += '/' + escape_terminal(name);
    return text.empty() ? "no path" : text;
}

std::string priority_text(uint32_t priority)
{
    return fmt::format("{}:{}", format_priority_range(priority), format_priority_order(priority));
}

/// Names the value that an item stands for.
std::string value_text(const match_item_t &item)
{
    if (item.value == nullptr)
        return fmt::format("item {} (value unknown)", item.item);
    return fmt::format("{}:{} {}", escape_terminal(item.value->bottom),
                       escape_terminal(item.value->attribute), quoted(item.value->text));
}

/// Says where the pieces of a finding stood.
std::string place_text(const pdata_finding &finding)
{
    std::string text = fmt::format("in value {}", finding.value);
    for (uint32_t i = 0; i < std::min<uint32_t>(finding.nr_piece, PDATA_PIECE_MAX); ++i)
        text += fmt::format("{} {} to {}", i == 0 ? ", bytes" : ",", finding.piece[i].begin,
                            finding.piece[i].end);
    return text;
}

/// Why a value does not count, by pdata_outcome.
constexpr std::array reason_texts = {"", "", "its rule does not admit the protocol of that value",
                                     "its pieces are there, but the whole does not match",
                                     "its pieces are there, and more data may follow"};

/// Names the rule in its protocol's description, where that is known.
std::string rule_text(const fired_rule_t &rule)
{
    if (rule.items.empty() || rule.items.front().value == nullptr)
        return fmt::format("rule {}", rule.rule);
    const view_stored_value_t &value = *rule.items.front().value;
    return fmt::format("rule {} of {}", value.rule + 1, escape_terminal(value.protocol));
}

void print_rule(console_t &console, const loadable_t &loadable, const fired_rule_t &rule)
{
    console_print(console, "  {}  {}, {}, priority {}\n",
                  colour_text(console.out_colour, COLOUR_NAME,
                              escape_terminal(loadable_rule_protocol(loadable, rule.rule))),
                  path_text(loadable, rule), rule_text(rule), priority_text(rule.info.priority));
}

/// Says what a rule that nearly fires misses.
std::string missing_text(const loadable_t &loadable, const fired_rule_t &rule)
{
    for (const match_item_t &item : rule.items)
        if (item.item == rule.missing_item)
            return "misses " + value_text(item);
    return "misses protocol " +
           escape_terminal(loadable_protocol_name(loadable, rule.missing_protocol));
}

void print_near(console_t &console, const loadable_t &loadable, const fired_rule_t &rule)
{
    print_rule(console, loadable, rule);
    for (const match_item_t &item : rule.items)
        if (item.found)
            console_print(console, "      has {}\n", value_text(item));
        else if (item.item == rule.missing_item)
            console_print(console, "      {}\n", missing_text(loadable, rule));
    if (rule.missing_protocol != 0)
        console_print(console, "      misses protocol {}\n",
                      escape_terminal(loadable_protocol_name(loadable, rule.missing_protocol)));
}

json_document_t finding_document(const pdata_finding &finding)
{
    json_document_t document = {{"outcome", outcome_texts[finding.outcome]},
                                {"value", finding.value},
                                {"pieces", json_document_t::array()}};
    for (uint32_t i = 0; i < std::min<uint32_t>(finding.nr_piece, PDATA_PIECE_MAX); ++i)
        document["pieces"].push_back(
            {{"begin", finding.piece[i].begin}, {"end", finding.piece[i].end}});
    return document;
}

json_document_t item_document(const match_item_t &item)
{
    json_document_t document = {{"item", item.item}};
    if (item.value == nullptr) {
        document["origin"] = "unknown";
    } else {
        document["origin"] = {{"protocol", json_text(item.value->protocol)},
                              {"rule", item.value->rule + 1},
                              {"bottom", json_text(item.value->bottom)},
                              {"attribute", json_text(item.value->attribute)},
                              {"value", json_text(item.value->text)}};
    }
    if (item.finding.item != 0)
        document["finding"] = finding_document(item.finding);
    return document;
}

json_document_t match_rule_document(const loadable_t &loadable, const fired_rule_t &rule)
{
    json_document_t document = {
        {"protocol", json_text(loadable_rule_protocol(loadable, rule.rule))},
        {"rule", rule.rule},
        {"priority", rule.info.priority},
        {"path", json_texts(flow_rule_path(loadable.db.get(), rule.info))},
        {"items", json_document_t::array()}};
    for (const match_item_t &item : rule.items)
        document["items"].push_back(item_document(item));
    return document;
}

} // namespace

std::string match_rule_name(const loadable_t &loadable, pdata_rule rule)
{
    fired_rule_t named;
    named.rule = rule;
    (void)pdata_db_rule(loadable.db.get(), rule, &named.info);
    for (const pdata_item item : loadable.rule_items[rule])
        named.items.push_back({item, loadable_origin(loadable, item), false, {}});
    return fmt::format("{}, {}", path_text(loadable, named), rule_text(named));
}

std::string match_near_text(const loadable_t &loadable, const fired_rule_t &rule)
{
    return fmt::format("{} {}", rule_text(rule), missing_text(loadable, rule));
}

std::string match_failed_text(const match_item_t &item)
{
    return fmt::format("met {} {}: {}", value_text(item), place_text(item.finding),
                       reason_texts[item.finding.outcome]);
}

std::string match_nearest(const loadable_t &loadable, const match_answer_t &answer,
                          const std::function<bool(std::string_view)> &wanted)
{
    for (const fired_rule_t &rule : answer.near)
        if (wanted(loadable_rule_protocol(loadable, rule.rule)))
            return match_near_text(loadable, rule);
    for (const match_item_t &item : answer.failed)
        if (item.value != nullptr && wanted(item.value->protocol))
            return match_failed_text(item);
    return {};
}

void match_print(console_t &console, const loadable_t &loadable, const match_answer_t &answer)
{
    if (answer.rules.empty())
        console_print(console, "  no rule fires\n");
    for (size_t i = 0; i < answer.rules.size(); ++i) {
        const fired_rule_t &rule = answer.rules[i];
        print_rule(console, loadable, rule);
        for (const match_item_t &item : rule.items)
            console_print(console, "      {} {}\n", value_text(item), place_text(item.finding));
        if (i + 1 < answer.rules.size())
            console_print(console, "      goes before the next by its {}\n",
                          precedence_texts[rule.beats_next]);
    }
    if (!answer.near.empty())
        console_print(console, "  nearly:\n");
    for (const fired_rule_t &rule : answer.near)
        print_near(console, loadable, rule);
    for (const match_item_t &item : answer.failed)
        console_print(console, "  {}\n", match_failed_text(item));
}

void match_fill(json_document_t &document, const loadable_t &loadable, const match_answer_t &answer,
                bool near)
{
    document["matches"] = json_document_t::array();
    for (size_t i = 0; i < answer.rules.size(); ++i) {
        json_document_t rule = match_rule_document(loadable, answer.rules[i]);
        if (i + 1 < answer.rules.size())
            rule["before_next_by"] = precedence_texts[answer.rules[i].beats_next];
        document["matches"].push_back(std::move(rule));
    }
    if (!near)
        return;
    document["near"] = json_document_t::array();
    for (const fired_rule_t &rule : answer.near) {
        json_document_t row = match_rule_document(loadable, rule);
        row["missing_item"] = rule.missing_item;
        if (rule.missing_protocol != 0)
            row["missing_protocol"] =
                json_text(loadable_protocol_name(loadable, rule.missing_protocol));
        document["near"].push_back(std::move(row));
    }
    document["failed"] = json_document_t::array();
    for (const match_item_t &item : answer.failed)
        document["failed"].push_back(item_document(item));
}
