#include "prove_batch.h"

#include <algorithm>
#include <new>
#include <string>

#include "csa_endian.h"
#include "prove_compile.h"
#include "prove_text.h"
#include "view_overfull.h"

namespace
{

/// The order in a priority word.
constexpr uint32_t ORDER_BITS = 0xFFFFFF;

void expect(pdata_result result)
{
    if (result == PDATA_R_MEMORY)
        throw std::bad_alloc();
}

/// Opens what was compiled, and finds out which rule is which value.
bool open(const prove_value_t &value, prove_batch_t &batch)
{
    pdata_db *db = nullptr;
    expect(pdata_db_open_memory(batch.bytes.data(), batch.bytes.size(), 0, &db, nullptr));
    batch.db.reset(db);
    pdata_flow *flow = nullptr;
    expect(pdata_flow_new(db, 0, &flow)); // none without a database
    batch.flow.reset(flow);
    if (flow == nullptr)
        return false;
    batch.attribute = pdata_db_attribute(
        db, std::string(value.protocol).c_str(), std::string(value.attribute).c_str(),
        prove_text_way(value) == ATTR_WAY_STC ? PDATA_STC : PDATA_CTS);
    pdata_db_info info;
    pdata_db_describe(db, &info);
    batch.value_of.assign(info.nr_rule + 1, 0);
    batch.matches.resize(info.nr_rule);
    for (pdata_rule rule = 1; rule <= info.nr_rule; ++rule) {
        pdata_rule_info row{};
        expect(pdata_db_rule(db, rule, &row));
        batch.value_of[rule] = (row.priority & ORDER_BITS) - 1;
    }
    return true;
}

/// Tells whether the flow leads to a value, and forgets what it was fed.
bool answer(prove_batch_t &batch, size_t index)
{
    const size_t nr =
        pdata_flow_rules(batch.flow.get(), batch.matches.data(), batch.matches.size());
    const bool found =
        std::any_of(batch.matches.begin(), batch.matches.begin() + static_cast<ptrdiff_t>(nr),
                    [&](pdata_rule rule) { return batch.value_of[rule] == index; });
    pdata_flow_reset(batch.flow.get());
    return found;
}

/// Tells whether a matcher is larger than its tables can say.
bool is_overfull(std::span<const uint8_t> bytes)
{
    pdb_view_t view;
    view_error_t error;
    bool overfull = false;
    const auto put = [](void *context, const view_overfull_t &) {
        *static_cast<bool *>(context) = true;
    };
    (void)pdb_view_open(bytes, view, error); // it was compiled just now
    view_overfull(view, {put, &overfull});
    return overfull;
}

} // namespace

bool prove_batch_open(std::span<const prove_value_t *const> values, prove_batch_t &batch)
{
    batch.flow.reset();
    batch.db.reset();
    prove_compiled_t compiled = prove_compile(prove_text(values), prove_least_configuration());
    batch.bytes = std::move(compiled.bytes);
    // Of several values none shall be lost for want of room; one alone may be, and is.
    return compiled.status == PDATA_SUCCESS && (values.size() == 1 || !is_overfull(batch.bytes)) &&
           open(*values.front(), batch);
}

void prove_feed(pdata_db *db, pdata_flow *flow, pdata_attribute attribute, std::string_view data,
                const prove_number_t &number)
{
    pdata_attribute_info info{};
    if (pdata_db_attribute_info(db, attribute, &info) != PDATA_R_OK)
        return;
    uint8_t address[16];
    csa_set_be32(address, static_cast<uint32_t>(number.high >> 32));
    csa_set_be32(address + 4, static_cast<uint32_t>(number.high));
    csa_set_be32(address + 8, static_cast<uint32_t>(number.low >> 32));
    csa_set_be32(address + 12, static_cast<uint32_t>(number.low));
    if (info.kind == PDATA_BYTES)
        expect(pdata_flow_add_bytes(flow, attribute, data.data(), data.size(), 0));
    else if (info.kind == PDATA_IPV6)
        expect(pdata_flow_add_ipv6(flow, attribute, address));
    else if (info.kind == PDATA_IPV4)
        expect(pdata_flow_add_ipv4(flow, attribute, address + 12));
    else
        expect(pdata_flow_add_number(flow, attribute, number.low));
}

bool prove_batch_finds(prove_batch_t &batch, size_t index, std::string_view data)
{
    prove_feed(batch.db.get(), batch.flow.get(), batch.attribute, data, {});
    return answer(batch, index);
}

bool prove_batch_finds(prove_batch_t &batch, size_t index, const prove_number_t &number)
{
    prove_feed(batch.db.get(), batch.flow.get(), batch.attribute, {}, number);
    return answer(batch, index);
}
