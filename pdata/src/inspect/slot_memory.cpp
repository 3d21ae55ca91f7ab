#include "slot_memory.h"

#include "format_scope.h"
#include "view_stored.h"

namespace
{

constexpr uint32_t NONE = 0xFFFFFFFF;

/// What a slot holds, and what a rule is stored with.
struct slot_t {
    bool fastpass = false;
    bool preempt = false;
    uint32_t scope = 0;
    uint32_t vid = 0;

    bool operator==(const slot_t &) const = default;
};

/// What is looked at of a rule.
struct slot_rule_t {
    slot_t stored;
    uint32_t protocol = 0;
    uint32_t first_sub_rule = 0;
    bool says_itself = false; ///< its first sub-rule has attributes
};

/// A sub-rule that fills a slot, and the rule that shows it.
struct writer_t {
    uint32_t rule = 0;
    uint32_t sub_rule = 0;
    uint32_t shown = NONE;
};

/// A rule whose first sub-rule has no attributes, and the writer that it shows.
struct reader_t {
    uint32_t rule = 0;
    uint32_t writer = NONE; ///< none: the slot was never filled
};

/// All rules, their sub-rules and slots.
struct slots_t {
    std::vector<slot_rule_t> rules;
    std::vector<uint32_t> bits; ///< by sub-rule: the scope bit of its bottom protocol
    std::vector<writer_t> writers;
    std::vector<reader_t> readers;
    std::vector<uint32_t> last; ///< by slot: its writer
};

void pass_sub_rule(slots_t &slots, bool has_attributes, bool is_first, uint32_t slot)
{
    const auto rule = static_cast<uint32_t>(slots.rules.size() - 1);
    if (slot >= slots.last.size())
        slots.last.resize(slot + 1, NONE);
    if (has_attributes) {
        slots.last[slot] = static_cast<uint32_t>(slots.writers.size());
        slots.writers.push_back({rule, static_cast<uint32_t>(slots.bits.size() - 1), NONE});
    } else if (is_first) {
        const uint32_t writer = slots.last[slot];
        if (writer != NONE && slots.writers[writer].shown == NONE)
            slots.writers[writer].shown = rule;
        slots.readers.push_back({rule, writer});
    }
}

/// Goes through the slots of a rule, the first of which is `slot`, and passes them.
bool pass_rule(slots_t &slots, const model_strings_t &strings, const view_rule_t &rule,
               uint32_t protocol, uint32_t &slot, view_error_t &error)
{
    slots.rules.push_back({{rule.fastpass != 0, rule.preempt != 0, rule.scope, rule.vid},
                           protocol,
                           static_cast<uint32_t>(slots.bits.size()),
                           false});
    return view_each_sub_rule(rule, error, [&](uint32_t i, const view_sub_rule_t &sub_rule) {
        std::string_view bottom;
        if (!view_pool_require(strings.group, sub_rule.bottom_protocol, "real bottom protocol",
                               bottom, error))
            return false;
        const bool has_attributes = view_list_count(sub_rule.attributes) != 0;
        slots.bits.push_back(format_scope_bit(bottom));
        slots.rules.back().says_itself |= i == 0 && has_attributes;
        pass_sub_rule(slots, has_attributes, i == 0, slot++);
        return true;
    });
}

bool pass_protocol(slots_t &slots, const description_source_t &source, uint32_t protocol,
                   view_error_t &error)
{
    uint32_t slot = 0;
    const source_protocol_t &place = source.protocols[protocol];
    const view_protocol_t view = source_protocol(source, place);
    const model_strings_t strings = source_strings(source, place);
    return view_each_rule(view, error, [&](uint32_t, const view_rule_t &rule) {
        return pass_rule(slots, strings, rule, protocol, slot, error);
    });
}

/// The keys that rules are stored with.
void take_stored(const slots_t &slots, slot_keys_t &keys)
{
    for (size_t i = 0; i < slots.rules.size(); ++i) {
        const slot_rule_t &rule = slots.rules[i];
        if (!rule.says_itself)
            continue;
        const uint32_t implied = FORMAT_SCOPE_ALWAYS | slots.bits[rule.first_sub_rule];
        keys.rules[i].fastpass = rule.stored.fastpass;
        keys.rules[i].preempt = rule.stored.preempt;
        keys.rules[i].scope = rule.stored.scope & ~implied;
        if (rule.stored.vid != MODEL_VID_NONE)
            keys.vids[rule.protocol] = rule.stored.vid;
    }
}

/// The keys that show of another sub-rule than the first, whose own bit is implied there.
void take_shown(const slots_t &slots, const writer_t &writer, slot_keys_t &keys)
{
    const slot_rule_t &rule = slots.rules[writer.rule];
    if (writer.shown == NONE || writer.sub_rule == rule.first_sub_rule)
        return;
    const slot_t &shown = slots.rules[writer.shown].stored;
    const uint32_t implied = FORMAT_SCOPE_ALWAYS | slots.bits[writer.sub_rule];
    rule_keys_t &own = keys.rules[writer.rule];
    if (rule.says_itself) {
        own.scope |= shown.scope & slots.bits[rule.first_sub_rule] & ~implied;
        return;
    }
    own.fastpass = shown.fastpass;
    own.preempt = shown.preempt;
    own.scope = shown.scope & ~implied;
    if (shown.vid != MODEL_VID_NONE)
        keys.vids[rule.protocol] = shown.vid;
}

/// What the text makes of the slot of a sub-rule with attributes.
slot_t written_slot(const slots_t &slots, const slot_keys_t &keys, uint32_t rule, uint32_t sub_rule)
{
    const rule_keys_t &own = keys.rules[rule];
    return {own.fastpass, own.preempt, own.scope | FORMAT_SCOPE_ALWAYS | slots.bits[sub_rule],
            keys.vids[slots.rules[rule].protocol].value_or(MODEL_VID_NONE)};
}

void check_stored(const slots_t &slots, slot_keys_t &keys)
{
    for (uint32_t i = 0; i < slots.rules.size(); ++i)
        if (slots.rules[i].says_itself)
            keys.rules[i].lost_stored =
                written_slot(slots, keys, i, slots.rules[i].first_sub_rule) !=
                slots.rules[i].stored;
}

void check_shown(const slots_t &slots, slot_keys_t &keys)
{
    for (const reader_t &reader : slots.readers) {
        slot_t slot;
        if (reader.writer != NONE) {
            const writer_t &writer = slots.writers[reader.writer];
            slot = written_slot(slots, keys, writer.rule, writer.sub_rule);
        }
        keys.rules[reader.rule].lost_shown = slot != slots.rules[reader.rule].stored;
    }
}

} // namespace

std::span<const rule_keys_t> slot_keys_of(const slot_keys_t &keys, size_t protocol)
{
    const size_t begin = keys.first[protocol];
    const size_t end =
        protocol + 1 < keys.first.size() ? keys.first[protocol + 1] : keys.rules.size();
    return std::span(keys.rules).subspan(begin, end - begin);
}

bool slot_memory_keys(const description_source_t &source, slot_keys_t &keys, view_error_t &error)
{
    slots_t slots;
    for (uint32_t i = 0; i < source.protocols.size(); ++i) {
        keys.first.push_back(static_cast<uint32_t>(slots.rules.size()));
        if (!pass_protocol(slots, source, i, error))
            return view_within(error, "protocol at offset %u", source.protocols[i].offset);
    }
    keys.rules.assign(slots.rules.size(), {});
    keys.vids.assign(source.protocols.size(), {});
    take_stored(slots, keys);
    for (const writer_t &writer : slots.writers)
        take_shown(slots, writer, keys);
    check_stored(slots, keys);
    check_shown(slots, keys);
    return true;
}
