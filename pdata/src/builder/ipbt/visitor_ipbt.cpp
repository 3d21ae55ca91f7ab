#include "visitor_ipbt.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <string_view>

#include "csa_char.h"
#include "json_tools.h"

namespace
{

/// Which state a key opens inside which state.
struct key_row {
    ipbt_state_t inside;
    std::string_view key;
    ipbt_state_t state;
};

constexpr key_row keys[] = {
    {IPBT_STATE_DOCUMENT, "rules", IPBT_STATE_RULES_KEY},
    {IPBT_STATE_RULE, "values", IPBT_STATE_VALUES_KEY},
    {IPBT_STATE_RULE, "ips", IPBT_STATE_IPS_KEY},
    {IPBT_STATE_RULE, "comment", IPBT_STATE_COMMENT},
    {IPBT_STATE_VALUE, "type", IPBT_STATE_TYPE_KEY},
    {IPBT_STATE_VALUE, "value", IPBT_STATE_ID_KEY},
};

/// Characters of a value's id beyond which it counts as 0. Oddity O185.
constexpr size_t PROTO_ID_LEN_MAX = 15;

visitor_ipbt_t *self(json_visitor_t *visitor)
{
    return reinterpret_cast<visitor_ipbt_t *>(visitor);
}

/// Of the messages only that about a mask ends its line. Oddity O186.
int walk_error(const char *message)
{
    std::fputs(message, stderr);
    return -1;
}

uint32_t value_match(std::string_view text)
{
    if (text.size() > PROTO_ID_LEN_MAX) {
        std::fprintf(stderr,
                     "IPBT: v_ipbt_value_value_match: string is too long for a proto id: "
                     "\"%.*s...\"",
                     static_cast<int>(PROTO_ID_LEN_MAX), text.data());
        return 0;
    }
    uint32_t id = 0;
    for (size_t i = 0; i < text.size() && char_is_digit(text[i]); ++i)
        id = id * 10 + static_cast<uint32_t>(text[i] - '0');
    return id;
}

int v_ipbt_string(json_visitor_t *visitor, json_string_t *string)
{
    visitor_ipbt_t *v = self(visitor);
    if (v->state == IPBT_STATE_COMMENT || v->is_key)
        return 0;
    csa_str_t str;
    set_string_from_json(&str, string);
    const std::string_view text = csa_str_view(str);
    if (v->state == IPBT_STATE_TYPE_KEY && text == "protocol") {
        v->value.type = IPBT_VALUE_TYPE_PROTOCOL;
    } else if (v->state == IPBT_STATE_ID_KEY) {
        v->value.proto_id = value_match(text);
        v->value.has_proto_id = true;
    } else if (v->state == IPBT_STATE_IPS) {
        ipbt_ip4_mask_t mask;
        if (v_ipbt_parse_ip4_mask(text.data(), text.size(), &mask) != 0 ||
            ipbt_container_add_ip4_mask(v->container, mask) != 0)
            return -1;
    } else {
        return walk_error("IPBT: v_ipbt_string: unexpected or invalid string");
    }
    v->has_element = true;
    return 0;
}

int v_ipbt_pair_start(json_visitor_t *visitor, json_pair_t *pair)
{
    visitor_ipbt_t *v = self(visitor);
    if (v->state == IPBT_STATE_COMMENT) {
        ++v->comment_depth;
        return 0;
    }
    for (const key_row &row : keys) {
        if (row.inside == v->state && row.key == json_string_view(*pair->string)) {
            v->state = row.state;
            v->is_key = true;
            v->has_element = false;
            return 0;
        }
    }
    return walk_error("IPBT: v_ipbt_pair_start: unexpected pair");
}

int v_ipbt_pair_sep(json_visitor_t *visitor, json_pair_t *)
{
    self(visitor)->is_key = false;
    return 0;
}

int v_ipbt_pair_end(json_visitor_t *visitor, json_pair_t *)
{
    visitor_ipbt_t *v = self(visitor);
    if (v->state == IPBT_STATE_COMMENT && v->comment_depth != 0) {
        --v->comment_depth;
        return 0;
    }
    const bool complete = v->has_element || v->state == IPBT_STATE_COMMENT;
    if (!complete)
        return walk_error("IPBT: v_ipbt_pair_end: expected elements before pair end");
    const auto *opened = std::find_if(std::begin(keys), std::end(keys),
                                      [&](const key_row &row) { return row.state == v->state; });
    v->state = opened->inside; // a pair that began has a row
    return 0;
}

int v_ipbt_object_start(json_visitor_t *visitor, json_object_t *)
{
    visitor_ipbt_t *v = self(visitor);
    switch (v->state) {
    case IPBT_STATE_COMMENT:
        return 0;
    case IPBT_STATE_ROOT:
        v->state = IPBT_STATE_DOCUMENT;
        return 0;
    case IPBT_STATE_RULES:
        v->state = IPBT_STATE_RULE;
        return ipbt_container_add_rule(v->container);
    case IPBT_STATE_VALUES:
        v->state = IPBT_STATE_VALUE;
        v->value = {};
        return 0;
    default:
        return walk_error("IPBT: v_ipbt_object_start: unexpected object");
    }
}

int rule_end(visitor_ipbt_t *v)
{
    const ipbt_rule_t &rule = v->container->rules.back();
    if (rule.values.empty())
        return walk_error("IPBT: v_ipbt_object_end: A rule has no values");
    if (rule.ip4_masks.empty())
        return walk_error("IPBT: v_ipbt_object_end: A rule has no IP masks");
    v->state = IPBT_STATE_RULES;
    return 0;
}

int value_end(visitor_ipbt_t *v)
{
    if (v->value.type == IPBT_VALUE_TYPE_UNKNOWN)
        return walk_error("IPBT: v_ipbt_object_end: A value has no type");
    if (!v->value.has_proto_id)
        return walk_error("IPBT: v_ipbt_object_end: A protocol value has no proto id");
    v->state = IPBT_STATE_VALUES;
    v->has_element = true;
    return ipbt_container_add_value(v->container, v->value);
}

int v_ipbt_object_end(json_visitor_t *visitor, json_object_t *)
{
    visitor_ipbt_t *v = self(visitor);
    switch (v->state) {
    case IPBT_STATE_COMMENT:
        return 0;
    case IPBT_STATE_DOCUMENT:
        v->state = IPBT_STATE_ROOT;
        return 0;
    case IPBT_STATE_RULE:
        return rule_end(v);
    case IPBT_STATE_VALUE:
        return value_end(v);
    default:
        return walk_error("IPBT: v_ipbt_object_end: expected elements before object end");
    }
}

int v_ipbt_array_start(json_visitor_t *visitor, json_array_t *)
{
    visitor_ipbt_t *v = self(visitor);
    switch (v->state) {
    case IPBT_STATE_COMMENT:
        return 0;
    case IPBT_STATE_RULES_KEY:
        v->state = IPBT_STATE_RULES;
        return 0;
    case IPBT_STATE_VALUES_KEY:
        v->state = IPBT_STATE_VALUES;
        return 0;
    case IPBT_STATE_IPS_KEY:
        v->state = IPBT_STATE_IPS;
        return 0;
    default:
        return walk_error("IPBT: v_ipbt_array_start: unexpected array");
    }
}

int v_ipbt_array_end(json_visitor_t *visitor, json_array_t *)
{
    visitor_ipbt_t *v = self(visitor);
    switch (v->state) {
    case IPBT_STATE_COMMENT:
        return 0;
    case IPBT_STATE_RULES:
        v->state = IPBT_STATE_RULES_KEY;
        v->has_element = true;
        return 0;
    case IPBT_STATE_VALUES:
        v->state = IPBT_STATE_VALUES_KEY;
        break;
    default:
        v->state = IPBT_STATE_IPS_KEY;
        break;
    }
    if (!v->has_element)
        return walk_error("IPBT: v_ipbt_array_end: expected elements before array end");
    return 0;
}

} // namespace

void visitor_ipbt_init(visitor_ipbt_t *visitor, ipbt_container_t *container)
{
    *visitor = {};
    visitor->visitor.json_string = v_ipbt_string;
    visitor->visitor.json_object_start = v_ipbt_object_start;
    visitor->visitor.json_object_end = v_ipbt_object_end;
    visitor->visitor.json_array_start = v_ipbt_array_start;
    visitor->visitor.json_array_end = v_ipbt_array_end;
    visitor->visitor.json_pair_start = v_ipbt_pair_start;
    visitor->visitor.json_pair_sep = v_ipbt_pair_sep;
    visitor->visitor.json_pair_end = v_ipbt_pair_end;
    (void)ipbt_container_init(container); // nothing to allocate
    visitor->container = container;
    visitor->state = IPBT_STATE_ROOT;
}

int v_ipbt_parse_ip4_mask(const char *text, size_t len, ipbt_ip4_mask_t *mask)
{
    constexpr size_t parts = 4;
    const std::string_view whole(text, len);
    const std::string_view address = whole.substr(0, whole.find(" #"));
    uint32_t numbers[parts + 1] = {0, 0, 0, 0, 32};
    size_t part = 0;
    size_t digits = 0;
    bool valid = true;
    for (size_t i = 0; i < address.size() && valid; ++i) {
        const char c = address[i];
        const uint32_t max = part < parts ? 255 : 32;
        if (char_is_digit(c)) {
            numbers[part] =
                (digits++ == 0 ? 0 : numbers[part] * 10) + static_cast<uint32_t>(c - '0');
            valid = numbers[part] <= max;
            continue;
        }
        // The address goes on behind a point; its length follows the slash behind the last part.
        valid = digits != 0 && c == (part + 1 < parts ? '.' : '/') && part < parts;
        ++part;
        digits = 0;
    }
    if (!valid || digits == 0 || part + 1 < parts) {
        std::fprintf(stderr,
                     "IPBT: v_ipbt_parse_ip4_mask: invalid IP mask \"%.*s\" should be of the form "
                     "255.255.255.255/32\n",
                     static_cast<int>(std::min<size_t>(len, 18)), text);
        return -1;
    }
    *mask = {numbers[0] << 24 | numbers[1] << 16 | numbers[2] << 8 | numbers[3], numbers[parts]};
    return 0;
}
