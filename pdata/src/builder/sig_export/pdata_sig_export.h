/// Signature exports: every value compiled into a matcher, reported to a named export.
///
/// An export is a record with its state and five operations, chosen by name from one table.
/// Without an export (a null pointer) every operation below does nothing and succeeds. What an
/// export has to say is written when it is released.
///
/// Protocol ids are plain numbers, as protodesc_get_id gives them; no byte order is kept here.
#pragma once

#include <cstdint>
#include <deque>
#include <memory>
#include <string>
#include <unordered_map>
#include <variant>
#include <vector>

#include "csa_str.h"
#include "pdata_error.h"

/// One value of the signature coverage.
struct sig_cov_entry {
    uint32_t proto_id;
    const char *proto_name; ///< the mapping's text
    uint32_t rule_id;       ///< item id of the value (oddity O192)
    uint32_t nth_rule;
    uint8_t nth_item; ///< number of the value within its rule, modulo 256
};

/// State of the signature coverage: the values in the order in which they came.
struct signature_coverage {
    std::vector<sig_cov_entry> entries;
};

/// One value of the packet-capture generation.
struct pcap_gen_pattern {
    const char *proto;
    std::string attr;
    std::string pattern;
};

/// The values of one rule, in the order in which they came.
struct pcap_gen_entry {
    uint32_t proto_id;
    std::string proto_name;
    uint32_t nth_rule;
    std::vector<pcap_gen_pattern> patterns;
};

/// State of the packet-capture generation.
struct pcap_gen {
    std::vector<pcap_gen_entry> entries;              ///< in the order in which their rules came
    std::unordered_map<uint64_t, size_t> entry_index; ///< by protocol id and rule index
    const char *current_proto = nullptr;              ///< null: the matcher's values are ignored
    const csa_str_t *current_attr = nullptr;          ///< valid while the matcher is open
};

struct pdata_sig_export;

/// The operations of an export. All but the first return PDATA_SUCCESS or a status without a
/// message.
struct pdata_sig_export_ops {
    void (*init)(pdata_sig_export *sig_export);
    pdata_status_t (*clean)(pdata_sig_export *sig_export);
    pdata_status_t (*matcher_prepare)(pdata_sig_export *sig_export, const csa_str_t *proto,
                                      const csa_str_t *attr, uint8_t way);
    pdata_status_t (*matcher_finalize)(pdata_sig_export *sig_export);
    pdata_status_t (*element_register)(pdata_sig_export *sig_export, const char *data, uint32_t len,
                                       uint32_t item_id);
};

/// An export at work.
struct pdata_sig_export {
    const char *name = nullptr;
    uint32_t proto_id = 0;            ///< the current protocol
    const char *proto_name = nullptr; ///< owned by the protocol mapping
    uint32_t nth_rule = 0;            ///< index of the current rule within the protocol
    const pdata_sig_export_ops *ops = nullptr;
    std::variant<signature_coverage, pcap_gen> engine_data;
};

using pdata_sig_export_t = pdata_sig_export;

/// Largest index of the protocol mapping.
constexpr uint32_t PDATA_SIG_EXPORT_INDEX_MAX = 16382;

/// Longest protocol name of the mapping, in bytes; a longer one is cut.
constexpr uint32_t PDATA_SIG_EXPORT_NAME_MAX = 255;

/// Returns the export of that exact name, or null for a null or unknown name (oddity O189). Memory
/// that runs out is std::bad_alloc.
std::unique_ptr<pdata_sig_export_t> pdata_sig_export_init(const char *name);

/// Lets an export write what it has, also when that is nothing (oddity O195), and releases it.
/// Returns what the export returns, or PDATA_SUCCESS for null.
pdata_status_t pdata_sig_export_clean(std::unique_ptr<pdata_sig_export_t> sig_export);

/// Notes the id and the name of the protocol at `index` of the compile. Returns
/// PDATA_ERR_OVERFLOW, without a message, for an index beyond the mapping. Oddity O205.
[[nodiscard]] pdata_status_t pdata_sig_export_mapping_add(uint32_t index, uint32_t id,
                                                          csa_str_t name);

/// Return what was noted, 0 and "" for nothing. The name stands where it is as long as the process
/// lives; noting another one at the same index overwrites it.
uint32_t pdata_sig_export_get_proto_id(uint32_t index);
const char *pdata_sig_export_get_proto_name(uint32_t index);

/// Makes the protocol at `index` and one of its rules current, before a value is registered.
/// Returns PDATA_SUCCESS.
pdata_status_t pdata_sig_export_set_context(pdata_sig_export_t *sig_export, uint32_t index,
                                            uint32_t nth_rule);

/// Announces a matcher, whose two names must live until it is finalized. Of the direction only
/// the low 8 bits are told.
[[nodiscard]] pdata_status_t pdata_sig_export_matcher_prepare(pdata_sig_export_t *sig_export,
                                                              const csa_str_t *proto,
                                                              const csa_str_t *attr, uint32_t way);

/// Closes the matcher.
[[nodiscard]] pdata_status_t pdata_sig_export_matcher_finalize(pdata_sig_export_t *sig_export);

/// Reports a value of the open matcher and the item id it got.
[[nodiscard]] pdata_status_t pdata_sig_export_element_register(pdata_sig_export_t *sig_export,
                                                               const char *data, uint32_t len,
                                                               uint32_t item_id);

/// The operations of the two exports.
extern const pdata_sig_export_ops signature_coverage_ops;
extern const pdata_sig_export_ops pcap_gen_ops;
