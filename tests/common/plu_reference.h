/// A reference for the update: the rules of merging spelled out on models, without an index, a
/// record or a byte, as slow as it likes.
#pragma once

#include <algorithm>
#include <map>
#include <optional>

#include "plu_fixtures.h"

/// One sub-rule slot.
struct reference_slot {
    uint32_t id;
    rule_model head; ///< the rule that it belongs to, without sub-rules
    sub_rule_model sub_rule;
};

/// A record.
struct reference_record {
    protocol_model meta;
    std::vector<reference_slot> slots;
    std::map<size_t, size_t> left; ///< per slot: value count of its first attribute, also unset

    static uint32_t count(const std::vector<reference_slot> &slots)
    {
        uint32_t nr = 0;
        for (size_t i = 0; i < slots.size(); ++i)
            nr += i == 0 || slots[i].id != slots[i - 1].id ? 1 : 0;
        return nr;
    }

    /// The attributes as a record holds them: one per name and way.
    static std::vector<attr_model> joined(const std::vector<attr_model> &stored_attrs)
    {
        std::vector<attr_model> attrs;
        for (attr_model attr : stored_attrs) {
            if (attr.values.empty())
                continue;
            if (attr.type == MATCHER_TYPE_STREAM_OFFSET)
                attr.type = MATCHER_TYPE_STREAM;
            const auto same = std::find_if(attrs.begin(), attrs.end(), [&](const attr_model &one) {
                return one.name == attr.name && one.way == attr.way;
            });
            if (same == attrs.end())
                attrs.push_back(attr);
            else
                same->values.insert(same->values.end(), attr.values.begin(), attr.values.end());
        }
        for (attr_model &attr : attrs) // only a stream is stored with offsets
            for (auto &[value, offset] : attr.values)
                offset = attr.type == MATCHER_TYPE_STREAM ? offset : 0;
        return attrs;
    }

    void add(const rule_model &rule, uint32_t id)
    {
        for (sub_rule_model sub_rule : rule.sub_rules) {
            reference_slot slot = {id, rule, sub_rule};
            slot.head.sub_rules.clear();
            slot.sub_rule.attrs = joined(sub_rule.attrs);
            if (rule.scope == 0 &&
                std::string("http").compare(0, sub_rule.protocol.size(), sub_rule.protocol) == 0)
                slot.head.scope = 0x802;
            if (rule.meta_version == 1 && sub_rule.stc_mindata == 0)
                slot.sub_rule.stc_mindata = 0x10000;
            if (rule.meta_version == 1 && sub_rule.cts_mindata == 0)
                slot.sub_rule.cts_mindata = 0x10000;
            if (!slot.sub_rule.attrs.empty())
                left[slots.size()] = slot.sub_rule.attrs[0].values.size();
            slots.push_back(slot);
        }
    }

    size_t values_of_first(size_t at) const
    {
        const auto found = left.find(at);
        return found == left.end() ? 0 : found->second;
    }

    bool equal(size_t at, const rule_model &rule, const sub_rule_model &other) const
    {
        const reference_slot &slot = slots[at];
        const std::vector<attr_model> &attrs = slot.sub_rule.attrs;
        const bool split = attrs.size() != other.attrs.size();
        if (split && (rule.sub_rules.size() != 1 || values_of_first(at) != other.attrs.size()))
            return false;
        if (slot.head.scope != rule.scope || slot.head.vid != rule.vid ||
            slot.sub_rule.bottom_protocol != other.bottom_protocol ||
            slot.sub_rule.protocol != other.protocol || slot.head.order != rule.order ||
            slot.head.ruleorder != rule.ruleorder || slot.head.path != rule.path ||
            slot.sub_rule.stc_mindata != other.stc_mindata ||
            slot.sub_rule.cts_mindata != other.cts_mindata)
            return false;
        const attr_model unset;
        for (size_t i = 0; i < other.attrs.size(); ++i) {
            const attr_model &attr = other.attrs[i];
            const attr_model &mine = attrs.empty() ? unset : attrs[split ? 0 : i];
            if (mine.name != attr.name)
                continue;
            const size_t nr = split ? 1 : attr.values.size();
            for (size_t j = 0; j < nr; ++j) {
                const size_t place = split ? i : j;
                if (j >= attr.values.size() || place >= mine.values.size() ||
                    attr.values[j].first != mine.values[place].first)
                    return false;
            }
        }
        return true;
    }

    bool has(const rule_model &rule) const
    {
        for (size_t start = 0; start < slots.size();) {
            const size_t len =
                start + 1 < slots.size() && slots[start].id == slots[start + 1].id ? 2 : 1;
            bool all = len == rule.sub_rules.size();
            for (size_t i = 0; i < len && all; ++i)
                all = equal(start + i, rule, rule.sub_rules[i]);
            if (all)
                return true;
            start += len;
        }
        return false;
    }

    void copy(const protocol_model &protocol, bool update)
    {
        const protocol_model before = meta;
        meta = protocol;
        meta.rules.clear();
        if (update) {
            meta.tags = before.tags;
            meta.descs = before.descs;
            meta.compat = before.compat;
            meta.altnames = before.altnames;
        }
        const uint32_t next = count(slots) + 1;
        for (uint32_t k = 0; k < protocol.rules.size(); ++k)
            if (!update || !has(as_read(protocol.rules[k])))
                add(as_read(protocol.rules[k]), next + k);
    }

    /// A rule as its stored form reads.
    static rule_model as_read(rule_model rule)
    {
        const uint32_t form = rule.meta_version;
        if (form < 6)
            rule.vid = form == 5 ? RULE_VID_NONE : 0;
        if (form < 5)
            rule.scope = 0;
        if (form < 4)
            rule.fastpass = 0;
        if (form < 3)
            rule.preempt = 0;
        if (form < 2)
            rule.tags.clear();
        for (sub_rule_model &sub_rule : rule.sub_rules)
            if (form == 1)
                sub_rule.bottom_protocol = sub_rule.protocol;
        return rule;
    }

    /// The protocol as it is written.
    protocol_model written() const
    {
        protocol_model out = meta;
        for (size_t i = 0; i < slots.size(); ++i) {
            if (i == 0 || slots[i].id != slots[i - 1].id) {
                rule_model rule = slots[i].head;
                rule.meta_version = rule.vid == RULE_VID_NONE ? 5 : 6;
                rule.params = 0;
                rule.fastpass = rule.fastpass == 1 ? 1 : 0;
                rule.preempt = rule.preempt == 1 ? 1 : 0;
                out.rules.push_back(rule);
            }
            out.rules.back().sub_rules.push_back(slots[i].sub_rule);
        }
        return out;
    }
};

/// The result of merging `incoming` into `base`; none when an addition is refused.
inline std::optional<std::vector<protocol_model>>
reference_merge(const std::vector<protocol_model> &base,
                const std::vector<protocol_model> &incoming)
{
    std::vector<protocol_model> updates;
    std::vector<protocol_model> additions;
    const auto with_id = [](const std::vector<protocol_model> &list, uint32_t id) {
        return std::find_if(list.begin(), list.end(),
                            [id](const protocol_model &one) { return one.id == id; });
    };
    for (protocol_model protocol : incoming) {
        if (with_id(additions, protocol.id) != additions.end())
            continue;
        const auto mine = with_id(base, protocol.id);
        if (mine == base.end()) {
            if (protocol.ns != 1)
                return std::nullopt;
            additions.insert(additions.begin(), protocol);
            continue;
        }
        protocol.version = mine->version;
        if (mine->cacheable != 1)
            protocol.cacheable = mine->cacheable;
        if (mine->http_reclassify != 0)
            protocol.http_reclassify = mine->http_reclassify;
        if (mine->implicit_bottom_layer != 0)
            protocol.implicit_bottom_layer = mine->implicit_bottom_layer;
        updates.push_back(protocol);
    }
    std::stable_sort(additions.begin(), additions.end(),
                     [](const protocol_model &a, const protocol_model &b) {
                         return (a.id & 127) < (b.id & 127);
                     });
    std::vector<protocol_model> out;
    reference_record record; // what a reset leaves goes from protocol to protocol
    const auto start = [&](const protocol_model &protocol) {
        record.slots.clear();
        record.copy(protocol, false);
    };
    for (const protocol_model &protocol : base) {
        start(protocol);
        for (const protocol_model &update : updates)
            if (update.id == protocol.id)
                record.copy(update, true);
        out.insert(out.begin(), record.written());
    }
    for (const protocol_model &protocol : additions) {
        start(protocol);
        out.insert(out.begin(), record.written());
    }
    return out;
}
