#include "rule_row.h"

#include <algorithm>

#include "format_values.h"
#include "pdb_attr_properties.h"
#include "value_form.h"

namespace
{

/// Bytes of a value that are shown.
constexpr size_t shown_max = 1024;

std::string sub_rule_front(const model_rule_t &rule, const model_sub_rule_t &sub_rule)
{
    std::string front = &sub_rule == rule.sub_rules.data() ? "" : "and ";
    if (sub_rule.bottom != sub_rule.protocol)
        front.append(sub_rule.bottom).append(" as ");
    return front.append(sub_rule.protocol);
}

/// Returns what a value is a value of.
std::string attribute_front(const std::string &front, const model_attribute_t &attribute,
                            uint32_t offset)
{
    return front + ':' + std::string(attribute.name) + ' ' + attr_way2str(attribute.way) +
           (offset == 0 ? "" : " at " + std::to_string(offset)) + ' ';
}

std::string mindata_text(const model_sub_rule_t &sub_rule)
{
    return std::to_string(sub_rule.cts_mindata) + '/' + std::to_string(sub_rule.stc_mindata);
}

/// Texts of more bytes are hashed once.
constexpr size_t long_text = 64;

/// Texts of which is known what they hash to.
constexpr size_t nr_known = size_t{1} << 16;

/// Returns the place of what is known of a text.
row_known_t &known_of(row_maker_t &maker, const std::pair<const char *, const void *> &key)
{
    maker.known.resize(nr_known);
    const auto mixed =
        (reinterpret_cast<uintptr_t>(key.first) ^ reinterpret_cast<uintptr_t>(key.second)) *
        uint64_t{0x9e3779b97f4a7c15};
    return maker.known[mixed >> 32 & (nr_known - 1)];
}

/// Returns what `find` does, or what it did for the same text.
template <typename Find>
uint64_t known_hash(row_maker_t &maker, std::string_view text, const void *properties, Find find)
{
    const std::pair<const char *, const void *> key = {text.data(), properties};
    row_known_t &known = known_of(maker, key);
    if (known.key != key)
        known = {key, find()};
    return known.hash;
}

uint64_t value_hash(row_maker_t &maker, std::string_view text)
{
    const auto find = [&] { return text_hash(maker.key, text); };
    return text.size() > long_text ? known_hash(maker, text, nullptr, find) : find();
}

/// Returns the hash of what a value compiles to. Only what has a matcher compiles to anything but
/// its own text; a value at an offset stands for its bytes, which are quickly had.
uint64_t form_hash(row_maker_t &maker, const rule_value_t &value)
{
    const bool at_offset = value.value->offset != 0;
    const std::string_view protocol = value.sub_rule->protocol;
    const std::string_view attribute = value.attribute->name;
    const std::string_view text = value.value->text;
    const auto find = [&] {
        return text_hash(maker.key, value_form(protocol, attribute, at_offset, text));
    };
    const void *properties = pdb_get_attr_properties(csa_str(protocol), csa_str(attribute));
    return at_offset || properties == nullptr ? find() : known_hash(maker, text, properties, find);
}

void sort_values(rule_row_t &row)
{
    std::ranges::sort(row.values, {}, &rule_value_t::key);
}

void add_sub_rule(row_maker_t &maker, const model_rule_t &rule, const model_sub_rule_t &sub_rule,
                  rule_row_t &row)
{
    const auto add = [&](const std::string &front, uint64_t text,
                         const model_attribute_t *attribute, const model_value_t *value) {
        const uint64_t hash = text_hash(maker.key, front);
        row.values.push_back(
            {hash, text_hash_pair(maker.key, hash, text), &sub_rule, attribute, value});
    };
    const std::string front = sub_rule_front(rule, sub_rule);
    if (sub_rule.attributes.empty() || sub_rule.cts_mindata != 0 || sub_rule.stc_mindata != 0)
        add(front, text_hash(maker.key, mindata_text(sub_rule)), nullptr, nullptr);
    for (const model_attribute_t &attribute : sub_rule.attributes)
        for (const model_value_t &value : attribute.values)
            add(attribute_front(front, attribute, value.offset), value_hash(maker, value.text),
                &attribute, &value);
}

uint64_t hash_all(const row_maker_t &maker, const std::vector<uint64_t> &hashes)
{
    return text_hash(maker.key, {reinterpret_cast<const char *>(hashes.data()),
                                 hashes.size() * sizeof(uint64_t)});
}

} // namespace

void rule_row(row_maker_t &maker, const model_rule_t &rule, const std::string &keys,
              rule_row_t &row)
{
    row.keys = text_hash(maker.key, keys);
    row.values.clear();
    for (const model_sub_rule_t &sub_rule : rule.sub_rules)
        add_sub_rule(maker, rule, sub_rule, row);
    sort_values(row);
}

void rule_row_compile(row_maker_t &maker, const model_rule_t &rule, rule_row_t &row)
{
    // An order that its author left out is made of the lengths of the texts.
    const bool counts_bytes = format_priority_order(rule.priority) == 0;
    for (rule_value_t &value : row.values)
        if (value.value != nullptr) {
            const uint64_t form = text_hash_pair(maker.key, value.front, form_hash(maker, value));
            value.key =
                text_hash_pair(maker.key, form, counts_bytes ? value.value->text.size() : 0);
        }
    sort_values(row);
}

row_prints_t rule_row_prints(const row_maker_t &maker, const rule_row_t &row)
{
    std::vector<uint64_t> keys;
    std::vector<uint64_t> fronts;
    for (const rule_value_t &value : row.values) {
        keys.push_back(value.key);
        fronts.push_back(value.front);
    }
    std::ranges::sort(fronts);
    fronts.erase(std::unique(fronts.begin(), fronts.end()), fronts.end());
    const uint64_t values = hash_all(maker, keys);
    return {text_hash_pair(maker.key, row.keys, values), values,
            text_hash_pair(maker.key, row.keys, hash_all(maker, fronts))};
}

std::string rule_value_text(const model_rule_t &rule, const rule_value_t &value)
{
    const std::string front = sub_rule_front(rule, *value.sub_rule);
    if (value.value == nullptr)
        return front + " mindata " + mindata_text(*value.sub_rule);
    const std::string_view text = value.value->text;
    std::string shown = attribute_front(front, *value.attribute, value.value->offset);
    shown.append(text.substr(0, shown_max));
    if (text.size() > shown_max)
        shown.append("... (").append(std::to_string(text.size())).append(" bytes)");
    return shown;
}
