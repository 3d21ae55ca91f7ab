// A loadable pdb, and values for every attribute that it has. The first byte says how much of the
// input is the pdb, in 255ths; what follows it is handed over as data, with every flag.
#include <cstdint>
#include <vector>

#include "pdata.h"

namespace
{

void add_value(pdata_flow *flow, pdata_attribute attribute, pdata_kind kind, const uint8_t *data,
               size_t size)
{
    uint8_t address[16] = {};
    for (size_t i = 0; i < size && i < sizeof address; ++i)
        address[i] = data[i];
    switch (kind) {
    case PDATA_BYTES:
        (void)pdata_flow_add_bytes(flow, attribute, data, size / 2, PDATA_MORE);
        (void)pdata_flow_add_bytes(flow, attribute, data, size, 0);
        break;
    case PDATA_NUMBER:
        (void)pdata_flow_add_number(flow, attribute, address[0]);
        (void)pdata_flow_add_number(flow, attribute, address[0] * 256U + address[1]);
        break;
    case PDATA_IPV4:
        (void)pdata_flow_add_ipv4(flow, attribute, address);
        break;
    case PDATA_IPV6:
        (void)pdata_flow_add_ipv6(flow, attribute, address);
        break;
    }
}

/// Asks all that can be asked.
void ask(pdata_db *db, pdata_flow *flow)
{
    pdata_rule rules[16];
    pdata_near near[16];
    pdata_finding finding;
    pdata_rule_info info;
    pdata_item_info item;
    uint32_t tag;
    pdata_text name;
    const size_t nr = pdata_flow_rules(flow, rules, 16);
    for (size_t i = 0; i < nr && i < 16; ++i)
        if (pdata_db_rule(db, rules[i], &info) == PDATA_R_OK && info.nr_tag != 0)
            (void)pdata_db_rule_tag(db, rules[i], 0, &tag, &name);
    (void)pdata_flow_near(flow, near, 16);
    for (size_t i = 0; i < pdata_flow_nr_finding(flow); ++i)
        (void)pdata_flow_finding_at(flow, i, &finding);
    (void)pdata_db_item(db, 1, &item);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    if (size == 0)
        return 0;
    const size_t pdb_size = (size - 1) * data[0] / 255;
    const std::vector<uint8_t> pdb(data + 1, data + 1 + pdb_size); // of exactly its size
    const std::vector<uint8_t> values(data + 1 + pdb_size, data + size);
    pdata_db *db = nullptr;
    pdata_failure failure;
    if (pdata_db_open_memory(pdb.data(), pdb.size(), 0, &db, &failure) != PDATA_R_OK)
        return 0;
    pdata_flow *flow = nullptr;
    if (pdata_flow_new(db, PDATA_FLOW_EXPLAIN, &flow) == PDATA_R_OK) {
        pdata_attribute_info info;
        for (pdata_attribute attribute = 1;
             pdata_db_attribute_info(db, attribute, &info) == PDATA_R_OK; ++attribute)
            add_value(flow, attribute, info.kind, values.data(), values.size());
        ask(db, flow);
    }
    pdata_flow_free(flow);
    pdata_db_release(db);
    return 0;
}
