#include "match_run.h"

#include <algorithm>

#include "csa_endian.h"

namespace
{

void feed_address(pdata::flow &flow, pdata_attribute attribute, const flow_value_t &value)
{
    uint8_t bytes[16];
    for (size_t i = 0; i < value.number.address.size(); ++i)
        csa_set_be32(bytes + 4 * i, value.number.address[i]);
    flow.add_ipv6(attribute, bytes);
}

void feed_value(const pdata::database &db, pdata::flow &flow, const flow_value_t &value)
{
    const pdata_attribute attribute = db.attribute(value.protocol.c_str(), value.attribute.c_str(),
                                                   static_cast<pdata_direction>(value.way));
    if (attribute == 0)
        return;
    pdata_attribute_info info;
    pdata::check(pdata_db_attribute_info(db.get(), attribute, &info));
    uint8_t bytes[4];
    switch (info.kind) {
    case PDATA_BYTES:
        return flow.add(attribute, value.bytes, value.more ? uint32_t{PDATA_MORE} : 0);
    case PDATA_NUMBER:
        return flow.add_number(attribute, value.number.number);
    case PDATA_IPV4:
        csa_set_be32(bytes, static_cast<uint32_t>(value.number.number));
        return flow.add_ipv4(attribute, bytes);
    case PDATA_IPV6:
        return feed_address(flow, attribute, value);
    }
}

} // namespace

void match_feed(const pdata::database &db, pdata::flow &flow, std::span<const flow_value_t> values)
{
    for (const flow_value_t &value : values) {
        if (value.attribute.empty())
            flow.add_protocol(db.protocol(value.protocol.c_str()));
        else
            feed_value(db, flow, value);
    }
}

match_answer_t match_answer(const pdata::database &db, pdata::flow &flow,
                            std::span<const flow_value_t> values)
{
    flow.reset();
    match_feed(db, flow, values);
    match_answer_t answer{flow.items(), flow.rules()};
    std::sort(answer.items.begin(), answer.items.end());
    return answer;
}

bool model_answer(const loadable_pdb_t &pdb, std::span<const flow_value_t> values,
                  match_answer_t &answer, std::string &error)
{
    runtime_result_t result;
    if (!runtime_classify(pdb, values, result, error))
        return false;
    answer = {result.items, {}};
    for (const runtime_match_t &match : result.matches)
        answer.rules.push_back(match.rule_id);
    return true;
}
