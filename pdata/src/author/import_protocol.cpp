#include "import_protocol.h"

#include <algorithm>
#include <limits>
#include <unordered_set>

#include "description_layout.h"

namespace
{

/// The first id of the namespace of users.
constexpr uint32_t USER_IDS = 0x1000000;

/// Attributes that hold host names.
struct name_attribute_t {
    const char *protocol;
    const char *attribute;
};

constexpr std::array<name_attribute_t, 3> name_attributes = {
    {{"http", "cts-server"}, {"ssl", "common_name"}, {"quic", "cts-server_name"}}};

/// Of these, the ones whose values the shipped aliases put into one matcher: ssl and quic.
constexpr uint32_t SHARED_MATCHER = 2;

/// Attributes of numbers, by number_kind_t, and the range of their order.
struct number_attribute_t {
    const char *protocol;
    const char *attribute;
    const char *order;
};

constexpr std::array<number_attribute_t, NUMBER_KINDS> number_attributes = {
    {{"ip", "address", "220:1000"},
     {"ip6", "address", "220:1000"},
     {"tcp", "port", "200:1000"},
     {"udp", "port", "200:1000"}}};

void report_all(const import_value_t &value, const char *text, const char *id,
                std::vector<import_finding_t> &findings)
{
    for (const import_place_t &place : value.places)
        findings.push_back({place, text, id});
}

std::string joined(std::initializer_list<std::string_view> parts)
{
    std::string text;
    for (const std::string_view part : parts)
        text += part;
    return text;
}

std::string name_rule(const name_attribute_t &attribute, const std::string &value)
{
    const std::string protocol = import_json(attribute.protocol);
    return joined({R"({"order":"50:0","scope":[)",
                   protocol,
                   R"(],"path":[)",
                   protocol,
                   ",\"",
                   {&IMPORT_NAME_MARK, 1},
                   R"("],"rule":[{"protocol":)",
                   protocol,
                   ",",
                   import_json(attribute.attribute),
                   ":",
                   import_json(value),
                   "}]}"});
}

/// Finds the value of a key of a protocol, the token; nothing when it is not there.
std::optional<size_t> value_of_key(const description_text_t &description, size_t protocol,
                                   std::string_view key)
{
    for (size_t at = protocol + 1; at + 2 < description.tokens[protocol].mate;
         at = text_value_end(description, at + 2) + 1)
        if (text_token_bytes(description, at) == key)
            return at + 2;
    return std::nullopt;
}

/// Calls `take` with the token of each protocol; there is none where nothing was read.
template <typename Take>
void each_protocol(const description_text_t &description, const Take &take)
{
    const size_t end = description.tokens.empty() ? 0 : description.tokens[3].mate;
    for (size_t at = 4; at < end; at = text_value_end(description, at) + 1)
        take(at);
}

/// Returns the id that a protocol says, or nothing.
std::optional<uint64_t> id_of(const description_text_t &description, size_t protocol)
{
    const auto id = value_of_key(description, protocol, "\"id\"");
    if (!id || description.tokens[*id].kind != TEXT_NUMBER)
        return std::nullopt;
    uint64_t number = 0;
    for (const char digit : text_token_bytes(description, *id).substr(0, 10))
        number = number * 10 + static_cast<uint64_t>(digit - '0');
    return number;
}

std::string protocol_head(const import_protocol_t &protocol, const import_part_t &part)
{
    std::string text =
        joined({R"({"name":)", import_json(part.name), R"(,"id":)", std::to_string(part.id)});
    for (const std::string &category : protocol.categories) {
        text += &category == &protocol.categories.front() ? R"(,"tags":{"category":[)" : ",";
        text += import_json(category);
    }
    text += protocol.categories.empty() ? "" : "]}";
    text += R"(,"rules":[)";
    return text;
}

/// Writes a protocol.
std::string part_text(const import_protocol_t &protocol, const import_part_t &part,
                      std::span<const import_rule_t> rules)
{
    std::string text = protocol_head(protocol, part);
    for (const import_rule_t &it : rules) {
        std::string rule = it.text;
        if (const size_t mark = rule.find(IMPORT_NAME_MARK); mark != std::string::npos)
            rule.replace(mark, 1, part.name);
        text += &it == &rules.front() ? "" : ",";
        text += rule;
    }
    return text + "]}";
}

/// Returns the end of the rules from `begin` that go into one protocol.
size_t part_end(const std::vector<import_rule_t> &rules, size_t begin)
{
    size_t end = std::min(begin + IMPORT_RULES, rules.size());
    while (end < rules.size() && !rules[end].first)
        --end;
    return end;
}

} // namespace

void import_name_rules(const std::vector<import_value_t> &values, std::vector<import_rule_t> &rules,
                       std::vector<import_finding_t> &findings)
{
    size_t pieces = 0;
    for (const import_value_t &value : values) {
        const size_t needed = size_t{value.nr_piece} * SHARED_MATCHER;
        if (pieces + needed >= IMPORT_PRIVATE_IDS) {
            report_all(value, "the matcher of host names has no room left", "beyond-limit",
                       findings);
            continue;
        }
        pieces += needed;
        for (const name_attribute_t &attribute : name_attributes)
            rules.push_back(
                {name_rule(attribute, value.text), &value, &attribute == &name_attributes.front()});
    }
}

void import_number_rules(number_kind_t kind, const std::vector<import_value_t> &values,
                         std::vector<import_rule_t> &rules)
{
    const number_attribute_t &attribute = number_attributes[kind];
    for (const import_value_t &value : values)
        rules.push_back(
            {joined({R"({"order":)", import_json(attribute.order), R"(,"rule":[{"protocol":)",
                     import_json(attribute.protocol), ",", import_json(attribute.attribute), ":",
                     import_json(value.text), "}]}"}),
             &value});
}

std::string import_description(const import_protocol_t &protocol,
                               const std::vector<import_rule_t> &rules,
                               std::vector<import_part_t> &parts,
                               std::vector<import_finding_t> &findings)
{
    std::string text = R"({"protocols":[)";
    size_t begin = 0;
    const uint32_t last = protocol.split ? std::numeric_limits<uint32_t>::max() - protocol.id : 0;
    for (uint32_t part = 0; begin < rules.size() && part <= last; ++part) {
        const std::string name =
            part == 0 ? protocol.name : protocol.name + '_' + std::to_string(part + 1);
        const size_t end = part_end(rules, begin);
        parts.push_back({name, protocol.id + part, end - begin});
        text += part == 0 ? "" : ",";
        text += part_text(protocol, parts.back(), std::span(rules).subspan(begin, end - begin));
        begin = end;
    }
    for (size_t i = begin; i < rules.size(); ++i)
        if (rules[i].first)
            report_all(*rules[i].value, "beyond the 1199 rules of a protocol; --split makes more",
                       "beyond-limit", findings);
    text += "]}";
    description_text_t description;
    text_fault_t fault;
    if (!description_text_read(text, description, fault))
        return {};
    return description_layout(description);
}

std::string import_insert(const description_text_t &into, const description_text_t &made)
{
    const auto last = [](const description_text_t &it) {
        return it.tokens[it.tokens[3].mate - 1].end;
    };
    const uint32_t begin = made.tokens[4].begin;
    std::string text(into.text.substr(0, last(into)));
    text += ",\n    ";
    text += made.text.substr(begin, last(made) - begin);
    text += into.text.substr(last(into));
    return text;
}

uint32_t import_free_id(const description_text_t &description)
{
    uint64_t free = USER_IDS;
    each_protocol(description, [&](size_t protocol) {
        const uint64_t number = id_of(description, protocol).value_or(0);
        if (number < 2 * USER_IDS)
            free = std::max(free, number + 1);
    });
    return static_cast<uint32_t>(free);
}

std::string import_clash(const description_text_t &into, std::span<const import_part_t> parts)
{
    std::unordered_set<std::string> names; // as they stand in a description
    std::unordered_set<uint64_t> ids;
    for (const import_part_t &part : parts) {
        names.insert(import_json(part.name));
        ids.insert(part.id);
    }
    std::string clash;
    each_protocol(into, [&](size_t protocol) {
        const auto token = value_of_key(into, protocol, "\"name\"");
        const std::string name(token ? text_token_bytes(into, *token) : "");
        const std::optional<uint64_t> id = id_of(into, protocol);
        if (names.contains(name))
            clash = "a protocol " + name;
        else if (clash.empty() && id && ids.contains(*id))
            clash = "a protocol with the id " + std::to_string(*id);
    });
    return clash;
}
