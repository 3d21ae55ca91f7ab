#include "limit_list.h"

#include "format_tables.h"
#include "view_stored.h"

namespace
{

constexpr const char *lost_record = "everything: the record has another length";

/// Adds the rules and the sub-rules of a protocol. Only a merge brings it more rules than a text
/// may have, as many as it has room for sub-rules.
bool add_protocol(const view_pool_t &pool, const view_protocol_t &protocol,
                  std::vector<view_limit_t> &limits, view_error_t &error)
{
    std::string_view name;
    (void)view_pool_get(pool, protocol.name, name);
    uint64_t nr_slot = 0;
    const uint32_t nr_rule = view_list_count(protocol.rules);
    const bool counted = view_each_rule(protocol, error, [&](uint32_t, const view_rule_t &rule) {
        nr_slot += view_list_count(rule.sub_rules);
        return true;
    });
    limit_list_t list = {limits, std::string(name)};
    list.add("rules of the protocol", nr_rule,
             nr_rule < PROTOCOL_RULE_DIM ? PROTOCOL_RULE_DIM - 1 : PROTODESC_SLOT_MAX,
             lost_nothing);
    list.add("slots of sub-rules of the protocol", nr_slot, PROTODESC_SLOT_MAX, lost_nothing);
    return counted;
}

bool add_group(const view_record_t &record, const view_group_t &group, uint32_t number,
               std::vector<view_limit_t> &limits, view_error_t &error)
{
    const std::string subject = "protocol group " + std::to_string(number);
    limit_list_t{limits, subject}.add("words of the record", record.length, TLV_LEN_FIELD_MAX,
                                      lost_record);
    limit_list_pool(limits, subject + ", strings", group.pool);
    return view_each_protocol(group, error,
                              [&](const view_record_t &, const view_protocol_t &protocol) {
                                  return add_protocol(group.pool, protocol, limits, error);
                              });
}

} // namespace

void limit_list_pool(std::vector<view_limit_t> &limits, std::string subject,
                     const view_pool_t &pool)
{
    limit_list_t list = {limits, std::move(subject)};
    list.add("words of the string pool", view_words(pool.area), TLV_LEN_FIELD_MAX, lost_record);
    // An entry takes one word at least.
    list.add("entries of the string pool", view_pool_count(pool), TLV_LEN_FIELD_MAX, lost_record);
}

void limit_list_records(const pdb_view_t &pdb, std::vector<view_limit_t> &limits)
{
    for (const format_record_t &row : format_records_of(FORMAT_LEVEL_PDB)) {
        const view_area_t &root = pdb_view_root(pdb, row.type);
        if (row.content == FORMAT_CONTENT_POOL)
            limit_list_pool(limits, row.what, {root});
        else
            limit_list_t{limits, row.what}.add("words of the record", view_words(root),
                                               TLV_LEN_FIELD_MAX, lost_record);
    }
    uint32_t number = 0;
    view_error_t error;
    (void)view_each_group(pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS), error,
                          [&](const view_record_t &record, const view_group_t &group) {
                              return add_group(record, group, ++number, limits, error);
                          }); // a verified pdb reads to its end
}
