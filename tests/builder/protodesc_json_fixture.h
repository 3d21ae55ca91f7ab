/// A protocol record built from JSON text.
#pragma once

#include <memory>

#include "json_error.h"
#include "json_tools.h"
#include "protodesc_builder.h"
#include "protodesc_fixture.h"

class protodesc_json_fixture : public protodesc_fixture
{
protected:
    protodesc_json_fixture() { pragmar_err_clear(); }
    ~protodesc_json_fixture() override
    {
        string_list_clean();
        pragmar_err_clear();
    }

    /// Builds the record from the protocol that a text starts with; gives the outcome. The text
    /// lives, in memory of exactly its size, until the next one: attribute names point into it.
    std::string build(const std::string &text)
    {
        pragmar_err_clear();
        exact.reset(new char[text.size()]);
        text.copy(exact.get(), text.size());
        return outcome(json_to_protodesc(&json, {exact.get(), text.size()}, &consumed, &pb));
    }

    /// Builds a protocol "web" with these rules.
    std::string build_rules(const std::string &rules)
    {
        return build(R"({"name": "web", "id": 7, "rules": [)" + rules + "]}");
    }

    /// Builds a protocol "web" with one rule that has these keys in front of its one sub-rule.
    std::string build_rule(const std::string &keys, const std::string &sub_rule)
    {
        return build_rules("{" + keys + R"("rule": [{)" + sub_rule + "}]}");
    }

    const ruledesc_build_t &slot(size_t n_rule = 0) { return pb.pb_rules[n_rule]; }

    /// The values of an attribute of a slot, as "name:a,b@4".
    std::string attr(size_t n_rule, size_t n_attr)
    {
        const attrdesc_build_t &found = slot(n_rule).rule_attr[n_attr];
        std::string out(csa_str_view(found.attr_name));
        for (size_t i = 0; i < found.attr_val.size(); ++i) {
            if (found.attr_val[i].str_buf == nullptr)
                continue;
            out += i == 0 ? ":" : ",";
            out += csa_str_view(found.attr_val[i]);
            if (found.attr_offset[i] != 0) {
                out += '@';
                out += std::to_string(found.attr_offset[i]);
            }
        }
        return out;
    }

    std::unique_ptr<char[]> exact;
    protodesc_json_t json;
    uint32_t consumed = 0;
};
