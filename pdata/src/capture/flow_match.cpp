#include "flow_match.h"

#include <algorithm>
#include <new>

#include "pdata.hpp"

namespace
{

uint32_t path_length(const pdata_rule_info &rule)
{
    return std::min<uint32_t>(rule.nr_path, PDATA_PATH_MAX);
}

void forget_names(flow_runner_t &runner)
{
    if (runner.attributes.size() > FLOW_RUNNER_NAMES)
        runner.attributes.clear();
    if (runner.protocols.size() > FLOW_RUNNER_NAMES)
        runner.protocols.clear();
}

pdata_attribute find_attribute(flow_runner_t &runner, const flow_attr_t &value)
{
    const auto key = std::tie(value.protocol, value.attribute, value.way);
    const auto found = runner.attributes.find(key); // most are known, and need no key of their own
    if (found != runner.attributes.end())
        return found->second;
    const pdata_attribute attribute =
        pdata_db_attribute(pdata_flow_db(runner.flow.get()), value.protocol.c_str(),
                           value.attribute.c_str(), static_cast<pdata_direction>(value.way));
    runner.attributes.emplace(key, attribute);
    return attribute;
}

pdata_protocol find_protocol(flow_runner_t &runner, const std::string &name)
{
    const auto [found, is_new] = runner.protocols.try_emplace(name, 0);
    if (is_new)
        found->second = pdata_db_protocol(pdata_flow_db(runner.flow.get()), name.c_str());
    return found->second;
}

pdata_result add_value(flow_runner_t &runner, const flow_attr_t &value)
{
    pdata_flow *flow = runner.flow.get();
    switch (value.kind) {
    case FLOW_PROTOCOL:
        return pdata_flow_add_protocol(flow, find_protocol(runner, value.protocol));
    case FLOW_BYTES:
        return pdata_flow_add_bytes(flow, find_attribute(runner, value), value.bytes.data(),
                                    value.bytes.size(), value.incomplete ? PDATA_MORE : 0);
    case FLOW_NUMBER:
        return pdata_flow_add_number(flow, find_attribute(runner, value), value.number);
    case FLOW_IP4:
        return pdata_flow_add_ipv4(flow, find_attribute(runner, value), value.address.data());
    default:
        return pdata_flow_add_ipv6(flow, find_attribute(runner, value), value.address.data());
    }
}

pdata_kind kind_of(flow_runner_t &runner, const flow_attr_t &value)
{
    pdata_attribute_info info = {};
    (void)pdata_db_attribute_info(pdata_flow_db(runner.flow.get()), find_attribute(runner, value),
                                  &info);
    return info.kind;
}

const char *kind_text(pdata_kind kind)
{
    switch (kind) {
    case PDATA_NUMBER:
        return "a number";
    case PDATA_IPV4:
        return "an IPv4 address";
    case PDATA_IPV6:
        return "an IPv6 address";
    default:
        return "bytes";
    }
}

} // namespace

std::vector<std::string_view> flow_rule_path(const pdata_db *db, const pdata_rule_info &rule)
{
    std::vector<std::string_view> path;
    for (uint32_t i = 0; i < path_length(rule); ++i)
        path.push_back(pdata::view(pdata_db_protocol_name(db, rule.path[i])));
    return path;
}

std::string_view flow_rule_protocol(const pdata_db *db, const pdata_rule_info &rule)
{
    const uint32_t length = path_length(rule);
    return length == 0 ? std::string_view()
                       : pdata::view(pdata_db_protocol_name(db, rule.path[length - 1]));
}

void flow_runner_open(pdata_db *db, uint32_t flags, flow_runner_t &runner)
{
    pdata_flow *flow = nullptr;
    if (pdata_flow_new(db, flags, &flow) != PDATA_R_OK)
        throw std::bad_alloc(); // there is a database
    runner.flow.reset(flow);
    runner.attributes.clear();
    runner.protocols.clear();
}

bool flow_runner_run(flow_runner_t &runner, std::span<const flow_attr_t> values,
                     flow_refusal_t &refusal)
{
    bool taken = true;
    forget_names(runner);
    pdata_flow_reset(runner.flow.get());
    for (size_t i = 0; i < values.size(); ++i) {
        if (add_value(runner, values[i]) == PDATA_R_OK || !taken)
            continue;
        taken = false;
        refusal = {i, kind_of(runner, values[i])};
    }
    return taken;
}

bool flow_runner_tests(flow_runner_t &runner, const flow_attr_t &value)
{
    return value.kind == FLOW_PROTOCOL || find_attribute(runner, value) != 0;
}

std::string flow_refusal_text(std::span<const flow_attr_t> values, const flow_refusal_t &refusal)
{
    const flow_attr_t &value = values[refusal.value];
    std::string text = "value " + std::to_string(refusal.value + 1);
    text.append(": ").append(value.protocol).append(":").append(value.attribute);
    return text.append(" holds ").append(kind_text(refusal.wanted));
}
