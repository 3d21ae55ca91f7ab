// The export "signature_coverage": one line for every value, in a file of the working directory.
#include <cstdio>
#include <string>

#include "pdata_output.h"
#include "pdata_sig_export.h"

namespace
{

constexpr const char *COVERAGE_FILE = "signature_coverage.data";
constexpr uint32_t PROTO_ID_LIMIT = 65536;
constexpr uint32_t NTH_RULE_LIMIT = 2048;

/// Bytes of a line at most: a name, four numbers, what stands between them, the terminator.
constexpr size_t LINE_DIM = PDATA_SIG_EXPORT_NAME_MAX + 4 * 10 + 6;

/// Values seen of every rule of every protocol. The 8-bit counters wrap. Oddity O190.
std::unordered_map<uint32_t, uint8_t> nth_item_id;

signature_coverage &data_of(pdata_sig_export *sig_export)
{
    return std::get<signature_coverage>(sig_export->engine_data);
}

void signature_coverage_init(pdata_sig_export *sig_export)
{
    data_of(sig_export).entries.clear();
}

pdata_status_t signature_coverage_matcher_prepare(pdata_sig_export *, const csa_str_t *,
                                                  const csa_str_t *, uint8_t)
{
    return PDATA_SUCCESS;
}

pdata_status_t signature_coverage_matcher_finalize(pdata_sig_export *)
{
    return PDATA_SUCCESS;
}

pdata_status_t signature_coverage_element_register(pdata_sig_export *sig_export, const char *,
                                                   uint32_t, uint32_t item_id)
{
    // Oddity O191.
    if (sig_export->proto_id >= PROTO_ID_LIMIT || sig_export->nth_rule >= NTH_RULE_LIMIT)
        return PDATA_ERR_OVERFLOW;
    uint8_t &counter = nth_item_id[sig_export->proto_id * NTH_RULE_LIMIT + sig_export->nth_rule];
    data_of(sig_export)
        .entries.push_back(
            {sig_export->proto_id, sig_export->proto_name, item_id, sig_export->nth_rule, counter});
    ++counter;
    return PDATA_SUCCESS;
}

/// The lines of the file, newest first.
std::string lines_of(const std::vector<sig_cov_entry> &entries)
{
    std::string text;
    for (auto entry = entries.rbegin(); entry != entries.rend(); ++entry) {
        char line[LINE_DIM];
        const int len =
            std::snprintf(line, sizeof(line), "%u,%u,%s,%u,%u\n", entry->rule_id, entry->proto_id,
                          entry->proto_name, entry->nth_rule, entry->nth_item);
        text.append(line, static_cast<size_t>(len));
    }
    return text;
}

pdata_status_t signature_coverage_clean(pdata_sig_export *sig_export)
{
    std::vector<sig_cov_entry> &entries = data_of(sig_export).entries;
    const std::string text = lines_of(entries);
    const std::span<const uint8_t> content = output_text(text);
    output_t output;
    PDATA_TRY(
        pdata_output_add(output, COVERAGE_FILE, {&content, 1}, OUTPUT_LEFT_TO_SYSTEM, nullptr));
    PDATA_TRY(pdata_output_commit(output, PDATA_SUCCESS));
    entries.clear();
    return PDATA_SUCCESS;
}

} // namespace

const pdata_sig_export_ops signature_coverage_ops = {
    signature_coverage_init, signature_coverage_clean, signature_coverage_matcher_prepare,
    signature_coverage_matcher_finalize, signature_coverage_element_register};
