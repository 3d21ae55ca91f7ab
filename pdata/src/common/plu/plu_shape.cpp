#include "plu_shape.h"

#include <algorithm>
#include <bit>

namespace
{

/// What a key stands for, beside a place and a name.
enum key_kind_t : char { KEY_NAME, KEY_VALUES, KEY_FIRST_VALUE };

constexpr uint32_t BITS = 64;

void append_number(std::string &key, uint32_t number)
{
    key.append(reinterpret_cast<const char *>(&number), sizeof(number));
}

void append_text(std::string &key, const csa_str_t &text)
{
    append_number(key, text.str_len);
    key.append(csa_str_view(text));
}

/// Begins a key. `place` counts the attributes of a rule through its sub-rules.
std::string make_key(key_kind_t kind, size_t place, const csa_str_t &name)
{
    std::string key(1, kind);
    append_number(key, static_cast<uint32_t>(place));
    append_text(key, name);
    return key;
}

size_t nr_words(const plu_shape_t &shape)
{
    return (shape.contents.size() + BITS - 1) / BITS;
}

/// Files one rule, at `position`. An attribute with more values than were read equals no slot and
/// is filed under its name alone.
void file_rule(plu_shape_t &shape, const plu_rule_t &rule, uint32_t position)
{
    for (size_t place = 0; place < rule.attrs.size(); ++place) {
        const plu_attr_t &attr = rule.attrs[place];
        const size_t end =
            place + 1 < rule.attrs.size() ? rule.attrs[place + 1].first_value : rule.values.size();
        shape.bearers[make_key(KEY_NAME, place, attr.name)].few.push_back(position);
        if (attr.nr_values != 0) {
            std::string first = make_key(KEY_FIRST_VALUE, place, attr.name);
            append_text(first, rule.values[attr.first_value]);
            shape.bearers[first].few.push_back(position);
        }
        if (attr.nr_values != end - attr.first_value)
            continue;
        std::string values = make_key(KEY_VALUES, place, attr.name);
        for (size_t i = attr.first_value; i < end; ++i)
            append_text(values, rule.values[i]);
        shape.bearers[values].few.push_back(position);
    }
}

void set_bit(plu_bits_t &bits, uint32_t position, bool on)
{
    const uint64_t bit = uint64_t{1} << position % BITS;
    bits[position / BITS] = on ? bits[position / BITS] | bit : bits[position / BITS] & ~bit;
}

/// Sets or clears the positions that a key leads to. Returns whether there are any.
bool put_bearers(const plu_shape_t &shape, const std::string &key, plu_bits_t &bits, bool on)
{
    const auto found = shape.bearers.find(key);
    if (found == shape.bearers.end())
        return false;
    for (const uint32_t position : found->second.few)
        set_bit(bits, position, on);
    for (size_t i = 0; i < found->second.many.size(); ++i)
        bits[i] = on ? bits[i] | found->second.many[i] : bits[i] & ~found->second.many[i];
    return true;
}

/// Takes from `equal` the rules that have a slot's attribute at `place`, but not its values.
void compare_place(const plu_shape_t &shape, size_t place, const attrdesc_build_t &slot_attr,
                   plu_bits_t &equal)
{
    plu_bits_t unequal(equal.size());
    if (!put_bearers(shape, make_key(KEY_NAME, place, slot_attr.attr_name), unequal, true))
        return;
    std::string values = make_key(KEY_VALUES, place, slot_attr.attr_name);
    (void)put_bearers(shape, values, unequal, false); // those without a value
    for (const csa_str_t &value : slot_attr.attr_val) {
        append_text(values, value);
        (void)put_bearers(shape, values, unequal, false);
    }
    for (size_t i = 0; i < equal.size(); ++i)
        equal[i] &= ~unequal[i];
}

/// The same where the attributes stand against the values of the slot's first one.
void compare_split_place(const plu_shape_t &shape, size_t place, uint32_t n_attr,
                         const attrdesc_build_t &slot_attr, plu_bits_t &equal)
{
    plu_bits_t unequal(equal.size());
    if (!put_bearers(shape, make_key(KEY_NAME, place, slot_attr.attr_name), unequal, true))
        return;
    std::string value = make_key(KEY_FIRST_VALUE, place, slot_attr.attr_name);
    append_text(value,
                n_attr < slot_attr.attr_val.size() ? slot_attr.attr_val[n_attr] : csa_str_t{});
    (void)put_bearers(shape, value, unequal, false);
    for (size_t i = 0; i < equal.size(); ++i)
        equal[i] &= ~unequal[i];
}

} // namespace

void plu_shape_file(plu_shape_t &shape, const std::vector<const plu_rule_t *> &rules)
{
    for (uint32_t i = 0; i < rules.size(); ++i)
        file_rule(shape, *rules[i], i);
    const size_t words = nr_words(shape);
    for (auto &[key, positions] : shape.bearers) {
        if (positions.few.size() <= words)
            continue;
        positions.many.resize(words);
        for (const uint32_t position : positions.few)
            set_bit(positions.many, position, true);
        positions.few = {};
    }
}

void plu_shape_hold(const plu_shape_t &shape, const protodesc_build_t &pb, uint32_t start,
                    const plu_rule_t &rule, plu_bits_t &held)
{
    plu_bits_t equal(nr_words(shape), ~uint64_t{0});
    for (size_t i = 0; i < rule.sub_rules.size(); ++i) {
        const plu_sub_rule_t &sub_rule = rule.sub_rules[i];
        const ruledesc_build_t &slot = pb.pb_rules[start + i];
        const bool split = slot.rule_nr_attr != sub_rule.nr_attr;
        for (uint32_t j = 0; j < sub_rule.nr_attr; ++j) {
            const size_t place = sub_rule.first_attr + j;
            if (split)
                compare_split_place(shape, place, j, slot.rule_attr[0], equal);
            else
                compare_place(shape, place, slot.rule_attr[j], equal);
        }
    }
    held.resize(equal.size());
    for (size_t i = 0; i < held.size(); ++i)
        held[i] |= equal[i];
}

uint32_t plu_shape_next(const plu_shape_t &shape, const plu_bits_t &held, uint32_t at)
{
    const auto count = static_cast<uint32_t>(shape.contents.size());
    if (held.empty())
        return at;
    while (at < count) {
        const uint64_t lacking = ~held[at / BITS] >> at % BITS;
        if (lacking != 0)
            return std::min(at + static_cast<uint32_t>(std::countr_zero(lacking)), count);
        at = (at / BITS + 1) * BITS;
    }
    return count;
}
