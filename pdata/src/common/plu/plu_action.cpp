#include "plu_action.h"

namespace
{

/// Makes room in front of the entries: they move to about the middle of an array of twice the
/// size. Returns false at the capacity limit.
bool grow(taq_action_list_t *list)
{
    if (list->len >= PLU_BUCKET_LEN_LIMIT)
        return false;
    const auto nr = static_cast<uint32_t>(list->data.size());
    const uint32_t first = list->len - (nr - 1) / 2;
    list->idx_hf = first - 1;
    list->idx_tf = first + nr;
    list->len *= 2;
    return true;
}

} // namespace

void plu_init_action_table(plu_action_table_t *table)
{
    plu_delete_action_table(table);
}

void plu_insert_action(plu_action_table_t *table, const action &entry)
{
    taq_action_list_t &list = table->action_list[hashkey(entry.a_protoid)];
    if (list.idx_hf == 0 && !grow(&list))
        return;
    const size_t nr = list.data.size();
    try {
        list.data.push_front(entry);
        plu_id_actions_t &known = table->by_id[entry.a_protoid];
        known.actions.push_back(&list.data.front());
        known.newest[entry.a_type] = &list.data.front();
    } catch (...) {
        if (list.data.size() > nr)
            list.data.pop_front();
        throw;
    }
    --list.idx_hf;
}

const action *plu_lookup_action_by_type(const plu_action_table_t &table, uint32_t protoid,
                                        action_type_t type)
{
    const auto found = table.by_id.find(protoid);
    return found == table.by_id.end() ? nullptr : found->second.newest[type];
}

std::span<const action *const> plu_lookup_action_list(const plu_action_table_t &table,
                                                      uint32_t protoid)
{
    const auto found = table.by_id.find(protoid);
    if (found == table.by_id.end())
        return {};
    return found->second.actions;
}

void plu_delete_action_table(plu_action_table_t *table)
{
    table->action_list.fill({});
    table->by_id.clear();
}
