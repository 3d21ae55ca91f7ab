#include "limit_list.h"

#include "format_tables.h"
#include "view_description.h"
#include "view_parts.h"

namespace
{

constexpr const char *lost_record = "everything: the record has another length";

/// Adds the rules and the sub-rules of a protocol. Only a merge brings it more rules than a text
/// may have, as many as it has room for sub-rules.
void add_protocol(const view_pool_t &pool, const view_area_t &value,
                  std::vector<view_limit_t> &limits)
{
    view_protocol_t protocol;
    view_error_t error;
    std::string_view name;
    if (!view_protocol_open(value, protocol, error) || !view_pool_get(pool, protocol.name, name))
        return; // cannot be in a verified pdb
    uint64_t nr_slot = 0;
    const uint32_t nr_rule = view_list_count(protocol.rules);
    for (uint32_t i = 0; i < nr_rule; ++i)
        if (view_rule_t rule; view_rule_at(protocol, i, rule, error))
            nr_slot += view_list_count(rule.sub_rules);
    limit_list_t list = {limits, std::string(name)};
    list.add("rules of the protocol", nr_rule,
             nr_rule < PROTOCOL_RULE_DIM ? PROTOCOL_RULE_DIM - 1 : PROTODESC_SLOT_MAX,
             lost_nothing);
    list.add("slots of sub-rules of the protocol", nr_slot, PROTODESC_SLOT_MAX, lost_nothing);
}

void add_group(const view_record_t &record, uint32_t number, std::vector<view_limit_t> &limits)
{
    view_group_t group;
    view_error_t error;
    if (!view_group_open(record.value, group, error))
        return; // cannot be in a verified pdb
    const std::string subject = "protocol group " + std::to_string(number);
    limit_list_t{limits, subject}.add("words of the record", record.length, TLV_LEN_FIELD_MAX,
                                      lost_record);
    limit_list_pool(limits, subject + ", strings", group.pool);
    view_cursor_t cursor = view_walk(group.protocols);
    for (view_record_t entry; view_next(cursor, entry);)
        if (entry.type == TLV_TYPE_PROTO)
            add_protocol(group.pool, entry.value, limits);
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
    view_cursor_t groups = view_walk(pdb_view_root(pdb, TLV_TYPE_ROOT_PROTODESCS));
    for (view_record_t record; view_next(groups, record);)
        if (record.type == TLV_TYPE_PROTOGROUP)
            add_group(record, ++number, limits);
}
