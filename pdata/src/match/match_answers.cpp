#include <algorithm>
#include <mutex>

#include "match_flow.h"
#include "match_guard.h"

namespace
{

bool is_better(const match_complete_t &a, const match_complete_t &b)
{
    return a.priority != b.priority ? a.priority < b.priority : a.rule < b.rule;
}

/// Not inlined: to count items, which is all that many ask for, takes no room on the stack.
[[gnu::noinline]] size_t copy_items(std::span<const uint32_t> found, pdata_item *items,
                                    size_t capacity)
{
    std::copy_n(found.begin(), std::min(capacity, found.size()), items);
    return found.size();
}

} // namespace

pdata_result pdata_flow_new(pdata_db *db, uint32_t flags, pdata_flow **flow)
{
    if (flow == nullptr)
        return PDATA_R_ARGUMENT;
    *flow = nullptr;
    if (db == nullptr)
        return PDATA_R_ARGUMENT;
    return match_guarded([&] {
        auto made = std::make_unique<pdata_flow>();
        match_room_make(*db, flags, made->room);
        made->flags = flags;
        made->db = pdata_db_hold(db);
        *flow = made.release();
        return PDATA_R_OK;
    });
}

void pdata_flow_free(pdata_flow *flow)
{
    const std::unique_ptr<pdata_flow> freed(flow);
    if (flow != nullptr)
        pdata_db_release(flow->db);
}

void pdata_flow_reset(pdata_flow *flow)
{
    if (flow != nullptr)
        match_room_reset(flow->room);
}

pdata_db *pdata_flow_db(const pdata_flow *flow)
{
    return flow == nullptr ? nullptr : flow->db;
}

pdata_rule pdata_flow_best(const pdata_flow *flow)
{
    if (flow == nullptr)
        return 0;
    const match_complete_t *best = nullptr;
    pdata_protocol missing = 0;
    for (const match_complete_t &complete : match_stand(*flow).complete.all())
        if ((best == nullptr || is_better(complete, *best)) &&
            match_missing_bottoms(*flow, complete.rule, &missing) == 0)
            best = &complete;
    return best == nullptr ? 0 : best->rule;
}

size_t pdata_flow_rules(pdata_flow *flow, pdata_rule *rules, size_t capacity)
{
    if (flow == nullptr)
        return 0;
    (void)match_stand(*flow);
    const std::span<match_complete_t> complete = flow->room.standing.complete.all();
    std::sort(complete.begin(), complete.end(), is_better);
    size_t nr = 0;
    pdata_protocol missing = 0;
    for (const match_complete_t &one : complete) {
        if (match_missing_bottoms(*flow, one.rule, &missing) != 0)
            continue;
        if (nr < capacity && rules != nullptr)
            rules[nr] = one.rule;
        ++nr;
    }
    return nr;
}

size_t pdata_flow_items(const pdata_flow *flow, pdata_item *items, size_t capacity)
{
    if (flow == nullptr)
        return 0;
    return items == nullptr ? flow->room.items.nr
                            : copy_items(flow->room.items.all(), items, capacity);
}

/// The database in force.
struct pdata_source {
    std::mutex lock;
    pdata_db *db = nullptr;                ///< held; read and written under the lock
    std::atomic<const pdata_db *> current; ///< the same, to compare with
};

pdata_result pdata_source_new(pdata_db *db, pdata_source **source)
{
    if (source == nullptr)
        return PDATA_R_ARGUMENT;
    *source = nullptr;
    if (db == nullptr)
        return PDATA_R_ARGUMENT;
    return match_guarded([&] {
        auto made = std::make_unique<pdata_source>();
        made->db = pdata_db_hold(db);
        made->current.store(db, std::memory_order_relaxed);
        *source = made.release();
        return PDATA_R_OK;
    });
}

void pdata_source_free(pdata_source *source)
{
    const std::unique_ptr<pdata_source> freed(source);
    if (source != nullptr)
        pdata_db_release(source->db);
}

pdata_result pdata_source_replace(pdata_source *source, pdata_db *db)
{
    if (source == nullptr || db == nullptr)
        return PDATA_R_ARGUMENT;
    pdata_db *before = nullptr;
    {
        const std::lock_guard<std::mutex> locked(source->lock);
        before = source->db;
        source->db = pdata_db_hold(db);
        source->current.store(db, std::memory_order_release);
    }
    pdata_db_release(before);
    return PDATA_R_OK;
}

pdata_db *pdata_source_db(pdata_source *source)
{
    if (source == nullptr)
        return nullptr;
    const std::lock_guard<std::mutex> locked(source->lock);
    return pdata_db_hold(source->db);
}

pdata_result pdata_flow_renew(pdata_flow *flow, pdata_source *source, int *moved)
{
    if (moved != nullptr)
        *moved = 0;
    if (flow == nullptr || source == nullptr)
        return PDATA_R_ARGUMENT;
    match_room_reset(flow->room);
    if (source->current.load(std::memory_order_acquire) == flow->db)
        return PDATA_R_OK;
    pdata_db *next = pdata_source_db(source);
    const pdata_result result = match_guarded([&] {
        match_room_t room;
        match_room_make(*next, flow->flags, room);
        flow->room = std::move(room);
        std::swap(flow->db, next);
        return PDATA_R_OK;
    });
    if (result == PDATA_R_OK && moved != nullptr)
        *moved = 1;
    pdata_db_release(next);
    return result;
}
