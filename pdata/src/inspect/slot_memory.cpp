#include "slot_memory.h"

#include "format_scope.h"
#include "lost_text.h"

namespace
{

/// What a slot holds, and what a rule is stored with.
struct slot_t {
    bool fastpass = false;
    bool preempt = false;
    uint32_t scope = 0;
    uint32_t vid = 0;

    bool operator==(const slot_t &) const = default;
};

/// A sub-rule that fills a slot, and what shows of it in a later rule.
struct writer_t {
    size_t protocol = 0;
    size_t rule = 0;
    std::optional<slot_t> shown;
};

/// A rule whose first sub-rule has no attributes, and the writer that it shows.
struct reader_t {
    size_t protocol = 0;
    size_t rule = 0;
    size_t writer = SIZE_MAX; ///< none: the slot was never filled
    size_t sub_rule = 0;      ///< of the writer, in its rule
};

struct slots_t {
    std::vector<writer_t> writers;
    std::vector<size_t> sub_rules; ///< by writer: the index of its sub-rule
    std::vector<size_t> last;      ///< by slot: its writer
    std::vector<reader_t> readers;
};

slot_t stored_slot(const model_rule_t &rule)
{
    return {rule.fastpass, rule.preempt, rule.scope, rule.vid};
}

void pass_sub_rule(slots_t &slots, const model_rule_t &rule, reader_t place, size_t slot)
{
    if (slot >= slots.last.size())
        slots.last.resize(slot + 1, SIZE_MAX);
    if (!rule.sub_rules[place.sub_rule].attributes.empty()) {
        slots.last[slot] = slots.writers.size();
        slots.writers.push_back({place.protocol, place.rule, {}});
        slots.sub_rules.push_back(place.sub_rule);
    } else if (place.sub_rule == 0) {
        place.writer = slots.last[slot];
        if (place.writer != SIZE_MAX && !slots.writers[place.writer].shown)
            slots.writers[place.writer].shown = stored_slot(rule);
        slots.readers.push_back(place);
    }
}

slots_t pass_slots(const description_model_t &model)
{
    slots_t slots;
    for (size_t i = 0; i < model.protocols.size(); ++i) {
        size_t slot = 0;
        const std::vector<model_rule_t> &rules = model.protocols[i].rules;
        for (size_t j = 0; j < rules.size(); ++j)
            for (size_t k = 0; k < rules[j].sub_rules.size(); ++k)
                pass_sub_rule(slots, rules[j], {i, j, SIZE_MAX, k}, slot++);
    }
    return slots;
}

bool says_itself(const model_rule_t &rule)
{
    return !rule.sub_rules.empty() && !rule.sub_rules[0].attributes.empty();
}

/// The keys that a rule is stored with.
void take_stored(const model_rule_t &rule, protocol_keys_t &protocol, rule_keys_t &keys)
{
    const uint32_t implied = FORMAT_SCOPE_ALWAYS | format_scope_bit(rule.sub_rules[0].bottom);
    keys = {rule.fastpass, rule.preempt, rule.scope & ~implied};
    if (rule.vid != MODEL_VID_NONE)
        protocol.vid = rule.vid;
}

/// The keys that show of another sub-rule than the first, whose own bit is implied there.
void take_shown(const model_rule_t &rule, const slot_t &shown, size_t sub_rule,
                protocol_keys_t &protocol, rule_keys_t &keys)
{
    const uint32_t implied =
        FORMAT_SCOPE_ALWAYS | format_scope_bit(rule.sub_rules[sub_rule].bottom);
    if (says_itself(rule)) {
        keys.scope |= shown.scope & format_scope_bit(rule.sub_rules[0].bottom) & ~implied;
        return;
    }
    keys = {shown.fastpass, shown.preempt, shown.scope & ~implied};
    if (shown.vid != MODEL_VID_NONE)
        protocol.vid = shown.vid;
}

/// What the text makes of the slot of a sub-rule with attributes.
slot_t written_slot(const model_rule_t &rule, size_t sub_rule, const protocol_keys_t &protocol,
                    const rule_keys_t &keys)
{
    return {keys.fastpass, keys.preempt,
            keys.scope | FORMAT_SCOPE_ALWAYS | format_scope_bit(rule.sub_rules[sub_rule].bottom),
            protocol.vid.value_or(MODEL_VID_NONE)};
}

void check_stored(const description_model_t &model, std::vector<protocol_keys_t> &keys)
{
    for (size_t i = 0; i < model.protocols.size(); ++i)
        for (size_t j = 0; j < keys[i].rules.size(); ++j) {
            const model_rule_t &rule = model.protocols[i].rules[j];
            if (says_itself(rule) &&
                written_slot(rule, 0, keys[i], keys[i].rules[j]) != stored_slot(rule))
                keys[i].lost.push_back(lost_rule(
                    model.protocols[i], j, "its scope or virtual id has no key that gives it"));
        }
}

void check_shown(const description_model_t &model, const slots_t &slots,
                 std::vector<protocol_keys_t> &keys)
{
    for (const reader_t &reader : slots.readers) {
        slot_t slot;
        if (reader.writer != SIZE_MAX) {
            const writer_t &writer = slots.writers[reader.writer];
            slot = written_slot(model.protocols[writer.protocol].rules[writer.rule],
                                slots.sub_rules[reader.writer], keys[writer.protocol],
                                keys[writer.protocol].rules[writer.rule]);
        }
        const model_protocol_t &protocol = model.protocols[reader.protocol];
        if (slot != stored_slot(protocol.rules[reader.rule]))
            keys[reader.protocol].lost.push_back(
                lost_rule(protocol, reader.rule,
                          "its first sub-rule has no attributes, and its flags, scope "
                          "or virtual id come from a protocol that is not there"));
    }
}

} // namespace

std::vector<protocol_keys_t> slot_memory_keys(const description_model_t &model)
{
    const slots_t slots = pass_slots(model);
    std::vector<protocol_keys_t> keys(model.protocols.size());
    for (size_t i = 0; i < keys.size(); ++i) {
        const std::vector<model_rule_t> &rules = model.protocols[i].rules;
        keys[i].rules.resize(rules.size());
        for (size_t j = 0; j < rules.size(); ++j)
            if (says_itself(rules[j]))
                take_stored(rules[j], keys[i], keys[i].rules[j]);
    }
    for (size_t i = 0; i < slots.writers.size(); ++i) {
        const writer_t &writer = slots.writers[i];
        if (writer.shown && slots.sub_rules[i] != 0)
            take_shown(model.protocols[writer.protocol].rules[writer.rule], *writer.shown,
                       slots.sub_rules[i], keys[writer.protocol],
                       keys[writer.protocol].rules[writer.rule]);
    }
    check_stored(model, keys);
    check_shown(model, slots, keys);
    return keys;
}
