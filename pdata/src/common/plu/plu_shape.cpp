#include "plu_shape.h"

#include <algorithm>
#include <bit>

namespace
{

/// What a key stands for, beside a place and a name.
enum key_kind_t : char { KEY_NAME, KEY_VALUES, KEY_FIRST_VALUE };

constexpr uint32_t BITS = 64;
/// Sets that are kept from one record to the next: at a bit a content, 128 bytes a content.
constexpr size_t MAX_STEPS = 1024;

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

/// Sets or clears the positions that a key leads to.
void put_bearers(const plu_shape_t &shape, const std::string &key, plu_bits_t &bits, bool on)
{
    const auto found = shape.bearers.find(key);
    if (found == shape.bearers.end())
        return;
    for (const uint32_t position : found->second.few)
        set_bit(bits, position, on);
    for (size_t i = 0; i < found->second.many.size(); ++i)
        bits[i] = on ? bits[i] | found->second.many[i] : bits[i] & ~found->second.many[i];
}

/// An attribute of a run of slots, and the attributes of the rules that it stands against.
struct place_t {
    const attrdesc_build_t &slot_attr;
    size_t place;
    uint32_t n_value; ///< of the slot's attribute, in split mode
    bool split;
};

/// Calls `visit` for every place at which a rule of the shape has the name that the run has there.
template <typename Visit>
void for_each_place(const plu_shape_t &shape, const protodesc_build_t &pb, uint32_t start,
                    const plu_rule_t &rule, const Visit &visit)
{
    for (size_t i = 0; i < rule.sub_rules.size(); ++i) {
        const plu_sub_rule_t &sub_rule = rule.sub_rules[i];
        const ruledesc_build_t &slot = pb.pb_rules[start + i];
        const bool split = slot.rule_nr_attr != sub_rule.nr_attr;
        for (uint32_t j = 0; j < sub_rule.nr_attr; ++j) {
            const place_t at = {slot.rule_attr[split ? 0 : j], sub_rule.first_attr + j, j, split};
            const std::string name = make_key(KEY_NAME, at.place, at.slot_attr.attr_name);
            if (shape.bearers.contains(name))
                visit(at, name);
        }
    }
}

csa_str_t split_value(const place_t &at)
{
    return at.slot_attr.attr_val[at.n_value];
}

/// Takes from `equal` the rules that have the run's name at a place, but not its values.
void compare_place(const plu_shape_t &shape, const place_t &at, const std::string &name,
                   plu_bits_t &equal)
{
    plu_bits_t unequal(equal.size());
    put_bearers(shape, name, unequal, true);
    std::string values =
        make_key(at.split ? KEY_FIRST_VALUE : KEY_VALUES, at.place, at.slot_attr.attr_name);
    if (at.split) {
        append_text(values, split_value(at));
        put_bearers(shape, values, unequal, false);
    } else {
        put_bearers(shape, values, unequal, false); // those without a value
        for (const csa_str_t &value : at.slot_attr.attr_val) {
            append_text(values, value);
            put_bearers(shape, values, unequal, false);
        }
    }
    for (size_t i = 0; i < equal.size(); ++i)
        equal[i] &= ~unequal[i];
}

/// Says what a run is to a shape: runs of one key equal the same rules.
std::string make_step(const plu_shape_t &shape, const protodesc_build_t &pb, uint32_t start,
                      const plu_rule_t &rule, const plu_held_t *held)
{
    std::string key = std::to_string(held != nullptr ? held->number : 0);
    for_each_place(shape, pb, start, rule, [&](const place_t &at, const std::string &name) {
        key += at.split ? 's' : 'p';
        key += name;
        if (at.split)
            append_text(key, split_value(at));
        else
            for (const csa_str_t &value : at.slot_attr.attr_val)
                append_text(key, value);
    });
    return key;
}

uint32_t find_lacking(const plu_bits_t &bits, uint32_t at, uint32_t count)
{
    while (at < count) {
        const uint64_t lacking = ~bits[at / BITS] >> at % BITS;
        if (lacking != 0)
            return std::min(at + static_cast<uint32_t>(std::countr_zero(lacking)), count);
        at = (at / BITS + 1) * BITS;
    }
    return count;
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

const plu_held_t *plu_shape_hold(plu_shape_t &shape, const protodesc_build_t &pb, uint32_t start,
                                 const plu_rule_t &rule, const plu_held_t *held)
{
    const auto [step, is_new] = shape.steps.try_emplace(make_step(shape, pb, start, rule, held));
    plu_held_t &sum = step->second;
    if (!is_new)
        return &sum;
    sum.number = ++shape.nr_sets;
    sum.bits.assign(nr_words(shape), ~uint64_t{0});
    for_each_place(shape, pb, start, rule, [&](const place_t &at, const std::string &name) {
        compare_place(shape, at, name, sum.bits);
    });
    for (size_t i = 0; held != nullptr && i < sum.bits.size(); ++i)
        sum.bits[i] |= held->bits[i];
    sum.first_lacking = find_lacking(sum.bits, 0, static_cast<uint32_t>(shape.contents.size()));
    return &sum;
}

void plu_shape_begin(plu_shape_t &shape)
{
    if (shape.steps.size() > MAX_STEPS)
        shape.steps.clear();
}

uint32_t plu_shape_next(const plu_shape_t &shape, const plu_held_t *held, uint32_t at)
{
    if (held == nullptr)
        return at;
    const auto count = static_cast<uint32_t>(shape.contents.size());
    return at <= held->first_lacking ? held->first_lacking : find_lacking(held->bits, at, count);
}
