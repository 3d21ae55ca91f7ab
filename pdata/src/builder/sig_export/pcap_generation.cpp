// The export "pcap_generation": the values of a few protocols, grouped by protocol and rule, on
// standard output for a packet-capture generator.
#include <cstdio>
#include <string_view>

#include "pdata_sig_export.h"

namespace
{

/// The protocols whose values are collected. Oddity O193.
constexpr const char *allowed_proto[] = {"http", "ssl"};

pcap_gen &data_of(pdata_sig_export *sig_export)
{
    return std::get<pcap_gen>(sig_export->engine_data);
}

void pcap_gen_init(pdata_sig_export *sig_export)
{
    data_of(sig_export) = {};
}

pdata_status_t pcap_gen_matcher_prepare(pdata_sig_export *sig_export, const csa_str_t *proto,
                                        const csa_str_t *attr, uint8_t)
{
    pcap_gen &data = data_of(sig_export);
    data.current_proto = nullptr;
    for (const char *allowed : allowed_proto)
        if (csa_str_view(*proto) == allowed)
            data.current_proto = allowed;
    data.current_attr = attr;
    return PDATA_SUCCESS;
}

pdata_status_t pcap_gen_matcher_finalize(pdata_sig_export *sig_export)
{
    data_of(sig_export).current_proto = nullptr;
    data_of(sig_export).current_attr = nullptr;
    return PDATA_SUCCESS;
}

/// Returns the entry of the current rule, which comes into being with its first value.
pcap_gen_entry &entry_of(const pdata_sig_export &sig_export, pcap_gen &data)
{
    const uint32_t proto_id = sig_export.proto_id;
    const uint64_t key = static_cast<uint64_t>(proto_id) << 32 | sig_export.nth_rule;
    const auto found = data.entry_index.find(key);
    if (found != data.entry_index.end())
        return data.entries[found->second];
    // The index names an entry only once the entry stands.
    data.entries.push_back({proto_id, sig_export.proto_name, sig_export.nth_rule, {}});
    try {
        data.entry_index.emplace(key, data.entries.size() - 1);
    } catch (...) {
        data.entries.pop_back();
        throw;
    }
    return data.entries.back();
}

pdata_status_t pcap_gen_element_register(pdata_sig_export *sig_export, const char *value,
                                         uint32_t len, uint32_t)
{
    pcap_gen &data = data_of(sig_export);
    if (data.current_proto == nullptr)
        return PDATA_SUCCESS;
    entry_of(*sig_export, data)
        .patterns.push_back({data.current_proto, std::string(csa_str_view(*data.current_attr)),
                             len == 0 ? std::string() : std::string(value, len)});
    return PDATA_SUCCESS;
}

pdata_status_t pcap_gen_clean(pdata_sig_export *sig_export)
{
    pcap_gen &data = data_of(sig_export);
    // Newest first, the entries and the values of each. Texts end at their first 0 byte.
    // Oddity O194.
    for (auto entry = data.entries.rbegin(); entry != data.entries.rend(); ++entry) {
        std::printf("%s", entry->proto_name.c_str());
        for (auto pattern = entry->patterns.rbegin(); pattern != entry->patterns.rend(); ++pattern)
            std::printf("~~%s~~%s~~%s", pattern->proto, pattern->attr.c_str(),
                        pattern->pattern.c_str());
        std::printf("\n");
    }
    data = {};
    return PDATA_SUCCESS;
}

} // namespace

const pdata_sig_export_ops pcap_gen_ops = {pcap_gen_init, pcap_gen_clean, pcap_gen_matcher_prepare,
                                           pcap_gen_matcher_finalize, pcap_gen_element_register};
