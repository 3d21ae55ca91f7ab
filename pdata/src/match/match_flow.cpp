#include "match_flow.h"

#include <algorithm>

namespace
{

/// Sets the bit of an item and notes the rule if that was the last one.
void set_bit(match_standing_t &standing, const view_slot_t &slot)
{
    if (match_is_only(slot)) { // it counts once
        standing.complete.add({slot.rule_id, slot.priority});
        return;
    }
    uint16_t &bits = standing.bits[slot.rule_id - 1];
    const uint16_t before = bits;
    bits = static_cast<uint16_t>(bits | 1U << (slot.bitset_pos % RULE_MAX_ITEM));
    if (before == 0)
        standing.begun.add(slot.rule_id);
    if (bits == slot.bitset_full && before != bits)
        standing.complete.add({slot.rule_id, slot.priority});
}

[[gnu::noinline]] void forget_standing(match_standing_t &standing)
{
    for (const uint32_t rule : standing.begun.all())
        standing.bits[rule - 1] = 0;
    standing.nr_item = 0;
    standing.begun.clear();
    standing.complete.clear();
}

/// Begins to count flows again, which takes 2^32 of them.
[[gnu::noinline]] void restart_serial(match_room_t &room)
{
    std::fill(room.protocols.begin(), room.protocols.end(), 0);
    room.flow_serial = 1;
}

[[gnu::noinline]] void forget_findings(match_findings_t &explained)
{
    explained.findings.clear();
    explained.nr_value = 0;
}

/// Returns the progress of a group or check, as new in another run.
match_progress_t &progress_of(match_room_t &room, size_t index)
{
    match_progress_t &progress = room.progress[index];
    if (progress.serial != room.serial)
        progress = {room.serial, 0, 0};
    return progress;
}

void count_and_note(pdata_flow &flow, const match_value_t &value, uint32_t item,
                    std::span<const pdata_piece> pieces, std::string_view expression = {})
{
    const pdata_outcome outcome = match_count(flow, value.attribute, item);
    if (flow.room.explained != nullptr)
        match_note(flow, value.attribute, item, outcome, pieces, expression);
}

/// Takes a piece of several; the last one makes the value found.
void take_piece(pdata_flow &flow, const match_value_t &value, uint32_t role, uint32_t index,
                const pdata_piece &piece)
{
    const uint32_t number = role & MATCH_GROUP_MASK;
    const uint32_t position = role >> MATCH_PIECE_SHIFT & MATCH_POSITION_MASK;
    const match_group_t &group = value.matcher.groups[number];
    match_progress_t &progress = progress_of(flow.room, number);
    if (position != progress.found + 1 || piece.end <= progress.end)
        return;
    progress.found = position;
    progress.end = piece.end;
    const bool explains = flow.room.explained != nullptr;
    if (explains)
        flow.room.explained->pieces[index] = piece;
    if (position == group.nr_piece)
        count_and_note(flow, value, group.item,
                       explains ? std::span<const pdata_piece>(
                                      &flow.room.explained->pieces[index + 1 - position], position)
                                : std::span<const pdata_piece>());
}

} // namespace

void match_room_make(pdata_db &db, uint32_t flags, match_room_t &room)
{
    const uint32_t nr_slot = db.view.rules.nr_slot;
    const size_t nr_rule = db.rules.size();
    room.attributes = db.attributes;
    room.counted.resize(nr_slot / 64 + 1);
    room.items.reserve(nr_slot);
    room.standing.bits.resize(nr_rule);
    room.standing.begun.reserve(nr_rule);
    room.standing.complete.reserve(db.nr_complete);
    room.sorted.reserve(nr_rule + db.nr_complete);
    room.protocols.resize(db.protocols.size() + 1);
    room.progress.resize(db.nr_progress);
    for (std::vector<uint32_t> &nodes : room.nodes)
        nodes.reserve(db.nr_node);
    room.node_serial.resize(db.nr_node);
    for (const match_matcher_t &matcher : db.matchers)
        for (const match_expression_t &expression : matcher.expressions)
            match_expression_reserve(expression, room.expression);
    if ((flags & PDATA_FLOW_EXPLAIN) != 0)
        room.explained = match_findings_make(db);
}

void match_room_reset(match_room_t &room)
{
    for (const uint32_t item : room.items.all())
        room.counted[item / 64] = 0;
    room.items.clear();
    room.protocols_said = false;
    if (room.standing.nr_item != 0)
        forget_standing(room.standing);
    if (++room.flow_serial == 0) [[unlikely]]
        restart_serial(room);
    if (room.explained != nullptr) [[unlikely]]
        forget_findings(*room.explained);
}

const match_standing_t &match_stand(const pdata_flow &flow)
{
    match_standing_t &standing = flow.room.standing;
    for (const uint32_t item : flow.room.items.all().subspan(standing.nr_item))
        set_bit(standing, view_rules_slot(flow.db->view.rules, item));
    standing.nr_item = flow.room.items.nr;
    return standing;
}

[[gnu::flatten]] pdata_outcome match_count(pdata_flow &flow, const match_attribute_t &attribute,
                                           uint32_t item)
{
    const view_slot_t slot = view_rules_slot(flow.db->view.rules, item);
    if (slot.rule_id == 0 || !match_admits(*flow.db, attribute, slot))
        return PDATA_NOT_ADMITTED;
    match_count_admitted(flow.room, item);
    return PDATA_COUNTED;
}

void match_found(pdata_flow &flow, const match_value_t &value, uint32_t id,
                 const pdata_piece &piece)
{
    if (id < MATCHER_PRIVATE_ID) {
        count_and_note(flow, value, id, {&piece, 1});
        return;
    }
    const uint32_t index = id - MATCHER_PRIVATE_ID;
    const uint32_t role = value.matcher.roles[index];
    switch (role & MATCH_ROLE_KIND) {
    case MATCH_ROLE_ITEM:
        count_and_note(flow, value, role, {&piece, 1});
        return;
    case MATCH_ROLE_PIECE:
        take_piece(flow, value, role, index, piece);
        return;
    case MATCH_ROLE_CHECK:
        match_check(flow, value, role & ~uint32_t{MATCH_ROLE_KIND}, &piece);
        return;
    default:
        return;
    }
}

void match_check(pdata_flow &flow, const match_value_t &value, uint32_t number,
                 const pdata_piece *piece)
{
    const match_check_t &check = value.matcher.checks[number];
    match_progress_t &progress = progress_of(flow.room, value.matcher.groups.size() + number);
    if (progress.found != 0)
        return;
    progress.found = 1;
    if (check.expression == MATCH_NO_EXPRESSION)
        return;
    const match_expression_t &expression = value.matcher.expressions[check.expression];
    const bool decided = !value.more || expression.open_ended;
    const bool matches =
        decided && match_expression_run(expression, value.data, flow.room.expression);
    const std::span<const pdata_piece> pieces(piece, piece == nullptr ? 0 : 1);
    std::string_view text;
    if (flow.room.explained != nullptr)
        (void)view_pool_get(value.matcher.view.values, check.value, text);
    if (matches)
        count_and_note(flow, value, check.item, pieces, text);
    else if (flow.room.explained != nullptr)
        match_note(flow, value.attribute, check.item,
                   value.more ? PDATA_CHECK_WAITS : PDATA_CHECK_FAILED, pieces, text);
}

uint32_t match_missing_bottoms(const pdata_flow &flow, uint32_t rule, pdata_protocol *last)
{
    uint32_t nr = 0;
    if (!flow.room.protocols_said)
        return nr;
    for (const uint32_t bottom : flow.db->rules[rule - 1].real_bottom) {
        const uint32_t protocol = bottom & ~MATCH_RULE_MARK;
        if ((bottom & MATCH_RULE_MARK) == 0 ||
            flow.room.protocols[protocol] == flow.room.flow_serial)
            continue;
        *last = protocol;
        ++nr;
    }
    return nr;
}
