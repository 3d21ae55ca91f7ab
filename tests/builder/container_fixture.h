/// A protocol container filled from a JSON text, as the tests of the visitor want it.
#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "json_text.h"
#include "visitor_protocol.h"

class container_fixture : public testing::Test
{
protected:
    /// Walks a text into `protocol`; returns what the walk returns.
    int walk(std::string_view text)
    {
        json = std::make_unique<json_text>(text);
        EXPECT_EQ(json->parse(), 0) << text;
        visitor_protocol_t visitor;
        visitor_protocol_init(&visitor, &protocol);
        const int ret = json_visit(json->json, &visitor.visitor);
        visitor_protocol_cleanup(&visitor);
        return ret;
    }

    /// Walks a protocol of one rule with one sub-rule that has these members.
    int walk_sub_rule(const std::string &members)
    {
        return walk("{\"rules\":[{\"rule\":[{" + members + "}]}]}");
    }

    /// The bytes of a node, "-" for none.
    static std::string text(const json_string_t *node)
    {
        return node == nullptr ? "-" : std::string(json_string_view(*node));
    }

    /// The attributes of a sub-rule, as "name=value@offset name=value".
    static std::string attrs(const protocol_sub_rule_t &sub_rule)
    {
        std::string out;
        for (uint32_t i = 0; i < sub_rule.nr_attr; ++i) {
            const protocol_attr_t &attr = sub_rule.attrs[i];
            out += i == 0 ? "" : " ";
            out += text(attr.name);
            out += '=';
            out += text(attr.value);
            if (attr.pattern_offset != nullptr) {
                out += '@';
                out += std::to_string(attr.pattern_offset->number);
            }
        }
        return out;
    }

    const protocol_sub_rule_t &sub_rule(size_t rule = 0, size_t sub = 0)
    {
        return protocol.rules.rules[rule].sub_rules[sub];
    }

    std::unique_ptr<json_text> json;
    protocol_t protocol;
};
