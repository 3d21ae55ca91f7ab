/// A flow: what was found in the values of one flow, and what it takes to look for more.
///
/// All room is made with the flow, for the worst that its database can ask for. Whatever a value
/// sets is noted in a list, so that a reset costs what was found and not what could be.
#pragma once

#include <memory>

#include "match_database.h"
#include "match_list.h"

/// Where the pieces of a permutation, or a second check, stand within one value.
struct match_progress_t {
    uint32_t serial = 0; ///< of the run that it belongs to; of any other it is as new
    uint32_t end = 0;    ///< of the last piece found
    uint32_t found = 0;  ///< pieces found; of a check, 1 once it was made
};

/// A rule all of whose items count.
struct match_complete_t {
    uint32_t rule;
    uint32_t priority;
};

/// What a flow made with PDATA_FLOW_EXPLAIN keeps.
struct match_findings_t {
    std::vector<pdata_finding> findings; ///< room for all that are kept
    std::vector<pdata_piece> pieces;     ///< by piece of the matcher at work
    uint32_t nr_value = 0;
};

/// How the rules stand with the items that count. It follows from them, and is worked out when
/// somebody asks: most values of a flow are added before anybody does, and most flows find few.
struct match_standing_t {
    size_t nr_item = 0;                      ///< items that it was worked out from, the first ones
    std::vector<uint16_t> bits;              ///< by rule: bits of its items that count
    match_list_t<uint32_t> begun;            ///< rules of several items that have bits
    match_list_t<match_complete_t> complete; ///< rules all of whose items count
};

/// What belongs to one database. What every value needs stands first.
struct match_room_t {
    std::span<const match_attribute_t> attributes; ///< of the database
    std::vector<uint64_t> counted;                 ///< bit by item: it counts
    match_list_t<uint32_t> items;                  ///< that count, in the order of finding
    std::vector<uint32_t> protocols;               ///< by protocol: the last flow that had it
    uint32_t flow_serial = 1;                      ///< of the flow, counted by resets
    bool protocols_said = false;                 ///< its protocols are known: a missing one counts
    std::unique_ptr<match_findings_t> explained; ///< null unless the flow explains
    mutable match_standing_t standing;           ///< see match_stand
    std::vector<uint32_t> sorted;                ///< rules, for answers
    std::vector<match_progress_t> progress;      ///< of the matcher at work: groups, then checks
    std::vector<uint32_t> nodes[2];              ///< of a dot-prefix matcher at work
    std::vector<uint32_t> node_serial;           ///< by node: the step in which it became current
    uint32_t node_step = 0;
    uint32_t serial = 0; ///< of the last run of a matcher over a value
    match_expression_room_t expression;
};

/// Flows share no cache line, whoever made them; only the ends of their lists may, where one thread
/// made both.
struct alignas(64) pdata_flow {
    pdata_db *db = nullptr; ///< held
    uint32_t flags = 0;
    match_room_t room;
};

/// A value being run through a matcher.
struct match_value_t {
    std::span<const uint8_t> data;
    const match_attribute_t &attribute;
    const match_matcher_t &matcher;
    bool more = false; ///< more data may follow
};

/// Tells whether patterns without a minimum of their own count.
inline bool match_is_ordinary(const match_value_t &value)
{
    return !value.more || value.data.size() >= value.matcher.view.min_data;
}

/// Tells whether a pattern with a minimum of its own, or none, counts.
inline bool match_counts_at(const match_value_t &value, uint32_t mindata)
{
    return mindata == PATTERN_MINDATA_NONE ? match_is_ordinary(value)
                                           : value.data.size() >= mindata;
}

/// Makes room for the findings of a flow of a database, and of that what they are told from.
/// std::bad_alloc passes.
std::unique_ptr<match_findings_t> match_findings_make(pdata_db &db);

/// Makes the room that flows of a database need. std::bad_alloc passes.
void match_room_make(pdata_db &db, uint32_t flags, match_room_t &room);

/// Forgets all that was found.
void match_room_reset(match_room_t &room);

/// Runs the engines of a stream matcher over a value.
void match_scan(pdata_flow &flow, const match_value_t &value);

/// Runs the suffix tree of a stream matcher over a value whose end is known.
void match_suffixes(pdata_flow &flow, const match_value_t &value);

/// The same of a tree with a table, for a value of eight bytes or more that was looked for there:
/// goes on from `entry`, whose key it has, or where that is null from a shorter key.
void match_suffixes_from(pdata_flow &flow, const match_value_t &value,
                         const match_jump_entry_t *entry);

/// Works out how the rules stand with the items that count, as far as it was not.
const match_standing_t &match_stand(const pdata_flow &flow);

/// Notes that the flow has a protocol; 0 is none.
inline void match_set_protocol(match_room_t &room, pdata_protocol protocol)
{
    room.protocols[protocol] = room.flow_serial;
}

/// Counts an item whose rule admits it.
inline void match_count_admitted(match_room_t &room, uint32_t item)
{
    uint64_t &word = room.counted[item / 64];
    const uint64_t bit = uint64_t{1} << (item % 64);
    if ((word & bit) != 0)
        return;
    word |= bit;
    room.items.add(item);
}

/// Counts an item, if a rule owns it and admits the protocol of the attribute.
pdata_outcome match_count(pdata_flow &flow, const match_attribute_t &attribute, uint32_t item);

/// Keeps a finding, if the flow explains and there is room. `attribute` is one of its database's.
void match_note(pdata_flow &flow, const match_attribute_t &attribute, uint32_t item,
                pdata_outcome outcome, std::span<const pdata_piece> pieces,
                std::string_view expression);

/// Takes an id that an engine found where `piece` says: an item, or what a private id stands for.
/// Of the pieces of one value, those that end first come first.
void match_found(pdata_flow &flow, const match_value_t &value, uint32_t id,
                 const pdata_piece &piece);

/// Makes a second check, once for each value. `piece` led to it; null for one that is always made.
void match_check(pdata_flow &flow, const match_value_t &value, uint32_t check,
                 const pdata_piece *piece);

/// Returns how many protocols a rule asks for, without testing them, that the flow does not have;
/// the last one in `*last`.
[[nodiscard]] uint32_t match_missing_bottoms(const pdata_flow &flow, uint32_t rule,
                                             pdata_protocol *last);
