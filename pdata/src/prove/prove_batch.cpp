#include "prove_batch.h"

#include <algorithm>
#include <new>
#include <string>

#include "csa_endian.h"
#include "pdata_compile.h"
#include "pdata_serialize.h"
#include "prove_capacity.h"
#include "prove_text.h"

namespace
{

/// The order in a priority word.
constexpr uint32_t ORDER_BITS = 0xFFFFFF;

/// What a run of the compiler leaves behind in the status slot is undone.
struct kept_status_t {
    pdata_status_t code = pdata_status_code_get();
    std::string message = pdata_status_msg_get();

    kept_status_t() = default;
    kept_status_t(const kept_status_t &) = delete;
    kept_status_t &operator=(const kept_status_t &) = delete;
    ~kept_status_t()
    {
        pdata_status_code_set(code);
        pdata_status_msg_set(message.c_str());
    }
};

csa_buf_t buffer_of(std::string_view text)
{
    return {text.begin(), text.end()};
}

/// A configuration of what no description can do without.
pdata_cfg_t least_configuration()
{
    pdata_cfg_t cfg{};
    cfg.meta[0] = {PDATA_META_SEM, PDATA_TYPE_CSM, "semantic_csm", buffer_of("{}")};
    cfg.meta[1] = {PDATA_META_PDM, PDATA_TYPE_TAG_TABLE, "tag_table",
                   buffer_of("{\"tag_table\":{\"none\":1}}")};
    cfg.meta[2] = {PDATA_META_END, PDATA_TYPE_TAG_TABLE, "end", {}};
    cfg.ignore_sem = 1;
    return cfg;
}

pdata_status_t compile(std::string_view text, std::vector<uint8_t> &bytes)
{
    const pdata_cfg_t cfg = least_configuration();
    const pdd_t pdd = {buffer_of(text)};
    pdb_list_t list;
    pdb_t loadable;
    PDATA_TRY(pdata_serialize(&pdd, &list, &cfg, nullptr, PDATA_TYPE_PROTOCOL));
    PDATA_TRY(pdata_compile(&list, &loadable, nullptr, {}, 1));
    const std::span<const uint8_t> made = pdb_header_bytes(loadable);
    bytes.assign(made.begin(), made.end());
    return PDATA_SUCCESS;
}

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
    if (db != nullptr)
        expect(pdata_flow_new(db, 0, &flow));
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

} // namespace

bool prove_batch_open(std::span<const prove_value_t *const> values, prove_batch_t &batch)
{
    const kept_status_t kept;
    batch.flow.reset();
    batch.db.reset();
    switch (compile(prove_text(values), batch.bytes)) {
    case PDATA_SUCCESS:
        // Of several values none shall be lost for want of room; one alone may be, and is.
        return (values.size() == 1 || prove_overfull(batch.bytes).empty()) &&
               open(*values.front(), batch);
    case PDATA_ERR_NO_MEMORY:
        throw std::bad_alloc();
    default:
        return false;
    }
}

bool prove_batch_finds(prove_batch_t &batch, size_t index, std::string_view data)
{
    expect(pdata_flow_add_bytes(batch.flow.get(), batch.attribute, data.data(), data.size(), 0));
    return answer(batch, index);
}

bool prove_batch_finds(prove_batch_t &batch, size_t index, const prove_number_t &number)
{
    pdata_attribute_info info{};
    (void)pdata_db_attribute_info(batch.db.get(), batch.attribute, &info);
    uint8_t address[16];
    csa_set_be32(address, static_cast<uint32_t>(number.high >> 32));
    csa_set_be32(address + 4, static_cast<uint32_t>(number.high));
    csa_set_be32(address + 8, static_cast<uint32_t>(number.low >> 32));
    csa_set_be32(address + 12, static_cast<uint32_t>(number.low));
    if (info.kind == PDATA_IPV6)
        expect(pdata_flow_add_ipv6(batch.flow.get(), batch.attribute, address));
    else if (info.kind == PDATA_IPV4)
        expect(pdata_flow_add_ipv4(batch.flow.get(), batch.attribute, address + 12));
    else
        expect(pdata_flow_add_number(batch.flow.get(), batch.attribute, number.low));
    return answer(batch, index);
}
