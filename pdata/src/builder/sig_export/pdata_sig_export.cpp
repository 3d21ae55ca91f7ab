#include "pdata_sig_export.h"

#include <array>
#include <cstring>
#include <exception>

namespace
{

/// Makes the state of an export.
struct sig_list_row {
    const char *name;
    const pdata_sig_export_ops *ops;
    std::variant<signature_coverage, pcap_gen> (*new_data)();
};

const sig_list_row sig_list[] = {
    {"signature_coverage", &signature_coverage_ops,
     []() -> std::variant<signature_coverage, pcap_gen> { return signature_coverage{}; }},
    {"pcap_generation", &pcap_gen_ops,
     []() -> std::variant<signature_coverage, pcap_gen> { return pcap_gen{}; }},
};

/// A protocol of the compile. It never moves: exports point at the name.
struct mapping_row {
    uint32_t map_proto_id = 0;
    std::array<char, PDATA_SIG_EXPORT_NAME_MAX + 1> map_proto_name{};
};

/// By index; null for what was not noted. Empty, it holds no memory.
std::vector<std::unique_ptr<mapping_row>> mapping;

/// Returns what was noted at an index, or null.
const mapping_row *mapping_find(uint32_t index)
{
    return index < mapping.size() ? mapping[index].get() : nullptr;
}

/// Makes an export with the empty data of its engine.
std::unique_ptr<pdata_sig_export_t> pdata_sig_export_new(const sig_list_row &row)
{
    auto sig_export = std::make_unique<pdata_sig_export_t>();
    sig_export->engine_data = row.new_data();
    return sig_export;
}

std::unique_ptr<pdata_sig_export_t> pdata_sig_export_create(const sig_list_row &row)
{
    std::unique_ptr<pdata_sig_export_t> sig_export = pdata_sig_export_new(row);
    sig_export->name = row.name;
    sig_export->ops = row.ops;
    return sig_export;
}

} // namespace

std::unique_ptr<pdata_sig_export_t> pdata_sig_export_init(const char *name)
{
    if (name == nullptr)
        return nullptr;
    for (const sig_list_row &row : sig_list) {
        if (std::strcmp(row.name, name) != 0)
            continue;
        std::unique_ptr<pdata_sig_export_t> sig_export = pdata_sig_export_create(row);
        row.ops->init(sig_export.get());
        return sig_export;
    }
    return nullptr;
}

pdata_status_t pdata_sig_export_clean(std::unique_ptr<pdata_sig_export_t> sig_export)
{
    return sig_export == nullptr ? PDATA_SUCCESS : sig_export->ops->clean(sig_export.get());
}

pdata_status_t pdata_sig_export_mapping_add(uint32_t index, uint32_t id, csa_str_t name)
{
    if (index > PDATA_SIG_EXPORT_INDEX_MAX)
        return PDATA_ERR_OVERFLOW;
    if (mapping.size() <= index)
        mapping.resize(index + 1);
    if (mapping[index] == nullptr)
        mapping[index] = std::make_unique<mapping_row>();
    mapping_row &row = *mapping[index];
    row.map_proto_id = id;
    const size_t len =
        csa_str_view(name).copy(row.map_proto_name.data(), PDATA_SIG_EXPORT_NAME_MAX);
    row.map_proto_name[len] = '\0';
    return PDATA_SUCCESS;
}

uint32_t pdata_sig_export_get_proto_id(uint32_t index)
{
    const mapping_row *row = mapping_find(index);
    return row != nullptr ? row->map_proto_id : 0;
}

const char *pdata_sig_export_get_proto_name(uint32_t index)
{
    const mapping_row *row = mapping_find(index);
    return row != nullptr ? row->map_proto_name.data() : "";
}

pdata_status_t pdata_sig_export_set_context(pdata_sig_export_t *sig_export, uint32_t index,
                                            uint32_t nth_rule)
{
    if (sig_export == nullptr)
        return PDATA_SUCCESS;
    sig_export->proto_id = pdata_sig_export_get_proto_id(index);
    sig_export->proto_name = pdata_sig_export_get_proto_name(index);
    sig_export->nth_rule = nth_rule;
    return PDATA_SUCCESS;
}

pdata_status_t pdata_sig_export_matcher_prepare(pdata_sig_export_t *sig_export,
                                                const csa_str_t *proto, const csa_str_t *attr,
                                                uint32_t way)
{
    if (sig_export == nullptr)
        return PDATA_SUCCESS;
    return sig_export->ops->matcher_prepare(sig_export, proto, attr, static_cast<uint8_t>(way));
}

pdata_status_t pdata_sig_export_matcher_finalize(pdata_sig_export_t *sig_export)
{
    return sig_export == nullptr ? PDATA_SUCCESS : sig_export->ops->matcher_finalize(sig_export);
}

pdata_status_t pdata_sig_export_element_register(pdata_sig_export_t *sig_export, const char *data,
                                                 uint32_t len, uint32_t item_id)
{
    if (sig_export == nullptr)
        return PDATA_SUCCESS;
    try {
        return sig_export->ops->element_register(sig_export, data, len, item_id);
    } catch (const std::exception &) {
        return PDATA_ERR_SIG_EXPORT;
    }
}
