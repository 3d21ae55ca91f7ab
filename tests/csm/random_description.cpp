#include "random_description.h"

#include <algorithm>
#include <map>
#include <optional>
#include <random>

namespace
{

struct attr_choice {
    const char *protocol;
    const char *name;
    matcher_type_t type;
    csa_attr_way_t allowed;
};

constexpr attr_choice attr_choices[] = {
    {"http", "uri", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
    {"http", "user_agent", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
    {"http", "location", MATCHER_TYPE_STREAM, ATTR_WAY_STC},
    {"http", "content", MATCHER_TYPE_STREAM, ATTR_WAY_BOTH},
    {"http", "header_raw", MATCHER_TYPE_STREAM, ATTR_WAY_BOTH},
    {"ssl", "common_name", MATCHER_TYPE_STREAM, ATTR_WAY_BOTH},
    {"quic", "server_name", MATCHER_TYPE_STREAM, ATTR_WAY_CTS},
    {"tcp", "stream", MATCHER_TYPE_STREAM, ATTR_WAY_BOTH},
    {"tcp", "port", MATCHER_TYPE_NUMBER_16, ATTR_WAY_BOTH},
    {"udp", "stream", MATCHER_TYPE_STREAM, ATTR_WAY_BOTH},
    {"udp", "payload_len", MATCHER_TYPE_NUMBER_16, ATTR_WAY_BOTH},
    {"icmp", "code", MATCHER_TYPE_NUMBER_8, ATTR_WAY_BOTH},
    {"ip", "address", MATCHER_TYPE_IP_4, ATTR_WAY_BOTH},
    {"ip6", "address", MATCHER_TYPE_IP_6, ATTR_WAY_BOTH},
};

constexpr const char *bottoms[] = {"http", "ssl", "quic", "tcp", "udp", "icmp", "ip", "ip6"};

const std::map<std::string, uint32_t> scope_bits = {
    {"all", 1},       {"a", 1},
    {"http", 2},      {"ht", 2},
    {"ssl", 4},       {"stun", 8},
    {"ip", 0x10},     {"sip", 0x40},
    {"rtsp", 0x80},   {"facebook", 0x100},
    {"quic", 0x200},  {"q", 0x200},
    {"http2", 0x400}, {"http_proxy", 0x800},
    {"spdy", 0x1000},
};

const std::map<std::string, uint32_t> built_in = {{"http", 67}, {"dns", 32}, {"quic", 2521}};

/// A sub-rule as it is written.
struct raw_sub_rule {
    std::vector<std::string> protocols;
    std::optional<uint32_t> mindata;
    std::optional<uint32_t> cts_mindata;
    std::optional<uint32_t> stc_mindata;
    std::vector<attr_model> attrs;
    std::vector<std::string> members; ///< of its JSON object
};

struct raw_rule {
    uint32_t order = 0;
    bool fastpass = false;
    bool preempt = false;
    uint32_t scope = 0x800;
    std::vector<std::string> path;
    std::vector<std::string> tags;
    std::vector<raw_sub_rule> sub_rules;
};

/// What a slot keeps from its last use.
struct slot_memory {
    uint32_t fastpass = 0;
    uint32_t preempt = 0;
    uint32_t scope = 0;
    uint32_t vid = 0;
};

std::string join(const std::vector<std::string> &parts)
{
    std::string out;
    for (const std::string &part : parts)
        out.append(out.empty() ? "" : ", ").append(part);
    return out;
}

std::string object(const std::vector<std::string> &members)
{
    return std::string("{") + join(members) + "}";
}

class generator
{
public:
    generator(uint32_t seed, std::span<const alias_model> alias_list, const random_shape &with)
        : random(seed), aliases(alias_list), shape(with)
    {
    }

    random_description make()
    {
        std::vector<std::string> texts;
        for (uint32_t n = shape.nr_protocol != 0 ? shape.nr_protocol : 1 + below(6); n != 0; --n)
            texts.push_back(make_protocol());
        description.json = std::string("{") + quoted("protocols") + ": [" + join(texts) + "]}\n";
        return description;
    }

private:
    std::mt19937 random;
    std::span<const alias_model> aliases;
    random_shape shape;
    random_description description;
    std::map<uint32_t, slot_memory> slots;
    std::map<std::string, bool> seen; ///< strings of the group's table

    uint32_t below(uint32_t n) { return static_cast<uint32_t>(random()) % n; }
    bool chance(uint32_t percent) { return below(100) < percent; }
    std::string quoted(const std::string &text)
    {
        return json_quoted(text, chance(50) ? static_cast<uint32_t>(random()) : 0);
    }

    std::string word()
    {
        static constexpr std::string_view alphabet =
            "abcdefghijklmnopqrstuvwxyz0123456789_.-/\\\"\t\n\r\b\f %{}[]:,\x80\xFF";
        std::string text;
        for (uint32_t n = 1 + below(chance(5) ? 300 : 10); n != 0; --n)
            text += alphabet[below(static_cast<uint32_t>(alphabet.size()))];
        return text;
    }

    std::vector<std::string> words(uint32_t most)
    {
        std::vector<std::string> list(below(most + 1));
        for (std::string &one : list)
            one = word();
        return list;
    }

    uint32_t number()
    {
        const uint32_t some[] = {0, 1, 255, 65536, 0x01000007, 0xFFFFFFFE, 0xFFFFFFFF};
        return chance(50) ? below(5000) : some[below(7)];
    }

    std::string member(const char *key, const std::string &value)
    {
        return std::string("\"") + key + "\": " + value;
    }

    std::string list_of(const std::vector<std::string> &list)
    {
        if (list.size() == 1 && chance(50))
            return quoted(list[0]);
        std::vector<std::string> parts;
        for (const std::string &one : list)
            parts.push_back(quoted(one));
        return std::string("[") + join(parts) + "]";
    }

    /// Adds a number member most of the time, and gives what was written.
    std::optional<uint32_t> number_member(std::vector<std::string> &members, const char *key)
    {
        if (chance(40))
            return {};
        const uint32_t value = number();
        members.push_back(member(key, std::to_string(value)));
        return value;
    }

    /// Adds a literal member now and then, and gives whether it says true.
    std::optional<bool> atom_member(std::vector<std::string> &members, const char *key)
    {
        if (chance(50))
            return {};
        static constexpr const char *literals[] = {"true", "false", "null"};
        const uint32_t says = below(3);
        members.push_back(member(key, literals[says]));
        return says == 0;
    }

    void pooled(const std::string &text)
    {
        if (!seen[text])
            description.group_strings.push_back(text);
        seen[text] = true;
    }

    void make_tags(std::vector<std::string> &members, protocol_model &model)
    {
        std::vector<std::string> tags;
        const std::vector<std::string> categories = words(9);
        if (!categories.empty())
            tags.push_back(member("category", list_of(categories)));
        for (const std::string &category : categories)
            model.tags.emplace_back("category", category);
        if (chance(50)) {
            model.tags.emplace_back("family", word());
            tags.push_back(member("family", quoted(model.tags.back().second)));
        }
        if (atom_member(tags, "deprecated").value_or(false))
            model.tags.emplace_back("deprecated", "true");
        std::shuffle(tags.begin(), tags.end(), random);
        members.push_back(member("tags", object(tags)));
    }

    /// The id of the next protocol in a row of ids.
    uint32_t next_id() const
    {
        return shape.first_id + 41 * static_cast<uint32_t>(description.protocols.size());
    }

    std::string make_name()
    {
        if (shape.first_id != 0)
            return "p" + std::to_string(next_id());
        return chance(20) ? std::next(built_in.begin(), below(3))->first : word();
    }

    uint32_t make_id(std::vector<std::string> &members, const std::string &name)
    {
        if (shape.first_id != 0) {
            members.push_back(member("id", std::to_string(next_id())));
            return next_id();
        }
        const auto known = built_in.find(name);
        return number_member(members, "id").value_or(known == built_in.end() ? 0 : known->second);
    }

    void make_meta(std::vector<std::string> &members, protocol_model &model)
    {
        model.name = make_name();
        members.push_back(member("name", quoted(model.name)));
        model.id = make_id(members, model.name);
        model.ns = model.id >> 24 & 3;
        model.default_port = std::string(1, '\0');
        model.http_reclassify = atom_member(members, "http_reclassify").value_or(false);
        model.cacheable = atom_member(members, "cacheable").value_or(true);
        model.implicit_bottom_layer = number_member(members, "implicit_bottom_layer").value_or(0);
        std::vector<std::string> version;
        const char *elements[] = {"major", "minor", "revision"};
        for (size_t i = 0; i < 3; ++i)
            model.version[i] = number_member(version, elements[i]).value_or(0);
        members.push_back(member("version", object(version)));
        model.supported_versions = {"See atlas for details"};
        model.altnames = words(chance(10) ? 10 : 3);
        if (!model.altnames.empty())
            members.push_back(member("altname", list_of(model.altnames)));
        if (chance(30))
            members.push_back(R"("description": {"fr": "f", "en": "e"})");
        if (chance(30))
            members.push_back(R"("unknown": {"name": [1, {"id": 5}, true]})");
    }

    /// Adds one attribute key with its values to a sub-rule.
    void make_attr(raw_sub_rule &sub_rule, bool single)
    {
        const attr_choice *choice;
        do
            choice = &attr_choices[below(std::size(attr_choices))];
        while (choice->protocol != sub_rule.protocols[0]);
        csa_attr_way_t way = choice->allowed;
        std::string key;
        if (way == ATTR_WAY_BOTH && chance(60))
            way = chance(50) ? ATTR_WAY_CTS : ATTR_WAY_STC;
        if (way != ATTR_WAY_BOTH && (choice->allowed == ATTR_WAY_BOTH || chance(50)))
            key = way == ATTR_WAY_CTS ? "cts-" : "stc-";
        key += choice->name;
        const auto same = [&](const attr_model &attr) {
            return attr.name == choice->name && attr.way == way;
        };
        auto attr = std::find_if(sub_rule.attrs.begin(), sub_rule.attrs.end(), same);
        if (attr == sub_rule.attrs.end())
            attr = sub_rule.attrs.insert(attr, {choice->name, choice->type, way, {}, {}});
        const auto room = static_cast<uint32_t>(8 - attr->values.size());
        if (room == 0)
            return;
        if (key.ends_with("stream") && chance(40)) {
            attr->values.emplace_back(word(), number());
            sub_rule.members.push_back(member(
                (key + "_offset").c_str(),
                std::string("{") + member("offset", std::to_string(attr->values.back().second)) +
                    ", " + member("pattern", quoted(attr->values.back().first)) + "}"));
            return;
        }
        std::vector<std::string> list(1 + (single ? 0 : below(std::min(room, 3U))));
        for (std::string &one : list)
            attr->values.emplace_back(one = word(), 0);
        sub_rule.members.push_back(member(key.c_str(), list_of(list)));
    }

    /// Where pdbs meet, tags of the table that all of them have.
    std::vector<std::string> make_rule_tags()
    {
        std::vector<std::string> tags = words(4);
        if (shape.meeting)
            for (std::string &tag : tags)
                tag = tag < "a" ? "audio" : "video";
        return tags;
    }

    raw_sub_rule make_sub_rule(bool preempt)
    {
        raw_sub_rule sub_rule;
        if (shape.plain || chance(75)) {
            sub_rule.protocols = {bottoms[below(std::size(bottoms))]};
            for (uint32_t n = preempt ? 1 : 1 + below(5); n != 0; --n)
                make_attr(sub_rule, preempt);
        } else {
            sub_rule.protocols = words(3);
            sub_rule.protocols.push_back(word());
        }
        std::vector<std::string> others = {member("protocol", list_of(sub_rule.protocols))};
        sub_rule.mindata = number_member(others, "mindata");
        sub_rule.cts_mindata = number_member(others, "cts-mindata");
        sub_rule.stc_mindata = number_member(others, "stc-mindata");
        for (const std::string &other : others)
            sub_rule.members.insert(sub_rule.members.begin() +
                                        below(static_cast<uint32_t>(sub_rule.members.size()) + 1),
                                    other);
        return sub_rule;
    }

    /// Makes a rule; its JSON object goes to `texts`.
    raw_rule make_rule(const protocol_model &model, std::vector<std::string> &texts)
    {
        raw_rule rule;
        std::vector<std::string> members;
        const uint32_t range = below(256);
        const uint32_t order = chance(20) ? 16777215 : below(1000);
        rule.order = range << 24 | order;
        members.push_back(
            member("order", quoted(std::to_string(range) + ":" + std::to_string(order))));
        rule.fastpass = atom_member(members, "fastpass").has_value();
        rule.preempt = atom_member(members, "preempt").has_value();
        std::vector<std::string> scope;
        for (uint32_t n = below(5); n != 0; --n) {
            const auto bit =
                std::next(scope_bits.begin(), below(static_cast<uint32_t>(scope_bits.size())));
            scope.push_back(bit->first);
            rule.scope |= bit->second;
        }
        if (!scope.empty())
            members.push_back(member("scope", list_of(scope)));
        if (chance(50)) {
            rule.path = words(2);
            rule.path.push_back(word());
            rule.path.push_back(model.name);
            members.push_back(member("path", list_of(rule.path)));
        }
        rule.tags = make_rule_tags();
        if (!rule.tags.empty())
            members.push_back(member("rule-tags", list_of(rule.tags)));
        std::shuffle(members.begin(), members.end(), random);
        std::vector<std::string> sub_texts;
        for (uint32_t n = below(3); n != 0; --n) {
            rule.sub_rules.push_back(make_sub_rule(rule.preempt));
            sub_texts.push_back(object(rule.sub_rules.back().members));
        }
        members.push_back(member("rule", std::string("[") + join(sub_texts) + "]"));
        texts.push_back(object(members));
        return rule;
    }

    /// Makes one of twelve rules, the same for every seed.
    raw_rule make_known_rule(const protocol_model &model, std::vector<std::string> &texts)
    {
        std::mt19937 own(below(12));
        std::swap(random, own);
        raw_rule rule = make_rule(model, texts);
        std::swap(random, own);
        return rule;
    }

    /// A rule whose first sub-rule of several protocols has one is followed, behind all others, by
    /// one for each further protocol.
    static void split(std::vector<raw_rule> &rules)
    {
        const size_t nr_rule = rules.size();
        for (size_t i = 0; i < nr_rule; ++i) {
            for (size_t j = 0; j < rules[i].sub_rules.size(); ++j) {
                const std::vector<std::string> protocols = rules[i].sub_rules[j].protocols;
                if (protocols.size() < 2)
                    continue;
                for (size_t k = 1; k < protocols.size(); ++k) {
                    rules.push_back(rules[i]);
                    rules.back().sub_rules[j].protocols = {protocols[k]};
                }
                break;
            }
        }
    }

    sub_rule_model expect_sub_rule(const raw_sub_rule &raw) const
    {
        sub_rule_model model;
        model.protocol = model.bottom_protocol = raw.protocols[0];
        model.cts_mindata = raw.cts_mindata.value_or(raw.mindata.value_or(0));
        model.stc_mindata = raw.stc_mindata.value_or(raw.mindata.value_or(0));
        model.attrs = raw.attrs;
        for (attr_model &attr : model.attrs) {
            for (const alias_model &alias : aliases) {
                if (alias.alias.protocol != model.bottom_protocol ||
                    alias.alias.attr != attr.name || alias.alias.way != attr.way)
                    continue;
                model.protocol = alias.reference.protocol;
                if (attr.name == "stream" && alias.reference.attr == "stream" &&
                    attr.way == ATTR_WAY_CTS && alias.reference.way == ATTR_WAY_STC) {
                    model.stc_mindata = std::max(model.stc_mindata, model.cts_mindata);
                    model.cts_mindata = 0;
                }
                attr.name = alias.reference.attr;
                attr.way = alias.reference.way;
                break;
            }
        }
        return model;
    }

    /// The rules of a protocol as a reader gives them; a rule without sub-rules is none.
    void expect_rules(const std::vector<raw_rule> &rules, std::optional<uint32_t> vid,
                      protocol_model &model)
    {
        uint32_t n_slot = 0;
        for (const raw_rule &raw : rules) {
            if (raw.sub_rules.empty())
                continue;
            rule_model rule;
            const uint32_t first = n_slot;
            for (const raw_sub_rule &sub_rule : raw.sub_rules) {
                slot_memory &slot = slots[n_slot++];
                rule.sub_rules.push_back(expect_sub_rule(sub_rule));
                if (sub_rule.attrs.empty())
                    continue;
                const auto bottom = scope_bits.find(sub_rule.protocols[0]);
                slot = {raw.fastpass, raw.preempt,
                        raw.scope | (bottom == scope_bits.end() ? 0 : bottom->second),
                        vid.value_or(0xFFFFFFFF)};
            }
            const slot_memory &meta = slots[first];
            rule.fastpass = meta.fastpass;
            rule.preempt = meta.preempt;
            rule.scope = meta.scope;
            rule.vid = meta.vid;
            rule.meta_version = meta.vid == 0xFFFFFFFF ? 5 : 6;
            if (!raw.sub_rules[0].attrs.empty()) {
                rule.order = raw.order;
                rule.path = raw.path;
                rule.tags = raw.tags;
            }
            model.rules.push_back(rule);
        }
    }

    /// Notes the strings of a protocol in the order of their words.
    void expect_strings(const protocol_model &model)
    {
        pooled(model.name);
        pooled(model.default_port);
        for (const auto &[name, value] : model.tags) {
            pooled(name);
            pooled(value);
        }
        pooled(model.supported_versions[0]);
        for (const std::string &altname : model.altnames)
            pooled(altname);
        for (const rule_model &rule : model.rules) {
            for (const std::string &element : rule.path)
                pooled(element);
            for (const std::string &tag : rule.tags)
                description.rule_tags.push_back(tag);
            for (const sub_rule_model &sub_rule : rule.sub_rules) {
                pooled(sub_rule.protocol);
                pooled(sub_rule.bottom_protocol);
                for (const attr_model &attr : sub_rule.attrs) {
                    pooled(attr.name);
                    for (const auto &[value, offset] : attr.values)
                        pooled(value);
                }
            }
        }
    }

    std::string make_protocol()
    {
        protocol_model model;
        std::vector<std::string> members;
        make_meta(members, model);
        make_tags(members, model);
        const std::optional<uint32_t> vid = number_member(members, "virtual_id");
        std::vector<raw_rule> rules;
        std::vector<std::string> texts;
        for (uint32_t n = below(6); n != 0; --n)
            rules.push_back(shape.meeting ? make_known_rule(model, texts)
                                          : make_rule(model, texts));
        members.push_back(member("rules", std::string("[") + join(texts) + "]"));
        std::shuffle(members.begin(), members.end(), random);
        split(rules);
        expect_rules(rules, vid, model);
        expect_strings(model);
        description.protocols.push_back(model);
        return object(members);
    }
};

} // namespace

random_description make_random_description(uint32_t seed, std::span<const alias_model> aliases,
                                           const random_shape &shape)
{
    return generator(seed, aliases, shape).make();
}
