/// Random protocols from few words, so that rules meet again and again.
#pragma once

#include <random>

#include "plu_fixtures.h"

/// What a random protocol may hold.
struct random_shape {
    bool foreign = true; ///< also what is read but not written by this tool
    uint32_t nr_rules = 6;
    uint32_t nr_values = 3; ///< different values
};

struct random_protocols {
    std::mt19937 random;
    random_shape shape;

    explicit random_protocols(uint32_t seed, random_shape with = {}) : random(seed), shape(with) {}

    uint32_t below(uint32_t end) { return static_cast<uint32_t>(random() % end); }
    bool once_in(uint32_t nr) { return below(nr) == 0; }
    std::string word(std::initializer_list<const char *> words)
    {
        return words.begin()[below(static_cast<uint32_t>(words.size()))];
    }

    attr_model attr()
    {
        constexpr matcher_type_t types[] = {MATCHER_TYPE_NUMBER_16, MATCHER_TYPE_STREAM,
                                            MATCHER_TYPE_IP_4, MATCHER_TYPE_STREAM_OFFSET};
        attr_model out = {word({"port", "host", "uri"}),
                          types[below(shape.foreign ? 4 : 3)],
                          static_cast<csa_attr_way_t>(1 + below(3)),
                          static_cast<attr_proto_t>(below(3)),
                          {}};
        for (uint32_t nr = shape.foreign ? below(4) : 1 + below(3); nr > 0; --nr) {
            const uint32_t offset = out.type == MATCHER_TYPE_STREAM ? below(2) : 0;
            out.values.emplace_back("v" + std::to_string(below(shape.nr_values)), offset);
        }
        return out;
    }

    sub_rule_model sub_rule()
    {
        sub_rule_model out = make_sub_rule(word({"tcp", "http"}), {});
        if (shape.foreign && once_in(8))
            out.bottom_protocol = "ip";
        out.cts_mindata = once_in(6) ? 4 : 0;
        for (uint32_t nr = below(4); nr > 0; --nr)
            out.attrs.push_back(attr());
        // All of them may become one attribute, which holds eight values.
        if (out.attrs.size() == 3 && out.attrs[2].values.size() == 3)
            out.attrs[2].values.pop_back();
        return out;
    }

    rule_model rule(const std::string &name)
    {
        rule_model out = make_rule({});
        for (uint32_t nr = 1 + below(2) + (shape.foreign && once_in(9) ? 1 : 0); nr > 0; --nr)
            out.sub_rules.push_back(sub_rule());
        out.meta_version = shape.foreign && once_in(6) ? 1 + below(4) : 5 + below(2);
        out.vid = out.meta_version == 6 ? 3 : RULE_VID_NONE;
        out.scope = shape.foreign && once_in(4) ? 0 : 0x800;
        out.ruleorder = once_in(5) ? 1 : 0;
        out.fastpass = below(2);
        out.preempt = below(shape.foreign ? 3 : 2);
        if (once_in(3))
            out.path = {"ip", name};
        if (once_in(3))
            out.tags = {word({"video", "audio"})};
        return out;
    }

    protocol_model protocol(uint32_t id)
    {
        protocol_model out = make_protocol(id, "p" + std::to_string(id & 0xFFF));
        out.default_port = once_in(2) ? NO_PORT : "80";
        out.max_trans = below(3);
        out.cacheable = below(2);
        out.http_reclassify = below(2);
        out.implicit_bottom_layer = below(2);
        out.version = {below(3), below(3), below(3)};
        if (once_in(2))
            out.tags = {{"category", word({"web", "mail"})}};
        if (once_in(2))
            out.altnames = {word({"x", "y"}), "z"};
        for (uint32_t nr = below(shape.nr_rules + 1); nr > 0; --nr)
            out.rules.push_back(rule(out.name));
        return out;
    }

    /// Protocols of random ids of the user namespace, few enough to meet.
    std::vector<protocol_model> any(uint32_t nr)
    {
        std::vector<protocol_model> out;
        while (out.size() < nr) {
            const uint32_t bucket = below(3);
            out.push_back(protocol(USER + bucket + below(2) * 128));
        }
        return out;
    }

    /// Protocols of different ids, from `first` on.
    std::vector<protocol_model> different(uint32_t nr, uint32_t first)
    {
        std::vector<protocol_model> out;
        for (uint32_t i = 0; i < nr; ++i)
            out.push_back(protocol(first + i * 37));
        return out;
    }
};
